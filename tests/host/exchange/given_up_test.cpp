// Requests that are cancelled, or lose the network, in each phase: they let go of their sockets before the application
// is told, and at the end of the wait in which it happened.
// SPDX-License-Identifier: MIT
#include <functional>
#include <string>

#include "host/exchange/carried.h"

namespace wpk::host {
namespace {

/// Where a request is when it is given up: right before a use of a call.
struct Moment {
    const char* phase;
    const char* service;
    const char* call;
    uint64_t nth;
};

// The first looks are whether the connection stands and is ready; the later ones are waits for what never comes.
constexpr uint64_t kLateLook = 20;

const Moment kMoments[] = {
    {"opening", "Silent", "socket", 1},
    {"opened", "Silent", "setsockopt", 1},
    {"resolving", "Silent", "gethostbyname", 1},
    {"connecting", "Silent", "connect", 1},
    {"looking", "Silent", "select", 1},
    {"sending the line", "Silent", "send", 1},
    {"sending the headers", "Silent", "send", 2},
    {"sending the body", "Silent", "send", 4},
    {"waiting for the head", "Silent", "select", kLateLook},
    {"reading the head", "Large", "recv", 1},
    {"waiting for a body in memory", "Begun", "select", kLateLook},
    {"making a file", "Large", "CreateFileA", 1},
    {"waiting for a body in a file", "Half", "select", kLateLook},
};

/// "Silent" is never answered; the reply to "Begun", a small one, and to "Half", a large one, stops before its end.
void Serve(Peer::Connection& connection) {
    const std::string request = connection.ReadRequest();
    const auto asks_for = [&request](const char* service) { return request.find(service) != std::string::npos; };
    if (asks_for("Silent")) connection.AwaitClose();
    const bool large = asks_for("Large") || asks_for("Half");
    const std::string reply = Reply(std::string(large ? 20000 : 100, 'x'));
    connection.Write(asks_for("Large") ? reply : reply.substr(0, reply.size() - 50));
    connection.AwaitClose();
}

class GivenUpTest : public ExchangeTest {
protected:
    /// Runs a request that is given up at that moment, and expects that nothing of it is open when it is told so.
    int RunGivenUp(const Moment& moment, const std::function<void(Carried&)>& give_up) {
        SpeedUp(100);
        const Peer peer(Serve, Peer::Serve::kAtOnce);
        Carried request(state, peer.Port(), moment.service, std::string(100, 'd'));
        request.message.lpszServer = "localhost";
        request.on_notification = [](const WPK_CALLBACKSTRUCT& notification) {
            if (notification.nReason == WPK_REASON_FAILURE) {
                EXPECT_EQ(CountLive().sockets, 0);
                EXPECT_EQ(CountLive().files, 0);
            }
        };
        bool given_up = false;
        RunBefore(moment.call, moment.nth, [&] {
            give_up(request);
            given_up = true;
        });
        const int end = request.Run();
        EXPECT_TRUE(given_up);
        return end;
    }
};

TEST_F(GivenUpTest, ACancelledRequestHasClosedItsSocketBeforeItsCallbackIsTold) {
    for (const Moment& moment : kMoments) {
        SCOPED_TRACE(moment.phase);
        EXPECT_EQ(RunGivenUp(moment, [](Carried& request) { request.Cancel(); }), WPK_ERROR_CANCELLED);
        EXPECT_LE(LongestWait(), 250u);
    }
}

TEST_F(GivenUpTest, ARequestThatLosesTheNetworkHasClosedItsSocketBeforeItsCallbackIsTold) {
    for (const Moment& moment : kMoments) {
        SCOPED_TRACE(moment.phase);
        state.connectionStatus = 1;
        if (SocketStarts() == 0) core::StartSockets();
        const int end = RunGivenUp(moment, [this](Carried&) { LoseNetwork(); });
        EXPECT_TRUE(end == WPK_ERROR_NO_NETWORK || end == WPK_ERROR_CONNECT) << end;
        EXPECT_EQ(SocketStarts(), 0) << "no clean-up waits any more";
        EXPECT_LE(LongestWait(), 250u);
    }
}

TEST_F(GivenUpTest, ARequestCancelledBeforeItsConnectTouchesTheNetworkNoMore) {
    for (const char* call : {"setsockopt", "gethostbyname"}) {
        const uint64_t connects = Uses("connect");
        EXPECT_EQ(RunGivenUp({"", "Silent", call, 1}, [](Carried& request) { request.Cancel(); }), WPK_ERROR_CANCELLED);
        EXPECT_EQ(Uses("connect"), connects) << call;
    }
    EXPECT_EQ(Uses("gethostbyname"), 1u) << "that of the second request alone";
}

TEST_F(GivenUpTest, ARequestCancelledByItsAnswerToAQuestionMakesNoOtherConnection) {
    const Peer proxy([](Peer::Connection& connection) {
        connection.ReadRequest();
        connection.Write(Reply("", "407 Who are you"));
        connection.AwaitClose();
    });
    UseProxy(proxy.Port());
    for (const char* user : {"", "u"}) {
        Carried request(state, 80, "Small");
        request.user = user;
        request.on_notification = [&request](const WPK_CALLBACKSTRUCT& notification) {
            if (notification.nReason == WPK_REASON_CREDENTIALS) request.Cancel();
            if (notification.nReason == WPK_REASON_FAILURE) {
                EXPECT_EQ(CountLive().sockets, 0);
            }
        };
        const uint64_t connects = Uses("connect");
        EXPECT_EQ(request.Run(), WPK_ERROR_CANCELLED);
        EXPECT_EQ(Uses("connect"), connects + 1);
    }
}

TEST_F(GivenUpTest, ARequestGivenUpWithARefusalHalfReadHasClosedItsSocketBeforeTheQuestion) {
    const Peer proxy([](Peer::Connection& connection) {
        connection.ReadRequest();
        connection.Write(Reply(std::string(20000, 'x'), "407 Who are you"));
        connection.AwaitClose();
    });
    UseProxy(proxy.Port());
    FailCall("CreateFileA", 1, Times::kForGood);
    Carried request(state, 80, "Small");
    bool asked = false;
    request.on_notification = [&asked](const WPK_CALLBACKSTRUCT& notification) {
        asked = asked || notification.nReason == WPK_REASON_CREDENTIALS;
        EXPECT_EQ(CountLive().sockets, 0);
    };
    request.CancelBefore("CreateFileA", 10);
    EXPECT_EQ(request.Run(), WPK_ERROR_CANCELLED);
    EXPECT_TRUE(asked);
}

TEST_F(GivenUpTest, ACancelIsSeenAtTheEndOfTheWaitInWhichItComes) {
    const Peer peer(Serve, Peer::Serve::kAtOnce);
    SpeedUp(100);
    for (const char* service : {"Silent", "Begun", "Half"}) {
        Carried request(state, peer.Port(), service);
        request.CancelBefore("select", kLateLook);
        const uint64_t looks = Uses("select");
        EXPECT_EQ(request.Run(), WPK_ERROR_CANCELLED);
        EXPECT_EQ(Uses("select") - looks, kLateLook) << service;
        EXPECT_LE(LongestWait(), 250u);
    }
}

TEST_F(GivenUpTest, ACancelDuringTheWaitForTheConnectionEndsThatWait) {
    SpeedUp(100);
    Carried request(state, /*port=*/1, "Small");
    request.CancelBefore("WaitForSingleObject", 5);
    EXPECT_EQ(request.Run(), WPK_ERROR_CANCELLED);
    EXPECT_EQ(Uses("select"), 5u);
    EXPECT_LE(LongestWait(), 250u);
}

/// A hostile peer: every line is right, only there is no end of them.
class EndlessPeer {
public:
    EndlessPeer(std::string begin, std::string line)
        : peer_([begin = std::move(begin), line = std::move(line)](Peer::Connection& connection) {
              connection.ReadRequest();
              std::string lines = begin;
              while (connection.Write(lines)) lines = line;
          }) {}
    uint16_t Port() const { return peer_.Port(); }

private:
    Peer peer_;
};

TEST_F(GivenUpTest, LinesWithoutEndAreEndedAtTheNextLook) {
    const std::string interim = "HTTP/1.0 100 Continue\r\n";
    const std::string begin = "HTTP/1.0 200 OK\r\n";
    const std::string header = "X-More: and more\r\n";
    for (const bool headers : {false, true}) {
        const EndlessPeer peer(headers ? begin : interim, headers ? header : interim);
        Carried request(state, peer.Port(), "Small");
        request.CancelBefore("recv", 5);
        const uint64_t receives = Uses("recv");
        EXPECT_EQ(request.Run(), WPK_ERROR_CANCELLED);
        EXPECT_EQ(Uses("recv") - receives, 5u);

        Carried lost(state, peer.Port(), "Small");
        RunBefore("recv", 5, [this] { LoseNetwork(); });
        EXPECT_EQ(lost.Run(), WPK_ERROR_NO_NETWORK);
        EXPECT_EQ(Uses("recv") - receives, 10u);
        state.connectionStatus = 1;
        core::StartSockets();
    }
}

TEST_F(GivenUpTest, TriesForASpoolFileAreEndedAtTheNextOne) {
    const Server server;
    FailCall("CreateFileA", 1, Times::kForGood);
    Carried request(state, server.Port(), "Large");
    request.CancelBefore("CreateFileA", 10);
    EXPECT_EQ(request.Run(), WPK_ERROR_CANCELLED);
    EXPECT_EQ(Uses("CreateFileA"), 10u);

    Carried lost(state, server.Port(), "Large");
    RunBefore("CreateFileA", 10, [this] { LoseNetwork(); });
    EXPECT_EQ(lost.Run(), WPK_ERROR_NO_NETWORK);
    EXPECT_EQ(Uses("CreateFileA"), 20u);
}

}  // namespace
}  // namespace wpk::host
