// The fake platform's sockets, against a peer that uses the system's own.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "fake_platform/control.h"
#include "native/support/native_peer.h"
#include "process.h"
#include "winsock.h"

namespace wpk::host {
namespace {

class StandInSocket : public testing::Test {
protected:
    void SetUp() override {
        Reset();
        before_ = CountLive();
        WSADATA data;
        ASSERT_EQ(WSAStartup(MAKEWORD(1, 1), &data), 0);
    }
    void TearDown() override {
        EXPECT_EQ(WSACleanup(), 0);
        EXPECT_EQ(CountLive(), before_);
        EXPECT_EQ(Misuses(), std::vector<std::string>());
    }
    static SOCKET NewSocket(bool blocking) {
        const SOCKET s = socket(AF_INET, SOCK_STREAM, 0);
        u_long nonBlocking = blocking ? 0 : 1;
        EXPECT_EQ(ioctlsocket(s, static_cast<long>(FIONBIO), &nonBlocking), 0);
        return s;
    }
    static int Connect(SOCKET s, uint16_t port) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = inet_addr("127.0.0.1");
        return connect(s, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    }
    static int Select(SOCKET s, bool readable, bool writable, bool failed, long milliseconds) {
        fd_set sets[3];
        for (fd_set& set : sets) {
            FD_ZERO(&set);
            FD_SET(s, &set);
        }
        timeval limit{milliseconds / 1000, milliseconds % 1000 * 1000};
        return select(0, readable ? &sets[0] : nullptr, writable ? &sets[1] : nullptr, failed ? &sets[2] : nullptr,
                      &limit);
    }
    Live before_;
};

TEST_F(StandInSocket, CarriesBytesBothWays) {
    NativePeer peer([](NativePeer::Connection& connection) {
        const std::string request = connection.Read(5);
        connection.Write("got " + request);
    });
    const SOCKET s = NewSocket(/*blocking=*/false);
    EXPECT_EQ(Connect(s, peer.Port()), SOCKET_ERROR);
    EXPECT_EQ(WSAGetLastError(), WSAEWOULDBLOCK);
    EXPECT_EQ(Select(s, false, true, false, 5000), 1);
    EXPECT_EQ(send(s, "hello", 5, 0), 5);
    EXPECT_EQ(Select(s, true, false, false, 5000), 1);
    u_long blocking = 0;
    ioctlsocket(s, static_cast<long>(FIONBIO), &blocking);
    std::string answer;
    char buffer[16];
    while (answer.size() < 9) {
        const int received = recv(s, buffer, sizeof buffer, 0);
        ASSERT_GT(received, 0);
        answer.append(buffer, static_cast<size_t>(received));
    }
    EXPECT_EQ(answer, "got hello");
    EXPECT_EQ(recv(s, buffer, sizeof buffer, 0), 0);
    EXPECT_EQ(closesocket(s), 0);
}

TEST_F(StandInSocket, RefusedConnectShowsAsFailedNotAsWritable) {
    uint16_t port = 0;
    {
        NativePeer peer([](NativePeer::Connection&) {});
        port = peer.Port();
    }
    const SOCKET s = NewSocket(/*blocking=*/false);
    EXPECT_EQ(Connect(s, port), SOCKET_ERROR);
    EXPECT_EQ(WSAGetLastError(), WSAEWOULDBLOCK);
    EXPECT_EQ(Select(s, false, true, false, 30), 0);
    EXPECT_EQ(Select(s, false, false, true, 5000), 1);
    closesocket(s);
}

TEST_F(StandInSocket, WithoutDataWouldBlockOrTimeOut) {
    NativePeer peer([](NativePeer::Connection& connection) { connection.Read(1); });
    const SOCKET s = NewSocket(/*blocking=*/true);
    EXPECT_EQ(Connect(s, peer.Port()), 0);
    EXPECT_EQ(Select(s, true, false, false, 30), 0);
    u_long nonBlocking = 1;
    ioctlsocket(s, static_cast<long>(FIONBIO), &nonBlocking);
    char byte = 0;
    EXPECT_EQ(recv(s, &byte, 1, 0), SOCKET_ERROR);
    EXPECT_EQ(WSAGetLastError(), WSAEWOULDBLOCK);
    closesocket(s);
}

TEST_F(StandInSocket, ValuesComeBackLowestFirst) {
    const SOCKET first = NewSocket(true);
    const SOCKET second = NewSocket(true);
    EXPECT_LT(first, second);
    closesocket(first);
    const SOCKET third = NewSocket(true);
    EXPECT_EQ(third, first);
    EXPECT_EQ(CountLive().sockets, before_.sockets + 2);
    closesocket(second);
    closesocket(third);
}

TEST_F(StandInSocket, ResolvesOnlyTheNamesThatWereAdded) {
    const hostent* local = gethostbyname("localhost");
    ASSERT_NE(local, nullptr);
    EXPECT_EQ(std::string(local->h_addr_list[0], 4), std::string("\x7f\0\0\x01", 4));
    EXPECT_EQ(gethostbyname("server.example"), nullptr);
    EXPECT_EQ(WSAGetLastError(), WSAHOST_NOT_FOUND);
    AddHost("server.example", "10.1.2.3");
    const hostent* added = gethostbyname("server.example");
    ASSERT_NE(added, nullptr);
    EXPECT_EQ(std::string(added->h_addr_list[0], 4), "\x0a\x01\x02\x03");
    EXPECT_EQ(inet_addr("not an address"), INADDR_NONE);
}

TEST_F(StandInSocket, WithoutStartedInterfaceNothingWorks) {
    WSACleanup();
    EXPECT_EQ(socket(AF_INET, SOCK_STREAM, 0), INVALID_SOCKET);
    EXPECT_EQ(WSAGetLastError(), WSANOTINITIALISED);
    EXPECT_EQ(WSACleanup(), SOCKET_ERROR);
    EXPECT_EQ(WSAGetLastError(), WSANOTINITIALISED);
    WSADATA data;
    WSAStartup(MAKEWORD(1, 1), &data);
}

TEST_F(StandInSocket, IsClosedByTheLastCleanUp) {
    const SOCKET s = NewSocket(true);
    WSACleanup();
    EXPECT_EQ(CountLive().sockets, before_.sockets);
    EXPECT_EQ(closesocket(s), SOCKET_ERROR);
    WSADATA data;
    WSAStartup(MAKEWORD(1, 1), &data);
}

TEST_F(StandInSocket, IsClosedByACleanUpThatFails) {
    NewSocket(true);
    const int64_t starts = SocketStarts();
    FailCall("WSACleanup", 1);
    EXPECT_EQ(WSACleanup(), SOCKET_ERROR);
    EXPECT_EQ(WSAGetLastError(), 10050);
    EXPECT_EQ(SocketStarts(), starts - 1);
    EXPECT_EQ(CountLive().sockets, before_.sockets);
    WSADATA data;
    WSAStartup(MAKEWORD(1, 1), &data);
}

struct Reader {
    SOCKET socket;
    std::atomic<int> result{1};
    static unsigned Read(void* argument) {
        auto* reader = static_cast<Reader*>(argument);
        char byte = 0;
        reader->result = recv(reader->socket, &byte, 1, 0);
        return 0;
    }
};

TEST_F(StandInSocket, TerminatedReaderTakesNothingAndLetsTheSocketGo) {
    NativePeer peer([](NativePeer::Connection& connection) { connection.Read(1); });
    const SOCKET s = NewSocket(/*blocking=*/true);
    ASSERT_EQ(Connect(s, peer.Port()), 0);
    Reader reader{s};
    const auto thread = reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, Reader::Read, &reader, 0, nullptr));
    while (Uses("recv") == 0) Sleep(1);
    TerminateThread(thread, 0);
    EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(closesocket(s), 0);
    // The peer sees the end only when nobody holds the socket any more.
    peer.AwaitServed();
    EXPECT_EQ(reader.result, 1);
    CloseHandle(thread);
}

TEST_F(StandInSocket, FailsWithTheErrorThatWasNamed) {
    FailCall("socket", 1, Times::kOnce, WSAEMFILE);
    EXPECT_EQ(socket(AF_INET, SOCK_STREAM, 0), INVALID_SOCKET);
    EXPECT_EQ(WSAGetLastError(), WSAEMFILE);
    EXPECT_EQ(FaultsFired(), 1u);
}

TEST_F(StandInSocket, TakenOutOfInheritanceIsNoMisuseWhileItIsOpen) {
    const SOCKET s = NewSocket(true);
    const HANDLE handle = reinterpret_cast<HANDLE>(s);
    EXPECT_TRUE(SetHandleInformation(handle, HANDLE_FLAG_INHERIT, 0));
    EXPECT_FALSE(SetHandleInformation(handle, HANDLE_FLAG_INHERIT << 1, 0));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(closesocket(s), 0);
    EXPECT_FALSE(SetHandleInformation(reinterpret_cast<HANDLE>(INVALID_SOCKET), HANDLE_FLAG_INHERIT, 0));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
}

}  // namespace
}  // namespace wpk::host
