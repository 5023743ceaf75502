// ConnectionLimit: how many connections are served at once.
// SPDX-License-Identifier: MIT
#pragma once

#include <condition_variable>
#include <mutex>
#include <utility>

namespace message_server {

/// Limits the number of places that are taken at the same time. Any thread.
class ConnectionLimit {
public:
    /// A taken place, freed by its destructor. Taking one allocates nothing, so none can be lost.
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
