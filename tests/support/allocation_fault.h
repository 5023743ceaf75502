// Watches the allocations of this test program and makes them fail on demand.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_SUPPORT_ALLOCATION_FAULT_H
#define WPK_TESTS_SUPPORT_ALLOCATION_FAULT_H

#include <cstddef>

namespace wpk::test {

/// Bytes that this thread has got from operator new and not given back yet.
std::ptrdiff_t LiveBytes() noexcept;
/// Calls of operator new on this thread so far.
size_t Allocations() noexcept;

/// While it lives, lets `successes` allocations pass on this thread and fails those after them, or the next one alone,
/// in operator new and its nothrow form alike. One at a time.
class AllocationFault {
public:
    explicit AllocationFault(size_t successes = 0, bool isForGood = true) : AllocationFault(successes, isForGood, 0) {}
    /// Looks only at allocations of at least that many bytes.
    static AllocationFault AmongLarge(size_t minimumSize, size_t successes = 0) {
        return AllocationFault(successes, true, minimumSize);
    }
    AllocationFault(const AllocationFault&) = delete;
    AllocationFault& operator=(const AllocationFault&) = delete;
    ~AllocationFault();

    /// How many allocations it has failed so far.
    size_t Fired() const noexcept;

private:
    AllocationFault(size_t successes, bool isForGood, size_t minimumSize);
};

}  // namespace wpk::test

#endif  // WPK_TESTS_SUPPORT_ALLOCATION_FAULT_H
