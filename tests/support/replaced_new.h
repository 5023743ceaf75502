// Replaces operator new of the program so that allocations can fail. For one source file of a program.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_SUPPORT_REPLACED_NEW_H
#define WPK_TESTS_SUPPORT_REPLACED_NEW_H

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>

namespace wpk::test {

/// Whether an allocation of that size is to fail now. Defined by the program, which may not allocate there.
bool RefuseAllocation(size_t size) noexcept;

/// Shown every block that is about to be freed, when it is set.
inline std::atomic<void (*)(const void* memory, size_t size) noexcept> watchFree{nullptr};

/// Bytes that this thread has got and not given back yet.
inline thread_local std::ptrdiff_t liveBytes = 0;

/// In front of every block stands its size, in as much room as keeps the block aligned.
constexpr size_t kBlockHead = 16;

inline void* AllocateOrNull(size_t size) noexcept {
    void* block = RefuseAllocation(size) ? nullptr : std::malloc(kBlockHead + size);
    if (!block) return nullptr;
    std::memcpy(block, &size, sizeof(size));
    liveBytes += static_cast<std::ptrdiff_t>(size);
    return static_cast<char*>(block) + kBlockHead;
}

inline void* AllocateOrThrow(size_t size) {
    void* memory = AllocateOrNull(size);
    if (!memory) throw std::bad_alloc();
    return memory;
}

inline void Free(void* memory) noexcept {
    if (!memory) return;
    void* block = static_cast<char*>(memory) - kBlockHead;
    size_t size = 0;
    std::memcpy(&size, block, sizeof(size));
    if (const auto watch = watchFree.load(std::memory_order_relaxed)) watch(memory, size);
    liveBytes -= static_cast<std::ptrdiff_t>(size);
    std::free(block);
}

}  // namespace wpk::test

void* operator new(size_t size) {
    return wpk::test::AllocateOrThrow(size);
}
void* operator new[](size_t size) {
    return wpk::test::AllocateOrThrow(size);
}
void* operator new(size_t size, const std::nothrow_t&) noexcept {
    return wpk::test::AllocateOrNull(size);
}
void* operator new[](size_t size, const std::nothrow_t&) noexcept {
    return wpk::test::AllocateOrNull(size);
}
void operator delete(void* memory) noexcept {
    wpk::test::Free(memory);
}
void operator delete[](void* memory) noexcept {
    wpk::test::Free(memory);
}
void operator delete(void* memory, size_t) noexcept {
    wpk::test::Free(memory);
}
void operator delete[](void* memory, size_t) noexcept {
    wpk::test::Free(memory);
}

#endif  // WPK_TESTS_SUPPORT_REPLACED_NEW_H
