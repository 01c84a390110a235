// Heap-allocation counter for the test binary that replaces malloc.
#pragma once

#include <cstddef>

namespace ezossl_test {

// Allocations (malloc, calloc, realloc, new) and frees since the last reset.
struct HeapCounts {
    size_t allocations;
    size_t frees;
};

void ResetHeapCounts();
HeapCounts CurrentHeapCounts();

}  // namespace ezossl_test
