// What the program has allocated and not freed.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_NATIVE_EXPLORE_ALLOCATIONS_H
#define WPK_TESTS_NATIVE_EXPLORE_ALLOCATIONS_H

#include <cstdint>

namespace wpk::explore {

int64_t CountAllocations();

}  // namespace wpk::explore

#endif  // WPK_TESTS_NATIVE_EXPLORE_ALLOCATIONS_H
