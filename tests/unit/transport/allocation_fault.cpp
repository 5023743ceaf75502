// Makes allocations of this test program fail on demand.
// SPDX-License-Identifier: MIT
#include "unit/transport/allocation_fault.h"

#include <cstdlib>
#include <new>

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

static void* AllocateOrNull(std::size_t size) {
    if (plan.active && size >= plan.minimumSize && plan.successesLeft-- <= 0) {
        ++plan.fired;
        return nullptr;
    }
    return std::malloc(size == 0 ? 1 : size);
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

namespace {

void* AllocateOrThrow(std::size_t size) {
    void* const memory = wpk::test::AllocateOrNull(size);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

}  // namespace

void* operator new(std::size_t size) {
    return AllocateOrThrow(size);
}
void* operator new[](std::size_t size) {
    return AllocateOrThrow(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return wpk::test::AllocateOrNull(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return wpk::test::AllocateOrNull(size);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}
