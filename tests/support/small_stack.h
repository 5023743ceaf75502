// Runs a piece of work with as little stack as the library promises to need.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_SUPPORT_SMALL_STACK_H
#define WPK_TESTS_SUPPORT_SMALL_STACK_H

#include <functional>

namespace wpk::test {

/// Runs the work on a thread of 64 KiB of stack and waits for its end. False when there is no such thread to be had.
bool RunOnSmallStack(const std::function<void()>& work);

}  // namespace wpk::test

#endif  // WPK_TESTS_SUPPORT_SMALL_STACK_H
