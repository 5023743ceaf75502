// The outbound service's commands, without a network.
// SPDX-License-Identifier: MIT
#include "service/net_outbound_service.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "support/lib_thread.h"

namespace wpk::core {
namespace {

/// What a request's callback got, in order.
struct Log {
    std::vector<int> failures;
    Semaphore ended{SemaphoreKind::kSignal};
    Semaphore mayReturn{SemaphoreKind::kSignal};
    bool blocks = false;
    void* userData = nullptr;
};

void OnNotification(WPK_CALLBACKSTRUCT* notification) {
    auto* log = static_cast<Log*>(notification->lpUserData);
    log->userData = notification->lpUserData;
    if (notification->nReason == WPK_REASON_FAILURE) log->failures.push_back(notification->body.failure.nError);
    log->ended.Signal();
    if (log->blocks) log->mayReturn.Wait();
}

void OnNotificationThrow(WPK_CALLBACKSTRUCT* notification) {
    static_cast<Log*>(notification->lpUserData)->ended.Signal();
    throw 1;
}

/// Lets a test look behind the commands.
class TestedService : public NetOutboundService {
public:
    using NetOutboundService::NetOutboundService;

    using NetOutboundService::Manager_ShutDown;
    using NetOutboundService::Manager_StartUp;
    using NetOutboundService::ProcessRequest;
};

class NetOutboundServiceTest : public test::ThreadLayer {
protected:
    void SetUp() override {
        ThreadLayer::SetUp();
        WPK_INITSTRUCT record{};
        record.lpfnCallback = OnNotification;
        record.lpUserData = &defaultLog;
        ASSERT_TRUE(state.settings.CopyFrom(record));
        ASSERT_NE(service.Start(), 0u);
    }
    void TearDown() override {
        // A stop ends workers where they stand, with whatever lock they hold just then: only this thread and the desk.
        if (service.Started() != 0) test::AwaitThreads(2);
        service.Stop();
        ThreadLayer::TearDown();
    }

    uint32_t Send(WPK_SENDSTRUCT* message) {
        return service.Post(uint64_t{kCommandSend}, uint64_t{reinterpret_cast<uintptr_t>(message)});
    }
    uint32_t AnyPending() { return service.Post(uint64_t{kCommandAnyPending}); }
    void AwaitNonePending() {
        while (AnyPending() != 0) Sleep(1);
    }

    Log defaultLog, ownLog;
    TransportState state;
    NetOutboundService service{state};
};

TEST_F(NetOutboundServiceTest, AnUnknownCommandIsAnsweredZeroAndHarmsNoLaterOne) {
    EXPECT_EQ(service.Post(uint64_t{104}), 0u);
    EXPECT_EQ(service.Post(uint64_t{2}), 0u);
    EXPECT_EQ(service.Post(uint64_t{kCommandCancel}, uint64_t{0xFFFFFFFC}), 1u);
    EXPECT_NE(Send(nullptr), 0u);
    defaultLog.ended.Wait();
}

TEST_F(NetOutboundServiceTest, WithoutATableEveryCommandIsAnsweredAndNoneDoesAnything) {
    // Nobody waits for its answers: it has no front desk.
    TestedService notStarted(state);
    const uint64_t send[] = {kCommandSend, 0};
    const uint64_t cancel[] = {kCommandCancel, 4};
    const uint64_t anyPending[] = {kCommandAnyPending};
    EXPECT_EQ(notStarted.ProcessRequest(0, 2, send), 0u);
    EXPECT_EQ(notStarted.ProcessRequest(0, 2, cancel), 0u);
    EXPECT_EQ(notStarted.ProcessRequest(0, 1, anyPending), 0u);
    EXPECT_EQ(notStarted.Manager_ShutDown(), 1u);
    EXPECT_TRUE(defaultLog.failures.empty());
}

/// Runs every request without its arguments first.
class DistractedService : public NetOutboundService {
public:
    using NetOutboundService::NetOutboundService;

protected:
    uint32_t ProcessRequest(uint32_t client, uint32_t count, const uint64_t* arguments) override {
        EXPECT_EQ(NetOutboundService::ProcessRequest(client, 0, nullptr), 0u);
        return NetOutboundService::ProcessRequest(client, count, arguments);
    }
};

TEST_F(NetOutboundServiceTest, ARequestWithoutArgumentsIsNeitherReadNorAnswered) {
    DistractedService other(state);
    ASSERT_NE(other.Start(), 0u);
    EXPECT_EQ(other.Post(uint64_t{kCommandCancel}, uint64_t{0xFFFFFFFC}), 1u) << "the one answer";
    // This thread, and both desks.
    test::AwaitThreads(3);
    EXPECT_EQ(other.Stop(), 1u);
}

TEST_F(NetOutboundServiceTest, ACommandWithoutItsOperandCountsItAsZero) {
    EXPECT_EQ(service.Post(uint64_t{kCommandCancel}), 1u);
    EXPECT_NE(service.Post(uint64_t{kCommandSend}), 0u);
    defaultLog.ended.Wait();
    EXPECT_EQ(defaultLog.failures, std::vector<int>{WPK_ERROR_BAD_REQUEST}) << "no record";
}

TEST_F(NetOutboundServiceTest, CancelOfAnUnknownHandleIsAnsweredOneAndChangesNothing) {
    EXPECT_EQ(service.Post(uint64_t{kCommandCancel}, uint64_t{0xFFFFFFFC}), 1u);
    EXPECT_EQ(AnyPending(), 0u);
}

TEST_F(NetOutboundServiceTest, ANullSendRecordEndsAtTheDefaultCallback) {
    EXPECT_NE(Send(nullptr), 0u);
    defaultLog.ended.Wait();
    EXPECT_EQ(defaultLog.failures, std::vector<int>{WPK_ERROR_BAD_REQUEST});
}

TEST_F(NetOutboundServiceTest, WithoutANetworkARequestEndsWithNoNetwork) {
    WPK_SENDSTRUCT message;
    message.lpszServer = "127.0.0.1";
    message.lpfnCallback = OnNotification;
    message.lpUserData = &ownLog;
    EXPECT_NE(Send(&message), 0u);
    ownLog.ended.Wait();
    EXPECT_EQ(ownLog.failures, std::vector<int>{WPK_ERROR_NO_NETWORK});
    EXPECT_TRUE(defaultLog.failures.empty());
}

TEST_F(NetOutboundServiceTest, ARequestIsPendingUntilItsFinalCallbackHasReturned) {
    ownLog.blocks = true;
    WPK_SENDSTRUCT message;
    message.lpfnCallback = OnNotification;
    message.lpUserData = &ownLog;
    EXPECT_EQ(AnyPending(), 0u);
    const uint32_t handle = Send(&message);
    ownLog.ended.Wait();
    EXPECT_EQ(AnyPending(), 1u);
    EXPECT_EQ(service.Post(uint64_t{kCommandCancel}, uint64_t{handle}), 1u) << "too late to change anything";
    ownLog.mayReturn.Signal();
    AwaitNonePending();
    EXPECT_EQ(ownLog.failures, std::vector<int>{WPK_ERROR_BAD_REQUEST}) << "an empty server, told once";
}

TEST_F(NetOutboundServiceTest, ARecordWithoutCallbackGetsTheDefaultOneWrittenIntoIt) {
    WPK_SENDSTRUCT message;
    Send(&message);
    defaultLog.ended.Wait();
    EXPECT_EQ(message.lpfnCallback, OnNotification);
    EXPECT_EQ(message.lpUserData, &defaultLog);
    EXPECT_EQ(defaultLog.failures, std::vector<int>{WPK_ERROR_BAD_REQUEST});
}

TEST_F(NetOutboundServiceTest, TwoSendsPostedTogetherReturnDifferentHandles) {
    Log logs[2];
    WPK_SENDSTRUCT messages[2];
    uint32_t handles[2] = {};
    Semaphore mayPost{SemaphoreKind::kSignal};
    {
        std::vector<std::unique_ptr<test::LibThread>> posters;
        for (int i = 0; i < 2; ++i) {
            logs[i].blocks = true;
            messages[i].lpfnCallback = OnNotification;
            messages[i].lpUserData = &logs[i];
            posters.push_back(std::make_unique<test::LibThread>([&, i] {
                // Each lets the other one go.
                mayPost.Wait();
                mayPost.Signal();
                handles[i] = Send(&messages[i]);
                return 0u;
            }));
            posters.back()->Resume();
        }
        mayPost.Signal();
    }
    for (Log& log : logs) log.ended.Wait();
    EXPECT_NE(handles[0], 0u);
    EXPECT_NE(handles[1], 0u);
    EXPECT_NE(handles[0], handles[1]) << "both are in flight, in their callbacks";
    for (Log& log : logs) log.mayReturn.Signal();
    AwaitNonePending();
}

TEST_F(NetOutboundServiceTest, ACallbackThatThrowsEndsItsRequestAndTheRegistryForgetsIt) {
    WPK_SENDSTRUCT message;
    message.lpfnCallback = OnNotificationThrow;
    message.lpUserData = &ownLog;
    for (int i = 0; i < 10; ++i) {
        EXPECT_NE(Send(&message), 0u);
        ownLog.ended.Wait();
    }
    AwaitNonePending();
}

TEST_F(NetOutboundServiceTest, StopEndsTheThreadsOfPendingRequests) {
    Log logs[3];
    WPK_SENDSTRUCT messages[3];
    uint32_t handles[3];
    for (int i = 0; i < 3; ++i) {
        logs[i].blocks = true;
        messages[i].lpfnCallback = OnNotification;
        messages[i].lpUserData = &logs[i];
        handles[i] = Send(&messages[i]);
        logs[i].ended.Wait();
    }
    EXPECT_EQ(service.Stop(), 1u);
    for (uint32_t handle : handles) EXPECT_EQ(test::StateOf(handle), ThreadState::kEnded);
    EXPECT_EQ(service.Post(uint64_t{kCommandAnyPending}), 0u);
}

}  // namespace
}  // namespace wpk::core
