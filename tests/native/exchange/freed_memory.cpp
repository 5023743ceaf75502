// Looks for texts in memory that is being freed; lets the library's allocations fail like calls of the platform.
// SPDX-License-Identifier: MIT
#include "native/exchange/freed_memory.h"

#include <algorithm>
#include <array>

#include "fake_platform/control.h"
#include "support/replaced_new.h"

namespace wpk::test {

bool RefuseAllocation(size_t) noexcept {
    return host::AllocationFails();
}

}  // namespace wpk::test

namespace wpk::host {
namespace {

std::array<std::string_view, 4> wanted;
thread_local bool watched = false;
thread_local int finds = 0;

void Look(const void* memory, size_t size) noexcept {
    if (!watched) return;
    const std::string_view block(static_cast<const char*>(memory), size);
    const auto isInIt = [block](std::string_view text) {
        return !text.empty() && block.find(text) != std::string_view::npos;
    };
    if (std::any_of(wanted.begin(), wanted.end(), isInIt)) ++finds;
}

}  // namespace

FreedMemory::FreedMemory(std::initializer_list<std::string_view> texts) {
    std::copy_n(texts.begin(), std::min(texts.size(), wanted.size()), wanted.begin());
    finds = 0;
    watched = true;
    test::watchFree = Look;
}

FreedMemory::~FreedMemory() {
    watched = false;
    test::watchFree = nullptr;
    wanted = {};
}

int FreedMemory::Finds() const {
    return finds;
}

}  // namespace wpk::host
