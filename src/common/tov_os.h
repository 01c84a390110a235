// The device's OS-abstraction layer, as far as this library uses it (reading one file).
#pragma once

#include <cstdint>

extern "C" {

typedef int32_t TovFsHandle;

// Result 0 on success; flags and mode are the layer's own words.
int32_t TovFsOpen(TovFsHandle* handle, const char* path, uint32_t flags, uint32_t mode);
// whence 0: from the start, 2: from the end; result the new position, negative on failure.
int32_t TovFsSeek(TovFsHandle handle, int32_t offset, int32_t whence);
// Result the number of bytes read, 0 when nothing was read.
int32_t TovFsRead(TovFsHandle handle, void* buffer, uint32_t count);
int32_t TovFsClose(TovFsHandle handle);
void* TovOsMemAlloc(uint32_t size);
void TovOsMemRelease(void* pointer);
}
