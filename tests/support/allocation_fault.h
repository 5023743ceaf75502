// Makes allocations of this test program fail on demand.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_SUPPORT_ALLOCATION_FAULT_H
#define WPK_TESTS_SUPPORT_ALLOCATION_FAULT_H

#include <cstddef>

namespace wpk::test {

/// While it lives, lets `successes` allocations of at least `minimumSize` bytes pass on this thread and fails every
/// later one of them, in operator new and its nothrow form alike. One at a time.
class AllocationFault {
public:
    explicit AllocationFault(int successes = 0, std::size_t minimumSize = 0);
    AllocationFault(const AllocationFault&) = delete;
    AllocationFault& operator=(const AllocationFault&) = delete;
    ~AllocationFault();

    /// How often it has struck so far.
    int Fired() const;
};

}  // namespace wpk::test

#endif  // WPK_TESTS_SUPPORT_ALLOCATION_FAULT_H
