// How the body of a reply arrives: sizes, pieces, progress, and connections that break.
// SPDX-License-Identifier: MIT
#include "support/dll/peer.h"
#include "support/dll/process.h"
#include "support/dll/receive_watch.h"
#include "support/dll/request.h"
#include "support/dll/wire.h"

#include <gtest/gtest.h>

#include <cstring>

namespace wpk::harness {
namespace {

const Library& TheLibrary() {
    static const Library library = StartFresh();
    return library;
}

/// Growing counts up to the total, each with the start of the reply, all from one buffer.
void ExpectOrderlyProgress(Request& request, const std::string& body) {
    unsigned int before = 0;
    std::vector<Notification> all = request.inbox.All();
    ASSERT_GE(all.size(), 2u);
    const Notification reply = all.back();
    all.pop_back();
    for (const Notification& one : all) {
        ASSERT_EQ(one.reason, static_cast<unsigned int>(WPK_REASON_PROGRESS));
        EXPECT_EQ(one.error, 0);
        EXPECT_EQ(one.word, 1);
        EXPECT_EQ(one.total, body.size());
        EXPECT_GT(one.received, before);
        EXPECT_TRUE(one.bytes == body.substr(0, one.received));
        EXPECT_EQ(one.data, reply.data);
        before = one.received;
    }
    EXPECT_EQ(before, body.size());
}

TEST(ReplyBody, OfEverySizeThatMattersIsDeliveredWithProgress) {
    for (const size_t size : {1u, 2u, 2047u, 2048u, 2049u, 10239u, 10240u, 10241u, 100000u}) {
        SCOPED_TRACE(size);
        const std::string body = Pattern(size);
        Peer peer(Answer(Ok(body)));
        Request request(peer.Port());
        RunAndExpectReply(TheLibrary(), request, body);
        ExpectOrderlyProgress(request, body);
    }
}

TEST(ReplyBody, OfNoBytesIsDeliveredAsNullWithoutProgress) {
    Peer peer(Answer(Ok("")));
    Request request(peer.Port());
    RunAndExpectReply(TheLibrary(), request, "");
    EXPECT_EQ(request.inbox.All().size(), 1u);
    EXPECT_EQ(request.Final().data, nullptr);
}

TEST(ReplyBody, OfNoBytesIsDeliveredWhileThePeerKeepsTheConnection) {
    Signal done;
    Peer peer([&](Connection& connection) {
        connection.ReadRequest();
        connection.Send(Ok(""));
        done.Wait();
    });
    Request request(peer.Port());
    RunAndExpectReply(TheLibrary(), request, "");
    done.Set();
}

TEST(ReplyBody, Of64MiBIsDeliveredWhole) {
    const std::string body = Pattern(64u << 20);
    Peer peer(Answer(Ok(body)));
    Request request(peer.Port());
    request.inbox.DropProgress();
    unsigned int before = 0;
    bool right = true;
    request.inbox.inside = [&](const WPK_CALLBACKSTRUCT& record) {
        if (record.nReason != WPK_REASON_PROGRESS) return;
        const unsigned int received = record.body.progress.dwReceived;
        const char* data = static_cast<const char*>(record.body.progress.lpData);
        right = right && received > before && received <= body.size() && record.body.progress.dwTotal == body.size() &&
                std::memcmp(data + before, body.data() + before, received - before) == 0;
        before = received;
    };
    RunAndExpectReply(TheLibrary(), request, body);
    EXPECT_TRUE(right) << "a progress notification showed other bytes than were sent";
    EXPECT_EQ(before, body.size());
    EXPECT_TRUE(FilesLike("", "tmp*").empty());
}

TEST(ReplyBody, FollowedByMoreBytesThanAnnouncedEndsWhereAnnounced) {
    Peer peer(Answer(Ok("exactly this") + " and no more"));
    Request request(peer.Port());
    RunAndExpectReply(TheLibrary(), request, "exactly this");
}

TEST(ReplyPieces, WholeReplyInOneSegmentTakesOneReceive) {
    ReceiveWatch watch(TheLibrary().module());
    const std::string reply = Ok(Pattern(300));
    Peer peer(Answer(reply));
    Request request(peer.Port());
    RunAndExpectReply(TheLibrary(), request, Pattern(300));
    EXPECT_EQ(watch.Bytes(), reply.size());
    EXPECT_EQ(watch.Calls(), 1u);
}

TEST(ReplyPieces, SplitAtEveryPositionGivesTheSameReply) {
    ReceiveWatch watch(TheLibrary().module());
    const std::string reply = Ok("ok");
    size_t split = 0;
    Peer peer([&](Connection& connection) {
        connection.ReadRequest();
        connection.Send(reply.substr(0, split));
        watch.WaitForBytes(split);
        connection.Send(reply.substr(split));
    });
    for (split = 1; split < reply.size(); ++split) {
        SCOPED_TRACE(split);
        watch.Restart();
        Request request(peer.Port());
        RunAndExpectReply(TheLibrary(), request, "ok");
        EXPECT_GE(watch.Calls(), 2u);
    }
}

// Every byte is sent when the one before it has been taken.
TEST(ReplyPieces, ByteByByteGivesTheSameReplyWithAProgressForEachByteOfTheBody) {
    ReceiveWatch watch(TheLibrary().module());
    const std::string body = "late, but whole";
    const std::string reply = Ok(body);
    Peer peer([&](Connection& connection) {
        connection.ReadRequest();
        for (size_t i = 0; i < reply.size(); ++i) {
            connection.Send(reply.substr(i, 1));
            watch.WaitForBytes(i + 1);
        }
    });
    Request request(peer.Port());
    RunAndExpectReply(TheLibrary(), request, body);
    ExpectOrderlyProgress(request, body);
    EXPECT_EQ(request.inbox.All().size(), body.size() + 1);
}

TEST(ReplyPieces, HugeBodyInOddPiecesIsDeliveredWhole) {
    const std::string body = Pattern(300000);
    Peer peer([&](Connection& connection) {
        connection.ReadRequest();
        connection.SendInPieces(Ok(body), 977);
    });
    Request request(peer.Port());
    RunAndExpectReply(TheLibrary(), request, body);
    ExpectOrderlyProgress(request, body);
}

TEST(ReplyPieces, ReplySentBeforeTheRequestWasReadIsDelivered) {
    Peer peer([](Connection& connection) {
        connection.Send(Ok("early"));
        connection.ReadRequest();
    });
    Request request(peer.Port());
    RunAndExpectReply(TheLibrary(), request, "early");
}

TEST(BrokenReply, CutOffAtEveryPositionEndsWithOneFailure) {
    const std::string reply = Ok("ok");
    size_t length = 0;
    Peer peer([&](Connection& connection) {
        connection.ReadRequest();
        connection.Send(reply.substr(0, length));
        connection.Close();
    });
    for (length = 0; length < reply.size(); ++length) {
        SCOPED_TRACE(length);
        Request request(peer.Port());
        RunAndExpectFailure(TheLibrary(), request, WPK_ERROR_EXCHANGE);
    }
}

TEST(BrokenReply, ResetAfterAnyPartEndsWithOneFailure) {
    ReceiveWatch watch(TheLibrary().module());
    const std::string reply = Ok(Pattern(20000));
    size_t length = 0;
    Peer peer([&](Connection& connection) {
        connection.ReadRequest();
        connection.Send(reply.substr(0, length));
        watch.WaitForBytes(length);
        connection.Reset();
    });
    for (const size_t part : {0u, 1u, 17u, 57u, 100u, 15000u}) {
        SCOPED_TRACE(part);
        length = part;
        watch.Restart();
        Request request(peer.Port());
        RunAndExpectFailure(TheLibrary(), request, WPK_ERROR_EXCHANGE);
        EXPECT_TRUE(FilesLike("", "tmp*").empty());
    }
}

TEST(BrokenReply, ResetBeforeTheRequestIsReadEndsWithOneFailure) {
    Peer peer([](Connection& connection) { connection.Reset(); });
    Request small(peer.Port());
    RunAndExpectFailure(TheLibrary(), small, WPK_ERROR_EXCHANGE);
    Request large(peer.Port(), Pattern(8u << 20));
    RunAndExpectFailure(TheLibrary(), large, WPK_ERROR_EXCHANGE);
}

TEST(BrokenReply, ResetInTheMiddleOfALargeMessageEndsWithOneFailure) {
    Peer peer([](Connection& connection) {
        connection.ReadBytes(100000);
        connection.Reset();
    });
    Request request(peer.Port(), Pattern(16u << 20));
    RunAndExpectFailure(TheLibrary(), request, WPK_ERROR_EXCHANGE);
}

TEST(BrokenReply, PeerClosesInTheMiddleOfTheBodyLeavesNoFile) {
    for (const size_t size : {10240u, 10241u, 5000000u}) {
        SCOPED_TRACE(size);
        const std::string body = Pattern(size - 1);
        Peer peer(Answer(OkHead(size) + body));
        Request request(peer.Port());
        request.inbox.DropProgress();
        RunAndExpectFailure(TheLibrary(), request, WPK_ERROR_EXCHANGE);
        EXPECT_GE(request.inbox.ProgressCount(), 1u);
        EXPECT_TRUE(FilesLike("", "tmp*").empty());
    }
}

TEST(HugeReply, AnnouncedBeyond2GiBAndCutOffFailsCleanlyAndLeavesNoFile) {
    for (const char* length : {"2147483647", "2147483648", "3000000000", "4294967294", "4294967295", "4294967296",
                               "99999999999999999999", "-1", "-2", "-2147483648"}) {
        SCOPED_TRACE(length);
        Peer peer(Answer(RawReply("HTTP/1.0 200 OK", {"Server: WPK/1.00", std::string("Content-Length: ") + length},
                                  Pattern(100000))));
        Request request(peer.Port());
        request.inbox.DropProgress();
        ASSERT_TRUE(request.Run(TheLibrary()));
        // A length of which only the low 32 bits, or none, could be read may also be that of an empty reply.
        if (request.Final().reason == WPK_REASON_REPLY) {
            EXPECT_STREQ(length, "4294967296");
            ExpectReply(request, "");
        } else {
            ExpectFailure(request, WPK_ERROR_EXCHANGE);
        }
        EXPECT_TRUE(FilesLike("", "tmp*").empty());
    }
}

}  // namespace
}  // namespace wpk::harness
