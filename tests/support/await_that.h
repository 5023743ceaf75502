// Waiting for what no event tells.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_SUPPORT_AWAIT_THAT_H
#define WPK_TESTS_SUPPORT_AWAIT_THAT_H

#include <chrono>
#include <thread>

namespace wpk::test {

/// Waits until a condition holds. For states that the library changes without an event that a test could wait for: they
/// are looked at again and again. False when it takes longer than on any machine under any load.
template <class Condition>
bool AwaitThat(Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(90);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

}  // namespace wpk::test

#endif  // WPK_TESTS_SUPPORT_AWAIT_THAT_H
