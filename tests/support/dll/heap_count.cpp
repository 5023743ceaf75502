// The heap of a loaded library, counted at its imports.
// SPDX-License-Identifier: MIT
#include "support/dll/heap_count.h"

#include "support/dll/process.h"

#include <atomic>
#include <cstdlib>

namespace wpk::harness {
namespace {

std::atomic<long> blocks{0};

void* CountedMalloc(size_t size) {
    void* block = std::malloc(size);
    if (block) ++blocks;
    return block;
}

void* CountedCalloc(size_t count, size_t size) {
    void* block = std::calloc(count, size);
    if (block) ++blocks;
    return block;
}

void* CountedRealloc(void* block, size_t size) {
    void* moved = std::realloc(block, size);
    if (!block && moved) ++blocks;
    if (block && !moved && size == 0) --blocks;
    return moved;
}

void CountedFree(void* block) {
    if (block) --blocks;
    std::free(block);
}

}  // namespace

HeapCount::HeapCount(HMODULE library) {
    blocks = 0;
    patches_.emplace_back(library, "malloc", AddressOf(&CountedMalloc));
    patches_.emplace_back(library, "calloc", AddressOf(&CountedCalloc));
    patches_.emplace_back(library, "realloc", AddressOf(&CountedRealloc));
    patches_.emplace_back(library, "free", AddressOf(&CountedFree));
    for (const ImportPatch& patch : patches_) {
        if (!patch.Found()) Die("the library does not import its heap");
    }
}

long HeapCount::Blocks() const {
    return blocks;
}

}  // namespace wpk::harness
