// ConnectionLimit: how many connections are served at once.
// SPDX-License-Identifier: MIT
#pragma once

#include <condition_variable>
#include <mutex>
#include <utility>

namespace message_server {

/// Hands out so many places and no more. Any thread.
class ConnectionLimit {
public:
    /// A place that is taken, and given back with its owner. It takes no memory, so that there is no way to lose one.
    class Place {
    public:
        explicit Place(ConnectionLimit& limit) noexcept : limit_(&limit) {}
        Place(Place&& other) noexcept : limit_(std::exchange(other.limit_, nullptr)) {}
        Place& operator=(Place&&) = delete;
        ~Place() {
            if (limit_ != nullptr) limit_->GivePlace();
        }

    private:
        ConnectionLimit* limit_;
    };

    explicit ConnectionLimit(unsigned places) : free_(places) {}

    /// Waits for a free place and takes it. The limit itself must outlive the place.
    Place TakePlace() {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait(lock, [this] { return free_ > 0; });
        --free_;
        return Place(*this);
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
