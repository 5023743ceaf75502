// Semaphores and waiting.
// SPDX-License-Identifier: MIT
#include "fake_platform/src/waitable.h"

#include <algorithm>
#include <chrono>

#include "fake_platform/src/call.h"
#include "fake_platform/src/scheduler.h"
#include "fake_platform/src/thread.h"

namespace wpk::host {

void Users::Leave(Thread* thread) {
    threads_.erase(std::find(threads_.begin(), threads_.end(), thread));
}

bool Users::AnyOther() const {
    const Thread* self = Thread::Current();
    return std::any_of(threads_.begin(), threads_.end(),
                       [self](const Thread* thread) { return thread && thread != self && !thread->Dead(); });
}

DWORD Waitable::Wait(DWORD milliseconds) {
    using Clock = std::chrono::steady_clock;
    const auto limit = std::chrono::duration<double, std::milli>(RealMilliseconds(milliseconds));
    const auto deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(limit);
    Thread* self = Thread::Current();

    WaitScope wait;
    std::unique_lock lock(mutex_);
    waiters_.Enter(self);
    DWORD result = WAIT_TIMEOUT;
    for (;;) {
        if (wait.AskedToStop()) {
            lock.unlock();
            StopPoint();
            lock.lock();
        } else if (Signalled()) {
            Take();
            result = WAIT_OBJECT_0;
            break;
        } else if (IsScheduled() && milliseconds != 0) {
            lock.unlock();
            const bool inTime = AwaitScheduled(
                "WaitForSingleObject", [&] { return wait.AskedToStop() || Signalled(); }, milliseconds);
            lock.lock();
            if (!inTime) break;
        } else if (milliseconds == INFINITE) {
            changed_.wait(lock);
        } else if (milliseconds == 0 || Clock::now() >= deadline) {
            break;
        } else {
            changed_.wait_until(lock, deadline);
        }
    }
    waiters_.Leave(self);
    return result;
}

void Waitable::LastHandleClosed() {
    const std::lock_guard lock(mutex_);
    if (waiters_.AnyOther()) RecordMisuse("the last handle of an object was closed while a thread waited on it");
}

bool Semaphore::Release(LONG count, LONG* previous) {
    {
        const std::lock_guard lock(mutex_);
        if (count > maximum_ - count_) return false;
        if (previous) *previous = count_;
        count_ += count;
    }
    // Not only one of them: the one that wakes may have been told to stop and leaves the signal to another.
    changed_.notify_all();
    return true;
}

}  // namespace wpk::host
