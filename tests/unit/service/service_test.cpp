// The single-threaded service.
// SPDX-License-Identifier: MIT
#include "service/service.h"

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
using test::NameOf;

constexpr uint64_t kEcho = 200;   // answered with the first operand
constexpr uint64_t kBlock = 201;  // answered once the test allows it
constexpr uint64_t kThrow = 202;
constexpr uint64_t kDefault = 203;
constexpr uint64_t kCount = 204;  // answered with the argument count

class TestService : public Service {
public:
    TestService() : Service("TestService") {}

    uint32_t DeskThread() const { return DeskId(); }
    uint32_t Stop() { return StopDesk(); }

    uint32_t startUpResult = 1;
    bool startUpThrows = false;
    /// The desk's thread, as its start-up finds it.
    std::string nameInStartUp;
    std::unique_ptr<test::ExitWatch> desk;
    /// Run on the desk when the stop command has come.
    std::function<void()> inShutDown;
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
        desk = std::make_unique<test::ExitWatch>(GetCurrentThreadId());
        if (startUpThrows) throw std::runtime_error("from the start-up");
        return startUpResult;
    }
    uint32_t Manager_ShutDown() override {
        Note(kCommandStop, 0);
        if (inShutDown) inShutDown();
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
    EXPECT_EQ(service.desk->ExitCode(), 0u);
    EXPECT_EQ(test::StateOf(service.threads.at(0)), ThreadState::kEnded);
    EXPECT_EQ(service.Post(kEcho, 3ull), 0u);
    service.startUpResult = 1;
    EXPECT_EQ(service.Start(), 1u) << "may be tried again";
}

TEST_F(ServiceTest, AStartThatThrowsReturnsTheCallersIdAndItsFrontDeskHasEnded) {
    // The desk has died before its answer, which the post of the start command cannot tell from one.
    service.startUpThrows = true;
    EXPECT_EQ(service.Start(), GetCurrentThreadId());
    EXPECT_EQ(service.desk->ExitCode(), 0u);
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
    EXPECT_EQ(service.Post(kCommandStop), 5u);
    EXPECT_EQ(service.desk->ExitCode(), 1u);
    EXPECT_EQ(service.Post(kEcho, 3ull), 0u);
    EXPECT_EQ(service.commands, (std::vector<uint64_t>{kCommandStart, kCommandStop}));
    EXPECT_EQ(service.Started(), 1u) << "nothing but the desk has been stopped";
    service.Stop();
}

TEST_F(ServiceTest, APostWhileTheServiceStopsIsRefused) {
    ASSERT_EQ(service.Start(), 1u);
    uint32_t answer = 99;
    // Sent to the desk, it would never be answered: this is the desk.
    service.inShutDown = [&] { answer = service.Post(kEcho, 3ull); };
    EXPECT_EQ(service.Stop(), 5u);
    EXPECT_EQ(answer, 0u);
}

TEST_F(ServiceTest, ARequestThatThrowsEndsTheFrontDeskPostsThatWaitReturnThePostersIdAndLaterOnesZero) {
    ASSERT_EQ(service.Start(), 1u);
    uint32_t answers[3] = {};
    LibThread first = LibThread::Started([&] { return answers[0] = service.Post(kBlock); });
    service.entered.Wait();
    LibThread thrower = LibThread::Started([&] { return answers[1] = service.Post(kThrow); });
    test::AwaitState(thrower.Id(), ThreadState::kSendBlocked);
    LibThread queued = LibThread::Started([&] { return answers[2] = service.Post(kEcho, 3ull); });
    test::AwaitState(queued.Id(), ThreadState::kSendBlocked);
    service.allowed.Signal();
    for (LibThread* client : {&first, &thrower, &queued}) client->Join();
    EXPECT_EQ(answers[0], 7u);
    EXPECT_EQ(answers[1], thrower.Id());
    EXPECT_EQ(answers[2], queued.Id());
    EXPECT_EQ(service.desk->ExitCode(), 0u);
    EXPECT_EQ(service.Post(kEcho, 3ull), 0u);
}

TEST_F(ServiceTest, KeepsItsFieldsInOrder) {
    const auto* object = static_cast<const Service*>(&service);
    constexpr size_t kStarted = sizeof(void*), kDesk = kStarted + 4, kName = kDesk + 4, kStopping = kName + 16;
    service.startUpResult = 42;
    service.inShutDown = [&] { EXPECT_EQ(FieldAt<uint32_t>(object, kStopping), 1u); };
    service.Start();
    EXPECT_EQ(FieldAt<uint32_t>(object, kStarted), 42u);
    EXPECT_EQ(FieldAt<uint32_t>(object, kDesk), service.DeskThread());
    EXPECT_EQ(FieldAt<uint32_t>(object, kName), 11u);
    EXPECT_STREQ(FieldAt<const char*>(object, kName + 8), "TestService");
    EXPECT_EQ(FieldAt<uint32_t>(object, kStopping), 0u);
    service.Stop();
}

/// Each of its operations returns the number of its slot.
class Slots : public Service {
public:
    explicit Slots(uint32_t& destroyed) : Service("Slots"), destroyed_(destroyed) {}
    ~Slots() override { destroyed_ = 1; }

private:
    uint32_t ProcessRequest(uint32_t, uint32_t, const uint64_t*) override { return 100; }
    uint32_t Manager_StartUp() override { return 101; }
    uint32_t Manager_ShutDown() override { return 102; }

    uint32_t& destroyed_;
};

TEST(ServiceSlots, AreInOrder) {
    uint32_t destroyed = 0;
    alignas(Slots) unsigned char memory[sizeof(Slots)];
    auto* object = static_cast<Service*>(new (memory) Slots(destroyed));
    for (uint32_t slot = 0; slot < 3; ++slot) EXPECT_EQ(test::CallSlot(object, slot), 100 + slot);
    EXPECT_EQ(destroyed, 0u);
    test::CallSlot(object, 3);
    EXPECT_EQ(destroyed, 1u);
}

}  // namespace
}  // namespace wpk::core
