// What WaitForSingleObject waits on.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_FAKE_PLATFORM_SRC_WAITABLE_H
#define WPK_TESTS_FAKE_PLATFORM_SRC_WAITABLE_H

#include <condition_variable>
#include <mutex>
#include <vector>

#include "fake_platform/src/object.h"

namespace wpk::host {

class Thread;

/// The threads that are inside a call about one object, to find out who pulls an object from under whom.
class Users {
public:
    void Enter(Thread* thread) { threads_.push_back(thread); }
    void Leave(Thread* thread);
    /// Whether a thread other than the calling one, which has not been terminated, is among them.
    bool AnyOther() const;

private:
    std::vector<Thread*> threads_;
};

class Waitable : public Object {
public:
    using Object::Object;

    /// WAIT_OBJECT_0 or WAIT_TIMEOUT. A thread that is suspended or terminated meanwhile takes nothing.
    DWORD Wait(DWORD milliseconds);

protected:
    /// Both with the mutex held.
    virtual bool Signalled() const = 0;
    /// Takes the signal, which is there.
    virtual void Take() = 0;
    void LastHandleClosed() override;

    std::mutex mutex_;
    std::condition_variable changed_;

private:
    Users waiters_;
};

class Semaphore : public Waitable {
public:
    Semaphore(LONG initial, LONG maximum) : Waitable(Kind::kSemaphore), count_(initial), maximum_(maximum) {}

    /// False when the maximum would be passed.
    bool Release(LONG count, LONG* previous);

protected:
    bool Signalled() const override { return count_ != 0; }
    void Take() override { --count_; }

private:
    LONG count_;
    const LONG maximum_;
};

}  // namespace wpk::host

#endif  // WPK_TESTS_FAKE_PLATFORM_SRC_WAITABLE_H
