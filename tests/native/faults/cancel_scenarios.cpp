// Cancels, one for every stage of a request.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "fake_platform/control.h"
#include "native/faults/scenarios.h"
#include "windows.h"

namespace wpk::host {
namespace {

/// The front desk, and the thread that carries the request.
constexpr int64_t kThreadsOfOneRequest = 2;

/// On the thread that carries a request, whose id is the request's handle. Waits for the thread of the cancel, so that
/// the request goes on with the cancel carried out, or failed.
void CancelOwn() {
    CancelRequest(GetCurrentThreadId());
    EXPECT_TRUE(AwaitThat([] { return CountLive().threads <= kThreadsOfOneRequest; }));
}

/// Cancels the request right before a use of a call, unless a fault keeps that use from coming.
void SendCancelledBefore(ScenarioFixture& fixture, NativeRequest& request, const char* call, uint64_t nth) {
    RunBefore(call, nth, CancelOwn);
    if (request.Send() != 0) fixture.AwaitQuietOrWaiting(request);
    ClearActions();
}

void CancelQueued(ScenarioFixture& fixture) {
    // The first call of the exchange.
    SendCancelledBefore(fixture, fixture.Make("Silent"), "socket", 1);
}

void CancelResolving(ScenarioFixture& fixture) {
    NativeRequest& request = fixture.Make("Silent");
    request.message.lpszServer = "localhost";
    SendCancelledBefore(fixture, request, "gethostbyname", 1);
}

void CancelConnecting(ScenarioFixture& fixture) {
    NativeRequest& request = fixture.Make("Small");
    // Nobody listens there, so that the connect goes on until its time is over.
    request.message.nPort = 1;
    SendCancelledBefore(fixture, request, "select", 2);
}

void CancelSending(ScenarioFixture& fixture) {
    // The head goes in three sends, the body in pieces.
    SendCancelledBefore(fixture, fixture.Make("Silent", std::string(32768, 'd')), "send", 6);
}

void CancelFromOutside(ScenarioFixture& fixture, NativeRequest& request) {
    CancelRequest(request.Handle());
    fixture.AwaitQuietOrWaiting(request);
}

void CancelReadingTheHead(ScenarioFixture& fixture) {
    NativeRequest& request = fixture.Send("Silent");
    if (request.Handle() == 0) return;
    EXPECT_TRUE(AwaitThat([&] { return fixture.server.Silent() > 0 || request.Finals() > 0; }));
    CancelFromOutside(fixture, request);
}

void CancelReceiving(ScenarioFixture& fixture) {
    NativeRequest& request = fixture.Send("Half");
    if (request.Handle() == 0) return;
    EXPECT_TRUE(AwaitThat([&] { return request.Progresses() > 0 || request.Finals() > 0; }));
    CancelFromOutside(fixture, request);
}

void CancelInCallback(ScenarioFixture& fixture) {
    NativeRequest& request = fixture.Make("Half");
    request.onNotification = [&request](const WPK_CALLBACKSTRUCT& notification) {
        if (notification.nReason == WPK_REASON_PROGRESS && request.Progresses() == 0) CancelOwn();
    };
    if (request.Send() == 0) return;
    EXPECT_TRUE(AwaitThat([&] { return request.Progresses() > 0 || request.Finals() > 0; }));
    fixture.AwaitQuietOrWaiting(request);
}

void CancelAfterTheEnd(ScenarioFixture& fixture) {
    NativeRequest& request = fixture.Make("Small");
    fixture.SendAndAwait(request);
    CancelRequest(request.Handle());
    fixture.AwaitQuiet();
}

}  // namespace

std::vector<Scenario> CancelScenarios() {
    return {
        {"CancelQueued", Initialise, CancelQueued, {WPK_ERROR_CANCELLED}},
        {"CancelResolving", Initialise, CancelResolving, {WPK_ERROR_CANCELLED}},
        {"CancelConnecting", Initialise, CancelConnecting, {WPK_ERROR_CANCELLED}},
        {"CancelSending", Initialise, CancelSending, {WPK_ERROR_CANCELLED}},
        {"CancelReadingTheHead", Initialise, CancelReadingTheHead, {WPK_ERROR_CANCELLED}},
        {"CancelReceiving", Initialise, CancelReceiving, {WPK_ERROR_CANCELLED}},
        {"CancelInCallback", Initialise, CancelInCallback, {WPK_ERROR_CANCELLED}},
        {"CancelAfterTheEnd", Initialise, CancelAfterTheEnd, {0}},
    };
}

}  // namespace wpk::host
