// Watches the allocations of this test program and makes them fail on demand.
// SPDX-License-Identifier: MIT
#include "support/allocation_fault.h"

#include "support/replaced_new.h"

namespace wpk::test {
namespace {

thread_local size_t allocations = 0;

struct Plan {
    bool isActive = false;
    bool isForGood = false;
    size_t minimumSize = 0;
    size_t successesLeft = 0;
    size_t fired = 0;
};
thread_local Plan plan;

bool MustFail(size_t size) noexcept {
    if (!plan.isActive || size < plan.minimumSize || (plan.fired > 0 && !plan.isForGood)) return false;
    if (plan.successesLeft > 0) {
        --plan.successesLeft;
        return false;
    }
    ++plan.fired;
    return true;
}

}  // namespace

bool RefuseAllocation(size_t size) noexcept {
    ++allocations;
    return MustFail(size);
}

std::ptrdiff_t LiveBytes() noexcept {
    return liveBytes;
}

size_t Allocations() noexcept {
    return allocations;
}

AllocationFault::AllocationFault(size_t successes, bool isForGood, size_t minimumSize) {
    plan = {true, isForGood, minimumSize, successes, 0};
}

AllocationFault::~AllocationFault() {
    plan = {};
}

size_t AllocationFault::Fired() const noexcept {
    return plan.fired;
}

}  // namespace wpk::test
