// Makes allocations of this test program fail on demand.
// SPDX-License-Identifier: MIT
#include "support/allocation_fault.h"

#include "support/replaced_new.h"

namespace wpk::test {
namespace {

struct Plan {
    bool active = false;
    int successesLeft = 0;
    std::size_t minimumSize = 0;
    int fired = 0;
};
thread_local Plan plan;

}  // namespace

bool RefuseAllocation(std::size_t size) noexcept {
    if (!plan.active || size < plan.minimumSize || plan.successesLeft-- > 0) return false;
    ++plan.fired;
    return true;
}

AllocationFault::AllocationFault(int successes, std::size_t minimumSize) {
    plan = {true, successes, minimumSize, 0};
}

AllocationFault::~AllocationFault() {
    plan = {};
}

int AllocationFault::Fired() const {
    return plan.fired;
}

}  // namespace wpk::test
