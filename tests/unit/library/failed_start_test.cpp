// A start-up in which a call of the platform fails, on an instance of the test's own. Only the fake platform makes one
// fail. SPDX-License-Identifier: MIT
#ifndef _WIN32

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>

#include "env/remote_access.h"
#include "fake_platform/control.h"
#include "library/call.h"
#include "library/start_up.h"
#include "support/lib_thread.h"

namespace wpk::core {
namespace {

DWORD WINAPI NoConnection(RasConnection* /*connections*/, DWORD* /*size*/, DWORD* count) {
    *count = 0;
    return ERROR_SUCCESS;
}

DWORD WINAPI NoStatus(void* /*connection*/, RasConnectionStatus* /*status*/) {
    return ERROR_INVALID_HANDLE;
}

template <class Function>
FARPROC AddressOf(Function* function) {
    return reinterpret_cast<FARPROC>(reinterpret_cast<void (*)()>(function));
}

struct Told {
    Semaphore arrived{SemaphoreKind::kSignal};
    std::atomic<uint32_t> count{0};
};

void OnNotification(WPK_CALLBACKSTRUCT* notification) {
    auto* told = static_cast<Told*>(notification->lpUserData);
    if (notification->nReason != WPK_REASON_CONNECTION) return;
    ++told->count;
    told->arrived.Signal();
}

class FailedStart : public ::testing::Test {
protected:
    FailedStart() {
        host::Reset();
        record_.lpfnCallback = OnNotification;
        record_.lpUserData = &told_;
    }

    void TearDown() override {
        host::ClearFaults();
        // To post the stop commands.
        ThreadLib::Attach();
        if (global_.modemDetection.Started() != 0) {
            EXPECT_EQ(global_.modemDetection.Post(kCommandStop), 1u);
        }
        if (global_.netOutbound.Started() != 0) test::AwaitThreads(2);
        global_.netOutbound.Stop();
        test::ShutDownLayer();
        // A thread that has left the registry still has to end: the next test counts threads.
        EXPECT_TRUE(test::AwaitThat([] { return host::CountLive().threads == 0; }));
    }

    static void AddRemoteAccess() {
        host::AddModule("rasapi32.dll");
        host::AddModule("wpk.dll", {{"WRAPPER_RasEnumConnections", AddressOf(&NoConnection)},
                                    {"WRAPPER_RasGetConnectStatus", AddressOf(&NoStatus)}});
    }

    /// Fails at the `nth` use of the call, and leaves nothing: the module could be unloaded. Then it works.
    void ExpectFailureAndSuccess(const char* call, uint64_t nth = 1) {
        const host::Live before = host::CountLive();
        const bool pinned = host::ModulePinned("wpk.dll");
        host::FailCall(call, nth);
        EXPECT_EQ(Initialise(global_, record_), 0) << call;
        EXPECT_EQ(host::FaultsFired(), 1u) << call;
        host::ClearFaults();
        EXPECT_EQ(host::CountLive().threads, before.threads) << call;
        EXPECT_EQ(host::CountLive().modules, before.modules) << call;
        EXPECT_EQ(host::SocketStarts(), starts_) << call;
        EXPECT_EQ(host::ModulePinned("wpk.dll"), pinned) << call;
        EXPECT_EQ(global_.initialised, 0u);
        EXPECT_EQ(global_.netOutbound.Started(), 0u);
        EXPECT_EQ(told_.count, 0u) << call;
        EXPECT_EQ(Call(global_, kCommandCancel, 4), 0u);
        EXPECT_EQ(Initialise(global_, record_), 1) << "the second try after a failed " << call;
    }

    const int64_t starts_ = host::SocketStarts();
    Told told_;
    WPK_INITSTRUCT record_{};
    GlobalObject global_;
};

TEST_F(FailedStart, WithoutItsPinUndoesAll) {
    record_.nConnectionType = WPK_CONNECTION_PERMANENT;
    ExpectFailureAndSuccess("GetModuleHandleExA");
    EXPECT_TRUE(host::ModulePinned("wpk.dll"));
}

TEST_F(FailedStart, WithoutItsPinEndsTheThreadThatWouldHaveTold) {
    record_.nConnectionType = WPK_CONNECTION_NEVER;
    ExpectFailureAndSuccess("GetModuleHandleExA");
    told_.arrived.Wait();
    EXPECT_EQ(told_.count, 1u);
}

TEST_F(FailedStart, WithoutTheThreadThatTellsTheStateUndoesAll) {
    record_.nConnectionType = WPK_CONNECTION_NEVER;
    // The first one is the front desk.
    ExpectFailureAndSuccess("_beginthreadex", 2);
    told_.arrived.Wait();
}

TEST_F(FailedStart, InDialUpWithoutTheThreadThatMightTellTheStateUndoesAll) {
    record_.nConnectionType = WPK_CONNECTION_DIAL_UP;
    AddRemoteAccess();
    ExpectFailureAndSuccess("_beginthreadex", 2);
}

TEST_F(FailedStart, WhoseThreadThatTellsTheStateCannotRunUndoesAll) {
    record_.nConnectionType = WPK_CONNECTION_NEVER;
    host::FailCall("ResumeThread", 2);
    EXPECT_EQ(Initialise(global_, record_), 0);
    host::ClearFaults();
    EXPECT_EQ(told_.count, 0u);
    EXPECT_EQ(Initialise(global_, record_), 1);
    told_.arrived.Wait();
}

TEST_F(FailedStart, OfTheDetectionTellsTheStateOnceInItsPlace) {
    record_.nConnectionType = WPK_CONNECTION_DIAL_UP;
    EXPECT_EQ(Initialise(global_, record_), 1);
    told_.arrived.Wait();
    EXPECT_EQ(told_.count, 1u);
    EXPECT_EQ(global_.modemDetection.Started(), 0u);
}

TEST_F(FailedStart, NothingFailsTheStartOnceThePeekerRuns) {
    record_.nConnectionType = WPK_CONNECTION_DIAL_UP;
    AddRemoteAccess();
    // The two desks and the Peeker come first.
    host::FailCall("ResumeThread", 4);
    EXPECT_EQ(Initialise(global_, record_), 1);
    EXPECT_EQ(host::FaultsFired(), 1u);
    EXPECT_NE(global_.modemDetection.Started(), 0u);
}

TEST_F(FailedStart, TriedAgainAttachesTheObserverOnce) {
    record_.nConnectionType = WPK_CONNECTION_DIAL_UP;
    AddRemoteAccess();
    ExpectFailureAndSuccess("GetModuleHandleExA");
    told_.arrived.Wait();
    // It waits for the Peeker's first notification to be over, and calls every observer itself.
    uint32_t gone = 0;
    global_.modemDetection.Notify(&gone);
    EXPECT_EQ(told_.count, 2u);
}

}  // namespace
}  // namespace wpk::core

#endif
