// Exceptions that the application's functions throw: none reaches the library, each goes where it is said to.
// SPDX-License-Identifier: MIT
#include "client/fixture.h"
#include "client/scripted_library.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

namespace wpk::client_test {
namespace {

/// A Client that keeps what its on_exception gets.
class Watched {
public:
    const Client& client() const { return client_; }

    std::vector<std::string> Texts() {
        return monitor_.Update([this] { return texts_; });
    }

private:
    Options Watching() {
        Options options = ToLoopback();
        options.on_exception = [this](const std::exception_ptr& exception) {
            monitor_.Update([&] { texts_.push_back(TextOf(exception)); });
        };
        return options;
    }

    harness::Monitor monitor_;
    std::vector<std::string> texts_;
    const Client client_{Watching(), FreshLibrary()};
};

using Texts = std::vector<std::string>;

/// Sends the reply in two pieces, the second when `more` is set.
harness::Peer::Script TwoPieces(harness::Signal& more) {
    return [&more](harness::Connection& connection) {
        connection.ReadRequest();
        connection.Send(harness::OkHead(8) + "some");
        more.Wait();
        connection.Send("more");
    };
}

TEST(OutcomeFunction, WhichThrowsIsReportedAndTheRequestEnds) {
    Watched watched;
    harness::Peer peer(harness::Answer(harness::Ok("world")));
    const Request request =
        watched.client().Send(To(peer.Port()), [](const Outcome&) { throw std::runtime_error("mine"); });
    request.Wait();
    EXPECT_EQ(watched.Texts(), Texts{"mine"});
    EXPECT_EQ(watched.client().Send(To(peer.Port())).get().body, "world");
}

TEST(OutcomeFunction, WhichThrowsWithNobodyToTellLeavesAllElseAlone) {
    harness::Peer peer(harness::Answer(harness::Ok("world")));
    const Request request = TheClient().Send(To(peer.Port()), [](const Outcome&) { throw 42; });
    request.Wait();
    EXPECT_EQ(TheClient().Send(To(peer.Port())).get().body, "world");
}

TEST(ExceptionFunction, WhichThrowsIsNotHeeded) {
    harness::Peer peer(harness::Answer(harness::Ok("world")));
    Options options = ToLoopback(peer.Port());
    options.on_exception = [](std::exception_ptr) { throw std::runtime_error("again"); };
    const Client client(std::move(options), FreshLibrary());
    const Request request = client.Send({"Echo", "hello"}, [](const Outcome&) { throw std::runtime_error("mine"); });
    request.Wait();
    EXPECT_EQ(client.Send({"Echo", "hello"}).get().body, "world");
}

TEST(ThrowingProgressFunction, WhichThrowsCancelsTheRequestAndIsTheOutcome) {
    Watched watched;
    harness::Signal never;
    int calls = 0;
    {
        harness::Peer peer(TwoPieces(never));
        Message message = To(peer.Port());
        message.on_progress = [&](const Progress&) {
            ++calls;
            throw std::runtime_error("mine");
        };
        const Kept kept = SendAndWait(watched.client(), std::move(message));
        never.Set();
        EXPECT_EQ(kept.error, Errc::kFunctionThrew);
        EXPECT_EQ(TextOf(kept.exception), "mine");
        EXPECT_EQ(kept.body, "");
    }
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(watched.Texts(), Texts{}) << "the outcome has told it already";
}

TEST(ThrowingProgressFunction, WhichThrowsReachesTheFutureAsItIs) {
    harness::Signal never;
    harness::Peer peer(TwoPieces(never));
    Message message = To(peer.Port());
    message.on_progress = [](const Progress&) { throw std::out_of_range("mine"); };
    std::future<Reply> future = TheClient().Send(std::move(message));
    EXPECT_THROW(future.get(), std::out_of_range);
    never.Set();
}

TEST(ThrowingProgressFunction, WhichThrowsAtTheLastPieceIsStillTheOutcome) {
    ScriptedLibrary library;
    library.onSend = [](WPK_SENDSTRUCT* message) {
        harness::Thread([&] {
            TellProgress(*message, "so", 4);
            TellProgress(*message, "some", 4);
            TellReply(*message, "some");
        }).Join();
        return 8u;
    };
    const Client client(ToLoopback(), library.TheFunctions());
    int calls = 0;
    Message message = To(80);
    message.on_progress = [&](const Progress&) {
        ++calls;
        throw std::runtime_error("mine");
    };
    EXPECT_EQ(SendAndWait(client, std::move(message)).error, Errc::kFunctionThrew);
    EXPECT_EQ(calls, 1);
}

}  // namespace
}  // namespace wpk::client_test
