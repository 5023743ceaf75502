// Being told that the network comes and goes, and no longer being told.
// SPDX-License-Identifier: MIT
#include "client/fixture.h"
#include "client/scripted_library.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <vector>

namespace wpk::client_test {
namespace {

void TellConnection(const ScriptedLibrary& library, unsigned int connected) {
    WPK_CALLBACKSTRUCT notification = {};
    notification.nReason = WPK_REASON_CONNECTION;
    notification.lpUserData = library.settings.lpUserData;
    notification.body.connection.dwConnected = connected;
    library.settings.lpfnCallback(&notification);
}

TEST(ConnectionFunction, WithoutANetworkIsToldSoAtTheStart) {
    harness::Signal told;
    bool last = true;
    Options options;
    options.connection = Connection::kNever;
    options.on_connection = [&](bool connected) {
        last = connected;
        told.Set();
    };
    const Client client(std::move(options), FreshLibrary());
    ASSERT_TRUE(told.Wait());
    EXPECT_FALSE(last);
}

TEST(ConnectionFunction, OfAComingAndGoingNetworkIsToldEachChange) {
    ScriptedLibrary library;
    std::vector<bool> told;
    Options options;
    options.on_connection = [&](bool connected) { told.push_back(connected); };
    const Client client(std::move(options), library.TheFunctions());
    TellConnection(library, 0);
    TellConnection(library, 1);
    TellConnection(library, 0);
    EXPECT_EQ(told, (std::vector<bool>{false, true, false}));
}

TEST(ConnectionFunction, AfterTheClientsEndIsNotCalled) {
    ScriptedLibrary library;
    const auto calls = std::make_shared<int>(0);
    {
        Options options;
        options.on_connection = [calls](bool) { ++*calls; };
        const Client client(std::move(options), library.TheFunctions());
        TellConnection(library, 1);
    }
    TellConnection(library, 0);
    EXPECT_EQ(*calls, 1);
    EXPECT_EQ(calls.use_count(), 1) << "the function has not been destroyed";
}

TEST(ConnectionFunction, RunningWhenTheClientEndsIsWaitedFor) {
    ScriptedLibrary library;
    harness::Signal running;
    harness::Signal destroyed;
    std::atomic<bool> finished{false};
    Options options;
    options.on_connection = [&](bool) {
        running.Set();
        EXPECT_FALSE(destroyed.Wait(/*milliseconds=*/500));
        finished = true;
    };
    auto client = std::make_unique<Client>(std::move(options), library.TheFunctions());
    harness::Thread teller([&] { TellConnection(library, 1); });
    ASSERT_TRUE(running.Wait());
    client.reset();
    EXPECT_TRUE(finished);
    destroyed.Set();
}

TEST(ConnectionFunction, WhichDestroysTheClientReturnsFromThat) {
    ScriptedLibrary library;
    int calls = 0;
    std::unique_ptr<Client> client;
    const auto captured = std::make_shared<int>(7);
    Options options;
    options.on_connection = [&calls, &client, captured](bool) {
        client.reset();
        calls += *captured;  // what runs has not been destroyed
    };
    client = std::make_unique<Client>(std::move(options), library.TheFunctions());
    TellConnection(library, 1);
    TellConnection(library, 0);
    EXPECT_EQ(calls, 7);
    EXPECT_EQ(captured.use_count(), 1);
}

TEST(ConnectionFunction, WhichThrowsIsReported) {
    ScriptedLibrary library;
    std::string text;
    Options options;
    options.on_connection = [](bool) { throw std::runtime_error("mine"); };
    options.on_exception = [&](const std::exception_ptr& exception) { text = TextOf(exception); };
    const Client client(std::move(options), library.TheFunctions());
    TellConnection(library, 1);
    EXPECT_EQ(text, "mine");
}

TEST(ClientNotification, ToldOfARequestThatItDidNotSendHeedsItNot) {
    ScriptedLibrary library;
    const Client client(ToLoopback(), library.TheFunctions());
    WPK_CALLBACKSTRUCT notification = {};
    notification.nReason = WPK_REASON_CREDENTIALS;
    notification.lpUserData = library.settings.lpUserData;
    library.settings.lpfnCallback(&notification);
    EXPECT_EQ(notification.body.credentials.bRetry, 0u);
}

}  // namespace
}  // namespace wpk::client_test
