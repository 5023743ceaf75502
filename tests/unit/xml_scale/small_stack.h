// Runs something on a thread whose stack is so small that any recursion per level of a deep tree ends the program.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_UNIT_XML_SCALE_SMALL_STACK_H
#define WPK_TESTS_UNIT_XML_SCALE_SMALL_STACK_H

#include <functional>

namespace limits {

/// Runs `work` on a thread with a stack of 64 KiB and waits for it. Exceptions must not leave `work`.
void RunOnSmallStack(const std::function<void()>& work);

/// CPU time that the calling thread has used, in seconds: other programs on the machine do not count.
double ThreadSeconds();

}  // namespace limits

#endif  // WPK_TESTS_UNIT_XML_SCALE_SMALL_STACK_H
