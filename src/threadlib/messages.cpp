// The rendezvous: send, receive, reply.
// SPDX-License-Identifier: MIT
//
// A thread that wakes another one first writes its message and sets its state, under the registry's lock. So the woken
// thread need not take the lock again, and the next sender no longer sees it as waiting. Otherwise a second sender
// could overwrite the message before the receiver has read it, and one of the two senders would wait forever.
//
// For the same reason a receiver sets its ready signal and its state in one hold of the lock. If a sender could see it
// waiting before it is ready, the sender would have to release the lock to wait for the signal, and a second sender
// could come in between.
#include "threadlib/process_registry.h"
#include "threadlib/threadlib.h"

namespace wpk::core::ThreadLib {

namespace {

/// Hands the sender's message to the receiver, which must answer it from now on.
void HandOver(ThreadRecord& sender, ThreadRecord& receiver) {
    receiver.message->CopyContentFrom(*sender.message);
    receiver.replyList.Append(sender.waiting);
    receiver.state = ThreadState::kRunning;
    sender.state = ThreadState::kReplyBlocked;
}

/// Queues the sender's message, or hands it over at once. Returns the semaphore that the sender waits on; null on
/// failure.
const Semaphore* Enqueue(ThreadRegistry& registry, uint32_t target, Message& message) {
    const ScopedLock lock(registry.Lock());
    ThreadRecord* sender = registry.Find(message.threadId);
    ThreadRecord* receiver = registry.Find(target);
    if (!sender || !receiver) return nullptr;

    sender->message = &message;
    sender->partner = receiver;
    if (receiver->state == ThreadState::kReceiveBlocked) {
        // It was signalled under the lock together with the state, so this does not block.
        receiver->message->readySignal->Wait();
        HandOver(*sender, *receiver);
        receiver->wakeSignal.Signal();
    } else {
        receiver->sendQueue.Append(sender->waiting);
        sender->state = ThreadState::kSendBlocked;
    }
    return &sender->wakeSignal;
}

/// Takes the message of the sender that has waited longest. If there is none, returns the semaphore that the receiver
/// waits on. Null if the receive is over: message.threadId is the sender, or 0 on failure.
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
    // It is not in the list while the sender still waits to be received.
    if (!receiver->replyList.Remove(sender->waiting)) return 0;
    sender->message->CopyContentFrom(message);
    ThreadRegistry::EndSend(*sender);
    return 1;
}

}  // namespace wpk::core::ThreadLib
