// The rendezvous: send, receive, reply.
// SPDX-License-Identifier: MIT
//
// Whoever wakes a thread has first, under the registry's lock, written its message and set its state. So the woken
// thread has nothing left to look at under the lock, and a receiver that one sender has woken is no longer seen as
// waiting by the next one.
#include "threadlib/process_registry.h"
#include "threadlib/threadlib.h"

namespace wpk::ThreadLib {

namespace {

/// Hands the sender's message to the receiver, who owes it an answer from now on.
void HandOver(ThreadRecord& sender, ThreadRecord& receiver) {
    *receiver.message = *sender.message;
    receiver.replyList.Append(sender.waiting);
    receiver.state = ThreadState::kRunning;
    sender.state = ThreadState::kReplyBlocked;
}

/// Whether a sender has to be registered, or becomes so for the length of its send.
enum class Senders { kRegistered, kAny };

ThreadRecord* FindSender(ThreadRegistry& registry, uint32_t id, Senders allowed) {
    ThreadRecord* sender = registry.Find(id);
    if (sender || allowed == Senders::kRegistered) return sender;
    sender = registry.Register(id);
    if (sender) sender->guest = true;
    return sender;
}

/// Queues the sender's message, or hands it over at once. Returns the sender's record; null on failure.
ThreadRecord* Post(ThreadRegistry& registry, uint32_t target, Message& message, Senders allowed) {
    const ScopedLock lock(registry.Lock());
    ThreadRecord* receiver = registry.Find(target);
    ThreadRecord* sender = receiver ? FindSender(registry, message.threadId, allowed) : nullptr;
    if (!sender || !sender->EnsureWakeSignal()) return nullptr;

    sender->message = &message;
    sender->partner = receiver;
    if (receiver->state == ThreadState::kReceiveBlocked) {
        HandOver(*sender, *receiver);
        receiver->wakeSignal->Signal();
    } else {
        receiver->sendQueue.Append(sender->waiting);
        sender->state = ThreadState::kSendBlocked;
    }
    return sender;
}

/// Takes the longest waiting sender's message. Returns what the receiver has to wait on if there is none; null when the
/// receive is over, well (message.threadId is the sender) or not (0).
const Semaphore* TakeMessage(ThreadRegistry& registry, Message& message) {
    const ScopedLock lock(registry.Lock());
    ThreadRecord* receiver = registry.Find(GetCurrentThreadId());
    if (!receiver || !receiver->EnsureWakeSignal()) return nullptr;

    receiver->message = &message;
    if (ThreadRecord* sender = receiver->sendQueue.Take()) {
        HandOver(*sender, *receiver);
        return nullptr;
    }
    receiver->state = ThreadState::kReceiveBlocked;
    return &*receiver->wakeSignal;
}

uint32_t Send(uint32_t target, Message& message, Senders allowed) {
    ThreadRegistry* registry = processRegistry;
    if (!registry) return 0;
    message.threadId = GetCurrentThreadId();
    ThreadRecord* sender = Post(*registry, target, message, allowed);
    if (!sender) return 0;
    sender->wakeSignal->Wait();
    if (sender->guest) delete sender;
    return message.threadId;
}

}  // namespace

uint32_t Send(uint32_t target, Message& message) {
    return Send(target, message, Senders::kRegistered);
}

uint32_t SendFromAnyThread(uint32_t target, Message& message) {
    return Send(target, message, Senders::kAny);
}

uint32_t Receive(Message& message) {
    message = Message{};
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
    if (!sender || !receiver || !receiver->replyList.Remove(sender->waiting)) return 0;
    *sender->message = message;
    registry->Release(*sender);
    return 1;
}

}  // namespace wpk::ThreadLib
