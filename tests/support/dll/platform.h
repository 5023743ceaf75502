// The platform's headers, in the one order that works, and the small things every part of the harness is made of.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_SUPPORT_DLL_PLATFORM_H
#define WPK_TESTS_SUPPORT_DLL_PLATFORM_H

#include <winsock2.h>
#include <windows.h>

#include <functional>
#include <utility>

namespace wpk::harness {

/// Long enough for any machine under any load: a test that reaches it has failed, it was not merely slow.
constexpr DWORD kPatience = 90 * 1000;

/// A lock with a condition. It takes no handle, so it leaves the process's handle count alone.
class Monitor {
public:
    Monitor() = default;
    Monitor(const Monitor&) = delete;
    Monitor& operator=(const Monitor&) = delete;

    /// Runs `change` under the lock, then wakes all who wait. Returns what `change` returns.
    template <class Change>
    auto Update(Change change) {
        Hold hold(lock_);
        WakeAllConditionVariable(&changed_);
        return change();
    }

    /// Waits until `holds` (called under the lock) is true; false when the time is over.
    template <class Predicate>
    bool WaitUntil(Predicate holds, DWORD milliseconds = kPatience) {
        const ULONGLONG end = GetTickCount64() + milliseconds;
        Hold hold(lock_);
        while (!holds()) {
            const ULONGLONG now = GetTickCount64();
            if (now >= end) return false;
            SleepConditionVariableSRW(&changed_, &lock_, static_cast<DWORD>(end - now), 0);
        }
        return true;
    }

private:
    class Hold {
    public:
        explicit Hold(SRWLOCK& lock) : lock_(lock) { AcquireSRWLockExclusive(&lock_); }
        ~Hold() { ReleaseSRWLockExclusive(&lock_); }
        Hold(const Hold&) = delete;
        Hold& operator=(const Hold&) = delete;

    private:
        SRWLOCK& lock_;
    };

    SRWLOCK lock_ = SRWLOCK_INIT;
    CONDITION_VARIABLE changed_ = CONDITION_VARIABLE_INIT;
};

/// Set once, waited for by anybody.
class Signal {
public:
    void Set() {
        monitor_.Update([this] { set_ = true; });
    }
    bool Wait(DWORD milliseconds = kPatience) {
        return monitor_.WaitUntil([this] { return set_; }, milliseconds);
    }

private:
    Monitor monitor_;
    bool set_ = false;
};

/// A thread of the test's own; the destructor waits for its end.
class Thread {
public:
    explicit Thread(std::function<void()> body) : body_(new std::function<void()>(std::move(body))) {
        handle_ = CreateThread(nullptr, 0, &Thread::Run, body_, 0, nullptr);
    }
    Thread(Thread&& other) noexcept
        : body_(std::exchange(other.body_, nullptr)), handle_(std::exchange(other.handle_, nullptr)) {}
    Thread& operator=(Thread&&) = delete;
    ~Thread() { Join(); }

    void Join() {
        if (!handle_) return;
        WaitForSingleObject(handle_, INFINITE);
        CloseHandle(std::exchange(handle_, nullptr));
        delete std::exchange(body_, nullptr);
    }

private:
    static DWORD WINAPI Run(void* body) {
        (*static_cast<std::function<void()>*>(body))();
        return 0;
    }

    /// On the heap: the running thread keeps using it while the Thread object is moved.
    std::function<void()>* body_;
    HANDLE handle_;
};

}  // namespace wpk::harness

#endif  // WPK_TESTS_SUPPORT_DLL_PLATFORM_H
