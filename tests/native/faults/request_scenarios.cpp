// Requests that nobody cancels.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "native/faults/scenarios.h"
#include "native/support/child_process.h"

namespace wpk::host {
namespace {

void UseProxy(ScenarioFixture& fixture, const char* password) {
    fixture.settings.bBehindProxy = 1;
    fixture.settings.lpszProxyServer = "127.0.0.1";
    fixture.settings.nProxyPort = fixture.server.Port();
    fixture.settings.lpszProxyUser = "u";
    fixture.settings.lpszProxyPassword = password;
    Initialise(fixture);
}

void InitialiseBehindProxy(ScenarioFixture& fixture) {
    UseProxy(fixture, "right");
}

void InitialiseUnknownToProxy(ScenarioFixture& fixture) {
    UseProxy(fixture, "wrong");
}

template <const char* const& service>
void SendOne(ScenarioFixture& fixture) {
    fixture.SendAndAwait(service);
}

constexpr const char* kSmall = "Small";
constexpr const char* kLarge = "Large";
constexpr const char* kUnknown = "Unknown";

void SendByName(ScenarioFixture& fixture) {
    NativeRequest& request = fixture.Make("Small");
    request.message.lpszServer = "localhost";
    fixture.SendAndAwait(request);
}

/// A fault must not make the proxy ask for credentials that were right.
void DeclineQuestion(ScenarioFixture& fixture) {
    NativeRequest& request = fixture.Make("Guarded");
    request.user.clear();
    fixture.SendAndAwait(request);
}

/// What was answered once is neither sent wrong nor asked for again.
void AnswerQuestionForTwo(ScenarioFixture& fixture) {
    NativeRequest& first = fixture.Make("Guarded");
    fixture.SendAndAwait(first);
    NativeRequest& second = fixture.Make("Guarded");
    fixture.SendAndAwait(second);
    EXPECT_LE(first.Questions(), 1);
    const bool answered = first.Handle() != 0 && first.Error() == 0;
    EXPECT_LE(second.Questions(), answered ? 0 : 1);
}

/// Its request has no final notification, so it is none of the fixture's.
void SendWithCallbackThatThrows(ScenarioFixture& fixture) {
    auto& request = Lasting<NativeRequest>(fixture.server.Port(), "Small");
    request.onNotification = [](const WPK_CALLBACKSTRUCT& notification) {
        if (notification.nReason == WPK_REASON_PROGRESS) throw 1;
    };
    request.Send();
    fixture.AwaitQuiet();
}

void SendSeveral(ScenarioFixture& fixture) {
    NativeRequest* const requests[] = {&fixture.Send("Small"), &fixture.Send("Large"), &fixture.Send("Unknown")};
    for (NativeRequest* request : requests) EXPECT_TRUE(request->Handle() == 0 || request->AwaitFinal());
    fixture.AwaitQuiet();
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
