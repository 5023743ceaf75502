// Task: something to be done on a thread of its own.
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

/// Runs the task on a thread that nobody waits for, and that deletes it.
/// @return false where the system has no thread for it; the task is gone then too.
bool StartTask(std::unique_ptr<Task> task);

}  // namespace common
