// Replaces the C allocator in this test binary, forwarding to glibc and counting every call.
#include "counting_malloc.h"

#include <atomic>
#include <cstdlib>

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* pointer, size_t size);
void __libc_free(void* pointer);
}

namespace {
std::atomic<size_t> g_allocations{0};
std::atomic<size_t> g_frees{0};
}  // namespace

extern "C" {

void* malloc(size_t size) {
    ++g_allocations;
    return __libc_malloc(size);
}

void* calloc(size_t count, size_t size) {
    ++g_allocations;
    return __libc_calloc(count, size);
}

void* realloc(void* pointer, size_t size) {
    ++g_allocations;
    return __libc_realloc(pointer, size);
}

void free(void* pointer) {
    if (pointer) ++g_frees;
    __libc_free(pointer);
}
}

namespace ezossl_test {

void ResetHeapCounts() {
    g_allocations = 0;
    g_frees = 0;
}

HeapCounts CurrentHeapCounts() { return {g_allocations.load(), g_frees.load()}; }

}  // namespace ezossl_test
