// What the process-wide object does with the modem detection's states.
// SPDX-License-Identifier: MIT
#include "env/global_object.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <vector>

#ifndef _WIN32
#include "host/control.h"
#endif

namespace wpk::core {
namespace {

struct Told {
    uint32_t reason;
    uint32_t connected;
    uint32_t statusThen;
    uint32_t thread;
};

struct Application {
    const GlobalObject* global = nullptr;
    std::vector<Told> told;
};

void OnNotification(WPK_CALLBACKSTRUCT* notification) {
    auto* application = static_cast<Application*>(notification->lpUserData);
    application->told.push_back({notification->nReason, notification->body.connection.dwConnected,
                                 application->global->transport.connectionStatus, GetCurrentThreadId()});
}

/// Without the sockets interface no socket can be made.
bool SocketsStarted() {
    return static_cast<bool>(UniqueSocket(socket(AF_INET, SOCK_STREAM, 0)));
}

class GlobalObjectTest : public ::testing::Test {
protected:
    GlobalObjectTest() {
        // Other tests of this process may have left the interface started.
        while (WSACleanup() == 0) continue;
        application_.global = &global_;
        record_.lpfnCallback = OnNotification;
        record_.lpUserData = &application_;
        global_.transport.settings.CopyFrom(record_);
    }
    ~GlobalObjectTest() override {
        while (WSACleanup() == 0) continue;
    }

    uint32_t Tell(uint32_t state) { return global_.Update(&global_.modemDetection, &state); }

    void ExpectLastTold(uint32_t state) {
        ASSERT_FALSE(application_.told.empty());
        const Told& last = application_.told.back();
        EXPECT_EQ(last.reason, static_cast<uint32_t>(WPK_REASON_CONNECTION));
        EXPECT_EQ(last.connected, state);
        EXPECT_EQ(last.statusThen, state) << "the status is set before the callback";
        EXPECT_EQ(last.thread, GetCurrentThreadId());
    }

    Application application_;
    WPK_INITSTRUCT record_{};
    GlobalObject global_;
};

TEST_F(GlobalObjectTest, StateOneSetsTheStatusStartsTheSocketsAndTellsTheApplication) {
    EXPECT_EQ(Tell(1), 1u);
    EXPECT_EQ(global_.transport.connectionStatus, 1u);
    EXPECT_TRUE(SocketsStarted());
    EXPECT_EQ(application_.told.size(), 1u);
    ExpectLastTold(1);
}

TEST_F(GlobalObjectTest, StateZeroClearsTheStatusCleansTheSocketsUpAndTellsTheApplication) {
    Tell(1);
    EXPECT_EQ(Tell(0), 1u);
    EXPECT_EQ(global_.transport.connectionStatus, 0u);
    EXPECT_FALSE(SocketsStarted());
    EXPECT_EQ(application_.told.size(), 2u);
    ExpectLastTold(0);
}

TEST_F(GlobalObjectTest, TheFirstZeroCleansUpWhatWasNeverStartedAndTheSocketsStartAfterIt) {
    EXPECT_EQ(Tell(0), 1u);
    ExpectLastTold(0);
    Tell(1);
    EXPECT_TRUE(SocketsStarted());
}

TEST_F(GlobalObjectTest, EveryZeroTakesOneStartBack) {
    WSADATA data;
    for (int i = 0; i < 3; ++i) ASSERT_EQ(WSAStartup(MAKEWORD(1, 1), &data), 0);
    Tell(0);
    Tell(0);
    EXPECT_TRUE(SocketsStarted());
    Tell(0);
    EXPECT_FALSE(SocketsStarted());
}

TEST_F(GlobalObjectTest, AnyOtherStateChangesNothingAndTellsNothing) {
    Tell(1);
    for (uint32_t state : {2u, 3u, 0xFFFFFFFFu}) {
        EXPECT_EQ(Tell(state), 1u);
        EXPECT_EQ(global_.transport.connectionStatus, 1u);
        EXPECT_TRUE(SocketsStarted());
    }
    EXPECT_EQ(application_.told.size(), 1u);
}

TEST_F(GlobalObjectTest, AnotherObservableIsRefusedAndChangesNothing) {
    Observable stranger;
    ModemDetectionService otherDetection;
    uint32_t up = 1;
    EXPECT_EQ(global_.Update(&stranger, &up), 0u);
    EXPECT_EQ(global_.Update(&otherDetection, &up), 0u);
    EXPECT_EQ(global_.Update(nullptr, &up), 0u);
    EXPECT_EQ(global_.transport.connectionStatus, 0u);
    EXPECT_FALSE(SocketsStarted());
    EXPECT_TRUE(application_.told.empty());
}

TEST_F(GlobalObjectTest, AnotherObservablesStatesLeaveANetworkThatIsUpAlone) {
    Tell(1);
    ModemDetectionService otherDetection;
    for (uint32_t state : {0u, 2u}) {
        EXPECT_EQ(global_.Update(&otherDetection, &state), 0u);
        EXPECT_EQ(global_.transport.connectionStatus, 1u);
        EXPECT_TRUE(SocketsStarted());
    }
    EXPECT_EQ(application_.told.size(), 1u);
}

TEST_F(GlobalObjectTest, StateTwoChangesNothingOnAFreshOne) {
    EXPECT_EQ(Tell(2), 1u);
    EXPECT_EQ(global_.transport.connectionStatus, 0u);
    EXPECT_FALSE(SocketsStarted());
    EXPECT_TRUE(application_.told.empty());
}

#ifndef _WIN32
TEST_F(GlobalObjectTest, TheStatusIsSetBeforeTheSocketsStart) {
    uint32_t statusThen = 99;
    host::RunBefore("WSAStartup", 1, [&] { statusThen = global_.transport.connectionStatus; });
    Tell(1);
    EXPECT_EQ(statusThen, 1u);
    host::RunBefore("WSACleanup", 1, [&] { statusThen = global_.transport.connectionStatus; });
    Tell(0);
    EXPECT_EQ(statusThen, 0u);
}

TEST_F(GlobalObjectTest, StateOneCountsAlsoWhenTheSocketsDoNotStart) {
    host::FailCall("WSAStartup", 1);
    EXPECT_EQ(Tell(1), 1u);
    EXPECT_EQ(host::FaultsFired(), 1u);
    host::ClearFaults();
    EXPECT_EQ(global_.transport.connectionStatus, 1u);
    EXPECT_FALSE(SocketsStarted());
    ExpectLastTold(1);
}
#endif

TEST_F(GlobalObjectTest, ItObservesTheDetectionOnceHoweverOftenItIsAsked) {
    EXPECT_TRUE(global_.ObserveModemDetection());
    EXPECT_TRUE(global_.ObserveModemDetection());
    uint32_t up = 1;
    global_.modemDetection.Notify(&up);
    EXPECT_EQ(application_.told.size(), 1u);
}

TEST_F(GlobalObjectTest, ItsMembersStandInTheOrderOfTheirConstruction) {
    const std::vector<const void*> members = {static_cast<const Observer*>(&global_),
                                              &global_.netOutbound,
                                              &global_.modemDetection,
                                              &global_.systemInformation,
                                              &global_.initialised,
                                              &global_.transport.connectionStatus,
                                              &global_.transport.settings,
                                              &global_.gate};
    EXPECT_TRUE(std::is_sorted(members.begin(), members.end(), std::less<const void*>()));
}

TEST_F(GlobalObjectTest, WithoutACallbackStatusAndSocketsStillFollow) {
    record_.lpfnCallback = nullptr;
    global_.transport.settings.CopyFrom(record_);
    EXPECT_EQ(Tell(1), 1u);
    EXPECT_EQ(global_.transport.connectionStatus, 1u);
    EXPECT_TRUE(SocketsStarted());
    EXPECT_EQ(Tell(0), 1u);
    EXPECT_EQ(global_.transport.connectionStatus, 0u);
    EXPECT_FALSE(SocketsStarted());
    EXPECT_TRUE(application_.told.empty());
}

TEST_F(GlobalObjectTest, AFreshOneHasNoConnectionIsNotInitialisedAndItsServicesAreNot) {
    const GlobalObject fresh;
    EXPECT_EQ(fresh.initialised, 0u);
    EXPECT_EQ(fresh.transport.connectionStatus, 0u);
    EXPECT_EQ(fresh.transport.settings.ProxyPort(), 80u);
    EXPECT_EQ(fresh.netOutbound.Started(), 0u);
    EXPECT_EQ(fresh.modemDetection.Started(), 0u);
    EXPECT_TRUE(static_cast<bool>(fresh.gate));
}

}  // namespace
}  // namespace wpk::core
