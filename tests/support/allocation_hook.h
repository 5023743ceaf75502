// Watches the allocations of this test program and makes them fail on demand.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_SUPPORT_ALLOCATION_HOOK_H
#define WPK_TESTS_SUPPORT_ALLOCATION_HOOK_H

#include <cstddef>

namespace xml_tests {

/// Bytes that this thread has got from operator new and not given back yet.
std::ptrdiff_t LiveBytes() noexcept;
/// Calls of operator new on this thread so far.
std::size_t Allocations() noexcept;

/// While it lives, lets `successes` allocations of this thread pass and fails the next one, or all from there on.
class AllocationFault {
public:
    AllocationFault(std::size_t successes, bool forGood);
    AllocationFault(const AllocationFault&) = delete;
    AllocationFault& operator=(const AllocationFault&) = delete;
    ~AllocationFault();

    bool HasFired() const noexcept;
};

}  // namespace xml_tests

#endif  // WPK_TESTS_SUPPORT_ALLOCATION_HOOK_H
