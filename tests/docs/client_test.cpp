// The samples of docs/client.md: they compile as they stand there, and do what the page says.
// SPDX-License-Identifier: MIT
#include "client/fixture.h"
#include "client/scoped.inc"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <optional>
#include <utility>

namespace wpk::client_test {
namespace {

void Echo(harness::Connection& connection) {
    connection.Send(harness::Ok(harness::MessageOf(connection.ReadRequest())));
}

class ClientPage : public testing::Test {
protected:
    harness::Peer peer_{Echo};
    const unsigned short port = peer_.Port();
    const Client client{ToLoopback(port), FreshLibrary()};
};

TEST_F(ClientPage, FunctionGetsTheOutcome) {
    size_t length = 0;
    std::string trouble;
#include "client/function.inc"
    EXPECT_EQ(length, 5u);
    EXPECT_EQ(trouble, "");
}

TEST_F(ClientPage, MessageSaysWhereItGoes) {
    std::string large(1 << 20, 'x');
#include "client/message.inc"
    EXPECT_EQ(reply.get().body, std::string(1 << 20, 'x'));
}

TEST(ClientPageWithSilence, CancelEndsTheRequest) {
    SilentPeer peer;
    const Client client(ToLoopback(peer.Port()), FreshLibrary());
    bool cancelled = false;
#include "client/cancel.inc"
    EXPECT_TRUE(cancelled);
}

TEST(ClientPageWithSilence, WindowGoesWithItsRequest) {
    SilentPeer peer;
    const Client client(ToLoopback(peer.Port()), FreshLibrary());
    auto window = std::make_unique<Window>();
    window->Refresh(client);
    ASSERT_TRUE(peer.WaitForRequest());
    window.reset();
}

TEST(ClientPageWithSilence, TimeLimitIsReached) {
    SilentPeer peer;
    const Client client(ToLoopback(peer.Port()), FreshLibrary());
    bool late = false;
#include "client/time_limit.inc"
    EXPECT_TRUE(late);
}

TEST(ClientPageOptions, AddressIsTakenApart) {
    Options options;
    std::string complaint;
    {
        const std::string typed = "server.example:8080";
#include "client/address.inc"
    }
    EXPECT_EQ(options.server.str(), "server.example");
    EXPECT_EQ(options.port, 8080u);
    EXPECT_EQ(complaint, "");
    {
        const std::string typed = "server.example:99999";
#include "client/address.inc"
    }
    const char* expected =
#include "client/complaint.out"
        ;
    EXPECT_EQ(complaint, expected);
}

TEST_F(ClientPage, ProgressEndsAtHundred) {
    double percent = 0;
    const std::atomic<bool> tired{false};
#include "client/progress.inc"
    EXPECT_EQ(percent, 100.0);
    EXPECT_EQ(body, "hello");
}

TEST(ClientPageWithAProxy, CredentialsAreReplaced) {
    harness::Peer proxy([](harness::Connection& connection) {
        const bool known = harness::CredentialsOf(connection.ReadRequest()) == "user:new password";
        connection.Send(known ? harness::Ok("in") : harness::RawReply("HTTP/1.0 407 Who", {"Content-Length: 0"}));
    });
    const unsigned short port = proxy.Port();
#include "client/proxy.inc"
    const Client client(std::move(options), FreshLibrary());
    EXPECT_EQ(client.Send({"Echo", "hello"}).get().body, "in");
    EXPECT_EQ(proxy.Requests().size(), 2u);
}

TEST(ClientPageOptions, ConnectionIsWatched) {
    Options options;
    bool online = false;
#include "client/connection.inc"
    EXPECT_EQ(options.connection, Connection::kDialUp);
    options.on_connection(true);
    EXPECT_TRUE(online);
}

}  // namespace
}  // namespace wpk::client_test
