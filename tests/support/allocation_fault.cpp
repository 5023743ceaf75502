// Watches the allocations of this test program and makes them fail on demand.
// SPDX-License-Identifier: MIT
#include "support/allocation_fault.h"

#include "support/replaced_new.h"

namespace wpk::test {
namespace {

thread_local std::size_t allocations = 0;

struct Plan {
    bool isActive = false;
    bool isForGood = false;
    std::size_t minimumSize = 0;
    std::size_t successesLeft = 0;
    std::size_t fired = 0;
};
thread_local Plan plan;

bool MustFail(std::size_t size) noexcept {
    if (!plan.isActive || size < plan.minimumSize || (plan.fired > 0 && !plan.isForGood)) return false;
    if (plan.successesLeft > 0) {
        --plan.successesLeft;
        return false;
    }
    ++plan.fired;
    return true;
}

}  // namespace

bool RefuseAllocation(std::size_t size) noexcept {
    ++allocations;
    return MustFail(size);
}

std::ptrdiff_t LiveBytes() noexcept {
    return liveBytes;
}

std::size_t Allocations() noexcept {
    return allocations;
}

AllocationFault::AllocationFault(std::size_t successes, bool isForGood, std::size_t minimumSize) {
    plan = {true, isForGood, minimumSize, successes, 0};
}

AllocationFault::~AllocationFault() {
    plan = {};
}

std::size_t AllocationFault::Fired() const noexcept {
    return plan.fired;
}

}  // namespace wpk::test
