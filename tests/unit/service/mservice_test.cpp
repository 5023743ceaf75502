// The multi-threaded service.
// SPDX-License-Identifier: MIT
#include "service/mservice.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <stdexcept>
#include <vector>

#include "support/lib_thread.h"

namespace wpk {
namespace {

using test::LibThread;

constexpr uint64_t kEcho = 200;   // answered with the first operand
constexpr uint64_t kMeet = 201;   // answered once two workers are there at the same time
constexpr uint64_t kBlock = 202;  // never answered
constexpr uint64_t kThrow = 203;  // throws, before it answers
constexpr uint64_t kAnswerAndThrow = 204;
constexpr uint64_t kCount = 205;  // answered with the argument count

class TestService : public MService {
public:
    TestService() : MService("TestService") {}

    uint32_t DeskThread() const { return DeskId(); }

    uint32_t startUpResult = 1;
    uint32_t shutDownResult = 5;
    std::atomic<uint32_t> startUps{0}, shutDowns{0}, running{0};
    std::atomic<uint32_t> lastWorker{0};

protected:
    uint32_t ProcessRequest(uint32_t client, uint32_t count, const uint64_t* arguments) override {
        lastWorker = GetCurrentThreadId();
        ++running;
        switch (arguments[0]) {
            case kEcho:
                Answer(client, static_cast<uint32_t>(arguments[1]));
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
        return startUpResult;
    }
    uint32_t Manager_ShutDown() override {
        ++shutDowns;
        return shutDownResult;
    }

private:
    Semaphore met_{SemaphoreKind::kSignal}, met2_{SemaphoreKind::kSignal}, never_{SemaphoreKind::kSignal};
    std::atomic<int> arrived_{0};
};

class MServiceTest : public test::ThreadLayer {
protected:
    void TearDown() override {
        // A stop ends workers where they stand, with whatever lock they hold just then: only this thread and the desk.
        if (service.Started() != 0) test::AwaitThreads(2);
        service.Stop();
        ThreadLayer::TearDown();
    }

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

TEST_F(MServiceTest, StopEndsARunningWorkerAndItsClientsPostReturnsZero) {
    service.Start();
    uint32_t answer = 99;
    LibThread client = LibThread::Started([&] { return answer = service.Post(kBlock); });
    while (service.running == 0) Sleep(1);
    EXPECT_EQ(service.Stop(), 5u);
    client.Join();
    EXPECT_EQ(answer, 0u);
    EXPECT_EQ(test::StateOf(service.lastWorker), ThreadState::kEnded);
}

TEST_F(MServiceTest, AWorkerThatThrowsAfterItsAnswerHarmsNobody) {
    service.Start();
    EXPECT_EQ(service.Post(kAnswerAndThrow), 9u);
    EXPECT_EQ(service.Post(kEcho, 3ull), 3u);
}

TEST_F(MServiceTest, AWorkerThatThrowsBeforeItsAnswerLeavesItsClientToTheStop) {
    service.Start();
    uint32_t answer = 99;
    LibThread client = LibThread::Started([&] { return answer = service.Post(kThrow); });
    while (service.running == 0) Sleep(1);
    EXPECT_EQ(service.Stop(), 5u);
    client.Join();
    EXPECT_EQ(answer, 0u);
}

TEST_F(MServiceTest, AWorkerUnderAReusedIdRunsItsOwnJob) {
    // Each of these workers leaves its row behind, and the system hands the ids out again.
    service.Start();
    std::vector<uint32_t> left;
    for (int i = 0; i < 30; ++i) {
        EXPECT_EQ(service.Post(kAnswerAndThrow), 9u);
        left.push_back(service.lastWorker);
    }
    for (uint32_t i = 1; i <= 30; ++i) EXPECT_EQ(service.Post(kEcho, uint64_t{i}), i);
}

TEST_F(MServiceTest, AnUnknownRequestRunsTheDefaultWhichAnswersNothing) {
    service.Start();
    uint32_t answer = 99;
    LibThread client = LibThread::Started([&] { return answer = service.Post(uint64_t{999}); });
    while (service.running == 0) Sleep(1);
    test::AwaitState(client.Id(), ThreadState::kReplyBlocked);
    service.Stop();
    client.Join();
    EXPECT_TRUE(answer == 0u);
}

}  // namespace
}  // namespace wpk
