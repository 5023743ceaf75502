// Lets the library's allocations fail like calls of the platform.
// SPDX-License-Identifier: MIT
#include "fake_platform/control.h"
#include "support/replaced_new.h"

namespace wpk::test {

bool RefuseAllocation(size_t) noexcept {
    return host::AllocationFails();
}

}  // namespace wpk::test
