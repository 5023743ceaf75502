// The single-threaded service.
// SPDX-License-Identifier: MIT
#include "service/service.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <memory>
#include <string>
#include <vector>

#include "support/lib_thread.h"

namespace wpk {
namespace {

using test::LibThread;

constexpr uint64_t kEcho = 200;   // answered with the first operand
constexpr uint64_t kBlock = 201;  // answered once the test allows it
constexpr uint64_t kThrow = 202;
constexpr uint64_t kDefault = 203;
constexpr uint64_t kCount = 204;  // answered with the argument count

std::string NameOf(uint32_t id) {
    ThreadRegistry* registry = ThreadLib::processRegistry;
    const ScopedLock lock(registry->Lock());
    const ThreadRecord* thread = registry->Find(id);
    return thread ? thread->name.CStr() : "(ended)";
}

class TestService : public Service {
public:
    TestService() : Service("TestService") {}

    uint32_t DeskThread() const { return DeskId(); }
    uint32_t Stop() { return StopDesk(); }

    uint32_t startUpResult = 1;
    bool startUpThrows = false;
    std::string nameInStartUp;
    // What ran, in its order, all of it on the front desk.
    std::vector<uint64_t> commands;
    std::vector<uint32_t> clients;
    std::vector<uint32_t> threads;

    Semaphore entered{SemaphoreKind::kSignal};
    Semaphore allowed{SemaphoreKind::kSignal};

protected:
    uint32_t ProcessRequest(uint32_t client, uint32_t count, const uint64_t* arguments) override {
        Note(arguments[0], client);
        switch (arguments[0]) {
            case kEcho:
                return static_cast<uint32_t>(arguments[1]);
            case kBlock:
                entered.Signal();
                allowed.Wait();
                return 7;
            case kThrow:
                throw std::runtime_error("from a request");
            case kCount:
                return count;
            default:
                return Service::ProcessRequest(client, count, arguments);
        }
    }
    uint32_t Manager_StartUp() override {
        Note(kCommandStart, 0);
        nameInStartUp = NameOf(GetCurrentThreadId());
        if (startUpThrows) throw std::runtime_error("from the start-up");
        return startUpResult;
    }
    uint32_t Manager_ShutDown() override {
        Note(kCommandStop, 0);
        return 5;
    }

private:
    void Note(uint64_t command, uint32_t client) {
        commands.push_back(command);
        clients.push_back(client);
        threads.push_back(GetCurrentThreadId());
    }
};

class ServiceTest : public test::ThreadLayer {
protected:
    void TearDown() override {
        if (service.Started() != 0 && service.DeskThread() != 0) service.Stop();
        ThreadLayer::TearDown();
    }

    TestService service;
};

TEST_F(ServiceTest, StartReturnsWhatTheStartCommandWasAnswered) {
    service.startUpResult = 42;
    EXPECT_EQ(service.Start(), 42u);
    EXPECT_EQ(service.Started(), 42u);
}

TEST_F(ServiceTest, StartOfAStartedServiceReturnsZeroAndCreatesNothing) {
    ASSERT_EQ(service.Start(), 1u);
    const uint32_t desk = service.DeskThread();
    EXPECT_EQ(service.Start(), 0u);
    EXPECT_EQ(service.DeskThread(), desk);
    EXPECT_EQ(service.commands, std::vector<uint64_t>{kCommandStart});
    EXPECT_EQ(service.Post(kEcho, 3ull), 3u) << "goes on as before";
}

TEST_F(ServiceTest, ARefusedStartReturnsZeroAndItsFrontDeskHasEnded) {
    service.startUpResult = 0;
    EXPECT_EQ(service.Start(), 0u);
    EXPECT_EQ(service.Started(), 0u);
    EXPECT_EQ(test::StateOf(service.threads.at(0)), ThreadState::kEnded);
    EXPECT_EQ(service.Post(kEcho, 3ull), 0u);
    service.startUpResult = 1;
    EXPECT_EQ(service.Start(), 1u) << "may be tried again";
}

TEST_F(ServiceTest, AStartThatThrowsReturnsZeroAndItsFrontDeskHasEnded) {
    service.startUpThrows = true;
    EXPECT_EQ(service.Start(), 0u);
    EXPECT_EQ(test::StateOf(service.threads.at(0)), ThreadState::kEnded);
    EXPECT_EQ(service.Post(kEcho, 3ull), 0u);
}

TEST_F(ServiceTest, TheFrontDeskBearsTheServicesNameFromTheStartCommandOn) {
    ASSERT_EQ(service.Start(), 1u);
    EXPECT_EQ(service.nameInStartUp, "TestService");
    EXPECT_EQ(NameOf(service.DeskThread()), "TestService");
}

TEST_F(ServiceTest, EverythingOfTheSubclassRunsOnTheFrontDesk) {
    ASSERT_EQ(service.Start(), 1u);
    const uint32_t desk = service.DeskThread();
    EXPECT_EQ(service.Post(kEcho, 9ull), 9u);
    EXPECT_EQ(service.Stop(), 5u);
    EXPECT_EQ(service.commands, (std::vector<uint64_t>{kCommandStart, kEcho, kCommandStop}));
    EXPECT_EQ(service.threads, (std::vector<uint32_t>{desk, desk, desk}));
}

TEST_F(ServiceTest, ARequestGetsItsClientsIdItsArgumentCountAndItsArguments) {
    ASSERT_EQ(service.Start(), 1u);
    EXPECT_EQ(service.Post(kCount, 1ull, 2ull, 3ull), 4u);
    EXPECT_EQ(service.clients.back(), GetCurrentThreadId());
}

TEST_F(ServiceTest, ARequestThatTheSubclassDoesNotKnowIsAnsweredZero) {
    ASSERT_EQ(service.Start(), 1u);
    EXPECT_EQ(service.Post(kDefault), 0u);
}

TEST_F(ServiceTest, OfTwoClientsTheSecondWaitsUntilTheFirstIsAnswered) {
    ASSERT_EQ(service.Start(), 1u);
    std::atomic<bool> secondAnswered{false};
    LibThread first = LibThread::Started([&] { return service.Post(kBlock); });
    service.entered.Wait();
    LibThread second = LibThread::Started([&] {
        const uint32_t answer = service.Post(kEcho, 3ull);
        secondAnswered = true;
        return answer;
    });
    test::AwaitState(second.Id(), ThreadState::kSendBlocked);
    EXPECT_EQ(service.commands.back(), kBlock) << "the second one has not begun";
    EXPECT_FALSE(secondAnswered);
    service.allowed.Signal();
    first.Join();
    second.Join();
    EXPECT_TRUE(secondAnswered);
    EXPECT_EQ(service.clients, (std::vector<uint32_t>{0, first.Id(), second.Id()}));
}

TEST_F(ServiceTest, ClientsAreServedInTheOrderInWhichTheyReachedTheFrontDesk) {
    ASSERT_EQ(service.Start(), 1u);
    LibThread first = LibThread::Started([&] { return service.Post(kBlock); });
    service.entered.Wait();
    std::vector<std::unique_ptr<LibThread>> others;
    std::vector<uint32_t> expected{0, first.Id()};
    for (int i = 0; i < 5; ++i) {
        others.push_back(std::make_unique<LibThread>([this] { return service.Post(kEcho, 1ull); }));
        others.back()->Resume();
        expected.push_back(others.back()->Id());
        test::AwaitState(others.back()->Id(), ThreadState::kSendBlocked);
    }
    service.allowed.Signal();
    others.clear();
    EXPECT_EQ(service.clients, expected);
}

TEST_F(ServiceTest, APostWithoutArgumentsReturnsZeroAndDoesNotReachTheFrontDesk) {
    ASSERT_EQ(service.Start(), 1u);
    const uint64_t command = kEcho;
    EXPECT_EQ(service.PostArguments(0, &command), 0u);
    EXPECT_EQ(service.commands.size(), 1u);
}

TEST_F(ServiceTest, AMessageWithoutArgumentsIsAnsweredZero) {
    ASSERT_EQ(service.Start(), 1u);
    Message withoutCount;
    withoutCount.data = reinterpret_cast<uintptr_t>(&withoutCount);
    EXPECT_EQ(ThreadLib::Send(service.DeskThread(), withoutCount), service.DeskThread());
    EXPECT_EQ(withoutCount.code, 0u);
    EXPECT_EQ(withoutCount.data, 0u);
    Message withoutArguments;
    withoutArguments.code = 1;
    EXPECT_EQ(ThreadLib::Send(service.DeskThread(), withoutArguments), service.DeskThread());
    EXPECT_EQ(withoutArguments.code, 0u);
    EXPECT_EQ(service.commands.size(), 1u);
}

TEST_F(ServiceTest, TheStopCommandIsUnderstoodAndLaterPostsAreRefused) {
    ASSERT_EQ(service.Start(), 1u);
    const UniqueHandle ended = ThreadLib::OpenForWait(service.DeskThread());
    EXPECT_EQ(service.Post(kCommandStop), 5u);
    EXPECT_EQ(WaitForSingleObject(ended.Get(), INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(service.Post(kEcho, 3ull), 0u);
    EXPECT_EQ(service.commands, (std::vector<uint64_t>{kCommandStart, kCommandStop}));
    EXPECT_EQ(service.Started(), 1u) << "nothing but the desk has been stopped";
    service.Stop();
}

TEST_F(ServiceTest, ARequestThatThrowsEndsTheFrontDeskAndLaterPostsReturnZero) {
    ASSERT_EQ(service.Start(), 1u);
    const UniqueHandle ended = ThreadLib::OpenForWait(service.DeskThread());
    EXPECT_EQ(service.Post(kThrow), 0u);
    EXPECT_EQ(WaitForSingleObject(ended.Get(), INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(service.Post(kEcho, 3ull), 0u);
}

}  // namespace
}  // namespace wpk
