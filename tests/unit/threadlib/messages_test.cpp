// The rendezvous: send, receive, reply.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <vector>

#include "support/lib_thread.h"

namespace wpk::core {
namespace {

using test::AwaitState;
using test::LibThread;
using test::StateOf;

class Messages : public test::ThreadLayer {
protected:
    const uint32_t self_ = GetCurrentThreadId();

    /// A thread that sends `code` to this one and notes what it got back.
    struct Sender {
        Sender(uint32_t target, uint32_t code)
            : thread(LibThread::Started([this, target, code] {
                  message.code = code;
                  message.data = 1000u + code;
                  return result = ThreadLib::Send(target, message);
              })) {}

        Message message;
        uint32_t result = 0xFFFFFFFF;
        LibThread thread;
    };

    /// One that sits in this thread's send queue.
    std::unique_ptr<Sender> QueuedSender(uint32_t code) {
        auto sender = std::make_unique<Sender>(self_, code);
        AwaitState(sender->thread.Id(), ThreadState::kSendBlocked);
        return sender;
    }

    static uint32_t ReplyWith(uint32_t sender, uint32_t code) {
        Message answer;
        answer.code = code;
        answer.data = 7;
        return ThreadLib::Reply(sender, answer);
    }
};

TEST_F(Messages, SendToAnUnknownThreadReturnsZeroAtOnce) {
    Message message;
    EXPECT_EQ(ThreadLib::Send(0, message), 0u);
    EXPECT_EQ(ThreadLib::Send(0xFFFFFFFC, message), 0u);
}

TEST_F(Messages, SendToAnEndedThreadReturnsZeroAtOnce) {
    LibThread ended = LibThread::Started([] { return 0u; });
    ended.Join();
    Message message;
    EXPECT_EQ(ThreadLib::Send(ended.Id(), message), 0u);
}

TEST_F(Messages, SendOfAnUnregisteredThreadReturnsZero) {
    ThreadLib::Detach();
    Message message;
    EXPECT_EQ(ThreadLib::Send(self_, message), 0u);
    EXPECT_EQ(ThreadLib::Receive(message), 0u);
    EXPECT_EQ(ThreadLib::Attach(), 1u);
}

TEST_F(Messages, ASenderThatCameFirstIsReceivedAndAnswered) {
    auto sender = QueuedSender(5);
    Message request;
    EXPECT_EQ(ThreadLib::Receive(request), sender->thread.Id());
    EXPECT_EQ(request.threadId, sender->thread.Id());
    EXPECT_EQ(request.code, 5u);
    EXPECT_EQ(request.data, 1005u);
    EXPECT_EQ(StateOf(sender->thread.Id()), ThreadState::kReplyBlocked);
    EXPECT_EQ(ReplyWith(sender->thread.Id(), 6), 1u);
    sender->thread.Join();
    EXPECT_EQ(sender->result, self_) << "the replier's id";
    EXPECT_EQ(sender->message.code, 6u);
    EXPECT_EQ(sender->message.data, 7u);
}

TEST_F(Messages, AReceiverThatCameFirstGetsTheMessage) {
    uint32_t received = 0;
    LibThread receiver = LibThread::Started([&] {
        Message request;
        const uint32_t client = ThreadLib::Receive(request);
        received = request.code;
        request.code = 11;
        return ThreadLib::Reply(client, request);
    });
    AwaitState(receiver.Id(), ThreadState::kReceiveBlocked);
    Message message;
    message.code = 10;
    EXPECT_EQ(ThreadLib::Send(receiver.Id(), message), receiver.Id());
    EXPECT_EQ(message.code, 11u);
    receiver.Join();
    EXPECT_EQ(received, 10u);
}

TEST(MessageRecord, HasItsFieldsInOrderAndIsBuiltEmpty) {
    static_assert(offsetof(Message, readySignal) == 0);
    static_assert(offsetof(Message, threadId) == sizeof(void*));
    static_assert(offsetof(Message, code) == offsetof(Message, threadId) + 4);
    static_assert(offsetof(Message, data) == offsetof(Message, code) + 4);
    const Message message;
    EXPECT_EQ(message.readySignal, nullptr) << "made when it is first needed";
    EXPECT_EQ(message.threadId, 0u);
    EXPECT_EQ(message.code, 0u);
    EXPECT_EQ(message.data, 0u);
}

TEST_F(Messages, OnlyAReceiverThatWaitsNeedsItsMessagesReadySignal) {
    auto sender = QueuedSender(1);
    EXPECT_EQ(sender->message.readySignal, nullptr);
    Message request;
    EXPECT_EQ(ThreadLib::Receive(request), sender->thread.Id());
    EXPECT_EQ(request.readySignal, nullptr) << "its sender was there already";
    EXPECT_EQ(ReplyWith(sender->thread.Id(), 0), 1u);

    LibThread late([&] {
        Message message;
        return ThreadLib::Send(self_, message);
    });
    LibThread helper = LibThread::Started([&] {
        AwaitState(self_, ThreadState::kReceiveBlocked);
        return late.Resume();
    });
    EXPECT_EQ(ThreadLib::Receive(request), late.Id());
    ASSERT_NE(request.readySignal, nullptr);
    EXPECT_FALSE(request.readySignal->WaitFor(0)) << "the sender has taken it";
    EXPECT_EQ(ReplyWith(late.Id(), 0), 1u);
}

TEST_F(Messages, OneMessageServesAReceiverForItsLife) {
    LibThread receiver = LibThread::Started([] {
        Message request;
        for (int i = 0; i < 20; ++i) {
            const uint32_t client = ThreadLib::Receive(request);
            request.code += 100;
            ThreadLib::Reply(client, request);
        }
        return 0u;
    });
    for (uint32_t i = 0; i < 20; ++i) {
        // Alternately it waits already and has yet to come.
        if (i % 2 == 0) AwaitState(receiver.Id(), ThreadState::kReceiveBlocked);
        Message message;
        message.code = i;
        EXPECT_EQ(ThreadLib::Send(receiver.Id(), message), receiver.Id());
        EXPECT_EQ(message.code, 100 + i);
    }
}

TEST_F(Messages, AReceiveWhoseNextSenderDoesNotWaitForItReturnsZeroAndDropsThatSender) {
    auto gone = QueuedSender(1);
    auto stays = QueuedSender(2);
    test::WithRecord(gone->thread.Id(), [](ThreadRecord* sender) { sender->partner = nullptr; });
    Message request;
    EXPECT_EQ(ThreadLib::Receive(request), 0u);
    EXPECT_EQ(ThreadLib::Receive(request), stays->thread.Id());
    EXPECT_EQ(ReplyWith(stays->thread.Id(), 0), 1u);
    EXPECT_EQ(ThreadLib::Terminate(gone->thread.Id()), 1u) << "nobody else will wake it";
}

TEST_F(Messages, SendersAreReceivedInArrivalOrder) {
    std::vector<std::unique_ptr<Sender>> senders;
    for (uint32_t i = 0; i < 8; ++i) senders.push_back(QueuedSender(i));
    for (uint32_t i = 0; i < 8; ++i) {
        Message request;
        EXPECT_EQ(ThreadLib::Receive(request), senders[i]->thread.Id());
        EXPECT_EQ(request.code, i);
    }
    for (uint32_t i = 8; i-- > 0;) EXPECT_EQ(ReplyWith(senders[i]->thread.Id(), 100 + i), 1u) << "in any order";
    for (uint32_t i = 0; i < 8; ++i) {
        senders[i]->thread.Join();
        EXPECT_EQ(senders[i]->message.code, 100 + i);
    }
}

TEST_F(Messages, TwoSendersThatFindTheSameReceiverWaitingBothGetTheirOwnAnswer) {
    for (int round = 0; round < 50; ++round) {
        LibThread receiver = LibThread::Started([] {
            Message first, second;
            const uint32_t a = ThreadLib::Receive(first);
            const uint32_t b = ThreadLib::Receive(second);
            second.code += 100;
            first.code += 100;
            return ThreadLib::Reply(b, second) + ThreadLib::Reply(a, first);
        });
        AwaitState(receiver.Id(), ThreadState::kReceiveBlocked);
        Sender one(receiver.Id(), 1);
        Sender two(receiver.Id(), 2);
        one.thread.Join();
        two.thread.Join();
        EXPECT_EQ(one.message.code, 101u);
        EXPECT_EQ(two.message.code, 102u);
    }
}

TEST_F(Messages, SendToASuspendedThreadIsServedOnceItRunsAndReceives) {
    LibThread receiver([] {
        Message request;
        const uint32_t client = ThreadLib::Receive(request);
        request.code *= 2;
        return ThreadLib::Reply(client, request);
    });
    Sender sender(receiver.Id(), 21);
    AwaitState(sender.thread.Id(), ThreadState::kSendBlocked);
    EXPECT_EQ(receiver.Resume(), 1u);
    sender.thread.Join();
    EXPECT_EQ(sender.result, receiver.Id());
    EXPECT_EQ(sender.message.code, 42u);
}

TEST_F(Messages, AReceiverThatEndsReleasesItsSendersWithTheirOwnIds) {
    const Semaphore mayEnd(SemaphoreKind::kSignal);
    LibThread receiver = LibThread::Started([&] {
        Message request;
        ThreadLib::Receive(request);
        return uint32_t{mayEnd.Wait()};
    });
    Sender received(receiver.Id(), 1);
    AwaitState(received.thread.Id(), ThreadState::kReplyBlocked);
    Sender queued(receiver.Id(), 2);
    AwaitState(queued.thread.Id(), ThreadState::kSendBlocked);
    mayEnd.Signal();
    for (Sender* sender : {&received, &queued}) {
        sender->thread.Join();
        EXPECT_EQ(sender->result, sender->thread.Id());
    }
    EXPECT_EQ(queued.message.code, 2u) << "the message is unchanged";
}

TEST_F(Messages, ATerminatedReceiverReleasesItsSendersWithTheirOwnIds) {
    LibThread receiver([] { return 0u; });
    Sender first(receiver.Id(), 1), second(receiver.Id(), 2);
    for (Sender* sender : {&first, &second}) AwaitState(sender->thread.Id(), ThreadState::kSendBlocked);
    EXPECT_EQ(ThreadLib::Terminate(receiver.Id()), 1u);
    for (Sender* sender : {&first, &second}) {
        sender->thread.Join();
        EXPECT_EQ(sender->result, sender->thread.Id());
    }
}

TEST_F(Messages, ADetachedReceiverReleasesItsSenders) {
    auto sender = QueuedSender(1);
    EXPECT_EQ(ThreadLib::Detach(), 1u);
    sender->thread.Join();
    EXPECT_EQ(sender->result, sender->thread.Id());
    EXPECT_EQ(ThreadLib::Attach(), 1u);
}

TEST_F(Messages, ATerminatedSenderLeavesTheQueueItStoodIn) {
    auto gone = QueuedSender(1);
    auto stays = QueuedSender(2);
    EXPECT_EQ(ThreadLib::Terminate(gone->thread.Id()), 1u);
    Message request;
    EXPECT_EQ(ThreadLib::Receive(request), stays->thread.Id());
    EXPECT_EQ(ReplyWith(stays->thread.Id(), 0), 1u);
}

TEST_F(Messages, ReplyToAThreadThatIsNotWaitingForTheCallerReturnsZeroAndChangesNothing) {
    auto queued = QueuedSender(1);
    EXPECT_EQ(ReplyWith(queued->thread.Id(), 9), 0u) << "queued, but not received";
    EXPECT_EQ(ReplyWith(0xFFFFFFFC, 9), 0u) << "unknown";
    EXPECT_EQ(ReplyWith(self_, 9), 0u) << "not waiting at all";
    EXPECT_EQ(StateOf(queued->thread.Id()), ThreadState::kSendBlocked);

    Message request;
    ThreadLib::Receive(request);
    uint32_t foreign = 1;
    LibThread stranger = LibThread::Started([&] { return foreign = ReplyWith(queued->thread.Id(), 9); });
    stranger.Join();
    EXPECT_EQ(foreign, 0u) << "received by another thread";
    EXPECT_EQ(ReplyWith(queued->thread.Id(), 3), 1u);
    EXPECT_EQ(ReplyWith(queued->thread.Id(), 4), 0u) << "answered already";
    queued->thread.Join();
    EXPECT_EQ(queued->message.code, 3u);
}

TEST_F(Messages, ReplyForAnswersOnBehalfOfTheReceiver) {
    auto sender = QueuedSender(1);
    Message request;
    ThreadLib::Receive(request);
    uint32_t answered = 0;
    LibThread worker = LibThread::Started([&] {
        Message answer;
        answer.code = 77;
        return answered = ThreadLib::ReplyFor(sender->thread.Id(), self_, answer);
    });
    worker.Join();
    sender->thread.Join();
    EXPECT_EQ(answered, 1u);
    EXPECT_EQ(sender->message.code, 77u);
    EXPECT_EQ(sender->result, worker.Id()) << "the replier is the worker";
}

TEST_F(Messages, ManySendersAtOnceEachGetTheirOwnAnswer) {
    constexpr uint32_t kSenders = 16, kRounds = 25;
    std::vector<uint32_t> wrong(kSenders, 0);
    std::vector<std::unique_ptr<LibThread>> senders;
    for (uint32_t s = 0; s < kSenders; ++s) {
        senders.push_back(std::make_unique<LibThread>([&wrong, s, target = self_] {
            for (uint32_t round = 0; round < kRounds; ++round) {
                Message message;
                message.code = s * 1000 + round;
                ThreadLib::Send(target, message);
                wrong[s] += message.code != (s * 1000 + round) * 3;
            }
            return 0u;
        }));
    }
    for (auto& sender : senders) sender->Resume();
    for (uint32_t i = 0; i < kSenders * kRounds; ++i) {
        Message request;
        const uint32_t client = ThreadLib::Receive(request);
        request.code *= 3;
        EXPECT_EQ(ThreadLib::Reply(client, request), 1u);
    }
    for (auto& sender : senders) sender->Join();
    EXPECT_EQ(std::count(wrong.begin(), wrong.end(), 0u), static_cast<long>(kSenders));
}

}  // namespace
}  // namespace wpk::core
