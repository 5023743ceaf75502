// Time-outs and connections that cannot be made. Slow by nature: all waits run side by side.
// SPDX-License-Identifier: MIT
#include "support/dll/peer.h"
#include "support/dll/request.h"
#include "support/dll/wire.h"

#include <gtest/gtest.h>

namespace wpk::harness {
namespace {

constexpr ULONGLONG kSecond = 1000;

const Library& TheLibrary() {
    static const Library library = StartFresh();
    return library;
}

TEST(Connect, HostNameThatDoesNotExistEndsWithConnectFailure) {
    for (const char* host : {"no-such-host.invalid", "256.256.256.256", "not a host name", ":::"}) {
        SCOPED_TRACE(host);
        Request request(80);
        request.Server(host);
        RunAndExpectFailure(TheLibrary(), request, WPK_ERROR_CONNECT);
    }
}

/// How long a request took, from its send to its final notification.
class Timed {
public:
    explicit Timed(unsigned short port) : request(port) {
        request.inbox.inside = [this](WPK_CALLBACKSTRUCT&) { end_ = GetTickCount64(); };
        request.Send(TheLibrary());
    }
    ULONGLONG Duration() const { return end_ - begin_; }

    Request request;

private:
    ULONGLONG begin_ = GetTickCount64();
    ULONGLONG end_ = 0;
};

TEST(Timeouts, ConnectTakesAtMost30SecondsAndEveryByteOfTheHead60) {
    const FullListener full;
    Peer silent([](Connection& connection) {
        connection.ReadRequest();
        connection.WaitForEnd();
    });
    Peer halting([](Connection& connection) {
        connection.ReadRequest();
        connection.Send("HTTP/1.0 200 OK\r\nServer: WPK");
        connection.WaitForEnd();
    });
    // The body has no time-out: this peer pauses for longer than any byte of a head may take.
    Signal othersAreDone;
    Peer pausing([&](Connection& connection) {
        connection.ReadRequest();
        connection.Send(OkHead(4) + "pa");
        othersAreDone.Wait();
        connection.Send("us");
    });

    Timed refused(DeadPort());
    Timed neverAccepted(full.Port());
    Timed withoutHead(silent.Port());
    Timed withHalfAHead(halting.Port());
    Timed withHalfABody(pausing.Port());

    for (Timed* timed : {&refused, &neverAccepted}) {
        ASSERT_TRUE(timed->request.WaitForEnd());
        ExpectFailure(timed->request, WPK_ERROR_CONNECT);
        EXPECT_LE(timed->Duration(), 40 * kSecond);
    }
    EXPECT_GE(neverAccepted.Duration(), 29 * kSecond);
    for (Timed* timed : {&withoutHead, &withHalfAHead}) {
        ASSERT_TRUE(timed->request.WaitForEnd());
        ExpectFailure(timed->request, WPK_ERROR_EXCHANGE);
        EXPECT_GE(timed->Duration(), 59 * kSecond);
        EXPECT_LE(timed->Duration(), 75 * kSecond);
    }
    EXPECT_EQ(withHalfABody.request.inbox.Finals(), 0u);
    othersAreDone.Set();
    ASSERT_TRUE(withHalfABody.request.WaitForEnd());
    ExpectReply(withHalfABody.request, "paus");
}

}  // namespace
}  // namespace wpk::harness
