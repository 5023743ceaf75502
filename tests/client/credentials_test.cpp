// The proxy's question for credentials, answered and declined.
// SPDX-License-Identifier: MIT
#include "client/fixture.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

namespace wpk::client_test {
namespace {

using Pairs = std::vector<std::string>;

/// A proxy that lets nobody in but one user; 407 for all others.
harness::Peer::Script OnlyFor(std::string pair) {
    return [pair = std::move(pair)](harness::Connection& connection) {
        const bool known = harness::CredentialsOf(connection.ReadRequest()) == pair;
        connection.Send(known ? harness::Ok("come in") : harness::RawReply("HTTP/1.0 407 Who", {"Content-Length: 0"}));
    };
}

Options Through(const harness::Peer& proxy) {
    Options options;
    options.server = "server.invalid";
    options.proxy = Proxy{"127.0.0.1", proxy.Port(), {}};
    return options;
}

Pairs PairsSentTo(harness::Peer& proxy) {
    Pairs pairs;
    for (const std::string& request : proxy.Requests()) pairs.push_back(harness::CredentialsOf(request));
    return pairs;
}

TEST(ClientCredentials, GivenBeforehandAreSent) {
    harness::Peer proxy(OnlyFor("user:word"));
    Options options = Through(proxy);
    options.proxy->credentials = {"user", L"word"};
    const Client client(std::move(options), FreshLibrary());
    EXPECT_EQ(client.Send({"Echo", "hello"}).get().body, "come in");
    EXPECT_EQ(PairsSentTo(proxy), Pairs{"user:word"});
}

TEST(ClientCredentials, AskedForAndAnsweredAreUsedFromThenOn) {
    harness::Peer proxy(OnlyFor("user:word"));
    Options options = Through(proxy);
    Pairs refused;
    options.on_credentials = [&](const Credentials& last) -> std::optional<Credentials> {
        refused.push_back(last.user.str() + ":" + last.password.str());
        return refused.size() == 1 ? Credentials{"user", "wrong"} : Credentials{"user", "word"};
    };
    const Client client(std::move(options), FreshLibrary());
    EXPECT_EQ(client.Send({"Echo", "hello"}).get().body, "come in");
    EXPECT_EQ(client.Send({"Echo", "hello"}).get().body, "come in");
    EXPECT_EQ(refused, (Pairs{":", "user:wrong"}));
    EXPECT_EQ(PairsSentTo(proxy), (Pairs{"", "user:wrong", "user:word", "user:word"}));
}

TEST(ClientCredentials, AskedForAndDeclinedEndTheRequest) {
    harness::Peer proxy(OnlyFor("user:word"));
    Options options = Through(proxy);
    options.on_credentials = [](const Credentials&) { return std::nullopt; };
    const Client client(std::move(options), FreshLibrary());
    EXPECT_EQ(CodeOf(client.Send({"Echo", "hello"})), Errc::kProxyCredentials);
    EXPECT_EQ(proxy.Requests().size(), 1u);
}

TEST(ClientCredentials, WithoutAFunctionToAskAreDeclined) {
    harness::Peer proxy(OnlyFor("user:word"));
    const Client client(Through(proxy), FreshLibrary());
    EXPECT_EQ(CodeOf(client.Send({"Echo", "hello"})), Errc::kProxyCredentials);
}

TEST(ClientCredentials, OfTheLargestLengthAreSentWhole) {
    const std::string longest(255, 'p');
    harness::Peer proxy(OnlyFor("user:" + longest));
    Options options = Through(proxy);
    options.on_credentials = [&](const Credentials&) { return Credentials{"user", longest}; };
    const Client client(std::move(options), FreshLibrary());
    EXPECT_EQ(client.Send({"Echo", "hello"}).get().body, "come in");
}

TEST(ClientCredentials, ThatDoNotFitEndTheRequestAndSaySo) {
    harness::Peer proxy(OnlyFor("user:word"));
    Options options = Through(proxy);
    options.on_credentials = [](const Credentials&) { return Credentials{std::string(256, 'u'), "word"}; };
    const Client client(std::move(options), FreshLibrary());
    EXPECT_EQ(CodeOf(client.Send({"Echo", "hello"})), Errc::kCredentialsTooLong);
    EXPECT_EQ(SendAndWait(client, {"Echo", "hello"}).error, Errc::kFunctionThrew);
    EXPECT_EQ(PairsSentTo(proxy), (Pairs{"", ""}));
}

TEST(ClientCredentials, WhoseFunctionThrowsEndTheRequestWithThat) {
    harness::Peer proxy(OnlyFor("user:word"));
    Options options = Through(proxy);
    options.on_credentials = [](const Credentials&) -> std::optional<Credentials> {
        throw std::runtime_error("no terminal");
    };
    const Client client(std::move(options), FreshLibrary());
    const Kept kept = SendAndWait(client, {"Echo", "hello"});
    EXPECT_EQ(kept.error, Errc::kFunctionThrew);
    EXPECT_EQ(TextOf(kept.exception), "no terminal");
    EXPECT_EQ(proxy.Requests().size(), 1u);
}

TEST(ClientCredentials, AskedForBeyondTheClientsEndAreStillAskedFor) {
    harness::Signal gone;
    harness::Peer proxy([&](harness::Connection& connection) {
        const bool known = harness::CredentialsOf(connection.ReadRequest()) == "user:word";
        if (!known) gone.Wait();
        connection.Send(known ? harness::Ok("come in") : harness::RawReply("HTTP/1.0 407 Who", {"Content-Length: 0"}));
    });
    std::future<Reply> future;
    {
        Options options = Through(proxy);
        options.on_credentials = [](const Credentials&) { return Credentials{"user", "word"}; };
        const Client client(std::move(options), FreshLibrary());
        future = client.Send({"Echo", "hello"});
        ASSERT_NE(proxy.WaitForRequest(), "");
    }
    gone.Set();
    EXPECT_EQ(future.get().body, "come in");
}

}  // namespace
}  // namespace wpk::client_test
