// Many requests at once, accounted for one by one.
// SPDX-License-Identifier: MIT
#include "support/dll/heap_count.h"
#include "support/dll/peer.h"
#include "support/dll/process.h"
#include "support/dll/request.h"
#include "support/dll/wire.h"

#include <gtest/gtest.h>

#include <deque>
#include <memory>

namespace wpk::harness {
namespace {

const Library& TheLibrary() {
    static const Library library = StartFresh();
    return library;
}

/// Answers every message with itself, three times over.
void AnswerThreefold(Connection& connection) {
    const std::string message = MessageOf(connection.ReadRequest());
    connection.Send(Ok(message + message + message));
}

/// Takes the request in and says nothing.
void KeepWaiting(Connection& connection) {
    connection.ReadRequest();
    connection.WaitForEnd();
}

std::string Threefold(const Request& request) {
    return request.Message() + request.Message() + request.Message();
}

/// Messages of all sizes; every sixteenth reply is too large for memory.
std::string MessageOfItsOwn(size_t number) {
    const size_t length = number % 16 == 0 ? 4000 : number % 200;
    return "request " + std::to_string(number) + " " + std::string(length, static_cast<char>('a' + number % 26));
}

/// `count` requests from `senders` threads; each sender keeps a few in flight. Every one must get its own reply.
void SendMany(Peer& peer, size_t count, size_t senders) {
    constexpr size_t kWindow = 4;
    std::vector<std::unique_ptr<Request>> requests;
    for (size_t i = 0; i < count; ++i) {
        requests.push_back(std::make_unique<Request>(peer.Port(), MessageOfItsOwn(i)));
    }
    std::vector<Thread> threads;
    for (size_t sender = 0; sender < senders; ++sender) {
        threads.emplace_back([&, sender] {
            for (size_t i = sender; i < count; i += senders) {
                requests[i]->Send(TheLibrary());
                if (i >= kWindow * senders) requests[i - kWindow * senders]->inbox.WaitForFinal();
            }
        });
    }
    threads.clear();
    for (const auto& request : requests) {
        ASSERT_NE(request->Handle(), 0u);
        ASSERT_TRUE(request->WaitForEnd());
        ExpectReply(*request, Threefold(*request));
    }
    ASSERT_TRUE(peer.WaitUntilIdle());
}

/// Begins a threefold reply to everybody, and goes on with all of them when so many have asked.
class HoldingPeer {
public:
    explicit HoldingPeer(size_t count) : count_(count), peer_([this](Connection& one) { Hold(one); }, 16) {}

    unsigned short Port() const { return peer_.Port(); }

    Signal allHaveAsked;

private:
    void Hold(Connection& connection) {
        const std::string message = MessageOf(connection.ReadRequest());
        std::string body = message + message + message;
        connection.Send(OkHead(body.size()) + body.substr(0, 1));
        const bool all = monitor_.Update([&] {
            held_.emplace_back(std::move(connection), std::move(body));
            return held_.size() == count_;
        });
        if (!all) return;
        allHaveAsked.Set();
        for (auto& [asked, promised] : held_) asked.Send(std::string_view(promised).substr(1));
        held_.clear();
    }

    size_t count_;
    Monitor monitor_;
    std::deque<std::pair<Connection, std::string>> held_;
    Peer peer_;  // last: its threads use the others
};

TEST(Load, TwoThousandRequestsInFlightAtOnceAllGetTheirReply) {
    constexpr size_t kCount = 2000;
    constexpr size_t kSenders = 16;
    HoldingPeer peer(kCount);
    std::vector<std::unique_ptr<Request>> requests;
    for (size_t i = 0; i < kCount; ++i) {
        requests.push_back(std::make_unique<Request>(peer.Port(), MessageOfItsOwn(i)));
        // A request that waits for its peer looks for a cancel five times a second. For Wine, whose every wait passes
        // one thread of one process, those of two thousand are more than it can do: so they wait in their callbacks.
        requests.back()->inbox.inside = [&peer](WPK_CALLBACKSTRUCT& record) {
            if (record.nReason == WPK_REASON_PROGRESS) peer.allHaveAsked.Wait(10 * kPatience);
        };
    }
    std::vector<Thread> senders;
    for (size_t sender = 0; sender < kSenders; ++sender) {
        senders.emplace_back([&, sender] {
            for (size_t i = sender; i < kCount; i += kSenders) {
                requests[i]->Send(TheLibrary());
                requests[i]->inbox.WaitForCount(1);
            }
        });
    }
    senders.clear();
    std::set<unsigned int> handles;
    for (const auto& request : requests) handles.insert(request->Handle());
    EXPECT_EQ(handles.size(), kCount);
    EXPECT_EQ(handles.count(0), 0u);
    for (const auto& request : requests) {
        ASSERT_TRUE(request->WaitForEnd());
        ExpectReply(*request, Threefold(*request));
    }
    EXPECT_TRUE(FilesLike("", "tmp*").empty());
}

TEST(Load, TwoThousandRequestsFromSixteenThreadsLeaveNoThreadAndNoHandle) {
    Peer peer(AnswerThreefold, 8);
    // Once in small for everything that is set up on first use.
    SendMany(peer, 64, 16);
    const std::set<DWORD> threads = ThreadIds();
    const size_t handles = HandleCount();

    SendMany(peer, 2000, 16);
    EXPECT_EQ(peer.Connections(), 2064u);
    EXPECT_EQ(ThreadIds(), threads);
    EXPECT_TRUE(WaitUntilHandlesAreAtMost(handles)) << HandleCount() << " handles";
    EXPECT_TRUE(FilesLike("", "tmp*").empty());
}

TEST(Load, RequestsOfEveryOutcomeLeaveNoThreadAndNoHandle) {
    Peer good(Answer(Ok("ok")));
    Peer refusing(Answer("HTTP/1.0 500 Bad_Plugin_Name\r\n\r\n"));
    Peer breaking(Answer(OkHead(20000) + "cut"));
    Peer silent(KeepWaiting, 4);
    size_t keptWaiting = 0;
    const auto oneOfEach = [&] {
        Request delivered(good.Port());
        RunAndExpectReply(TheLibrary(), delivered, "ok");
        Request refused(refusing.Port());
        RunAndExpectFailure(TheLibrary(), refused, WPK_ERROR_NO_SERVICE);
        Request broken(breaking.Port());
        RunAndExpectFailure(TheLibrary(), broken, WPK_ERROR_EXCHANGE);
        Request nowhere(80);
        nowhere.Server("no-such-host.invalid");
        RunAndExpectFailure(TheLibrary(), nowhere, WPK_ERROR_CONNECT);
        Request unusable(80);
        unusable.Server("");
        RunAndExpectFailure(TheLibrary(), unusable, WPK_ERROR_BAD_REQUEST);
        Request throwing(good.Port());
        throwing.inbox.inside = [](WPK_CALLBACKSTRUCT&) { throw 1; };
        ASSERT_NE(throwing.Send(TheLibrary()), 0u);
        ASSERT_TRUE(throwing.inbox.WaitForThreadEnd());

        const std::set<DWORD> before = ThreadIds();
        Request cancelled(silent.Port());
        ASSERT_NE(cancelled.Send(TheLibrary()), 0u);
        // Until then the peer may not have seen it at all, and would still take it in when the handles are counted.
        ASSERT_FALSE(silent.WaitForRequest(keptWaiting++).empty());
        TheLibrary().Cancel(cancelled.Handle());
        ASSERT_TRUE(cancelled.WaitForEnd());
        ExpectFailure(cancelled, WPK_ERROR_CANCELLED);
        ASSERT_TRUE(WaitForOtherThreads(before));
        for (Peer* peer : {&good, &refusing, &breaking, &silent}) ASSERT_TRUE(peer->WaitUntilIdle());
    };
    oneOfEach();
    const size_t threads = ThreadIds().size();
    const size_t handles = HandleCount();
    for (int i = 0; i < 3; ++i) oneOfEach();
    EXPECT_EQ(ThreadIds().size(), threads);
    EXPECT_TRUE(WaitUntilHandlesAreAtMost(handles)) << HandleCount() << " handles";
}

TEST(Load, RequestsOfEveryKindLeaveNoMemory) {
    const Library library = Library::LoadFresh();
    const HeapCount heap(library.module());
    const WPK_INITSTRUCT settings = PermanentSettings(*new Inbox);
    ASSERT_EQ(library.Init(&settings), 1);

    Peer good(AnswerThreefold);
    Peer silent(KeepWaiting, 2);
    // Without a callback that throws: such a request leaves the row of its job behind, until a worker of the same id.
    const auto round = [&] {
        const std::set<DWORD> before = ThreadIds();
        Request small(good.Port());
        RunAndExpectReply(library, small, Threefold(small));
        Request large(good.Port(), Pattern(20000));
        RunAndExpectReply(library, large, Threefold(large));
        Request cancelled(silent.Port());
        ASSERT_NE(cancelled.Send(library), 0u);
        library.Cancel(cancelled.Handle());
        ASSERT_TRUE(cancelled.WaitForEnd());
        ASSERT_TRUE(WaitForOtherThreads(before));
    };
    for (int i = 0; i < 3; ++i) round();
    const long afterFew = heap.Blocks();
    for (int i = 0; i < 12; ++i) round();
    EXPECT_EQ(heap.Blocks(), afterFew);
}

}  // namespace
}  // namespace wpk::harness
