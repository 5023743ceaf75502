// What the thread layer keeps of one thread, and the message that threads hand each other.
// SPDX-License-Identifier: MIT
#ifndef WPK_THREADLIB_THREAD_RECORD_H
#define WPK_THREADLIB_THREAD_RECORD_H

#include <cstdint>
#include <optional>

#include "threadlib/counted_text.h"
#include "threadlib/handle.h"
#include "threadlib/list.h"
#include "threadlib/semaphore.h"

namespace wpk {

/// One exchange between two threads. Owned by the thread that uses it, usually on its stack.
struct Message {
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

    /// Makes the wake signal unless it is there. False when the system cannot.
    bool EnsureWakeSignal() {
        if (!wakeSignal) {
            Semaphore signal(SemaphoreKind::kSignal);
            if (signal) wakeSignal.emplace(std::move(signal));
        }
        return wakeSignal.has_value();
    }

    /// Empty for a thread that registered itself: nobody resumes, suspends or ends it through the layer.
    UniqueHandle handle;
    uint32_t id = 0;
    ThreadState state = ThreadState::kCreated;
    /// Registered for one send only: who ends that takes the record out of the registry.
    bool guest = false;
    CountedText name;
    ThreadEntry entry = nullptr;
    void* argument = nullptr;

    /// On which the thread blocks in Send and Receive.
    std::optional<Semaphore> wakeSignal;
    /// Threads that have sent to this one and wait to be received, in arrival order.
    List<ThreadRecord> sendQueue;
    /// Threads that this one has received and not yet answered.
    List<ThreadRecord> replyList;
    /// The message in use: the outgoing one while it sends, the buffer while it receives.
    Message* message = nullptr;
    /// The thread to which this one has sent.
    ThreadRecord* partner = nullptr;

    /// The place in the partner's send queue or reply list: a thread waits for one other at a time.
    ListNode<ThreadRecord> waiting{*this};
    ListNode<ThreadRecord> inBucket{*this};
};

}  // namespace wpk

#endif
