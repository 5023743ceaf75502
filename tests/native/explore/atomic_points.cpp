// Makes every atomic access of the library a point at which another thread may go on.
// SPDX-License-Identifier: MIT
//
// The sources are compiled as they are, but for ThreadSanitizer, which has the compiler call a function for every
// access to memory. Here these functions belong to the explorer instead: those for atomic accesses stop first, all
// others do nothing. A build with another sanitizer has none of this.
#include <cstdint>

#include "fake_platform/src/scheduler.h"

namespace {

void Stop() {
    wpk::host::SchedulePointInLibrary();
}

}  // namespace

extern "C" {

// NOLINTBEGIN(bugprone-reserved-identifier, bugprone-macro-parentheses): the compiler chooses the names.

void __tsan_init() {}
void __tsan_func_entry(void*) {}
void __tsan_func_exit() {}
void __tsan_vptr_update(void**, void*) {}
void __tsan_vptr_read(void**) {}
void __tsan_read_range(void*, unsigned long) {}
void __tsan_write_range(void*, unsigned long) {}
void __tsan_atomic_thread_fence(int) {}
void __tsan_atomic_signal_fence(int) {}

#define WPK_PLAIN_ACCESSES(size)               \
    void __tsan_read##size(void*) {}           \
    void __tsan_write##size(void*) {}          \
    void __tsan_unaligned_read##size(void*) {} \
    void __tsan_unaligned_write##size(void*) {}
WPK_PLAIN_ACCESSES(1)
WPK_PLAIN_ACCESSES(2)
WPK_PLAIN_ACCESSES(4)
WPK_PLAIN_ACCESSES(8)
WPK_PLAIN_ACCESSES(16)

// One thread of a run goes at a time: the strongest order is the only one there is.
#define WPK_ATOMIC_CHANGE(bits, change)                                                                        \
    uint##bits##_t __tsan_atomic##bits##_##change(volatile uint##bits##_t* place, uint##bits##_t value, int) { \
        Stop();                                                                                                \
        return __atomic_##change(place, value, __ATOMIC_SEQ_CST);                                              \
    }
#define WPK_ATOMIC_EXCHANGE(bits, kind)                                                                         \
    int __tsan_atomic##bits##_compare_exchange_##kind(volatile uint##bits##_t* place, uint##bits##_t* expected, \
                                                      uint##bits##_t value, int, int) {                         \
        Stop();                                                                                                 \
        return __atomic_compare_exchange_n(place, expected, value, false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);  \
    }
#define WPK_ATOMIC_ACCESSES(bits)                                                                              \
    uint##bits##_t __tsan_atomic##bits##_load(const volatile uint##bits##_t* place, int) {                     \
        Stop();                                                                                                \
        return __atomic_load_n(place, __ATOMIC_SEQ_CST);                                                       \
    }                                                                                                          \
    void __tsan_atomic##bits##_store(volatile uint##bits##_t* place, uint##bits##_t value, int) {              \
        Stop();                                                                                                \
        __atomic_store_n(place, value, __ATOMIC_SEQ_CST);                                                      \
    }                                                                                                          \
    uint##bits##_t __tsan_atomic##bits##_exchange(volatile uint##bits##_t* place, uint##bits##_t value, int) { \
        Stop();                                                                                                \
        return __atomic_exchange_n(place, value, __ATOMIC_SEQ_CST);                                            \
    }                                                                                                          \
    WPK_ATOMIC_CHANGE(bits, fetch_add)                                                                         \
    WPK_ATOMIC_CHANGE(bits, fetch_sub)                                                                         \
    WPK_ATOMIC_CHANGE(bits, fetch_and)                                                                         \
    WPK_ATOMIC_CHANGE(bits, fetch_or)                                                                          \
    WPK_ATOMIC_CHANGE(bits, fetch_xor)                                                                         \
    WPK_ATOMIC_CHANGE(bits, fetch_nand)                                                                        \
    WPK_ATOMIC_EXCHANGE(bits, strong)                                                                          \
    WPK_ATOMIC_EXCHANGE(bits, weak)
WPK_ATOMIC_ACCESSES(8)
WPK_ATOMIC_ACCESSES(16)
WPK_ATOMIC_ACCESSES(32)
WPK_ATOMIC_ACCESSES(64)

// NOLINTEND(bugprone-reserved-identifier, bugprone-macro-parentheses)
}
