// Replaces operator new of the program so that allocations can fail. For one source file of a program.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_SUPPORT_REPLACED_NEW_H
#define WPK_TESTS_SUPPORT_REPLACED_NEW_H

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace wpk::test {

/// Whether an allocation of that size is to fail now. Defined by the program, which may not allocate there.
bool RefuseAllocation(std::size_t size) noexcept;

/// Shown every block that is about to be freed, when it is set.
inline std::atomic<void (*)(void* memory) noexcept> watchFree{nullptr};

inline void FreeWatched(void* memory) noexcept {
    if (const auto watch = watchFree.load(std::memory_order_relaxed); watch && memory) watch(memory);
    std::free(memory);
}

inline void* AllocateOrNull(std::size_t size) noexcept {
    return RefuseAllocation(size) ? nullptr : std::malloc(size == 0 ? 1 : size);
}

inline void* AllocateOrThrow(std::size_t size) {
    void* const memory = AllocateOrNull(size);
    if (!memory) throw std::bad_alloc();
    return memory;
}

}  // namespace wpk::test

void* operator new(std::size_t size) {
    return wpk::test::AllocateOrThrow(size);
}
void* operator new[](std::size_t size) {
    return wpk::test::AllocateOrThrow(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return wpk::test::AllocateOrNull(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return wpk::test::AllocateOrNull(size);
}
void operator delete(void* memory) noexcept {
    wpk::test::FreeWatched(memory);
}
void operator delete[](void* memory) noexcept {
    wpk::test::FreeWatched(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    wpk::test::FreeWatched(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    wpk::test::FreeWatched(memory);
}

#endif  // WPK_TESTS_SUPPORT_REPLACED_NEW_H
