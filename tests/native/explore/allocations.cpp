// What the program has allocated and not freed.
// SPDX-License-Identifier: MIT
#include "native/explore/allocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<int64_t> allocations{0};

void* Allocate(size_t size) noexcept {
    void* memory = std::malloc(size > 0 ? size : 1);
    if (memory) allocations.fetch_add(1, std::memory_order_relaxed);
    return memory;
}

void Free(void* memory) noexcept {
    if (!memory) return;
    allocations.fetch_sub(1, std::memory_order_relaxed);
    std::free(memory);
}

}  // namespace

namespace wpk::explore {

int64_t CountAllocations() {
    return allocations.load(std::memory_order_relaxed);
}

}  // namespace wpk::explore

void* operator new(size_t size) {
    void* memory = Allocate(size);
    if (!memory) throw std::bad_alloc();
    return memory;
}
void* operator new(size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size);
}
void* operator new[](size_t size) {
    return operator new(size);
}
void* operator new[](size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size);
}
void operator delete(void* memory) noexcept {
    Free(memory);
}
void operator delete(void* memory, size_t) noexcept {
    Free(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
    Free(memory);
}
void operator delete[](void* memory) noexcept {
    Free(memory);
}
void operator delete[](void* memory, size_t) noexcept {
    Free(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept {
    Free(memory);
}
