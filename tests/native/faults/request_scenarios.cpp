// Requests that nobody cancels.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "native/faults/scenarios.h"
#include "native/support/child_process.h"

namespace wpk::host {
namespace {

void UseProxy(Stage& stage, const char* password) {
    stage.settings.bBehindProxy = 1;
    stage.settings.lpszProxyServer = "127.0.0.1";
    stage.settings.nProxyPort = stage.server.Port();
    stage.settings.lpszProxyUser = "u";
    stage.settings.lpszProxyPassword = password;
    Initialise(stage);
}

void InitialiseBehindProxy(Stage& stage) {
    UseProxy(stage, "right");
}

void InitialiseUnknownToProxy(Stage& stage) {
    UseProxy(stage, "wrong");
}

template <const char* const& service>
void SendOne(Stage& stage) {
    stage.SendAndAwait(service);
}

constexpr const char* kSmall = "Small";
constexpr const char* kLarge = "Large";
constexpr const char* kUnknown = "Unknown";

void SendByName(Stage& stage) {
    NativeRequest& request = stage.Make("Small");
    request.message.lpszServer = "localhost";
    stage.SendAndAwait(request);
}

/// A fault must not make the proxy ask for credentials that were right.
void DeclineQuestion(Stage& stage) {
    NativeRequest& request = stage.Make("Guarded");
    request.user.clear();
    stage.SendAndAwait(request);
}

/// What was answered once is neither sent wrong nor asked for again.
void AnswerQuestionForTwo(Stage& stage) {
    NativeRequest& first = stage.Make("Guarded");
    stage.SendAndAwait(first);
    NativeRequest& second = stage.Make("Guarded");
    stage.SendAndAwait(second);
    EXPECT_LE(first.Questions(), 1);
    const bool answered = first.Handle() != 0 && first.Error() == 0;
    EXPECT_LE(second.Questions(), answered ? 0 : 1);
}

/// Its request has no final notification, so it is none of the stage's.
void SendWithCallbackThatThrows(Stage& stage) {
    auto& request = Lasting<NativeRequest>(stage.server.Port(), "Small");
    request.onNotification = [](const WPK_CALLBACKSTRUCT& notification) {
        if (notification.nReason == WPK_REASON_PROGRESS) throw 1;
    };
    request.Send();
    stage.AwaitQuiet();
}

void SendSeveral(Stage& stage) {
    NativeRequest* const requests[] = {&stage.Send("Small"), &stage.Send("Large"), &stage.Send("Unknown")};
    for (NativeRequest* request : requests) EXPECT_TRUE(request->Handle() == 0 || request->AwaitFinal());
    stage.AwaitQuiet();
}

}  // namespace

std::vector<Scenario> RequestScenarios() {
    return {
        {"ReplyInMemory", Initialise, SendOne<kSmall>, {0}},
        {"ReplyInFile", Initialise, SendOne<kLarge>, {0}},
        {"UnknownService", Initialise, SendOne<kUnknown>, {WPK_ERROR_NO_SERVICE}},
        {"ServerByName", Initialise, SendByName, {0}},
        {"ThroughProxy", InitialiseBehindProxy, DeclineQuestion, {0}},
        {"ProxyQuestionAnswered", InitialiseUnknownToProxy, AnswerQuestionForTwo, {0, 0}},
        {"ProxyQuestionDeclined", InitialiseUnknownToProxy, DeclineQuestion, {WPK_ERROR_PROXY_CREDENTIALS}},
        {"SeveralAtOnce", Initialise, SendSeveral, {0, 0, WPK_ERROR_NO_SERVICE}},
        {"CallbackThatThrows", Initialise, SendWithCallbackThatThrows, {}},
    };
}

}  // namespace wpk::host
