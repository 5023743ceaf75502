// The readers-writer lock of the record tables and of the call gate.
// SPDX-License-Identifier: MIT
#ifndef WPK_THREADLIB_READERS_WRITER_LOCK_H
#define WPK_THREADLIB_READERS_WRITER_LOCK_H

#include <cstdint>

#include "threadlib/semaphore.h"

namespace wpk::core {

/// Many readers or one writer. Made of a lock around the count of readers and a lock that keeps writers out: the first
/// reader takes the latter, the last one gives it back. The first reader waits for it with the count lock held, so that
/// no second reader slips in beside a writer; a writer never needs the count, so nobody waits in a circle.
class ReadersWriterLock {
public:
    ReadersWriterLock() {
        countLock_.Signal();
        writerLock_.Signal();
    }
    ReadersWriterLock(const ReadersWriterLock&) = delete;
    ReadersWriterLock& operator=(const ReadersWriterLock&) = delete;

    /// False when the system could not make its semaphores.
    explicit operator bool() const { return countLock_ && writerLock_; }

    void EnterShared() {
        const ScopedLock counting(countLock_);
        if (++readers_ == 1) writerLock_.Wait();
    }
    void LeaveShared() {
        const ScopedLock counting(countLock_);
        if (--readers_ == 0) writerLock_.Signal();
    }
    void EnterExclusive() { writerLock_.Wait(); }
    void LeaveExclusive() { writerLock_.Signal(); }

private:
    uint32_t readers_ = 0;
    // Made as signals and signalled once: both start free.
    Semaphore countLock_{SemaphoreKind::kSignal};
    Semaphore writerLock_{SemaphoreKind::kSignal};
};

/// Holds the shared side for the length of a scope.
class SharedScope {
public:
    explicit SharedScope(ReadersWriterLock& lock) : lock_(lock) { lock_.EnterShared(); }
    SharedScope(const SharedScope&) = delete;
    SharedScope& operator=(const SharedScope&) = delete;
    ~SharedScope() { lock_.LeaveShared(); }

private:
    ReadersWriterLock& lock_;
};

/// Holds the exclusive side for the length of a scope.
class ExclusiveScope {
public:
    explicit ExclusiveScope(ReadersWriterLock& lock) : lock_(lock) { lock_.EnterExclusive(); }
    ExclusiveScope(const ExclusiveScope&) = delete;
    ExclusiveScope& operator=(const ExclusiveScope&) = delete;
    ~ExclusiveScope() { lock_.LeaveExclusive(); }

private:
    ReadersWriterLock& lock_;
};

}  // namespace wpk::core

#endif
