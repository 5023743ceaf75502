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
void SendCancelledBefore(Stage& stage, NativeRequest& request, const char* call, uint64_t nth) {
    RunBefore(call, nth, CancelOwn);
    if (request.Send() != 0) stage.AwaitQuietOrWaiting(request);
    ClearActions();
}

void CancelQueued(Stage& stage) {
    // The first call of the exchange.
    SendCancelledBefore(stage, stage.Make("Silent"), "socket", 1);
}

void CancelResolving(Stage& stage) {
    NativeRequest& request = stage.Make("Silent");
    request.message.lpszServer = "localhost";
    SendCancelledBefore(stage, request, "gethostbyname", 1);
}

void CancelConnecting(Stage& stage) {
    NativeRequest& request = stage.Make("Small");
    // Nobody listens there, so that the connect goes on until its time is over.
    request.message.nPort = 1;
    SendCancelledBefore(stage, request, "select", 2);
}

void CancelSending(Stage& stage) {
    // The head goes in three sends, the body in pieces.
    SendCancelledBefore(stage, stage.Make("Silent", std::string(32768, 'd')), "send", 6);
}

void CancelFromOutside(Stage& stage, NativeRequest& request) {
    CancelRequest(request.Handle());
    stage.AwaitQuietOrWaiting(request);
}

void CancelReadingTheHead(Stage& stage) {
    NativeRequest& request = stage.Send("Silent");
    if (request.Handle() == 0) return;
    EXPECT_TRUE(AwaitThat([&] { return stage.server.Silent() > 0 || request.Finals() > 0; }));
    CancelFromOutside(stage, request);
}

void CancelReceiving(Stage& stage) {
    NativeRequest& request = stage.Send("Half");
    if (request.Handle() == 0) return;
    EXPECT_TRUE(AwaitThat([&] { return request.Progresses() > 0 || request.Finals() > 0; }));
    CancelFromOutside(stage, request);
}

void CancelInCallback(Stage& stage) {
    NativeRequest& request = stage.Make("Half");
    request.onNotification = [&request](const WPK_CALLBACKSTRUCT& notification) {
        if (notification.nReason == WPK_REASON_PROGRESS && request.Progresses() == 0) CancelOwn();
    };
    if (request.Send() == 0) return;
    EXPECT_TRUE(AwaitThat([&] { return request.Progresses() > 0 || request.Finals() > 0; }));
    stage.AwaitQuietOrWaiting(request);
}

void CancelAfterTheEnd(Stage& stage) {
    NativeRequest& request = stage.Make("Small");
    stage.SendAndAwait(request);
    CancelRequest(request.Handle());
    stage.AwaitQuiet();
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
