// Threads that can be made suspended, and that stop at their next call when they are suspended or terminated.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_FAKE_PLATFORM_SRC_THREAD_H
#define WPK_TESTS_FAKE_PLATFORM_SRC_THREAD_H

#include <csetjmp>

#include "fake_platform/src/waitable.h"

namespace wpk::host {

class Thread : public Waitable, public std::enable_shared_from_this<Thread> {
public:
    using Entry = unsigned (*)(void*);

    /// Starts a thread. Null when the system has no more of them.
    static std::shared_ptr<Thread> Start(Entry entry, void* argument, bool suspended);

    /// The calling thread's record, made at its first use; null when the calling thread is about to end.
    static Thread* Current();
    static std::shared_ptr<Thread> ById(DWORD id);

    Thread(bool foreign, bool suspended)
        : Waitable(Kind::kThread), foreign_(foreign), suspended_(suspended), stop_(suspended) {}

    DWORD Id() const { return number_ * 4; }
    /// The count before the call; 0xFFFFFFFF for a thread that has ended.
    DWORD Suspend();
    DWORD Resume();
    /// The thread counts as ended once it stands still: at once if it waits in here, else from its next call on.
    void Terminate(DWORD exitCode);
    DWORD ExitCode();
    bool Dead() const { return dead_.load(std::memory_order_relaxed); }
    [[noreturn]] void Exit(unsigned exitCode);

    /// Returns when the thread may go on, which for a terminated one is never. On the thread itself.
    void StopWhileAsked();
    bool AskedToStop() const { return stop_.load(std::memory_order_relaxed); }

    /// From here to the end of it the thread touches nothing of its caller's. On the thread itself.
    void BeginWait();
    /// False when it has been terminated meanwhile: it must touch nothing any more and let go of what it holds in here.
    bool EndWait();

    /// A thread that the platform has not made leaves.
    void Forget();
    /// The calling one does, if it is known at all.
    static void Leave();

    static int64_t Running();

protected:
    bool Signalled() const override { return ended_; }
    void Take() override {}
    void LastHandleClosed() override;

private:
    static std::shared_ptr<Thread> Register(bool foreign, bool suspended);
    void Run(Entry entry, void* argument);
    /// All with the mutex held.
    void AwaitLeave(std::unique_lock<std::mutex>& lock);
    void AwaitLeaveScheduled(std::unique_lock<std::mutex>& lock);
    void MarkEnded(DWORD exitCode);
    void GiveIdBack();

    const bool foreign_;
    uint32_t number_ = 0;
    bool hasId_ = true;
    /// Where the table has it while it runs, whether or not a handle is open.
    uint32_t slot_ = 0;
    int suspended_;
    bool ended_ = false;
    bool waiting_ = false;
    unsigned result_ = 0;
    DWORD exitCode_ = STILL_ACTIVE;
    std::atomic<bool> dead_{false};
    std::atomic<bool> stop_;
    std::jmp_buf base_;
};

/// The length of a wait inside a call.
class WaitScope {
public:
    WaitScope() : self_(Thread::Current()) {
        if (self_) self_->BeginWait();
    }
    WaitScope(const WaitScope&) = delete;
    WaitScope& operator=(const WaitScope&) = delete;
    ~WaitScope() { End(); }

    /// As Thread::EndWait.
    bool End() {
        const bool alive = !self_ || self_->EndWait();
        self_ = nullptr;
        return alive;
    }
    /// Whether the wait has to make way for a stop.
    bool AskedToStop() const { return self_ && self_->AskedToStop(); }
    bool Dead() const { return self_ && self_->Dead(); }

private:
    Thread* self_;
};

/// Where a stopped thread stops.
void StopPoint();

}  // namespace wpk::host

#endif  // WPK_TESTS_FAKE_PLATFORM_SRC_THREAD_H
