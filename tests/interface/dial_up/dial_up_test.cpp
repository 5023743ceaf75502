// Connection type 1 on a machine whose modem comes and goes.
// SPDX-License-Identifier: MIT
#include "interface/dial_up/remote_access_scenes.h"

#include <gtest/gtest.h>

#include "support/dll/import_patch.h"
#include "support/dll/inbox.h"
#include "support/dll/peer.h"
#include "support/dll/request.h"
#include "support/dll/wire.h"

namespace wpk::harness {
namespace {

using States = std::vector<unsigned int>;

/// One library for all: a process is initialised once. Every test begins and ends with the modem hung up.
class DialUp : public testing::Test {
protected:
    static void SetUpTestSuite() {
        // The library's first notification takes one start of the sockets interface back that it never made.
        WSADATA sockets;
        ASSERT_EQ(WSAStartup(MAKEWORD(1, 1), &sockets), 0);
        Play({Nothing()});
        library_ = new Library(LoadFromElsewhere());
        WPK_INITSTRUCT settings = PermanentSettings(Told());
        settings.nConnectionType = WPK_CONNECTION_DIAL_UP;
        ASSERT_EQ(library_->Init(&settings), 1);
        ASSERT_TRUE(Told().WaitForCount(1));
    }

    /// Everything that the default callback was told.
    static Inbox& Told() {
        static Inbox& inbox = *new Inbox;
        return inbox;
    }

    void SetUp() override {
        ASSERT_EQ(Told().All().back().connected, 0u);
        before_ = Told().All().size();
    }

    void TearDown() override {
        Told().inside = nullptr;
        if (Told().All().back().connected == 0) return;
        before_ = Told().All().size();
        PlayUntilTold({Nothing()}, 1);
    }

    /// The states told since the test began.
    States StatesTold() const {
        States states;
        const std::vector<Notification> all = Told().All();
        for (size_t i = before_; i < all.size(); ++i) states.push_back(all[i].connected);
        return states;
    }

    bool WaitUntilTold(size_t count) const { return Told().WaitForCount(before_ + count); }

    void PlayUntilTold(const std::vector<StandInScene>& scenes, size_t count) const {
        Play(scenes);
        ASSERT_TRUE(WaitUntilTold(count));
    }

    static void ExpectRequestFails(int error) {
        Peer peer(Answer(Ok("never")));
        Request request(peer.Port());
        RunAndExpectFailure(*library_, request, error);
        EXPECT_EQ(peer.Connections(), 0u) << "the network was touched";
    }

    static void ExpectRequestWorks() {
        Peer peer(Answer(Ok("here")));
        Request request(peer.Port());
        RunAndExpectReply(*library_, request, "here");
    }

    static Library* library_;
    size_t before_ = 0;
};
Library* DialUp::library_ = nullptr;

TEST_F(DialUp, AfterInitStateZeroIsToldOnceOnAThreadOfTheLibrary) {
    const Notification first = Told().All().front();
    EXPECT_EQ(first.reason, static_cast<unsigned int>(WPK_REASON_CONNECTION));
    EXPECT_EQ(first.connected, 0u);
    EXPECT_EQ(first.userData, &Told());
    EXPECT_TRUE(first.restIsZero);
    EXPECT_NE(first.thread, GetCurrentThreadId());
    ExpectRequestFails(WPK_ERROR_NO_NETWORK);
}

TEST_F(DialUp, ModemThatDialsAndHangsUpIsToldOnceEachAndRequestsFollow) {
    PlayUntilTold({ModemIn(kAuthenticate), ModemIn(kConnected)}, 1);
    EXPECT_EQ(StatesTold(), (States{1}));
    ExpectRequestWorks();
    Play({ModemIn(kAuthenticate), Nothing()});
    ASSERT_TRUE(WaitForPolls(1));
    ExpectRequestWorks();
    ASSERT_TRUE(WaitUntilTold(2));
    EXPECT_EQ(StatesTold(), (States{1, 0}));
    // Both looks were taken while the modem was up. The system's clocks tick in steps of up to 16 ms.
    EXPECT_GE(PeriodBefore(1), 5000u - 32);
    EXPECT_LE(PeriodBefore(1), 30000u);
    ExpectRequestFails(WPK_ERROR_NO_NETWORK);
}

/// What a request sent inside the start of the sockets interface has come to: 1 before.
int outcomeInsideStart = 1;
const Library* startingLibrary = nullptr;

int WSAAPI SendAndFail(WORD, WSADATA*) {
    Peer peer(Answer(Ok("here")));
    Request request(peer.Port());
    if (request.Run(*startingLibrary)) outcomeInsideStart = request.Final().error;
    return WSASYSNOTREADY;
}

TEST_F(DialUp, SocketsThatDoNotStartStillCountAsANetworkFromBeforeTheirStart) {
    startingLibrary = library_;
    {
        const ImportPatch start(library_->module(), "WSAStartup", AddressOf(&SendAndFail));
        ASSERT_TRUE(start.Found());
        PlayUntilTold({ModemIn(kConnected)}, 1);
    }
    EXPECT_EQ(StatesTold(), States{1});
    // The application has started the interface itself, so requests get through whenever there is a network.
    EXPECT_EQ(outcomeInsideStart, 0);
    ExpectRequestWorks();
    // For the start that is missing, since the end of the connection takes one back.
    WSADATA sockets;
    ASSERT_EQ(WSAStartup(MAKEWORD(1, 1), &sockets), 0);
}

TEST_F(DialUp, EveryKindOfComingAndGoingIsToldInItsOrder) {
    std::vector<StandInConnection> ten(9, Device("vpn", kConnected));
    ten.push_back(Device("modem", kConnected));
    std::vector<StandInConnection> eleven = ten;
    eleven.push_back(Device("modem", kConnected));
    PlayUntilTold({Showing({Device("MODEM", kConnected)}), Showing({Device("MODEM", kDisconnected)}),  // 1 0
                   Showing(ten), Failing(),                                                            // 1 0
                   ModemIn(kConnected), Showing(eleven),                                               // 1 0
                   Showing({Device("modem", kConnected, ERROR_INVALID_HANDLE)}), Failing(),            // nothing
                   ModemIn(kConnected), Nothing()},                                                    // 1 0
                  8);
    EXPECT_EQ(StatesTold(), (States{1, 0, 1, 0, 1, 0, 1, 0}));
    ExpectRequestFails(WPK_ERROR_NO_NETWORK);
}

TEST_F(DialUp, VpnAndIsdnConnectionsAreNeverToldAndPollsAreFiveSecondsApart) {
    Play({Showing({Device("vpn", kConnected)}), Showing({Device("isdn", kConnected), Device("VPN", kDisconnected)}),
          Nothing()});
    ASSERT_TRUE(WaitForPolls(2));
    ExpectRequestFails(WPK_ERROR_NO_NETWORK);
    ASSERT_TRUE(WaitForPolls(3));
    EXPECT_EQ(StatesTold(), States{});
    for (unsigned int number : {1u, 2u}) {
        // The system's clocks tick in steps of up to 16 ms.
        EXPECT_GE(PeriodBefore(number), 5000u - 32);
        EXPECT_LE(PeriodBefore(number), 30000u);
    }
}

TEST_F(DialUp, RequestsAcrossAHangUpEndInsteadOfWaitingForThePeer) {
    Signal ended;
    Peer silent([&](Connection& connection) {
        connection.ReadRequest();
        if (connection.WaitForEnd()) ended.Set();
    });
    FullListener full;
    PlayUntilTold({ModemIn(kConnected)}, 1);
    Request waiting(silent.Port()), connecting(full.Port());
    ASSERT_NE(waiting.Send(*library_), 0u);
    ASSERT_NE(connecting.Send(*library_), 0u);
    ASSERT_NE(silent.WaitForRequest(), "");
    PlayUntilTold({Nothing()}, 2);
    ASSERT_TRUE(waiting.WaitForEnd());
    ASSERT_TRUE(connecting.WaitForEnd());
    ExpectFailure(waiting, WPK_ERROR_NO_NETWORK);
    ExpectFailure(connecting, WPK_ERROR_CONNECT);
    EXPECT_TRUE(ended.Wait()) << "its socket was closed";
}

TEST_F(DialUp, RequestWhoseNetworkWentAndCameBackEndsAsABrokenExchange) {
    Peer peer([](Connection& connection) {
        connection.ReadRequest();
        connection.Send(OkHead(100) + "some");
        connection.WaitForEnd();
    });
    PlayUntilTold({ModemIn(kConnected)}, 1);
    Request request(peer.Port());
    bool changed = false;
    request.inbox.inside = [&](WPK_CALLBACKSTRUCT& record) {
        if (record.nReason != WPK_REASON_PROGRESS || changed) return;
        changed = true;
        PlayUntilTold({Failing(), ModemIn(kConnected)}, 3);
    };
    ASSERT_TRUE(request.Run(*library_));
    ExpectFailure(request, WPK_ERROR_EXCHANGE);
    EXPECT_EQ(StatesTold(), (States{1, 0, 1}));
    ExpectRequestWorks();
}

TEST_F(DialUp, CallbackThatSendsWhenTheNetworkComesGetsItsReply) {
    Peer peer(Answer(Ok("here")));
    Request request(peer.Port());
    Told().inside = [&](WPK_CALLBACKSTRUCT& record) {
        if (record.body.connection.dwConnected == 1) request.Send(*library_);
    };
    PlayUntilTold({ModemIn(kConnected)}, 1);
    ASSERT_TRUE(request.WaitForEnd());
    ExpectReply(request, "here");
}

}  // namespace
}  // namespace wpk::harness
