// POSIX stand-in for the device's OS-abstraction layer, for plain Linux systems.
#include "tov_os.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

extern "C" {

int32_t TovFsOpen(TovFsHandle* handle, const char* path, uint32_t /*flags*/, uint32_t /*mode*/) {
    // The device layer's flag word asks for read access of a configuration file. Only a regular
    // file qualifies: a FIFO or a device named by the path would stall or flood the caller, so it
    // is opened without blocking and refused after a look at what was actually opened.
    const int fd = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (fd < 0) return -1;
    struct stat info;
    if (fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
        close(fd);
        return -1;
    }
    *handle = fd;
    return 0;
}

int32_t TovFsSeek(TovFsHandle handle, int32_t offset, int32_t whence) {
    const int posix_whence = whence == 2 ? SEEK_END : whence == 1 ? SEEK_CUR : SEEK_SET;
    const off_t position = lseek(handle, offset, posix_whence);
    if (position < 0 || position > INT32_MAX) return -1;
    return static_cast<int32_t>(position);
}

int32_t TovFsRead(TovFsHandle handle, void* buffer, uint32_t count) {
    auto* bytes = static_cast<char*>(buffer);
    uint32_t done = 0;
    while (done < count) {
        const ssize_t got = read(handle, bytes + done, count - done);
        if (got <= 0) break;
        done += static_cast<uint32_t>(got);
    }
    return static_cast<int32_t>(done);
}

int32_t TovFsClose(TovFsHandle handle) { return close(handle); }

void* TovOsMemAlloc(uint32_t size) { return std::malloc(size); }

void TovOsMemRelease(void* pointer) { std::free(pointer); }
}
