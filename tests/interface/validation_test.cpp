// What becomes of requests that cannot be carried, and of requests without a callback of their own.
// SPDX-License-Identifier: MIT
#include "support/dll/peer.h"
#include "support/dll/process.h"
#include "support/dll/request.h"
#include "support/dll/wire.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <new>

namespace wpk::harness {
namespace {

struct Started {
    explicit Started(WPK_INT64 type) : inbox(*new Inbox), library(Library::LoadFresh()) {
        WPK_INITSTRUCT settings = PermanentSettings(inbox);
        settings.nConnectionType = type;
        EXPECT_EQ(library.Init(&settings), 1);
    }

    Inbox& inbox;
    const Library library;
};

const Started& WithNetwork() {
    static const Started started(WPK_CONNECTION_PERMANENT);
    return started;
}

/// An unknown type: no network, and nothing told about it.
const Started& WithoutNetwork() {
    static const Started started(17);
    return started;
}

TEST(SendRecord, BuiltByItsConstructorOverForeignBytesIsZeroExceptForPort80) {
    alignas(WPK_SENDSTRUCT) unsigned char memory[sizeof(WPK_SENDSTRUCT)];
    std::memset(memory, 0xAA, sizeof memory);
    const WPK_SENDSTRUCT& record = *new (memory) WPK_SENDSTRUCT;
    EXPECT_EQ(record.reserved, 0u);
    EXPECT_EQ(record.nPort, 80u);
    EXPECT_EQ(record.lpszServer, nullptr);
    EXPECT_EQ(record.lpszServiceName, nullptr);
    EXPECT_EQ(record.lpfnCallback, nullptr);
    EXPECT_EQ(record.lpUserData, nullptr);
    EXPECT_EQ(record.lpData, nullptr);
    EXPECT_EQ(record.dwDataLength, 0u);
    record.~WPK_SENDSTRUCT();
}

TEST(SendCall, OfNullReturnsZero) {
    EXPECT_EQ(WithNetwork().library.Send(nullptr), 0u);
}

TEST(Validation, DataLengthWithoutDataIsABadRequest) {
    Request request(DeadPort());
    request.record.lpData = nullptr;
    RunAndExpectFailure(WithNetwork().library, request, WPK_ERROR_BAD_REQUEST);
}

TEST(Validation, ServerThatIsEmptyOrMissingIsABadRequestTellingItsOwnCallback) {
    Request empty(DeadPort());
    empty.Server("");
    RunAndExpectFailure(WithNetwork().library, empty, WPK_ERROR_BAD_REQUEST);
    Request missing(DeadPort());
    missing.record.lpszServer = nullptr;
    RunAndExpectFailure(WithNetwork().library, missing, WPK_ERROR_BAD_REQUEST);
    EXPECT_TRUE(WithNetwork().inbox.All().empty());
}

TEST(Validation, BadRequestWithoutNetworkIsABadRequest) {
    Request data(DeadPort());
    data.record.lpData = nullptr;
    RunAndExpectFailure(WithoutNetwork().library, data, WPK_ERROR_BAD_REQUEST);
    Request server(DeadPort());
    server.Server("");
    RunAndExpectFailure(WithoutNetwork().library, server, WPK_ERROR_BAD_REQUEST);
    Request good(DeadPort());
    RunAndExpectFailure(WithoutNetwork().library, good, WPK_ERROR_NO_NETWORK);
}

TEST(DefaultCallback, OfARequestWithoutOneIsWrittenIntoItsRecord) {
    const Started started(WPK_CONNECTION_PERMANENT);
    Peer peer(Answer(Ok("ok")));
    Request request(peer.Port());
    int ownData = 0;
    request.record.lpfnCallback = nullptr;
    request.record.lpUserData = &ownData;
    const unsigned int handle = request.Send(started.library);
    ASSERT_NE(handle, 0u);
    ASSERT_TRUE(started.inbox.WaitForFinal());
    ASSERT_TRUE(started.inbox.WaitForThreadEnd());
    EXPECT_EQ(request.record.lpfnCallback, &Inbox::Callback);
    EXPECT_EQ(request.record.lpUserData, &started.inbox);
    for (const Notification& one : started.inbox.All()) {
        EXPECT_EQ(one.userData, &started.inbox);
        EXPECT_EQ(one.thread, handle);
    }
    EXPECT_EQ(started.inbox.All().back().bytes, "ok");
    EXPECT_TRUE(request.inbox.All().empty());
}

TEST(DefaultCallback, OfAnUnusableRequestIsToldAndWrittenToo) {
    const Started started(WPK_CONNECTION_PERMANENT);
    Request request(DeadPort());
    request.Server("");
    request.record.lpfnCallback = nullptr;
    ASSERT_NE(request.Send(started.library), 0u);
    ASSERT_TRUE(started.inbox.WaitForFinal());
    ASSERT_TRUE(started.inbox.WaitForThreadEnd());
    EXPECT_EQ(started.inbox.All()[0].error, WPK_ERROR_BAD_REQUEST);
    EXPECT_EQ(request.record.lpfnCallback, &Inbox::Callback);
    EXPECT_EQ(request.record.lpUserData, &started.inbox);
}

TEST(OwnCallback, OfARequestLeavesItsRecordUnchanged) {
    Peer peer(Answer(Ok("ok")));
    Request request(peer.Port());
    request.record.reserved = 77;
    RunAndExpectReply(WithNetwork().library, request, "ok");
    EXPECT_EQ(request.record.reserved, 77u);
    EXPECT_EQ(request.record.nPort, peer.Port());
    EXPECT_STREQ(request.record.lpszServer, "127.0.0.1");
    EXPECT_STREQ(request.record.lpszServiceName, "Echo");
    EXPECT_EQ(request.record.lpfnCallback, &Inbox::Callback);
    EXPECT_EQ(request.record.lpUserData, &request.inbox);
    EXPECT_EQ(request.record.lpData, request.Message().data());
    EXPECT_EQ(request.record.dwDataLength, 5u);
}

TEST(Handles, OfTwoRequestsInFlightDiffer) {
    Signal go;
    Peer peer(
        [&](Connection& connection) {
            connection.ReadRequest();
            go.Wait();
            connection.Send(Ok("ok"));
        },
        2);
    Request first(peer.Port());
    Request second(peer.Port());
    EXPECT_NE(first.Send(WithNetwork().library), second.Send(WithNetwork().library));
    go.Set();
    ASSERT_TRUE(first.WaitForEnd());
    ASSERT_TRUE(second.WaitForEnd());
    ExpectReply(first, "ok");
    ExpectReply(second, "ok");
}

TEST(SendFromACallback, StartsAnotherRequest) {
    Peer peer(Answer(Ok("ok")));
    Request inner(peer.Port());
    Request outer(peer.Port());
    outer.inbox.inside = [&](const WPK_CALLBACKSTRUCT& record) {
        if (record.nReason == WPK_REASON_REPLY) inner.Send(WithNetwork().library);
    };
    RunAndExpectReply(WithNetwork().library, outer, "ok");
    ASSERT_NE(inner.Handle(), 0u);
    ASSERT_TRUE(inner.WaitForEnd());
    ExpectReply(inner, "ok");
    EXPECT_NE(inner.Handle(), outer.Handle());
}

/// Memory that can be taken away from whoever still looks at it.
class Page {
public:
    Page() : bytes_(VirtualAlloc(nullptr, kSize, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE)) {}
    ~Page() { VirtualFree(bytes_, 0, MEM_RELEASE); }
    Page(const Page&) = delete;
    Page& operator=(const Page&) = delete;

    char* bytes() const { return static_cast<char*>(bytes_); }
    bool TakeAway() const {
        DWORD old = 0;
        return VirtualProtect(bytes_, kSize, PAGE_NOACCESS, &old) != 0;
    }

private:
    static constexpr SIZE_T kSize = 4096;
    void* bytes_;
};

/// The record with its texts and its data, all in one page that goes in the final callback.
void ExpectNotLookedAtAfterTheEnd(Peer& peer, unsigned int finalReason) {
    const Page page;
    struct Parts {
        WPK_SENDSTRUCT record;
        char server[16];
        char service[16];
        char data[16];
    };
    Parts& parts = *new (page.bytes()) Parts{WPK_SENDSTRUCT(), "127.0.0.1", "Echo", "hello"};
    Inbox inbox;
    bool takenAway = false;
    inbox.inside = [&](WPK_CALLBACKSTRUCT& notification) {
        if (notification.nReason == finalReason) takenAway = page.TakeAway();
    };
    parts.record.nPort = peer.Port();
    parts.record.lpszServer = parts.server;
    parts.record.lpszServiceName = parts.service;
    parts.record.lpfnCallback = &Inbox::Callback;
    parts.record.lpUserData = &inbox;
    parts.record.lpData = parts.data;
    parts.record.dwDataLength = 5;
    ASSERT_NE(WithNetwork().library.Send(&parts.record), 0u);
    ASSERT_TRUE(inbox.WaitForThreadEnd());
    EXPECT_TRUE(takenAway);
    EXPECT_EQ(inbox.Finals(), 1u);
}

TEST(SendRecord, TakenAwayInTheFinalCallbackIsNotMissed) {
    Peer good(Answer(Ok("ok")));
    ExpectNotLookedAtAfterTheEnd(good, WPK_REASON_REPLY);
    Peer large(Answer(Ok(Pattern(20000))));
    ExpectNotLookedAtAfterTheEnd(large, WPK_REASON_REPLY);
    Peer refusing(Answer("HTTP/1.0 500 Bad_Plugin_Name\r\n\r\n"));
    ExpectNotLookedAtAfterTheEnd(refusing, WPK_REASON_FAILURE);
}

// A callback that sends many, and one that waits for another request's end: its own thread is all it holds up.
TEST(SendFromACallback, AndWaitingForItsEndWorks) {
    Peer peer(Answer(Ok("ok")), 2);
    std::vector<std::unique_ptr<Request>> inner;
    Request outer(peer.Port());
    outer.inbox.inside = [&](const WPK_CALLBACKSTRUCT& record) {
        if (record.nReason != WPK_REASON_REPLY) return;
        for (int i = 0; i < 10; ++i) {
            inner.push_back(std::make_unique<Request>(peer.Port()));
            inner.back()->Run(WithNetwork().library);
        }
    };
    RunAndExpectReply(WithNetwork().library, outer, "ok");
    ASSERT_EQ(inner.size(), 10u);
    for (const auto& request : inner) ExpectReply(*request, "ok");
}

TEST(BlockingCallback, HoldsUpNobodyElse) {
    Signal blocked;
    Signal goOn;
    Peer peer(Answer(Ok("ok")), 2);
    Request blocking(peer.Port());
    blocking.inbox.inside = [&](WPK_CALLBACKSTRUCT&) {
        blocked.Set();
        goOn.Wait();
    };
    ASSERT_NE(blocking.Send(WithNetwork().library), 0u);
    ASSERT_TRUE(blocked.Wait());
    for (int i = 0; i < 10; ++i) {
        Request request(peer.Port());
        RunAndExpectReply(WithNetwork().library, request, "ok");
    }
    EXPECT_EQ(blocking.inbox.Finals(), 0u);
    goOn.Set();
    ASSERT_TRUE(blocking.WaitForEnd());
    ExpectReply(blocking, "ok");
}

}  // namespace
}  // namespace wpk::harness
