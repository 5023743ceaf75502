// Sending messages and getting their replies, as futures and as function calls.
// SPDX-License-Identifier: MIT
#include "client/fixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace wpk::client_test {
namespace {

using harness::Answer;
using harness::Ok;
using harness::Peer;

/// Longer than what the library keeps in memory.
constexpr size_t kSpooled = 300000;

std::string ExpectedBytes(unsigned short port, const std::string& service, const std::string& data) {
    harness::ExpectedRequest expected;
    expected.port = port;
    expected.service = service;
    expected.data = data;
    return expected.Bytes();
}

TEST(SendForAFuture, ToAServiceGetsTheReply) {
    Peer peer(Answer(Ok("world")));
    std::future<Reply> future = TheClient().Send(To(peer.Port(), "hello"));
    EXPECT_EQ(future.get().body, "world");
    EXPECT_EQ(peer.WaitForRequest(), ExpectedBytes(peer.Port(), "Echo", "hello"));
}

TEST(SendForAFuture, AnEmptyReplyIsEmpty) {
    Peer peer(Answer(Ok("")));
    EXPECT_EQ(TheClient().Send(To(peer.Port())).get().body, "");
}

TEST(SendForAFuture, ASpooledReplyHasBytesOfItsOwn) {
    const std::string bytes = harness::Pattern(kSpooled);
    Peer peer(Answer(Ok(bytes)));
    Request request;
    std::future<Reply> future = TheClient().Send(To(peer.Port()), request);
    request.Wait();  // the mapped file has gone
    EXPECT_TRUE(future.get().body == bytes);
}

TEST(SendForAFuture, WithAHandleCanBeCancelled) {
    SilentPeer peer;
    Request request;
    std::future<Reply> future = TheClient().Send(To(peer.Port()), request);
    ASSERT_TRUE(peer.WaitForRequest());
    request.Cancel();
    EXPECT_EQ(CodeOf(std::move(future)), Errc::kCancelled);
}

TEST(SendForAFuture, WhichIsDroppedRunsOn) {
    Peer peer(Answer(Ok("late")));
    Request request;
    { const std::future<Reply> dropped = TheClient().Send(To(peer.Port()), request); }
    request.Wait();
    EXPECT_EQ(peer.Requests().size(), 1u);
}

TEST(SendForAFuture, WhenReadyHasDestroyedTheProgressFunction) {
    Peer peer(Answer(Ok("world")));
    const auto captured = std::make_shared<int>();
    Message message = To(peer.Port());
    message.on_progress = [captured](const Progress&) {};
    std::future<Reply> future = TheClient().Send(std::move(message));
    future.get();
    EXPECT_EQ(captured.use_count(), 1);
}

TEST(SendForAFunction, ToAServiceTellsTheReplyOnceOnAThreadOfTheLibrarys) {
    Peer peer(Answer(Ok("world")));
    const Kept kept = SendAndWait(TheClient(), To(peer.Port()));
    EXPECT_FALSE(kept.error);
    EXPECT_EQ(kept.body, "world");
    EXPECT_EQ(kept.count, 1);
    EXPECT_NE(kept.thread, GetCurrentThreadId());
    EXPECT_FALSE(kept.exception);
}

TEST(SendForAFunction, ASpooledReplyIsShownWhereItIsMapped) {
    const std::string bytes = harness::Pattern(kSpooled);
    Peer peer(Answer(Ok(bytes)));
    bool equal = false;
    DWORD kind = 0;
    const Request request = TheClient().Send(To(peer.Port()), [&](const Outcome& outcome) {
        equal = outcome.body() == bytes;
        MEMORY_BASIC_INFORMATION memory = {};
        VirtualQuery(outcome.body().data(), &memory, sizeof memory);
        kind = memory.Type;
    });
    request.Wait();
    EXPECT_TRUE(equal);
    EXPECT_EQ(kind, static_cast<DWORD>(MEM_MAPPED));
}

TEST(SendForAFunction, WhoseHandleIsDroppedStillTellsTheOutcome) {
    Peer peer(Answer(Ok("world")));
    harness::Signal told;
    TheClient().Send(To(peer.Port()), [&](const Outcome& outcome) {
        EXPECT_TRUE(outcome);
        told.Set();
    });
    EXPECT_TRUE(told.Wait());
}

TEST(SendForAFunction, WhenEndedHasDestroyedTheFunction) {
    Peer peer(Answer(Ok("world")));
    const auto captured = std::make_shared<int>();
    const Request request = TheClient().Send(To(peer.Port()), [captured](const Outcome&) {});
    request.Wait();
    EXPECT_TRUE(request.Ended());
    EXPECT_EQ(captured.use_count(), 1);
}

TEST(SendForAFunction, FromInsideAnOutcomeWorks) {
    Peer peer(Answer(Ok("world")));
    std::future<Reply> inner;
    const Request request =
        TheClient().Send(To(peer.Port()), [&](const Outcome&) { inner = TheClient().Send(To(peer.Port())); });
    request.Wait();
    EXPECT_EQ(inner.get().body, "world");
}

TEST(SendForAFunction, WithAnEmptyFunctionIsRefused) {
    Peer peer(Answer(Ok("never")));
    const OutcomeFunction none;
    EXPECT_EQ(CodeThrownBy([&] { TheClient().Send(To(peer.Port()), none); }), Errc::kNoFunction);
    EXPECT_EQ(peer.Connections(), 0u);
}

TEST(MessageTest, WithoutADestinationGoesToTheClients) {
    Peer peer(Answer(Ok("default")));
    const Client client(ToLoopback(peer.Port()), FreshLibrary());
    EXPECT_EQ(client.Send({"Echo", "hello"}).get().body, "default");
    EXPECT_EQ(peer.WaitForRequest(), ExpectedBytes(peer.Port(), "Echo", "hello"));
}

TEST(MessageTest, WithADestinationGoesThere) {
    Peer elsewhere(Answer(Ok("elsewhere")));
    Options options;
    options.server = "server.invalid";
    const Client client(std::move(options), FreshLibrary());
    Message message("Echo", "hello");
    message.server = "127.0.0.1";
    message.port = elsewhere.Port();
    EXPECT_EQ(client.Send(std::move(message)).get().body, "elsewhere");
}

TEST(MessageTest, OfAnyBytesArrivesWhole) {
    const std::string bytes = harness::Pattern(1u << 20) + std::string("\0tail", 5);
    Peer peer(Answer(Ok("got it")));
    EXPECT_EQ(TheClient().Send(To(peer.Port(), bytes)).get().body, "got it");
    EXPECT_TRUE(harness::MessageOf(peer.WaitForRequest()) == bytes);
}

TEST(MessageTest, AsLongAsARequestCanBeFitsAndNoLonger) {
    constexpr size_t kLongest = 0xFFFFFFFF;
    const size_t service = 4;
    for (const bool behindProxy : {false, true}) {
        harness::ExpectedRequest request;
        request.service = "Echo";
        request.data = "";
        request.viaProxy = behindProxy;
        const size_t around = request.Body().size() - service;
        EXPECT_TRUE(detail::FitsIntoRequest(service, kLongest - around - service, behindProxy));
        EXPECT_FALSE(detail::FitsIntoRequest(service, kLongest - around - service + 1, behindProxy));
        EXPECT_FALSE(detail::FitsIntoRequest(kLongest, 0, behindProxy));
    }
}

TEST(MessageTest, WithoutBodyArrivesEmpty) {
    Peer peer(Answer(Ok("got it")));
    EXPECT_EQ(TheClient().Send(To(peer.Port(), "")).get().body, "got it");
    EXPECT_EQ(harness::MessageOf(peer.WaitForRequest()), "");
}

TEST(MessageTest, InWideCharactersArrivesInTheAnsiCodePage) {
    Peer peer(Answer(Ok("got it")));
    Message message(L"Gr\u00FC\u00DFe", "hello");
    message.server = std::wstring_view(L"127.0.0.1");
    message.port = peer.Port();
    EXPECT_EQ(TheClient().Send(std::move(message)).get().body, "got it");
    EXPECT_EQ(peer.WaitForRequest(), ExpectedBytes(peer.Port(),
                                                   "Gr\xFC\xDF"
                                                   "e",
                                                   "hello"));
}

TEST(ProgressFunction, DuringAReplySeesItGrow) {
    const std::string bytes = harness::Pattern(50000);
    harness::Signal begun;
    Peer peer([&](harness::Connection& connection) {
        connection.ReadRequest();
        connection.Send(harness::OkHead(bytes.size()));
        connection.Send(std::string_view(bytes).substr(0, 100));
        begun.Wait();
        connection.Send(std::string_view(bytes).substr(100));
    });
    std::vector<unsigned int> received;
    bool prefix = true;
    bool total = true;
    DWORD thread = 0;
    Message message = To(peer.Port());
    message.on_progress = [&](const Progress& progress) {
        received.push_back(progress.received());
        prefix = prefix && progress.body() == std::string_view(bytes).substr(0, progress.received());
        total = total && progress.total() == bytes.size();
        thread = GetCurrentThreadId();
        begun.Set();
    };
    const Kept kept = SendAndWait(TheClient(), std::move(message));
    EXPECT_TRUE(kept.body == bytes);
    ASSERT_GE(received.size(), 2u);
    EXPECT_LE(received.front(), 100u);
    EXPECT_EQ(received.back(), bytes.size());
    EXPECT_TRUE(std::is_sorted(received.begin(), received.end()));
    EXPECT_TRUE(prefix);
    EXPECT_TRUE(total);
    EXPECT_EQ(thread, kept.thread);
}

TEST(ProgressFunction, WhichCancelsEndsTheRequest) {
    harness::Signal over;
    Peer peer([&](harness::Connection& connection) {
        connection.ReadRequest();
        connection.Send(harness::OkHead(100) + "some");
        over.Wait();
    });
    Message message = To(peer.Port());
    message.on_progress = [](const Progress& progress) { progress.Cancel(); };
    EXPECT_EQ(SendAndWait(TheClient(), std::move(message)).error, Errc::kCancelled);
    over.Set();
}

}  // namespace
}  // namespace wpk::client_test
