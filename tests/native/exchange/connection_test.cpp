// The socket layer, call by call: what it asks of the platform, and what it makes of the answers.
// SPDX-License-Identifier: MIT
#include "transport/connection.h"

#include <chrono>
#include <thread>

#include "native/exchange/carried.h"

namespace wpk::host {

using namespace core;
namespace {

/// On the machine that the fake platform pretends to be, nobody listens there and nobody is told so.
constexpr uint16_t kDeadPort = 1;

/// The waits of a connect that comes to nothing: 30 seconds in steps of 250 ms.
constexpr uint64_t kConnectWaits = 120;

using ConnectionTest = ExchangeTest;

Semaphore Signal() {
    return Semaphore(SemaphoreKind::kSignal);
}

TEST_F(ConnectionTest, HoldsASemaphoreOfItsOwnAsLongAsItsSocket) {
    const Live before = CountLive();
    Connection connection;
    ASSERT_TRUE(connection.Open());
    EXPECT_EQ(CountLive().handles, before.handles + 1);
    EXPECT_EQ(CountLive().sockets, before.sockets + 1);
    ASSERT_TRUE(connection.Open()) << "what was open goes first";
    EXPECT_EQ(CountLive().handles, before.handles + 1);
    EXPECT_EQ(CountLive().sockets, before.sockets + 1);
    connection.Close();
    EXPECT_EQ(CountLive(), before);
}

TEST_F(ConnectionTest, EveryFailureOfAnOpenLeavesNothingOpenAndGivesTheUseOfTheInterfaceBack) {
    for (const char* call : {"socket", "setsockopt", "CreateSemaphoreA"}) {
        const Live before = CountLive();
        ASSERT_TRUE(StartSockets());
        const int64_t starts = SocketStarts();
        FailCall(call, 1, Times::kOnce, 10024);
        Connection connection;
        EXPECT_FALSE(connection.Open()) << call;
        EXPECT_EQ(connection.LastError(), 10024) << call;
        EXPECT_EQ(CountLive(), before) << call;
        CleanUpSockets();
        EXPECT_EQ(SocketStarts(), starts - 1) << call << ": the clean-up waits for nobody";
    }
}

TEST_F(ConnectionTest, LastErrorTellsWhyAConnectHasFailed) {
    const Semaphore cancel = Signal();
    Connection connection;
    EXPECT_FALSE(connection.Connect("no-such-host.invalid", 80, &cancel));
    EXPECT_EQ(connection.LastError(), Connection::kHostNotFound);
    EXPECT_EQ(Uses("connect"), 0u) << "no connect is attempted";

    FailCall("connect", 1, Times::kOnce, 10051);
    EXPECT_FALSE(connection.Connect("127.0.0.1", kDeadPort, &cancel));
    EXPECT_EQ(connection.LastError(), 10051);

    cancel.Signal();
    EXPECT_FALSE(connection.Connect("127.0.0.1", kDeadPort, &cancel));
    EXPECT_EQ(connection.LastError(), Connection::kConnecting) << "cut short while it was under way";
}

TEST_F(ConnectionTest, LastErrorTellsWhyATransferHasFailed) {
    char byte = 'x';
    Connection connection;
    EXPECT_FALSE(connection.Send(&byte, 1));
    EXPECT_EQ(connection.LastError(), Connection::kNotConnected);
    ASSERT_TRUE(connection.Open());
    EXPECT_EQ(connection.Receive(&byte, 1, Connection::kNoTimeout), 0u) << "open, but not connected";
    EXPECT_EQ(connection.LastError(), Connection::kNotConnected);

    const NativePeer peer([](NativePeer::Connection& other) { other.AwaitClose(); });
    const Semaphore cancel = Signal();
    ASSERT_TRUE(connection.Connect("127.0.0.1", peer.Port(), &cancel));
    EXPECT_TRUE(connection.Send(nullptr, 0)) << "nothing is sent at once";
    EXPECT_FALSE(connection.Send(nullptr, 1));
    FailCall("send", 1, Times::kOnce, 10053);
    EXPECT_FALSE(connection.Send(&byte, 1));
    EXPECT_EQ(connection.LastError(), 10053);
    EXPECT_TRUE(connection.Send(&byte, 1)) << "an error of one call is none of the connection's";
}

TEST_F(ConnectionTest, AReceiveThatTheSystemFailsIsToldWithTheSystemsError) {
    const NativePeer peer([](NativePeer::Connection& other) {
        other.Write("x");
        other.AwaitClose();
    });
    const Semaphore cancel = Signal();
    Connection connection;
    ASSERT_TRUE(connection.Connect("127.0.0.1", peer.Port(), &cancel));
    FailCall("recv", 1, Times::kOnce, 10054);
    char byte = 0;
    EXPECT_EQ(connection.Receive(&byte, 1, Connection::kNoTimeout), 0u);
    EXPECT_EQ(connection.LastError(), 10054);
    EXPECT_EQ(connection.Receive(&byte, 1, Connection::kNoTimeout), 1u);
    EXPECT_EQ(byte, 'x');
}

TEST_F(ConnectionTest, AConnectThatComesToNothingWaits120TimesAndLooksOnceMoreInTheEnd) {
    SpeedUp(5000);
    const Semaphore cancel = Signal();
    Connection connection;
    const uint64_t waits = Uses("WaitForSingleObject");
    // A look before each wait, one when the budget is used up, and the last one.
    FailCall("select", kConnectWaits + 2, Times::kOnce, 10060);
    EXPECT_FALSE(connection.Connect("127.0.0.1", kDeadPort, &cancel));
    EXPECT_EQ(Uses("WaitForSingleObject") - waits, kConnectWaits);
    EXPECT_EQ(Uses("select"), kConnectWaits + 2);
    EXPECT_EQ(connection.LastError(), 10060) << "what the last look has met";
    EXPECT_EQ(LongestWait(), 250u);
}

TEST_F(ConnectionTest, AConnectThatSucceedsAtOnceIsFollowedByNoLook) {
    const NativePeer peer([](NativePeer::Connection& other) { other.AwaitClose(); });
    const Semaphore cancel = Signal();
    ConnectAtOnce(true);
    Connection connection;
    EXPECT_TRUE(connection.Connect("127.0.0.1", peer.Port(), &cancel));
    EXPECT_EQ(Uses("select"), 0u);
    EXPECT_EQ(connection.LastError(), 0);
    EXPECT_TRUE(connection.Send("x", 1));
}

TEST_F(ConnectionTest, WithoutASemaphoreTheWaitForAConnectionSleeps) {
    SpeedUp(5000);
    Connection connection;
    EXPECT_FALSE(connection.Connect("127.0.0.1", kDeadPort, /*cancelSemaphore=*/nullptr));
    EXPECT_EQ(Uses("Sleep"), kConnectWaits);
}

TEST_F(ConnectionTest, AnErrorOfALookIsRecordedAndTheWaitGoesOn) {
    const NativePeer peer([](NativePeer::Connection& other) { other.AwaitClose(); });
    const Semaphore cancel = Signal();
    FailCall("select", 1, Times::kOnce, 10050);
    Connection connection;
    EXPECT_TRUE(connection.Connect("127.0.0.1", peer.Port(), &cancel));
    EXPECT_EQ(connection.LastError(), 10050);
}

TEST_F(ConnectionTest, IsNotConnectedAnyMoreOnceItIsClosed) {
    SpeedUp(5000);
    const NativePeer peer([](NativePeer::Connection& other) { other.AwaitClose(); });
    const Semaphore cancel = Signal();
    Connection connection;
    ASSERT_TRUE(connection.Connect("127.0.0.1", peer.Port(), &cancel));
    EXPECT_FALSE(connection.Connect("127.0.0.1", kDeadPort, &cancel));
    char byte = 0;
    EXPECT_FALSE(connection.Send(&byte, 1));
}

TEST_F(ConnectionTest, SendsAChunkToItsEndBeforeTheNextOneBeginsAndLooksForRoomBeforeEachSend) {
    const std::string bytes(2 * 4096 + 1, 'b');
    std::string arrived;
    NativePeer peer([&](NativePeer::Connection& other) { arrived = other.Read(bytes.size()); });
    const Semaphore cancel = Signal();
    Connection connection;
    ASSERT_TRUE(connection.Connect("127.0.0.1", peer.Port(), &cancel));
    // 1000 four times, then the 96 that are left of the chunk.
    ShortenTransfers(1000);
    const uint64_t looks = Uses("select");
    ASSERT_TRUE(connection.Send(bytes.data(), static_cast<uint32_t>(bytes.size())));
    EXPECT_EQ(Uses("send"), 5u + 5u + 1u);
    EXPECT_GE(Uses("select") - looks, Uses("send"));
    peer.AwaitServed();
    EXPECT_EQ(arrived, bytes);
}

TEST_F(ConnectionTest, WaitsBeforeEveryReceive) {
    const NativePeer peer([](NativePeer::Connection& other) {
        other.Write("abc");
        other.AwaitClose();
    });
    const Semaphore cancel = Signal();
    Connection connection;
    ASSERT_TRUE(connection.Connect("127.0.0.1", peer.Port(), &cancel));
    for (const char expected : {'a', 'b', 'c'}) {
        const uint64_t looks = Uses("select");
        char byte = 0;
        ASSERT_EQ(connection.Receive(&byte, 1, Connection::kNoTimeout), 1u);
        EXPECT_EQ(byte, expected);
        EXPECT_GT(Uses("select"), looks);
    }
}

TEST_F(ConnectionTest, LooksEvery200MillisecondsWhileItWaits) {
    const NativePeer silent([](NativePeer::Connection& other) { other.AwaitClose(); });
    const Semaphore cancel = Signal();
    ConnectAtOnce(true);
    Connection connection;
    ASSERT_TRUE(connection.Connect("127.0.0.1", silent.Port(), &cancel));
    SpeedUp(100);
    char byte = 0;
    EXPECT_EQ(connection.Receive(&byte, 1, /*seconds=*/1), 0u);
    EXPECT_EQ(LongestWait(), 200u);
}

TEST_F(ConnectionTest, ALimitedWaitIsOverWhenItsTimeIsHoweverLongItsStepsTake) {
    const NativePeer silent([](NativePeer::Connection& other) { other.AwaitClose(); });
    const Semaphore cancel = Signal();
    Connection connection;
    ASSERT_TRUE(connection.Connect("127.0.0.1", silent.Port(), &cancel));
    SpeedUp(100);
    // A wait of 200 ms, which is 2 ms here, takes at least twice its time.
    constexpr uint64_t kEnoughWaits = 151;
    for (uint64_t wait = 1; wait <= kEnoughWaits; ++wait) {
        RunBefore("select", wait, [] { std::this_thread::sleep_for(std::chrono::milliseconds(2)); });
    }
    const uint64_t looks = Uses("select");
    const uint64_t begin = GetTickCount64();
    char byte = 0;
    EXPECT_EQ(connection.Receive(&byte, 1, /*seconds=*/60), 0u);
    EXPECT_GE(GetTickCount64() - begin, 60000u);
    EXPECT_LE(Uses("select") - looks, kEnoughWaits);
}

TEST_F(ConnectionTest, OpenedDuringTheCleanUpOfTheLastStartItNeverHoldsADeadSocket) {
    bool opened = false;
    std::thread other;
    RunBefore("WSACleanup", 1, [&] {
        const uint64_t waits = Uses("WaitForSingleObject");
        other = std::thread([&] {
            Connection connection;
            opened = connection.Open();
        });
        EXPECT_TRUE(AwaitThat([&] { return Uses("WaitForSingleObject") > waits || Uses("socket") > 0; }));
        EXPECT_EQ(Uses("socket"), 0u) << "the interface is on its way out";
    });
    CleanUpSockets();
    ASSERT_TRUE(other.joinable());
    other.join();
    EXPECT_FALSE(opened);
}

TEST_F(ConnectionTest, AStartWaitsWhileACleanUpIsAtWork) {
    std::thread other;
    RunBefore("WSACleanup", 1, [&] {
        const uint64_t waits = Uses("WaitForSingleObject");
        const uint64_t starts = Uses("WSAStartup");
        other = std::thread([] { EXPECT_TRUE(StartSockets()); });
        EXPECT_TRUE(AwaitThat([&] { return Uses("WaitForSingleObject") > waits || Uses("WSAStartup") > starts; }));
        EXPECT_EQ(Uses("WSAStartup"), starts);
    });
    CleanUpSockets();
    ASSERT_TRUE(other.joinable());
    other.join();
    EXPECT_EQ(SocketStarts(), 1);
}

}  // namespace
}  // namespace wpk::host
