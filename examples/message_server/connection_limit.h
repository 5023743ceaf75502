// ConnectionLimit: how many connections are served at once.
// SPDX-License-Identifier: MIT
#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>

namespace message_server {

/// Hands out so many places and no more. Any thread.
class ConnectionLimit {
public:
    explicit ConnectionLimit(unsigned places) : free_(places) {}

    /// Waits for a free place and takes it. It is given back when the last copy of what this returns goes.
    /// The limit itself must outlive that.
    std::shared_ptr<void> TakePlace() {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait(lock, [this] { return free_ > 0; });
        std::shared_ptr<void> place(this, [](void* limit) { static_cast<ConnectionLimit*>(limit)->GivePlace(); });
        --free_;
        return place;
    }

private:
    void GivePlace() {
        const std::lock_guard<std::mutex> lock(mutex_);
        ++free_;
        changed_.notify_one();
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    unsigned free_;
};

}  // namespace message_server
