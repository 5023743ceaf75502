// Initialisation, well and badly, and the watch for dial-up connections.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "fake_platform/control.h"
#include "native/faults/scenarios.h"

namespace wpk::host {
namespace {

void DoNothing(Stage&) {}

template <int type>
void UseConnection(Stage& stage) {
    stage.settings.nConnectionType = type;
}

void InitialiseOnly(Stage& stage) {
    InitLibrary(stage.settings);
    stage.AwaitQuiet();
}

/// A service that could not start keeps its job table, which has two locks, for the next start.
constexpr int64_t kJobTableHandles = 2;

/// Undone, it leaves no thread and nothing else open.
void InitialiseInVain(Stage& stage) {
    const int64_t handles = CountLive().handles;
    EXPECT_EQ(InitLibrary(stage.settings), 0);
    EXPECT_TRUE(AwaitThat([] { return CountLive().threads == 0; }));
    EXPECT_LE(CountLive().handles, handles + kJobTableHandles);
}

void PrepareDialUp(Stage& stage) {
    // The modem is looked at every five seconds.
    SpeedUp(kSpeed * 10, kSelectSpeed);
    modem::Install();
    stage.settings.nConnectionType = WPK_CONNECTION_DIAL_UP;
}

/// Until the modem's state has been told, unless a fault keeps the library from seeing it.
void AwaitTold(const std::atomic<int>& told) {
    EXPECT_TRUE(AwaitThat([&told] { return told > 0 || FaultsFired() > 0; }));
}

void DialAndHangUp(Stage& stage) {
    InitLibrary(stage.settings);
    AwaitTold(stage.goes);
    modem::Dial();
    AwaitTold(stage.comes);
    stage.goes = 0;
    modem::HangUp();
    AwaitTold(stage.goes);
}

void DialSendAndHangUp(Stage& stage) {
    InitLibrary(stage.settings);
    modem::Dial();
    AwaitTold(stage.comes);
    NativeRequest& request = stage.Send("Silent");
    EXPECT_TRUE(AwaitThat([&] { return stage.server.Silent() > 0 || FaultsFired() > 0; }));
    stage.goes = 0;
    modem::HangUp();
    AwaitTold(stage.goes);
    EXPECT_TRUE(AwaitThat([&] { return request.Finals() > 0 || FaultsFired() > 0; }));
}

}  // namespace

void Initialise(Stage& stage) {
    ASSERT_EQ(InitLibrary(stage.settings), 1);
}

std::vector<Scenario> StartScenarios() {
    return {
        {"Initialise", DoNothing, InitialiseOnly, {}},
        {"InitialiseWithoutNetwork", UseConnection<WPK_CONNECTION_NEVER>, InitialiseOnly, {}},
        {"InitialiseAutomatically", UseConnection<WPK_CONNECTION_AUTOMATIC>, InitialiseOnly, {}},
        {"InitialiseWithoutAWatchOnTheDesk", DoNothing, InitialiseInVain, {}, false, "OpenThread"},
        {"InitialiseWithADeskThatCannotRun", DoNothing, InitialiseInVain, {}, false, "ResumeThread"},
        {"DialUp", PrepareDialUp, DialAndHangUp, {}, /*may_lack_parts=*/true},
        {"DialUpWithRequest", PrepareDialUp, DialSendAndHangUp, {WPK_ERROR_NO_NETWORK}, /*may_lack_parts=*/true},
    };
}

}  // namespace wpk::host
