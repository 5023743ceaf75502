// The rendezvous: send, receive, reply.
// SPDX-License-Identifier: MIT
//
// Whoever wakes a thread has first, under the registry's lock, written its message and set its state. So the woken
// thread has nothing left to look at under the lock, and a receiver that one sender has woken is no longer seen as
// waiting by the next one: that one would hand over a second message where one is awaited, and be left behind.
//
// For the same reason a receiver says that it is ready and that it waits in one hold of the lock. A sender that saw it
// wait before it is ready would have to let go of the lock to wait for it, and a second sender could come between.
#include "threadlib/process_registry.h"
#include "threadlib/threadlib.h"

namespace wpk::core::ThreadLib {

namespace {

/// Hands the sender's message to the receiver, who owes it an answer from now on.
void HandOver(ThreadRecord& sender, ThreadRecord& receiver) {
    receiver.message->CopyContentFrom(*sender.message);
    receiver.replyList.Append(sender.waiting);
    receiver.state = ThreadState::kRunning;
    sender.state = ThreadState::kReplyBlocked;
}

/// Queues the sender's message, or hands it over at once. Returns what the sender has to wait on; null on failure.
const Semaphore* Enqueue(ThreadRegistry& registry, uint32_t target, Message& message) {
    const ScopedLock lock(registry.Lock());
    ThreadRecord* sender = registry.Find(message.threadId);
    ThreadRecord* receiver = registry.Find(target);
    if (!sender || !receiver) return nullptr;

    sender->message = &message;
    sender->partner = receiver;
    if (receiver->state == ThreadState::kReceiveBlocked) {
        // It was signalled under the lock together with the state, so this takes no time.
        receiver->message->readySignal->Wait();
        HandOver(*sender, *receiver);
        receiver->wakeSignal.Signal();
    } else {
        receiver->sendQueue.Append(sender->waiting);
        sender->state = ThreadState::kSendBlocked;
    }
    return &sender->wakeSignal;
}

/// Takes the longest waiting sender's message. Returns what the receiver has to wait on if there is none; null when the
/// receive is over, well (message.threadId is the sender) or not (0).
const Semaphore* TakeMessage(ThreadRegistry& registry, Message& message) {
    const ScopedLock lock(registry.Lock());
    ThreadRecord* receiver = registry.Find(GetCurrentThreadId());
    if (!receiver) return nullptr;

    receiver->message = &message;
    if (ThreadRecord* sender = receiver->sendQueue.Take()) {
        if (sender->state == ThreadState::kSendBlocked && sender->partner == receiver) HandOver(*sender, *receiver);
        return nullptr;
    }
    if (!message.EnsureReadySignal() || !message.readySignal->Signal()) return nullptr;
    receiver->state = ThreadState::kReceiveBlocked;
    return &receiver->wakeSignal;
}

}  // namespace

uint32_t Send(uint32_t target, Message& message) {
    ThreadRegistry* registry = processRegistry;
    if (!registry) return 0;
    message.threadId = GetCurrentThreadId();
    const Semaphore* answered = Enqueue(*registry, target, message);
    if (!answered) return 0;
    answered->Wait();
    return message.threadId;
}

uint32_t Receive(Message& message) {
    message.CopyContentFrom(Message{});
    ThreadRegistry* registry = processRegistry;
    if (!registry) return 0;
    if (const Semaphore* arrived = TakeMessage(*registry, message)) arrived->Wait();
    return message.threadId;
}

uint32_t Reply(uint32_t sender, Message& message) {
    return ReplyFor(sender, GetCurrentThreadId(), message);
}

uint32_t ReplyFor(uint32_t senderId, uint32_t receiverId, Message& message) {
    ThreadRegistry* registry = processRegistry;
    if (!registry) return 0;
    message.threadId = GetCurrentThreadId();

    const ScopedLock lock(registry->Lock());
    ThreadRecord* sender = registry->Find(senderId);
    ThreadRecord* receiver = registry->Find(receiverId);
    if (!sender || !receiver || sender->partner != receiver) return 0;
    // Not there while the sender still waits to be received.
    if (!receiver->replyList.Remove(sender->waiting)) return 0;
    sender->message->CopyContentFrom(message);
    ThreadRegistry::EndSend(*sender);
    return 1;
}

}  // namespace wpk::core::ThreadLib
