// Cancelling a request in each phase of its life.
// SPDX-License-Identifier: MIT
#include "support/dll/import_patch.h"
#include "support/dll/peer.h"
#include "support/dll/process.h"
#include "support/dll/request.h"
#include "support/dll/wire.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>

namespace wpk::harness {
namespace {

/// A cancel is promised to be seen within 250 ms; the rest is what a machine under load may add. A second wait must not
/// fit in.
constexpr ULONGLONG kCancelLimit = 2 * 250;

const Library& TheLibrary() {
    static const Library library = StartFresh();
    return library;
}

/// Cancels a request that is stuck somewhere, and expects its end in time.
void CancelAndExpectTheEnd(Request& request) {
    const ULONGLONG begin = GetTickCount64();
    EXPECT_EQ(TheLibrary().Cancel(request.Handle()), 1);
    ASSERT_TRUE(request.inbox.WaitForFinal());
    EXPECT_LT(GetTickCount64() - begin, kCancelLimit);
    ASSERT_TRUE(request.inbox.WaitForThreadEnd());
    ExpectFailure(request, WPK_ERROR_CANCELLED);
}

/// Holds a request's final callback until its peer has seen the end of the connection: the library has to let go of it
/// before it tells.
class ClosedFirst {
public:
    explicit ClosedFirst(Request& request) {
        request.inbox.inside = [this](const WPK_CALLBACKSTRUCT& record) {
            if (record.nReason != WPK_REASON_FAILURE) return;
            told.Set();
            seen_ = closed.Wait();
        };
    }
    ClosedFirst(const ClosedFirst&) = delete;
    ClosedFirst& operator=(const ClosedFirst&) = delete;
    ~ClosedFirst() { EXPECT_TRUE(seen_); }

    Signal told;
    Signal closed;

private:
    bool seen_ = false;
};

/// Set by the next closesocket of the library.
Signal* socketClosed;

int WSAAPI CloseAndTell(SOCKET socket) {
    const int result = closesocket(socket);
    socketClosed->Set();
    return result;
}

TEST(CancelWhileConnecting, ToAListenerThatNeverAcceptsEndsTheRequest) {
    const FullListener listener;
    Request request(listener.Port());
    ASSERT_NE(request.Send(TheLibrary()), 0u);
    CancelAndExpectTheEnd(request);
}

TEST(CancelWhileConnecting, ClosesTheSocketBeforeTheApplicationIsTold) {
    const FullListener listener;
    Request request(listener.Port());
    ClosedFirst first(request);
    socketClosed = &first.closed;
    const ImportPatch patch(TheLibrary().module(), "closesocket", AddressOf(&CloseAndTell));
    ASSERT_TRUE(patch.Found());
    ASSERT_NE(request.Send(TheLibrary()), 0u);
    CancelAndExpectTheEnd(request);
}

TEST(CancelWhileConnecting, AtOnceAfterTheSendEndsTheRequest) {
    const FullListener listener;
    for (int i = 0; i < 20; ++i) {
        Request request(listener.Port());
        ASSERT_NE(request.Send(TheLibrary()), 0u);
        CancelAndExpectTheEnd(request);
    }
}

// The wait for the connection is the same, whatever the system makes of the refusal.
TEST(CancelWhileConnecting, ToAPortWithoutListenerEndsTheRequest) {
    Request request(DeadPort());
    ASSERT_NE(request.Send(TheLibrary()), 0u);
    CancelAndExpectTheEnd(request);
}

TEST(CancelWhileSending, ToAPeerThatDoesNotReadEndsTheRequest) {
    Signal sending;
    Signal done;
    Peer peer([&](Connection& connection) {
        connection.ReadBytes(4);
        sending.Set();
        done.Wait();
    });
    // Far more than the system keeps under way for a connection.
    Request request(peer.Port(), Pattern(64u << 20));
    ASSERT_NE(request.Send(TheLibrary()), 0u);
    ASSERT_TRUE(sending.Wait());
    CancelAndExpectTheEnd(request);
    done.Set();
}

TEST(CancelWhileSending, ClosesTheConnectionBeforeTheApplicationIsTold) {
    Signal sending;
    Request request(0, Pattern(64u << 20));
    ClosedFirst first(request);
    Peer peer([&](Connection& connection) {
        connection.ReadBytes(4);
        sending.Set();
        first.told.Wait();
        if (connection.WaitForEnd()) first.closed.Set();
    });
    request.record.nPort = peer.Port();
    ASSERT_NE(request.Send(TheLibrary()), 0u);
    ASSERT_TRUE(sending.Wait());
    CancelAndExpectTheEnd(request);
}

TEST(CancelWhileWaitingForTheHead, OfASilentPeerClosesTheConnectionBeforeTheApplicationIsTold) {
    Request request(0);
    ClosedFirst first(request);
    Peer peer([&](Connection& connection) {
        connection.ReadRequest();
        if (connection.WaitForEnd()) first.closed.Set();
    });
    request.record.nPort = peer.Port();
    ASSERT_NE(request.Send(TheLibrary()), 0u);
    ASSERT_FALSE(peer.WaitForRequest().empty());
    CancelAndExpectTheEnd(request);
}

/// Every line is right, only there is no end of them.
void CancelAmongLines(const std::string& begin, const std::string& line) {
    Signal running;
    Peer peer([&](Connection& connection) {
        connection.ReadRequest();
        connection.Send(begin);
        std::string lines;
        while (lines.size() < 65536) lines += line;
        while (connection.Send(lines)) running.Set();
    });
    Request request(peer.Port());
    ASSERT_NE(request.Send(TheLibrary()), 0u);
    ASSERT_TRUE(running.Wait());
    CancelAndExpectTheEnd(request);
}

TEST(CancelInTheHead, OfInterimLinesWithoutEndEndsTheRequest) {
    CancelAmongLines("", "HTTP/1.0 100 Continue\r\n");
}

TEST(CancelInTheHead, OfHeadersWithoutEndEndsTheRequest) {
    CancelAmongLines("HTTP/1.0 200 OK\r\n", "X-More: and more\r\n");
}

TEST(CancelWhileWaitingForTheHead, ThatHasBegunEndsTheRequest) {
    Signal begun;
    Peer peer([&](Connection& connection) {
        connection.ReadRequest();
        connection.Send("HTTP/1.0 200 OK\r\nServer: WPK/1.00\r\nContent-Le");
        begun.Set();
        connection.WaitForEnd();
    });
    Request request(peer.Port());
    ASSERT_NE(request.Send(TheLibrary()), 0u);
    ASSERT_TRUE(begun.Wait());
    CancelAndExpectTheEnd(request);
}

TEST(CancelInTheBody, OfAStalledReplyClosesTheConnectionBeforeTheApplicationIsTold) {
    // In memory, and in a file.
    for (const size_t size : {100u, 100000u}) {
        Request request(0);
        ClosedFirst first(request);
        Peer peer([&](Connection& connection) {
            connection.ReadRequest();
            connection.Send(OkHead(size) + Pattern(50));
            if (connection.WaitForEnd()) first.closed.Set();
        });
        request.record.nPort = peer.Port();
        ASSERT_NE(request.Send(TheLibrary()), 0u);
        ASSERT_TRUE(request.inbox.WaitForCount(1));
        CancelAndExpectTheEnd(request);
    }
}

TEST(CancelInTheBody, OfAReplyThatKeepsComingEndsTheRequest) {
    Peer peer([](Connection& connection) {
        connection.ReadRequest();
        connection.Send(OkHead(200000000));
        const std::string more(65536, 'm');
        while (connection.Send(more)) {
        }
    });
    Request request(peer.Port());
    request.inbox.DropProgress();
    Signal running;
    request.inbox.inside = [&](WPK_CALLBACKSTRUCT&) { running.Set(); };
    ASSERT_NE(request.Send(TheLibrary()), 0u);
    ASSERT_TRUE(running.Wait());
    CancelAndExpectTheEnd(request);
    EXPECT_TRUE(FilesLike("", "tmp*").empty());
}

/// A file system that answers slowly and always no.
Signal* nameTried;

HANDLE WINAPI RefuseSlowly(LPCSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE) {
    nameTried->Set();
    Sleep(20);
    SetLastError(ERROR_FILE_EXISTS);
    return INVALID_HANDLE_VALUE;
}

TEST(CancelInTheBody, WhileNamesForItsFileAreTriedEndsTheRequest) {
    Signal tried;
    nameTried = &tried;
    const ImportPatch patch(TheLibrary().module(), "CreateFileA", AddressOf(&RefuseSlowly));
    ASSERT_TRUE(patch.Found());
    Peer peer(Answer(Ok(Pattern(100000))));
    Request request(peer.Port());
    ASSERT_NE(request.Send(TheLibrary()), 0u);
    ASSERT_TRUE(tried.Wait());
    CancelAndExpectTheEnd(request);
}

TEST(CancelInsideACallback, OfItsOwnProgressEndsTheRequest) {
    Peer peer([](Connection& connection) {
        connection.ReadRequest();
        connection.Send(OkHead(100) + Pattern(50));
        connection.WaitForEnd();
    });
    Request request(peer.Port());
    request.inbox.inside = [&](const WPK_CALLBACKSTRUCT& record) {
        if (record.nReason == WPK_REASON_PROGRESS) TheLibrary().Cancel(GetCurrentThreadId());
    };
    RunAndExpectFailure(TheLibrary(), request, WPK_ERROR_CANCELLED);
}

TEST(CancelInsideACallback, OfItsOwnReplyIsTooLate) {
    Peer peer(Answer(Ok("ok")));
    Request request(peer.Port());
    int answer = 0;
    request.inbox.inside = [&](const WPK_CALLBACKSTRUCT& record) {
        if (record.nReason == WPK_REASON_REPLY) answer = TheLibrary().Cancel(GetCurrentThreadId());
    };
    RunAndExpectReply(TheLibrary(), request, "ok");
    EXPECT_EQ(answer, 1);
}

TEST(CancelInsideACallback, OfAnotherRequestEndsThatOneOnly) {
    Peer silent([](Connection& connection) { connection.WaitForEnd(); });
    Peer peer(Answer(Ok("ok")));
    Request other(silent.Port());
    ASSERT_NE(other.Send(TheLibrary()), 0u);
    Request request(peer.Port());
    request.inbox.inside = [&](const WPK_CALLBACKSTRUCT& record) {
        if (record.nReason == WPK_REASON_REPLY) TheLibrary().Cancel(other.Handle());
    };
    RunAndExpectReply(TheLibrary(), request, "ok");
    ASSERT_TRUE(other.WaitForEnd());
    ExpectFailure(other, WPK_ERROR_CANCELLED);
}

TEST(CancelWhileACallbackRuns, IsSeenWhenTheCallbackReturns) {
    Signal inside;
    Signal cancelled;
    Peer peer([](Connection& connection) {
        connection.ReadRequest();
        connection.Send(OkHead(100) + Pattern(50));
        connection.WaitForEnd();
    });
    Request request(peer.Port());
    request.inbox.inside = [&](const WPK_CALLBACKSTRUCT& record) {
        if (record.nReason != WPK_REASON_PROGRESS) return;
        inside.Set();
        cancelled.Wait();
    };
    ASSERT_NE(request.Send(TheLibrary()), 0u);
    ASSERT_TRUE(inside.Wait());
    EXPECT_EQ(TheLibrary().Cancel(request.Handle()), 1);
    EXPECT_EQ(request.inbox.Finals(), 0u);
    cancelled.Set();
    ASSERT_TRUE(request.WaitForEnd());
    ExpectFailure(request, WPK_ERROR_CANCELLED);
}

TEST(CancelTwice, EndsTheRequestOnce) {
    Peer silent([](Connection& connection) { connection.WaitForEnd(); });
    Request request(silent.Port());
    ASSERT_NE(request.Send(TheLibrary()), 0u);
    for (int i = 0; i < 5; ++i) EXPECT_EQ(TheLibrary().Cancel(request.Handle()), 1);
    ASSERT_TRUE(request.WaitForEnd());
    ExpectFailure(request, WPK_ERROR_CANCELLED);
}

TEST(CancelAfterTheEnd, ReturnsOneAndChangesNothing) {
    Peer peer(Answer(Ok("ok")));
    Request request(peer.Port());
    RunAndExpectReply(TheLibrary(), request, "ok");
    EXPECT_EQ(TheLibrary().Cancel(request.Handle()), 1);
    ExpectReply(request, "ok");
    Request next(peer.Port());
    RunAndExpectReply(TheLibrary(), next, "ok");
}

TEST(CancelOfNothing, ReturnsZeroForNoHandleAndOneForAnUnknownOne) {
    EXPECT_EQ(TheLibrary().Cancel(0), 0);
    EXPECT_EQ(TheLibrary().Cancel(0xFFFFFFFF), 1);
    EXPECT_EQ(TheLibrary().Cancel(1), 1);
    EXPECT_EQ(TheLibrary().Cancel(GetCurrentThreadId()), 1);
}

// Cancels fly at random while replies come at random. A cancel that hit the wrong socket would break a neighbour:
// every request that nobody cancelled must get its own reply, every other one its own reply or the cancel.
TEST(CancelStorm, NeverTouchesARequestThatIsNotMeant) {
    constexpr int kSenders = 4;
    constexpr int kRounds = 75;
    Peer peer(
        [](Connection& connection) {
            const std::string message = MessageOf(connection.ReadRequest());
            if (message.empty()) return;
            const std::string reply = Ok(message + " answered");
            // Two segments: the request is caught in its head, its body, or behind it.
            connection.Send(reply.substr(0, 10 + message.size() % 60));
            connection.Send(reply.substr(10 + message.size() % 60));
        },
        8);

    // Its own threads are there from its start on, and stay.
    TheLibrary();
    const std::set<DWORD> before = ThreadIds();
    std::vector<std::unique_ptr<Request>> requests(kSenders * kRounds);
    {
        std::vector<Thread> senders;
        for (int sender = 0; sender < kSenders; ++sender) {
            senders.emplace_back([&, sender] {
                std::minstd_rand random(static_cast<unsigned>(sender) + 1);
                for (int round = 0; round < kRounds; ++round) {
                    std::unique_ptr<Request>& request = requests[static_cast<size_t>(sender * kRounds + round)];
                    request = std::make_unique<Request>(
                        peer.Port(), std::string(1 + random() % 90, 'a') + std::to_string(sender * kRounds + round));
                    request->Send(TheLibrary());
                    // Every third request is left alone; the others are cancelled now or a little later.
                    if (round % 3 == 0) continue;
                    for (unsigned spin = random() % 3; spin > 0; --spin) SwitchToThread();
                    TheLibrary().Cancel(request->Handle());
                    // The handle cannot be a neighbour's yet, though its request may be over: the inbox still holds
                    // the thread, and with it the id.
                    if (round % 7 == 0) request->WaitForEnd();
                }
            });
        }
    }
    int cancelled = 0;
    for (size_t i = 0; i < requests.size(); ++i) {
        SCOPED_TRACE(i);
        ASSERT_NE(requests[i]->Handle(), 0u);
        ASSERT_TRUE(requests[i]->WaitForEnd());
        const bool mayBeCancelled = i % kRounds % 3 != 0;
        if (mayBeCancelled && requests[i]->Final().reason == WPK_REASON_FAILURE) {
            ExpectFailure(*requests[i], WPK_ERROR_CANCELLED);
            ++cancelled;
        } else {
            ExpectReply(*requests[i], requests[i]->Message() + " answered");
        }
    }
    EXPECT_GT(cancelled, 0);
    EXPECT_TRUE(WaitForOtherThreads(before));
    Request after(peer.Port(), "after the storm");
    RunAndExpectReply(TheLibrary(), after, "after the storm answered");
}

}  // namespace
}  // namespace wpk::harness
