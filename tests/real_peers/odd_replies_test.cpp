// Replies that real servers and proxies turn into something else, and those that they make themselves. A scripted peer
// plays the message server behind them.
// SPDX-License-Identifier: MIT
#include "real_peers/ports.h"
#include "support/dll/peer.h"
#include "support/dll/proxied.h"
#include "support/dll/wire.h"

#include <gtest/gtest.h>

namespace wpk::harness {
namespace {

/// What is asked for in the message is what comes. `release` lets go of connections that stay open.
void ServeOddly(Connection& connection, Signal& release) {
    const std::string request = connection.ReadRequest();
    if (request.empty()) return;
    const std::string message = MessageOf(request);
    if (message == "chunked") {
        connection.Send(
            "HTTP/1.1 200 OK\r\nServer: WPK/1.00\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nhello\r\n0\r\n\r\n");
    } else if (message == "until closed") {
        connection.Send("HTTP/1.0 200 OK\r\nServer: WPK/1.00\r\n\r\nhello");
    } else if (message == "kept open") {
        connection.Send(
            "HTTP/1.1 200 OK\r\nServer: WPK/1.00\r\nConnection: keep-alive\r\nContent-Length: 5\r\n\r\nhello");
        release.Wait();
    } else if (message == "cut off") {
        connection.Send(OkHead(20000) + "hello");
    } else if (message == "interim") {
        connection.Send("HTTP/1.1 100 Continue\r\n\r\n" + Ok("hello"));
    } else if (message == "lower case") {
        connection.Send("HTTP/1.1 200 OK\r\nserver: wpk/1.00\r\ncontent-length: 5\r\n\r\nhello");
    } else {
        connection.Send(Ok(message));
    }
}

struct Way {
    const char* name;
    const Library library;
    unsigned short port;
};

class OddReplies : public testing::Test {
protected:
    void ExpectEverywhere(const std::string& message, const std::string& reply) {
        for (const Way& way : ways_) {
            SCOPED_TRACE(way.name);
            Request request(way.port, message);
            RunAndExpectReply(way.library, request, reply);
        }
    }
    void ExpectFailureEverywhere(const std::string& message, int error) {
        for (const Way& way : ways_) {
            SCOPED_TRACE(way.name);
            Request request(way.port, message);
            RunAndExpectFailure(way.library, request, error);
        }
    }

    /// Not by the other side's end: Squid keeps a connection to a server for a minute, for its next request.
    Signal release_;
    Peer server_{[this](Connection& connection) { ServeOddly(connection, release_); }, 5, PortOf("backend")};
    const Way ways_[4] = {
        {"tinyproxy", Proxied(PortOf("tinyproxy"), nullptr, nullptr).library, PortOf("backend")},
        {"squid", Proxied(PortOf("squid"), "user", "pass").library, PortOf("backend")},
        {"nginx", StartFresh(), PortOf("nginx_front")},
        {"haproxy", StartFresh(), PortOf("haproxy")},
    };
};

TEST_F(OddReplies, OrdinaryOneComesThrough) {
    ExpectEverywhere("hello", "hello");
    ExpectEverywhere("lower case", "hello");
}

// Tinyproxy and HAProxy pass the chunks on although the client speaks HTTP/1.0; Squid and nginx take them apart, but
// then do not know the length beforehand.
TEST_F(OddReplies, ChunkedOneHasNoLengthAndEndsTheRequest) {
    ExpectFailureEverywhere("chunked", WPK_ERROR_EXCHANGE);
}

TEST_F(OddReplies, OneThatEndsWithItsConnectionHasNoLengthAndEndsTheRequest) {
    ExpectFailureEverywhere("until closed", WPK_ERROR_EXCHANGE);
}

TEST_F(OddReplies, OneOnAConnectionThatStaysOpenComesThrough) {
    ExpectEverywhere("kept open", "hello");
    release_.Set();
}

TEST_F(OddReplies, OneThatBreaksOffEndsTheRequest) {
    ExpectFailureEverywhere("cut off", WPK_ERROR_EXCHANGE);
}

// Squid alone takes it away; the library does not take the empty line between an interim head and the next one.
TEST_F(OddReplies, InterimOneBeforeEndsTheRequestUnlessSquidTakesItAway) {
    for (const Way& way : ways_) {
        SCOPED_TRACE(way.name);
        Request request(way.port, "interim");
        if (way.name == std::string("squid")) {
            RunAndExpectReply(way.library, request, "hello");
        } else {
            RunAndExpectFailure(way.library, request, WPK_ERROR_EXCHANGE);
        }
    }
}

// The page that tells of it is none of a message server.
TEST(OddReply, OfSomebodyWhoCannotReachTheServerEndsTheRequest) {
    const unsigned short nobody = DeadPort();
    Request throughTinyproxy(nobody);
    RunAndExpectFailure(Proxied(PortOf("tinyproxy"), nullptr, nullptr).library, throughTinyproxy, WPK_ERROR_EXCHANGE);
    Request throughSquid(nobody);
    RunAndExpectFailure(Proxied(PortOf("squid"), "user", "pass").library, throughSquid, WPK_ERROR_EXCHANGE);
    // Nobody plays the server behind these two now.
    for (const char* front : {"nginx_front", "haproxy"}) {
        SCOPED_TRACE(front);
        Request request(PortOf(front));
        RunAndExpectFailure(StartFresh(), request, WPK_ERROR_EXCHANGE);
    }
}

// An ordinary web server answers 200 to everything here: it is no message server, and is told apart by its name.
TEST(OddReply, OfAnOrdinaryWebServerIsNotTakenForAMessageServers) {
    Request request(PortOf("nginx"));
    RunAndExpectFailure(StartFresh(), request, WPK_ERROR_BAD_VERSION);
}

}  // namespace
}  // namespace wpk::harness
