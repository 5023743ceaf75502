// A process in which a scenario runs.
// SPDX-License-Identifier: MIT
#include "native/faults/scenario_fixture.h"

#include <gtest/gtest.h>

#include <utility>

#include "fake_platform/control.h"
#include "library/call.h"
#include "library/instance.h"
#include "threadlib/process_registry.h"

namespace wpk::host {

using namespace core;

namespace {

constexpr int64_t kDeskThreads = 1;
/// The detection's own desk, and its Peeker.
constexpr int64_t kDetectionThreads = 2;

int64_t RegisteredThreads() {
    ThreadRegistry& registry = *ThreadLib::processRegistry;
    const ScopedLock lock(registry.Lock());
    return registry.Count();
}

}  // namespace

ScenarioFixture::ScenarioFixture() {
    settings.nConnectionType = WPK_CONNECTION_PERMANENT;
    settings.lpfnCallback = [](WPK_CALLBACKSTRUCT* notification) {
        const CodeScope test(Code::kTest);
        auto* fixture = static_cast<ScenarioFixture*>(notification->lpUserData);
        ++(notification->body.connection.dwConnected ? fixture->comes : fixture->goes);
    };
    settings.lpUserData = this;
    // The folder of this process alone: several run at a time, and what stays in it is seen.
    theGlobalObject.transport.tempDirectory = &tempDirectory_;
}

NativeRequest& ScenarioFixture::Make(const char* service, std::string data) {
    requests_.push_back(std::make_unique<NativeRequest>(server.Port(), service, std::move(data)));
    NativeRequest& request = *requests_.back();
    request.user = "u";
    request.password = "right";
    return request;
}

NativeRequest& ScenarioFixture::Send(const char* service) {
    NativeRequest& request = Make(service);
    request.Send();
    return request;
}

void ScenarioFixture::SendAndAwait(const char* service) {
    SendAndAwait(Make(service));
}

void ScenarioFixture::SendAndAwait(NativeRequest& request) {
    EXPECT_TRUE(request.Send() == 0 || request.AwaitFinal());
    AwaitQuiet();
}

void ScenarioFixture::AwaitQuiet() const {
    const int64_t lasting = LastingThreads();
    EXPECT_TRUE(AwaitThat([lasting] { return CountLive().threads <= lasting; })) << CountLive();
}

void ScenarioFixture::AwaitQuietOrWaiting(NativeRequest& request) const {
    EXPECT_TRUE(AwaitThat([&] {
        const int64_t threads = CountLive().threads - kDeskThreads;
        return threads <= 0 || (threads == 1 && request.Finals() == 0 && FaultsFired() > 0);
    })) << CountLive();
}

std::vector<int> ScenarioFixture::AwaitEnds(Rescue rescue) {
    std::vector<int> ends;
    for (auto& request : requests_) {
        if (request->Handle() == 0) {
            ends.push_back(kRefused);
            continue;
        }
        if (rescue == Rescue::kCancel && request->Finals() == 0) CancelRequest(request->Handle());
        EXPECT_TRUE(request->AwaitFinal());
        ends.push_back(request->Error());
    }
    return ends;
}

void ScenarioFixture::ExpectSound() {
    EXPECT_EQ(InitLibrary(settings), 1);
    AwaitQuiet();
    if (DetectsModem()) DialAgain();
    NativeRequest& last = Send("Small");
    EXPECT_NE(last.Handle(), 0u);
    EXPECT_TRUE(last.AwaitFinal());
    // A library whose sockets could not be started stays without a network.
    EXPECT_EQ(last.Error(), SocketStarts() > 0 ? 0 : WPK_ERROR_NO_NETWORK);
    AwaitQuiet();
    ExpectNothingRegistered();
    for (auto& request : requests_) {
        EXPECT_EQ(request->Finals(), request->Handle() != 0 ? 1 : 0);
        const std::string reply = request->Reply();
        EXPECT_TRUE(reply.empty() || reply == "small" || reply == std::string(Server::kLargeSize, 'x')) << reply;
    }
    EXPECT_EQ(Misuses(), std::vector<std::string>());
}

/// A row or a record that has been left behind holds no handle, and the table that it is in can be reached.
void ScenarioFixture::ExpectNothingRegistered() const {
    EXPECT_EQ(Call(theGlobalObject, kCommandAnyPending, 0), 0u);
    // The question had a thread of its own.
    AwaitQuiet();
    EXPECT_EQ(RegisteredThreads(), LastingThreads());
}

int64_t ScenarioFixture::LastingThreads() const {
    return kDeskThreads + (DetectsModem() ? kDetectionThreads : 0);
}

/// Detection looks again and again, unless it could not be started; then its threads go.
bool ScenarioFixture::DetectsModem() const {
    if (settings.nConnectionType != WPK_CONNECTION_DIAL_UP) return false;
    const int looks = modem::Looks();
    EXPECT_TRUE(AwaitThat([looks] { return modem::Looks() > looks || CountLive().threads <= kDeskThreads; }));
    return modem::Looks() > looks;
}

/// Whatever the library thought of the modem before, it then knows that it is connected.
void ScenarioFixture::DialAgain() {
    modem::HangUp();
    const int looks = modem::Looks();
    EXPECT_TRUE(AwaitThat([looks] { return modem::Looks() >= looks + 3; }));
    comes = 0;
    modem::Dial();
    EXPECT_TRUE(AwaitThat([this] { return comes > 0; }));
}

}  // namespace wpk::host
