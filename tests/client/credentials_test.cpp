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
rig::Peer::Script OnlyFor(std::string pair) {
    return [pair = std::move(pair)](rig::Connection& connection) {
        const bool known = rig::CredentialsOf(connection.ReadRequest()) == pair;
        connection.Send(known ? rig::Ok("come in") : rig::RawReply("HTTP/1.0 407 Who", {"Content-Length: 0"}));
    };
}

Options Through(const rig::Peer& proxy) {
    Options options;
    options.server = "server.invalid";
    options.proxy = Proxy{"127.0.0.1", proxy.Port(), {}};
    return options;
}

Pairs PairsSentTo(rig::Peer& proxy) {
    Pairs pairs;
    for (const std::string& request : proxy.Requests()) pairs.push_back(rig::CredentialsOf(request));
    return pairs;
}

TEST(ClientCredentials, GivenBeforehandAreSent) {
    rig::Peer proxy(OnlyFor("user:word"));
    Options options = Through(proxy);
    options.proxy->credentials = {"user", L"word"};
    const Client client(std::move(options), FreshLibrary());
    EXPECT_EQ(client.Send({"Echo", "hello"}).get().body, "come in");
    EXPECT_EQ(PairsSentTo(proxy), Pairs{"user:word"});
}

TEST(ClientCredentials, AskedForAndAnsweredAreUsedFromThenOn) {
    rig::Peer proxy(OnlyFor("user:word"));
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
    rig::Peer proxy(OnlyFor("user:word"));
    Options options = Through(proxy);
    options.on_credentials = [](const Credentials&) { return std::nullopt; };
    const Client client(std::move(options), FreshLibrary());
    EXPECT_EQ(CodeOf(client.Send({"Echo", "hello"})), Errc::kProxyCredentials);
    EXPECT_EQ(proxy.Requests().size(), 1u);
}

TEST(ClientCredentials, WithoutAFunctionToAskAreDeclined) {
    rig::Peer proxy(OnlyFor("user:word"));
    const Client client(Through(proxy), FreshLibrary());
    EXPECT_EQ(CodeOf(client.Send({"Echo", "hello"})), Errc::kProxyCredentials);
}

TEST(ClientCredentials, OfTheLargestLengthAreSentWhole) {
    const std::string longest(255, 'p');
    rig::Peer proxy(OnlyFor("user:" + longest));
    Options options = Through(proxy);
    options.on_credentials = [&](const Credentials&) { return Credentials{"user", longest}; };
    const Client client(std::move(options), FreshLibrary());
    EXPECT_EQ(client.Send({"Echo", "hello"}).get().body, "come in");
}

TEST(ClientCredentials, ThatDoNotFitEndTheRequestAndSaySo) {
    rig::Peer proxy(OnlyFor("user:word"));
    Options options = Through(proxy);
    options.on_credentials = [](const Credentials&) { return Credentials{std::string(256, 'u'), "word"}; };
    const Client client(std::move(options), FreshLibrary());
    EXPECT_EQ(CodeOf(client.Send({"Echo", "hello"})), Errc::kCredentialsTooLong);
    EXPECT_EQ(SendAndWait(client, {"Echo", "hello"}).error, Errc::kFunctionThrew);
    EXPECT_EQ(PairsSentTo(proxy), (Pairs{"", ""}));
}

TEST(ClientCredentials, WhoseFunctionThrowsEndTheRequestWithThat) {
    rig::Peer proxy(OnlyFor("user:word"));
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
    rig::Signal gone;
    rig::Peer proxy([&](rig::Connection& connection) {
        const bool known = rig::CredentialsOf(connection.ReadRequest()) == "user:word";
        if (!known) gone.Wait();
        connection.Send(known ? rig::Ok("come in") : rig::RawReply("HTTP/1.0 407 Who", {"Content-Length: 0"}));
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
