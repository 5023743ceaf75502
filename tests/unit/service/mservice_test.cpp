// The multi-threaded service.
// SPDX-License-Identifier: MIT
#include "service/mservice.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/field_at.h"
#include "support/lib_thread.h"

namespace wpk::core {
namespace {

using test::FieldAt;
using test::LibThread;

constexpr uint64_t kEcho = 200;   // answered with the first operand
constexpr uint64_t kMeet = 201;   // answered once two workers are there at the same time
constexpr uint64_t kBlock = 202;  // never answered
constexpr uint64_t kThrow = 203;  // throws, before it answers
constexpr uint64_t kAnswerAndThrow = 204;
constexpr uint64_t kCount = 205;  // answered with the argument count
constexpr uint64_t kNote = 206;   // notes its worker's name; answered 6

class TestService : public MService {
public:
    TestService() : MService("TestService") {}

    uint32_t DeskThread() const { return DeskId(); }
    using MService::Answer;
    using MService::WorkerFunc;

    uint32_t startUpResult = 1;
    uint32_t shutDownResult = 5;
    bool startUpThrows = false;
    std::atomic<uint32_t> startUps{0}, shutDowns{0}, running{0};
    /// The desk's thread, as its start-up finds it.
    std::string nameInStartUp;
    std::unique_ptr<test::ExitWatch> desk;
    /// The worker of the latest request, and what it was given.
    std::atomic<uint32_t> lastWorker{0}, lastClient{99}, lastCount{99};
    std::string notedName;
    /// Given by every worker once all the above is set.
    Semaphore begun{SemaphoreKind::kSignal};
    /// Given by a worker that is about to stand still for ever.
    Semaphore blocked{SemaphoreKind::kSignal};
    /// While set, the desk stops before each job that it adds, for as long as the test likes.
    std::atomic<bool> holdsJobs{false};
    Semaphore jobHeld{SemaphoreKind::kSignal}, jobMayGo{SemaphoreKind::kSignal};
    /// The worker of the job that is held, which has not run yet.
    uint32_t heldWorker = 0;
    /// Run on the desk before the workers are stopped and after that.
    std::function<void()> beforeStop, afterStop;

protected:
    uint32_t ProcessRequest(uint32_t client, uint32_t count, const uint64_t* arguments) override {
        lastClient = client;
        lastCount = count;
        lastWorker = GetCurrentThreadId();
        ++running;
        begun.Signal();
        if (count == 0) return 0;
        switch (arguments[0]) {
            case kEcho:
                Answer(client, static_cast<uint32_t>(arguments[1]));
                return 44;
            case kNote:
                notedName = test::NameOf(GetCurrentThreadId());
                Answer(client, 6);
                break;
            case kMeet:
                if (++arrived_ == 2) {
                    met_.Signal();
                    met2_.Signal();
                }
                (arguments[1] == 1 ? met_ : met2_).Wait();
                Answer(client, static_cast<uint32_t>(arguments[1]));
                break;
            case kBlock:
                blocked.Signal();
                never_.Wait();
                break;
            case kThrow:
                throw std::runtime_error("before the answer");
            case kAnswerAndThrow:
                Answer(client, 9);
                throw std::runtime_error("after the answer");
            case kCount:
                Answer(client, count);
                break;
            default:
                return MService::ProcessRequest(client, count, arguments);
        }
        return 1;
    }
    uint32_t Manager_StartUp() override {
        ++startUps;
        nameInStartUp = test::NameOf(GetCurrentThreadId());
        desk = std::make_unique<test::ExitWatch>(GetCurrentThreadId());
        if (startUpThrows) throw std::runtime_error("from the start-up");
        return startUpResult;
    }
    uint32_t Manager_ShutDown() override {
        ++shutDowns;
        return shutDownResult;
    }
    uint32_t StopWorkers() override {
        if (beforeStop) beforeStop();
        const uint32_t result = MService::StopWorkers();
        EXPECT_EQ(result, 1u);
        if (afterStop) afterStop();
        return result;
    }
    uint32_t AddJob(const Record& job) override {
        if (holdsJobs) {
            heldWorker = job.GetUint32(0);
            jobHeld.Signal();
            jobMayGo.Wait();
        }
        return MService::AddJob(job);
    }

private:
    Semaphore met_{SemaphoreKind::kSignal}, met2_{SemaphoreKind::kSignal}, never_{SemaphoreKind::kSignal};
    std::atomic<int> arrived_{0};
};

class MServiceTest : public test::ThreadLayer {
protected:
    void TearDown() override {
        StopQuietly();
        ThreadLayer::TearDown();
    }

    /// A stop ends workers where they stand, with whatever lock they hold just then: only this thread and the desk.
    void StopQuietly() {
        if (service.DeskThread() != 0) test::AwaitThreads(2);
        service.Stop();
    }

    /// Posts from a thread of the layer; gives the answer once it is there.
    class Client {
    public:
        template <class... Operands>
        explicit Client(TestService& service, Operands... post)
            : thread_(LibThread::Started([this, &service, post...] { return answer_ = service.Post(post...); })) {}

        uint32_t Id() const { return thread_.Id(); }
        uint32_t Answer() {
            thread_.Join();
            return answer_;
        }

    private:
        uint32_t answer_ = 99;
        LibThread thread_;
    };

    /// A client whose worker stands still for ever.
    std::unique_ptr<Client> BlockedClient() {
        auto client = std::make_unique<Client>(service, kBlock);
        service.blocked.Wait();
        return client;
    }

    /// Until the last worker has ended, not only for the thread layer: from then on nothing of it is left to be
    /// stopped.
    void AwaitWorkersEnd() const { test::AwaitState(service.lastWorker, ThreadState::kEnded); }

    /// Posts from threads of their own and gives what each got.
    std::vector<uint32_t> PostTogether(const std::vector<std::pair<uint64_t, uint64_t>>& posts) {
        std::vector<uint32_t> answers(posts.size());
        std::vector<std::unique_ptr<LibThread>> clients;
        for (size_t i = 0; i < posts.size(); ++i) {
            clients.push_back(std::make_unique<LibThread>(
                [&, i] { return answers[i] = service.Post(posts[i].first, posts[i].second); }));
        }
        for (auto& client : clients) client->Resume();
        clients.clear();
        return answers;
    }

    TestService service;
};

TEST_F(MServiceTest, StartReturnsWhatTheStartCommandWasAnswered) {
    service.startUpResult = 42;
    EXPECT_EQ(service.Start(), 42u);
    EXPECT_EQ(service.Started(), 42u);
    EXPECT_EQ(service.startUps, 1u);
}

TEST_F(MServiceTest, StartOfAStartedServiceReturnsZeroAndCreatesNothing) {
    ASSERT_NE(service.Start(), 0u);
    const uint32_t desk = service.DeskThread();
    EXPECT_EQ(service.Start(), 0u);
    EXPECT_EQ(service.DeskThread(), desk);
    EXPECT_EQ(service.startUps, 1u);
    EXPECT_EQ(service.Post(kEcho, 3ull), 3u) << "goes on as before";
}

TEST_F(MServiceTest, ARefusedStartReturnsZeroAndItsFrontDeskHasEnded) {
    service.startUpResult = 0;
    EXPECT_EQ(service.Start(), 0u);
    EXPECT_EQ(service.Started(), 0u);
    EXPECT_EQ(service.desk->ExitCode(), 0u);
    EXPECT_EQ(service.DeskThread(), 0u);
    EXPECT_EQ(service.Post(kEcho, 3ull), 0u);
    service.startUpResult = 1;
    EXPECT_EQ(service.Start(), 1u) << "may be tried again";
    EXPECT_EQ(service.Post(kEcho, 3ull), 3u);
}

TEST_F(MServiceTest, StopOfAServiceNeverStartedReturnsOne) {
    EXPECT_EQ(service.Stop(), 1u);
    EXPECT_EQ(service.shutDowns, 0u);
}

TEST_F(MServiceTest, StopReturnsWhatTheStopCommandWasAnsweredAndEndsTheFrontDesk) {
    service.Start();
    EXPECT_EQ(service.Stop(), 5u);
    EXPECT_EQ(service.desk->ExitCode(), 1u);
    EXPECT_EQ(service.Started(), 0u);
    EXPECT_EQ(service.shutDowns, 1u);
    EXPECT_EQ(service.DeskThread(), 0u);
    EXPECT_EQ(service.Post(kEcho, 3ull), 0u);
    EXPECT_EQ(service.Start(), 1u) << "and starts again";
}

TEST_F(MServiceTest, APostBeforeTheStartIsRefused) {
    EXPECT_EQ(service.Post(kEcho, 3ull), 0u);
}

TEST_F(MServiceTest, APostWithoutArgumentsIsRefused) {
    service.Start();
    const uint64_t arguments[] = {kEcho, 1};
    EXPECT_EQ(service.PostArguments(0, arguments), 0u);
    EXPECT_EQ(service.running, 0u);
}

TEST_F(MServiceTest, AMessageWithoutArgumentsReachingTheFrontDeskIsAnsweredZero) {
    service.Start();
    Message nothing;
    EXPECT_EQ(ThreadLib::Send(service.DeskThread(), nothing), service.DeskThread());
    EXPECT_EQ(nothing.code, 0u);
    Message noPointer;
    noPointer.code = 2;
    EXPECT_EQ(ThreadLib::Send(service.DeskThread(), noPointer), service.DeskThread());
    EXPECT_EQ(noPointer.code, 0u);
    EXPECT_EQ(service.running, 0u);
}

TEST_F(MServiceTest, TheWorkerGetsAllArguments) {
    service.Start();
    EXPECT_EQ(service.Post(kCount), 1u);
    EXPECT_EQ(service.Post(kCount, 1ull, 2ull, 3ull), 4u);
}

TEST_F(MServiceTest, TwoRequestsPostedTogetherRunAtOnceAndEachClientGetsItsOwnAnswer) {
    service.Start();
    EXPECT_EQ(PostTogether({{kMeet, 1}, {kMeet, 2}}), (std::vector<uint32_t>{1, 2}));
}

TEST_F(MServiceTest, ManyRequestsEachGetTheirOwnAnswer) {
    service.Start();
    std::vector<std::pair<uint64_t, uint64_t>> posts;
    std::vector<uint32_t> expected;
    for (uint32_t i = 1; i <= 60; ++i) {
        posts.emplace_back(kEcho, i);
        expected.push_back(i);
    }
    EXPECT_EQ(PostTogether(posts), expected);
    EXPECT_EQ(service.running, 60u);
}

TEST_F(MServiceTest, RequestsThatWaitTogetherForTheFrontDeskRunAtOnceAndEachClientGetsItsOwnAnswer) {
    service.Start();
    service.holdsJobs = true;
    Client ahead(service, kEcho, uint64_t{7});
    service.jobHeld.Wait();
    service.holdsJobs = false;
    Client first(service, kMeet, uint64_t{1});
    Client second(service, kMeet, uint64_t{2});
    for (const Client* client : {&first, &second}) test::AwaitState(client->Id(), ThreadState::kSendBlocked);
    service.jobMayGo.Signal();
    EXPECT_EQ(ahead.Answer(), 7u);
    EXPECT_EQ(first.Answer(), 1u);
    EXPECT_EQ(second.Answer(), 2u);
}

TEST_F(MServiceTest, StopEndsRunningWorkersAndTheirClientsPostsReturnZero) {
    service.Start();
    std::vector<std::unique_ptr<Client>> clients;
    std::vector<uint32_t> workers;
    for (int i = 0; i < 4; ++i) {
        clients.push_back(BlockedClient());
        workers.push_back(service.lastWorker);
    }
    // Answered by the stop of the workers itself, before the desk's end would release them without an answer.
    service.afterStop = [&] {
        for (auto& client : clients) EXPECT_EQ(client->Answer(), 0u);
        for (const uint32_t worker : workers) EXPECT_EQ(test::StateOf(worker), ThreadState::kEnded);
    };
    EXPECT_EQ(service.Stop(), 5u);
    EXPECT_EQ(service.shutDowns, 1u);
}

TEST_F(MServiceTest, APostWhileTheServiceStopsIsRefused) {
    service.Start();
    uint32_t answer = 99;
    service.beforeStop = [&] { answer = service.Post(kEcho, 3ull); };
    EXPECT_EQ(service.Stop(), 5u);
    EXPECT_EQ(answer, 0u);
    EXPECT_EQ(service.running, 0u);
}

TEST_F(MServiceTest, TheFrontDeskBearsTheServicesNameFromTheStartCommandOn) {
    service.Start();
    EXPECT_EQ(service.nameInStartUp, "TestService");
    EXPECT_EQ(test::NameOf(service.DeskThread()), "TestService");
}

TEST_F(MServiceTest, AWorkerBearsTheServicesNameAndItsFunctions) {
    service.Start();
    EXPECT_EQ(service.Post(kNote), 6u);
    EXPECT_EQ(service.notedName, "TestService::WorkerFunc()");
}

TEST_F(MServiceTest, AWorkerEndsWithTheResultOfItsRequest) {
    service.Start();
    service.holdsJobs = true;
    Client client(service, kEcho, uint64_t{7});
    service.jobHeld.Wait();
    const test::ExitWatch worker(service.heldWorker);
    service.holdsJobs = false;
    service.jobMayGo.Signal();
    EXPECT_EQ(worker.ExitCode(), 44u);
    EXPECT_EQ(client.Answer(), 7u);
}

TEST_F(MServiceTest, AWorkerThatFindsNoJobPassesOnNothingAndAnswersNobody) {
    service.Start();
    uint32_t result = 99;
    LibThread worker =
        LibThread::Started([&] { return result = TestService::WorkerFunc(static_cast<MService*>(&service)); });
    worker.Join();
    EXPECT_EQ(result, 0u);
    EXPECT_EQ(service.running, 1u);
    EXPECT_EQ(service.lastClient, 0u);
    EXPECT_EQ(service.lastCount, 0u);
    EXPECT_EQ(service.Post(kEcho, 3ull), 3u) << "goes on as before";
}

TEST_F(MServiceTest, AStartThatThrowsReturnsTheCallersIdAndItsFrontDeskHasEnded) {
    // The desk has died before its answer, which the post of the start command cannot tell from one.
    service.startUpThrows = true;
    EXPECT_EQ(service.Start(), GetCurrentThreadId());
    EXPECT_EQ(service.Post(kEcho, 3ull), 0u);
    EXPECT_EQ(service.Stop(), 0u) << "nobody is there to answer the stop command";
    service.startUpThrows = false;
    EXPECT_EQ(service.Start(), 1u) << "may be tried again";
    EXPECT_EQ(service.Post(kEcho, 3ull), 3u);
}

TEST_F(MServiceTest, APostWhoseFrontDeskDiesReturnsThePostersId) {
    service.Start();
    service.holdsJobs = true;
    Client received(service, kEcho, uint64_t{7});
    service.jobHeld.Wait();
    Client queued(service, kEcho, uint64_t{8});
    test::AwaitState(queued.Id(), ThreadState::kSendBlocked);
    // It stands in a wait, and the worker has not run yet.
    EXPECT_EQ(ThreadLib::Terminate(service.DeskThread()), 1u);
    EXPECT_EQ(ThreadLib::Terminate(service.heldWorker), 1u);
    EXPECT_EQ(received.Answer(), received.Id());
    EXPECT_EQ(queued.Answer(), queued.Id());
    EXPECT_EQ(service.Post(kEcho, 3ull), 0u);
}

TEST_F(MServiceTest, AWorkerThatThrowsAfterItsAnswerHarmsNobody) {
    service.Start();
    EXPECT_EQ(service.Post(kAnswerAndThrow), 9u);
    EXPECT_EQ(service.Post(kEcho, 3ull), 3u);
}

TEST_F(MServiceTest, TheStopOfAClientWhoseWorkerThrewAfterItsAnswerReturnsTheShutDownsResult) {
    // The row that the worker has left behind names this thread, which waits for another answer now.
    service.Start();
    EXPECT_EQ(service.Post(kAnswerAndThrow), 9u);
    AwaitWorkersEnd();
    EXPECT_EQ(service.Stop(), 5u);
}

TEST_F(MServiceTest, AWorkerThatThrowsBeforeItsAnswerLeavesItsClientToTheStop) {
    service.Start();
    Client client(service, kThrow);
    service.begun.Wait();
    AwaitWorkersEnd();
    EXPECT_EQ(service.Stop(), 5u);
    EXPECT_EQ(client.Answer(), 0u);
}

TEST_F(MServiceTest, AWorkerUnderAReusedIdRunsItsOwnJob) {
    // Each of these workers leaves its row behind, and the system hands the ids out again.
    service.Start();
    for (int i = 0; i < 30; ++i) EXPECT_EQ(service.Post(kAnswerAndThrow), 9u);
    for (uint32_t i = 1; i <= 30; ++i) EXPECT_EQ(service.Post(kEcho, uint64_t{i}), i);
}

TEST_F(MServiceTest, AnUnknownRequestRunsTheDefaultWhichAnswersNothing) {
    service.Start();
    Client client(service, uint64_t{999});
    service.begun.Wait();
    AwaitWorkersEnd();
    EXPECT_EQ(test::StateOf(client.Id()), ThreadState::kReplyBlocked);
    EXPECT_EQ(service.Stop(), 5u);
    EXPECT_EQ(client.Answer(), client.Id()) << "its worker's job was done: the desk's end has released it";
}

TEST_F(MServiceTest, KeepsItsFieldsInOrder) {
    const auto* object = static_cast<const MService*>(&service);
    constexpr size_t kStarted = sizeof(void*), kDesk = kStarted + 4, kStopping = kDesk + 4, kJobs = kStopping + 8,
                     kName = kJobs + 8;
    EXPECT_EQ(FieldAt<void*>(object, kJobs), nullptr);
    service.startUpResult = 42;
    service.beforeStop = [&] { EXPECT_EQ(FieldAt<uint32_t>(object, kStopping), 1u); };
    service.Start();
    EXPECT_EQ(FieldAt<uint32_t>(object, kStarted), 42u);
    EXPECT_EQ(FieldAt<uint32_t>(object, kDesk), service.DeskThread());
    EXPECT_EQ(FieldAt<uint32_t>(object, kStopping), 0u);
    EXPECT_NE(FieldAt<void*>(object, kJobs), nullptr);
    EXPECT_EQ(FieldAt<uint32_t>(object, kName), 11u);
    EXPECT_STREQ(FieldAt<const char*>(object, kName + 8), "TestService");
    service.Stop();
    EXPECT_EQ(FieldAt<uint32_t>(object, kStarted), 0u);
    EXPECT_EQ(FieldAt<void*>(object, kJobs), nullptr);
}

/// Each of its operations returns the number of its slot.
class Slots : public MService {
public:
    explicit Slots(uint32_t& destroyed) : MService("Slots"), destroyed_(destroyed) {}
    ~Slots() override { destroyed_ = 1; }

private:
    uint32_t ProcessRequest(uint32_t, uint32_t, const uint64_t*) override { return 100; }
    uint32_t Manager_StartUp() override { return 101; }
    uint32_t Manager_ShutDown() override { return 102; }
    uint32_t StopWorkers() override { return 103; }
    uint32_t AddJob(const Record&) override { return 104; }
    uint32_t RemoveJob(const Record&) override { return 105; }

    uint32_t& destroyed_;
};

TEST(MServiceSlots, AreInOrder) {
    uint32_t destroyed = 0;
    alignas(Slots) unsigned char memory[sizeof(Slots)];
    auto* object = static_cast<MService*>(new (memory) Slots(destroyed));
    for (uint32_t slot = 0; slot < 6; ++slot) EXPECT_EQ(test::CallSlot(object, slot), 100 + slot);
    EXPECT_EQ(destroyed, 0u);
    test::CallSlot(object, 6);
    EXPECT_EQ(destroyed, 1u);
}

}  // namespace
}  // namespace wpk::core
