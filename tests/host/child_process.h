// Runs one case of a test in a process of its own, for a library that can be initialised only once in each.
// SPDX-License-Identifier: MIT
#ifndef WPK_HOST_CHILD_PROCESS_H
#define WPK_HOST_CHILD_PROCESS_H

#include <functional>

namespace wpk::host {

/// Runs `body` in a child of this process, which must have no threads of its own, in a new folder. True when no
/// expectation failed there, the leak check of the sanitizer passed, nothing crashed and nothing was left in the
/// folder. A child that takes longer than any case may is ended, and says so.
bool RunInChild(const std::function<void()>& body);

/// Memory that is shared with children.
void* SharedMemory(size_t size);

}  // namespace wpk::host

#endif  // WPK_HOST_CHILD_PROCESS_H
