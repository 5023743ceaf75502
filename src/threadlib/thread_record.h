// What the thread layer keeps of one thread, and the message that threads hand each other.
// SPDX-License-Identifier: MIT
#ifndef WPK_THREADLIB_THREAD_RECORD_H
#define WPK_THREADLIB_THREAD_RECORD_H

#include <cstdint>
#include <memory>
#include <new>

#include "threadlib/handle.h"
#include "threadlib/list.h"
#include "threadlib/semaphore.h"

namespace wpk::core {

/// One exchange between two threads. Owned by the thread that uses it, usually on its stack.
struct Message {
    /// Makes the ready signal unless it is there. False when the system cannot.
    bool EnsureReadySignal() {
        if (!readySignal) readySignal.reset(new (std::nothrow) Semaphore(SemaphoreKind::kSignal));
        if (readySignal && !*readySignal) readySignal.reset();
        return readySignal != nullptr;
    }

    /// Copies what travels: everything but the signal.
    void CopyContentFrom(const Message& other) {
        threadId = other.threadId;
        code = other.code;
        data = other.data;
    }

    /// Signalled while a receiver waits with this message for a sender, who takes the signal before it writes. Made
    /// when it is first needed: a message that is only sent, or received from the queue, does without.
    std::unique_ptr<Semaphore> readySignal;
    /// On the way there and after a receive: the sender. After a reply: the replier.
    uint32_t threadId = 0;
    /// A request's argument count; in a reply, the result.
    uint32_t code = 0;
    /// A request's arguments; in a reply, a pointer-sized value.
    uint64_t data = 0;
};

/// A thread function: gets its argument, returns the exit code.
using ThreadEntry = uint32_t (*)(void* argument);

enum class ThreadState : uint32_t {
    kEnded = 0,
    kCreated = 1,
    kRunning = 2,
    kSendBlocked = 3,
    kReceiveBlocked = 4,
    kReplyBlocked = 5,
};

/// One thread known to the thread layer. Everything but `entry` and `argument`, which never change, is guarded by the
/// registry's lock.
struct ThreadRecord {
    ThreadRecord() = default;
    ThreadRecord(const ThreadRecord&) = delete;
    ThreadRecord& operator=(const ThreadRecord&) = delete;

    /// Empty for a thread that registered itself: the system's pseudo-handle of the current thread would stand for
    /// whoever uses it, so that suspending or ending such a thread would stop the caller in its place.
    UniqueHandle handle;
    uint32_t id = 0;
    ThreadState state = ThreadState::kCreated;
    /// Zero-terminated; null for a thread without a name.
    std::unique_ptr<char[]> name;
    ThreadEntry entry = nullptr;
    void* argument = nullptr;

    /// On which the thread blocks in Send and Receive. Without it the record is of no use.
    Semaphore wakeSignal{SemaphoreKind::kSignal};
    /// Threads that have sent to this one and wait to be received, in arrival order.
    List<ThreadRecord> sendQueue;
    /// Threads that this one has received and not yet answered.
    List<ThreadRecord> replyList;
    /// The message in use: the outgoing one while it sends, the buffer while it receives.
    Message* message = nullptr;
    /// The thread to which this one has sent and that has not answered yet.
    ThreadRecord* partner = nullptr;

    /// The place in the partner's send queue or reply list: a thread waits for one other at a time.
    ListNode<ThreadRecord> waiting{*this};
    ListNode<ThreadRecord> inBucket{*this};
};

}  // namespace wpk::core

#endif
