// Initialisation, well and badly, and the watch for dial-up connections.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "fake_platform/control.h"
#include "native/faults/scenarios.h"

namespace wpk::host {
namespace {

void DoNothing(ScenarioFixture&) {}

template <int type>
void UseConnection(ScenarioFixture& fixture) {
    fixture.settings.nConnectionType = type;
}

void InitialiseOnly(ScenarioFixture& fixture) {
    InitLibrary(fixture.settings);
    fixture.AwaitQuiet();
}

/// A service that could not start keeps its job table, which has two locks, for the next start.
constexpr int64_t kJobTableHandles = 2;

/// Undone, it leaves no thread and nothing else open.
void InitialiseInVain(ScenarioFixture& fixture) {
    const int64_t handles = CountLive().handles;
    EXPECT_EQ(InitLibrary(fixture.settings), 0);
    EXPECT_TRUE(AwaitThat([] { return CountLive().threads == 0; }));
    EXPECT_LE(CountLive().handles, handles + kJobTableHandles);
}

void PrepareDialUp(ScenarioFixture& fixture) {
    // The modem is looked at every five seconds.
    SpeedUp(kSpeed * 10, kSelectSpeed);
    modem::Install();
    fixture.settings.nConnectionType = WPK_CONNECTION_DIAL_UP;
}

/// Until the modem's state has been told, unless a fault keeps the library from seeing it.
void AwaitTold(const std::atomic<int>& told) {
    EXPECT_TRUE(AwaitThat([&told] { return told > 0 || FaultsFired() > 0; }));
}

void DialAndHangUp(ScenarioFixture& fixture) {
    InitLibrary(fixture.settings);
    AwaitTold(fixture.goes);
    modem::Dial();
    AwaitTold(fixture.comes);
    fixture.goes = 0;
    modem::HangUp();
    AwaitTold(fixture.goes);
}

void DialSendAndHangUp(ScenarioFixture& fixture) {
    InitLibrary(fixture.settings);
    modem::Dial();
    AwaitTold(fixture.comes);
    NativeRequest& request = fixture.Send("Silent");
    EXPECT_TRUE(AwaitThat([&] { return fixture.server.Silent() > 0 || FaultsFired() > 0; }));
    fixture.goes = 0;
    modem::HangUp();
    AwaitTold(fixture.goes);
    EXPECT_TRUE(AwaitThat([&] { return request.Finals() > 0 || FaultsFired() > 0; }));
}

}  // namespace

void Initialise(ScenarioFixture& fixture) {
    ASSERT_EQ(InitLibrary(fixture.settings), 1);
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
