/// @file
/// Keeps the time limits of requests. Nothing here is for applications.
// SPDX-License-Identifier: MIT
#ifndef WPK_CLIENT_DETAIL_TIMEKEEPER_H
#define WPK_CLIENT_DETAIL_TIMEKEEPER_H

#include <wpk/client/detail/requirements.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <set>
#include <thread>
#include <utility>

namespace wpk {
inline namespace client {
namespace detail {

/// One thread for all time limits of a Client's requests. The first limit starts it; it ends with this object, which
/// must outlive the limits. Any thread may make and destroy limits, and the last owner of this object may be any thread
/// but its own.
class Timekeeper {
    using Clock = std::chrono::steady_clock;

public:
    /// Called on the timekeeper's thread, with its lock held: it must not make or destroy a limit. False: not done yet,
    /// to be called again soon. It must not throw.
    using TimeUp = std::function<bool()>;

    /// A time limit, from its construction to its destruction.
    class Limit {
    public:
        /// `time` is counted from now; one below zero is over at once. Throws when there is no thread or memory for it.
        Limit(Timekeeper& keeper, std::chrono::milliseconds time, TimeUp time_up)
            : keeper_(keeper), time_up_(std::move(time_up)), due_(After(time)) {
            keeper_.Add(*this);
        }
        Limit(const Limit&) = delete;
        Limit& operator=(const Limit&) = delete;
        /// When it is back, the function is not running and is not called any more.
        ~Limit() { keeper_.Remove(*this); }

    private:
        friend class Timekeeper;

        static Clock::time_point After(std::chrono::milliseconds time) {
            // A clock that counts nanoseconds in 64 bits has no more than three centuries.
            constexpr std::chrono::hours kCentury{24 * 365 * 100};
            return Clock::now() +
                   std::clamp<std::chrono::milliseconds>(time, std::chrono::milliseconds::zero(), kCentury);
        }

        Timekeeper& keeper_;
        const TimeUp time_up_;
        Clock::time_point due_;
    };

    Timekeeper() = default;
    Timekeeper(const Timekeeper&) = delete;
    Timekeeper& operator=(const Timekeeper&) = delete;
    ~Timekeeper() {
        if (!thread_.joinable()) return;
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            over_ = true;
            changed_.notify_all();
        }
        thread_.join();
    }

private:
    using Due = std::pair<Clock::time_point, Limit*>;

    void Add(Limit& limit) {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (!thread_.joinable()) thread_ = std::thread(&Timekeeper::Run, this);
        limits_.insert({limit.due_, &limit});
        if (limits_.begin()->second == &limit) changed_.notify_all();
    }

    void Remove(Limit& limit) noexcept {
        const std::lock_guard<std::mutex> lock(mutex_);
        limits_.erase({limit.due_, &limit});
    }

    void Run() noexcept {
        std::unique_lock<std::mutex> lock(mutex_);
        while (!over_) {
            if (limits_.empty()) {
                changed_.wait(lock);
            } else if (const auto left = limits_.begin()->first - Clock::now(); left > Clock::duration::zero()) {
                // Standard libraries add what is left to other clocks, which may not reach as far.
                constexpr std::chrono::hours kLongestWait{1};
                changed_.wait_for(lock, std::min<Clock::duration>(left, kLongestWait));
            } else {
                TellFirst();
            }
        }
    }

    /// With the lock held. Allocates nothing.
    void TellFirst() noexcept {
        constexpr std::chrono::milliseconds kNextTry{50};
        auto first = limits_.extract(limits_.begin());
        Limit& limit = *first.value().second;
        if (limit.time_up_()) return;
        limit.due_ = Clock::now() + kNextTry;
        first.value().first = limit.due_;
        limits_.insert(std::move(first));
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    std::set<Due> limits_;  // the earliest first
    bool over_ = false;
    std::thread thread_;
};

}  // namespace detail
}  // namespace client
}  // namespace wpk

#endif  // WPK_CLIENT_DETAIL_TIMEKEEPER_H
