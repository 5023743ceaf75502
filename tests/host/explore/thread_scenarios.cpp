// Threads that send to a receiver: one that waits, one that ends, one that is detached, one that has others answer.
// SPDX-License-Identifier: MIT
#include "host/explore/scenarios.h"
#include "host/standin/scheduler.h"
#include "threadlib/threadlib.h"

namespace wpk::explore {

using namespace core;

using host::AwaitThreads;
using host::StartThread;
using host::Undisturbed;

namespace {

constexpr uint32_t kRequest = 7;
constexpr uint64_t kData = 70;
constexpr uint32_t kAnswer = 8;

/// The thread layer for the length of a scenario.
class Layer {
public:
    Layer() {
        const Undisturbed start;
        Expect(ThreadLib::Init() != 0, "the thread layer starts");
        Expect(ThreadLib::Detach() == 1, "the starting thread has been registered");
    }
    Layer(const Layer&) = delete;
    Layer& operator=(const Layer&) = delete;
    ~Layer() {
        AwaitThreads();
        ThreadLib::Shutdown();
    }
};

uint32_t Start(ThreadEntry entry, void* argument = nullptr) {
    const Undisturbed start;
    const uint32_t id = ThreadLib::CreateRunning(entry, argument);
    Expect(id != 0, "a thread starts");
    return id;
}

/// Two threads that send to one receiver. They have their ids before it can end: one of them would get its id then.
class TwoSenders {
public:
    explicit TwoSenders(std::function<void(uint32_t receiver)> send) {
        const Undisturbed start;
        for (int i = 0; i < 2; ++i) {
            StartThread("sender", [this, send] {
                GetCurrentThreadId();
                ++ready_;
                host::AwaitScheduled(
                    "a receiver", [this] { return receiver_ != 0; }, INFINITE);
                send(receiver_);
            });
        }
        host::AwaitScheduled(
            "the senders", [this] { return ready_ == 2; }, INFINITE);
    }

    void SendTo(uint32_t receiver) { receiver_ = receiver; }

private:
    int ready_ = 0;
    uint32_t receiver_ = 0;
};

enum class End { kAnswered, kReceiverGone, kReceiverUnknown };

End Send(uint32_t receiver) {
    Message message;
    message.code = kRequest;
    message.data = kData;
    Expect(ThreadLib::Attach() == 1, "a sender registers");
    const uint32_t replier = ThreadLib::Send(receiver, message);
    Expect(ThreadLib::Detach() == 1, "a sender is still registered after its send");
    if (replier == 0) return End::kReceiverUnknown;
    if (replier == GetCurrentThreadId()) {
        Expect(message.code == kRequest && message.data == kData, "a message without an answer is unchanged");
        return End::kReceiverGone;
    }
    Expect(message.code == kAnswer, "the answer has arrived");
    return End::kAnswered;
}

uint32_t ReceiveRequest() {
    Message message;
    const uint32_t sender = ThreadLib::Receive(message);
    Expect(sender != 0, "a receive returns with a sender");
    Expect(message.code == kRequest && message.data == kData, "the message has arrived");
    return sender;
}

void Answer(uint32_t sender) {
    Message answer;
    answer.code = kAnswer;
    Expect(ThreadLib::Reply(sender, answer) == 1, "a received sender is answered");
}

template <int count>
uint32_t AnswerSome(void*) {
    for (int i = 0; i < count; ++i) Answer(ReceiveRequest());
    return 0;
}

/// How many of two senders have come to each end.
struct Ends {
    int answered = 0;
    int gone = 0;
    int unknown = 0;

    void Send(uint32_t receiver) {
        switch (explore::Send(receiver)) {
            case End::kAnswered:
                ++answered;
                break;
            case End::kReceiverGone:
                ++gone;
                break;
            case End::kReceiverUnknown:
                ++unknown;
                break;
        }
    }
};

Ends SendTwice(ThreadEntry receiver) {
    const Layer layer;
    Ends ends;
    TwoSenders senders([&ends](uint32_t id) { ends.Send(id); });
    senders.SendTo(Start(receiver));
    AwaitThreads();
    return ends;
}

void AReceiverThatWaits() {
    Expect(SendTwice(AnswerSome<2>).answered == 2, "each sender is answered");
}

/// Whoever comes too late is refused.
void AReceiverThatEndsInTime() {
    Expect(SendTwice(AnswerSome<1>).answered == 1, "as many senders are answered as the receiver has received");
}

uint32_t ReceiveAndEnd(void*) {
    ReceiveRequest();
    return 0;
}

void AReceiverThatEndsBeforeItAnswers() {
    const Ends ends = SendTwice(ReceiveAndEnd);
    Expect(ends.answered == 0, "nobody is answered");
    Expect(ends.gone >= 1, "the received sender learns that its receiver has gone");
}

/// A thread of the application's: it goes on after it has left the layer.
void AReceiverThatIsDetached() {
    const Layer layer;
    Ends ends;
    TwoSenders senders([&ends](uint32_t id) { ends.Send(id); });
    StartThread("receiver", [&senders] {
        {
            const Undisturbed start;
            Expect(ThreadLib::Attach() == 1, "the receiver registers");
            senders.SendTo(GetCurrentThreadId());
        }
        Answer(ReceiveRequest());
        Expect(ThreadLib::Detach() == 1, "the receiver leaves");
        Expect(ThreadLib::Detach() == 0, "it has left");
    });
    AwaitThreads();
    Expect(ends.answered == 1, "as many senders are answered as the receiver has received");
}

struct Errand {
    uint32_t desk;
    uint32_t client;
};

uint32_t AnswerForTheDesk(void* argument) {
    const Errand errand = *static_cast<Errand*>(argument);
    Message answer;
    answer.code = kAnswer;
    Expect(ThreadLib::ReplyFor(errand.client, errand.desk, answer) == 1, "a worker answers for its desk");
    return 0;
}

/// The desk goes on receiving, and stays until its workers have answered.
uint32_t HaveOthersAnswer(void*) {
    Errand errands[2];
    UniqueHandle ends[2];
    for (int i = 0; i < 2; ++i) {
        errands[i] = {GetCurrentThreadId(), ReceiveRequest()};
        const uint32_t worker = ThreadLib::Create(AnswerForTheDesk, &errands[i]);
        ends[i] = ThreadLib::OpenForWait(worker);
        Expect(ThreadLib::Resume(worker) == 1, "a worker starts");
    }
    for (const UniqueHandle& end : ends) WaitForSingleObject(end.Get(), INFINITE);
    return 0;
}

void WorkersThatAnswer() {
    Expect(SendTwice(HaveOthersAnswer).answered == 2, "each sender is answered");
}

}  // namespace

const Scenarios& ThreadScenarios() {
    static const Scenarios& all = *new Scenarios{
        {"two senders, a receiver that waits", AReceiverThatWaits},
        {"two senders, a receiver that ends in time", AReceiverThatEndsInTime},
        {"two senders, a receiver that ends before it answers", AReceiverThatEndsBeforeItAnswers},
        {"two senders, a receiver that is detached", AReceiverThatIsDetached},
        {"two senders, workers that answer", WorkersThatAnswer},
    };
    return all;
}

}  // namespace wpk::explore
