// Counts the heap: linked in, it stands before malloc and its relatives.
// SPDX-License-Identifier: MIT
#include "heap_count.h"

#include <malloc.h>

#include <algorithm>
#include <cstddef>

// The C library's own entries, for programs that put theirs before them.
// NOLINTBEGIN(bugprone-reserved-identifier): the names are the C library's
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

// The measuring program has one thread.
std::size_t live = 0;
std::size_t peak = 0;

std::size_t Footprint(void* block) {
    return block == nullptr ? 0 : malloc_usable_size(block) + sizeof(std::size_t);
}

void* Add(void* block) {
    live += Footprint(block);
    peak = std::max(peak, live);
    return block;
}

}  // namespace

extern "C" {
void* malloc(std::size_t size) {
    return Add(__libc_malloc(size));
}
void* calloc(std::size_t count, std::size_t size) {
    return Add(__libc_calloc(count, size));
}
void* memalign(std::size_t alignment, std::size_t size) {
    return Add(__libc_memalign(alignment, size));
}
void* aligned_alloc(std::size_t alignment, std::size_t size) {
    return Add(__libc_memalign(alignment, size));
}

void* realloc(void* block, std::size_t size) {
    const std::size_t before = Footprint(block);
    void* const moved = __libc_realloc(block, size);
    if (moved == nullptr && size != 0) return nullptr;
    live -= before;
    return Add(moved);
}

void free(void* block) {
    live -= Footprint(block);
    __libc_free(block);
}
}

namespace xml_bench {

std::size_t LiveHeapBytes() {
    return live;
}
std::size_t PeakHeapBytes() {
    return peak;
}
void ResetPeak() {
    peak = live;
}

}  // namespace xml_bench
