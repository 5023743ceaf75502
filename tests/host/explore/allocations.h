// What the program has allocated and not freed.
// SPDX-License-Identifier: MIT
#ifndef WPK_HOST_EXPLORE_ALLOCATIONS_H
#define WPK_HOST_EXPLORE_ALLOCATIONS_H

#include <cstdint>

namespace wpk::explore {

int64_t CountAllocations();

}  // namespace wpk::explore

#endif  // WPK_HOST_EXPLORE_ALLOCATIONS_H
