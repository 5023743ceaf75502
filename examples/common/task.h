// Task: work to be done on a separate thread.
// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

namespace common {

class Task {
public:
    Task() = default;
    Task(const Task&) = delete;
    Task& operator=(const Task&) = delete;
    virtual ~Task() = default;

    virtual void Run() noexcept = 0;
};

/// Runs the task on a detached thread, which deletes it. @return false if the system has no thread for it; the task is
/// deleted then as well.
bool StartTask(std::unique_ptr<Task> task);

}  // namespace common
