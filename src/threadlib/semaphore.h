// The binary semaphore that every lock and every signal of the library is made of.
// SPDX-License-Identifier: MIT
#ifndef WPK_THREADLIB_SEMAPHORE_H
#define WPK_THREADLIB_SEMAPHORE_H

#include <cstdint>

#include "threadlib/handle.h"

namespace wpk::core {

enum class SemaphoreKind {
    /// Free at creation: the first wait passes.
    kLock,
    /// Not signalled at creation: the first wait blocks.
    kSignal,
};

/// An operating-system semaphore whose count is at most 1. False when the system could not make it: every operation
/// then fails. Any thread may use it; it must outlive every wait on it.
class Semaphore {
public:
    explicit Semaphore(SemaphoreKind kind);

    explicit operator bool() const { return static_cast<bool>(handle_); }

    /// Waits without limit. True when it was signalled.
    bool Wait() const { return WaitFor(INFINITE); }

    /// Waits at most so many milliseconds. True when it was signalled.
    bool WaitFor(DWORD milliseconds) const;

    /// Signals. False when it was signalled already.
    bool Signal() const;

    void Close() { handle_.Reset(); }

private:
    UniqueHandle handle_;
    [[maybe_unused]] const uint64_t reserved64_ = 0;
    const uint32_t initialCount_;
    const uint32_t maximumCount_ = 1;
    [[maybe_unused]] const uint32_t reserved32_ = 0;
};

/// Holds a lock for the length of a scope.
class ScopedLock {
public:
    explicit ScopedLock(const Semaphore& lock) : lock_(lock) { lock_.Wait(); }
    ScopedLock(const ScopedLock&) = delete;
    ScopedLock& operator=(const ScopedLock&) = delete;
    ~ScopedLock() { lock_.Signal(); }

private:
    const Semaphore& lock_;
};

}  // namespace wpk::core

#endif
