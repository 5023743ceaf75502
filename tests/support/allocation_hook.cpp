// Watches the allocations of this test program and makes them fail on demand.
// SPDX-License-Identifier: MIT
#include "support/allocation_hook.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace xml_tests {
namespace {

thread_local std::ptrdiff_t liveBytes = 0;
thread_local std::size_t allocations = 0;

struct Plan {
    bool isActive = false;
    bool isForGood = false;
    bool hasFired = false;
    std::size_t successesLeft = 0;
};
thread_local Plan plan;

bool MustFail() noexcept {
    if (!plan.isActive || (plan.hasFired && !plan.isForGood)) return false;
    if (plan.successesLeft != 0) {
        --plan.successesLeft;
        return false;
    }
    plan.hasFired = true;
    return true;
}

/// In front of every block stands its size, in as much room as keeps the block aligned.
constexpr std::size_t kHead = 16;

}  // namespace

std::ptrdiff_t LiveBytes() noexcept {
    return liveBytes;
}
std::size_t Allocations() noexcept {
    return allocations;
}

AllocationFault::AllocationFault(std::size_t successes, bool forGood) {
    plan = {true, forGood, false, successes};
}
AllocationFault::~AllocationFault() {
    plan = {};
}
bool AllocationFault::HasFired() const noexcept {
    return plan.hasFired;
}

void* Allocate(std::size_t size) {
    ++allocations;
    void* const block = MustFail() ? nullptr : std::malloc(kHead + size);
    if (block == nullptr) throw std::bad_alloc();
    std::memcpy(block, &size, sizeof(size));
    liveBytes += static_cast<std::ptrdiff_t>(size);
    return static_cast<char*>(block) + kHead;
}

void Free(void* memory) noexcept {
    if (memory == nullptr) return;
    void* const block = static_cast<char*>(memory) - kHead;
    std::size_t size = 0;
    std::memcpy(&size, block, sizeof(size));
    liveBytes -= static_cast<std::ptrdiff_t>(size);
    std::free(block);
}

}  // namespace xml_tests

void* operator new(std::size_t size) {
    return xml_tests::Allocate(size);
}
void* operator new[](std::size_t size) {
    return xml_tests::Allocate(size);
}
void operator delete(void* memory) noexcept {
    xml_tests::Free(memory);
}
void operator delete[](void* memory) noexcept {
    xml_tests::Free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    xml_tests::Free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    xml_tests::Free(memory);
}
