// Makes the locks, clocks and threads of what is included after it the scheduler's. For one source file alone.
// SPDX-License-Identifier: MIT
//
// The C++ layer is a header on the standard library, and a thread that waits for a lock of that is nothing that the
// scheduler sees. So in this file the standard names mean locks that it does see.
#ifndef WPK_TESTS_NATIVE_EXPLORE_CLIENT_LOCKS_H
#define WPK_TESTS_NATIVE_EXPLORE_CLIENT_LOCKS_H

// All that the layer includes, first: under their own names.
#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <exception>
#include <functional>
#include <future>
#include <iterator>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "fake_platform/src/scheduler.h"

namespace wpk::explore {

/// Outside of a schedule it keeps nobody apart.
class ScheduledMutex {
public:
    void lock() {
        host::SchedulePoint();
        while (held_)
            host::AwaitScheduled(
                "a mutex", [this] { return !held_; }, UINT32_MAX);
        held_ = true;
    }
    bool try_lock() {
        host::SchedulePoint();
        return !std::exchange(held_, true);
    }
    void unlock() {
        held_ = false;
        host::SchedulePoint();
    }

private:
    bool held_ = false;
};

class ScheduledCondition {
public:
    template <class Lock>
    void wait(Lock& lock) {
        Await(lock, UINT32_MAX);
    }
    template <class Lock, class Rep, class Period>
    std::cv_status wait_for(Lock& lock, std::chrono::duration<Rep, Period> time) {
        const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(time).count();
        return Await(lock, static_cast<uint32_t>(milliseconds)) ? std::cv_status::no_timeout : std::cv_status::timeout;
    }
    void notify_all() {
        ++notified_;
        host::SchedulePoint();
    }

private:
    template <class Lock>
    bool Await(Lock& lock, uint32_t milliseconds) {
        const uint64_t before = notified_;
        lock.mutex()->unlock();
        const bool inTime =
            notified_ != before || host::AwaitScheduled(
                                       "a condition", [&] { return notified_ != before; }, milliseconds);
        lock.mutex()->lock();
        return inTime;
    }

    uint64_t notified_ = 0;
};

struct ScheduledClock {
    using duration = std::chrono::milliseconds;
    using rep = duration::rep;
    using period = duration::period;
    using time_point = std::chrono::time_point<ScheduledClock>;
    static constexpr bool is_steady = true;
    static time_point now() { return time_point(duration(host::IsScheduled() ? host::ScheduledTime() : 0)); }
};

class ScheduledThread {
public:
    ScheduledThread() = default;
    template <class Function, class... Arguments>
    explicit ScheduledThread(Function function, Arguments... arguments) : ended_(std::make_shared<bool>(false)) {
        host::StartThread("timekeeper", [=, ended = ended_] {
            std::invoke(function, arguments...);
            *ended = true;
        });
    }
    bool joinable() const { return ended_ != nullptr; }
    void join() {
        host::AwaitScheduled(
            "the end of a thread", [this] { return *ended_; }, UINT32_MAX);
        ended_.reset();
    }

private:
    std::shared_ptr<bool> ended_;
};

}  // namespace wpk::explore

namespace std {  // NOLINT(cert-dcl58-cpp): names that the macros below make of standard ones
using wpk_scheduled_mutex = wpk::explore::ScheduledMutex;
using wpk_scheduled_condition = wpk::explore::ScheduledCondition;
using wpk_scheduled_thread = wpk::explore::ScheduledThread;
namespace chrono {
using wpk_scheduled_clock = wpk::explore::ScheduledClock;
}
}  // namespace std

#define mutex wpk_scheduled_mutex
#define condition_variable wpk_scheduled_condition
#define steady_clock wpk_scheduled_clock
#define thread wpk_scheduled_thread

#endif  // WPK_TESTS_NATIVE_EXPLORE_CLIENT_LOCKS_H
