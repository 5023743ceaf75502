// Threads that can be made suspended, and that stop at their next call when they are suspended or terminated.
// SPDX-License-Identifier: MIT
#include "fake_platform/src/thread.h"

#include <system_error>
#include <thread>
#include <utility>

#include "fake_platform/src/call.h"
#include "fake_platform/src/reusable_ids.h"
#include "fake_platform/src/scheduler.h"

namespace wpk::host {
namespace {

/// How a thread comes back to where it has begun.
constexpr int kExited = 1;
constexpr int kTerminated = 2;

ReusableIds ids;
std::atomic<int64_t> running{0};

/// Trivial, so that they can be asked at any time of a thread's life; Leaving clears them.
thread_local Thread* current = nullptr;
thread_local bool left = false;

/// A thread that came from outside gives its id back when it goes.
struct Leaving {
    std::shared_ptr<Thread> thread;
    ~Leaving() { Leave(); }
    void Leave() {
        left = true;
        current = nullptr;
        if (thread) thread->Forget();
        thread.reset();
    }
};
thread_local Leaving leaving;

}  // namespace

std::shared_ptr<Thread> Thread::Register(bool foreign, bool suspended) {
    auto thread = std::make_shared<Thread>(foreign, suspended);
    thread->number_ = ids.Claim();
    thread->slot_ = AddObject(thread);
    ids.SetSlot(thread->number_, thread->slot_);
    return thread;
}

std::shared_ptr<Thread> Thread::Start(Entry entry, void* argument, bool suspended) {
    std::shared_ptr<Thread> thread = Register(/*foreign=*/false, suspended);
    running.fetch_add(1, std::memory_order_relaxed);
    if (IsScheduled()) {
        const auto mayBegin = [its = thread.get()] { return its->suspended_ == 0 || its->Dead(); };
        StartScheduled(
            "thread " + std::to_string(thread->Id()), [thread, entry, argument] { thread->Run(entry, argument); },
            mayBegin);
        return thread;
    }
    try {
        std::thread([thread, entry, argument] { thread->Run(entry, argument); }).detach();
    } catch (const std::system_error&) {
        thread->Forget();
        return nullptr;
    }
    return thread;
}

void Thread::Run(Entry entry, void* argument) {
    current = this;
    // Exit comes back here; whatever stands on the stack between is left as it is, as on Windows.
    const int way = setjmp(base_);
    if (way == kTerminated) {
        KeepForRun(shared_from_this());
        current = nullptr;
        return;
    }
    if (way == 0) {
        // Through the mutex even when nothing stops it: what came before the resume comes before the thread.
        StopWhileAsked();
        SetRunningCode(Code::kLibrary);
        result_ = entry(argument);
    }
    SetRunningCode(Code::kTest);
    std::unique_lock lock(mutex_);
    AwaitLeave(lock);
    current = nullptr;
    MarkEnded(result_);
}

void Thread::Exit(unsigned exitCode) {
    result_ = exitCode;
    std::longjmp(base_, kExited);
}

void Thread::MarkEnded(DWORD exitCode) {
    ended_ = true;
    exitCode_ = exitCode;
    RemoveObject(slot_);
    ids.SetSlot(number_, 0);
    GiveIdBack();
    // Whoever counts the threads and finds this one ended comes after it.
    if (!foreign_) running.fetch_sub(1, std::memory_order_release);
    changed_.notify_all();
}

/// An id is taken as long as the thread runs or a handle to it is open.
void Thread::GiveIdBack() {
    if (!hasId_ || !ended_ || HasHandle()) return;
    hasId_ = false;
    ids.Free(number_);
}

void Thread::LastHandleClosed() {
    const std::lock_guard lock(mutex_);
    GiveIdBack();
}

void Thread::Forget() {
    const std::lock_guard lock(mutex_);
    if (!ended_) MarkEnded(0);
}

Thread* Thread::Current() {
    if (!current && !left) {
        leaving.thread = Register(/*foreign=*/true, /*suspended=*/false);
        current = leaving.thread.get();
    }
    return current;
}

std::shared_ptr<Thread> Thread::ById(DWORD id) {
    if (id % 4 != 0) return nullptr;
    return std::dynamic_pointer_cast<Thread>(FindObject(ids.SlotOf(id / 4)));
}

void Thread::Leave() {
    leaving.Leave();
}

DWORD Thread::Suspend() {
    const std::lock_guard lock(mutex_);
    if (ended_) return UINT32_MAX;
    stop_.store(true, std::memory_order_relaxed);
    return static_cast<DWORD>(suspended_++);
}

DWORD Thread::Resume() {
    const std::lock_guard lock(mutex_);
    if (suspended_ == 0) return 0;
    const int before = suspended_--;
    if (suspended_ == 0 && !Dead()) stop_.store(false, std::memory_order_relaxed);
    changed_.notify_all();
    return static_cast<DWORD>(before);
}

void Thread::Terminate(DWORD exitCode) {
    const std::lock_guard lock(mutex_);
    if (ended_ || Dead()) return;
    exitCode_ = exitCode;
    dead_.store(true, std::memory_order_relaxed);
    stop_.store(true, std::memory_order_relaxed);
    if (waiting_) MarkEnded(exitCode);
}

DWORD Thread::ExitCode() {
    const std::lock_guard lock(mutex_);
    return exitCode_;
}

void Thread::AwaitLeave(std::unique_lock<std::mutex>& lock) {
    if (Dead() && !ended_) MarkEnded(exitCode_);
    const bool wasWaiting = std::exchange(waiting_, true);
    if (IsScheduled()) {
        AwaitLeaveScheduled(lock);
    } else {
        changed_.wait(lock, [this] { return suspended_ == 0 && !Dead(); });
    }
    waiting_ = wasWaiting;
}

/// A terminated thread of a run goes, so that the run comes to an end; what it holds stays as it is.
void Thread::AwaitLeaveScheduled(std::unique_lock<std::mutex>& lock) {
    lock.unlock();
    const auto mayGoOn = [this] { return suspended_ == 0 || Dead(); };
    if (!mayGoOn()) AwaitScheduled("its suspension", mayGoOn, INFINITE);
    if (Dead()) std::longjmp(base_, kTerminated);
    lock.lock();
}

void Thread::StopWhileAsked() {
    std::unique_lock lock(mutex_);
    AwaitLeave(lock);
}

void Thread::BeginWait() {
    const std::lock_guard lock(mutex_);
    if (Dead() && !ended_) MarkEnded(exitCode_);
    waiting_ = true;
}

bool Thread::EndWait() {
    const std::lock_guard lock(mutex_);
    if (Dead()) return false;
    waiting_ = false;
    return true;
}

int64_t Thread::Running() {
    return running.load(std::memory_order_acquire);
}

void StopPoint() {
    Thread* self = current;
    if (self && self->AskedToStop()) self->StopWhileAsked();
}

}  // namespace wpk::host
