// Real servers in front of the sample server that answer in its place: to large requests, slow clients, slow services.
// SPDX-License-Identifier: MIT
#include "real_peers/ports.h"
#include "support/dll/peer.h"
#include "support/dll/proxied.h"
#include "support/dll/wire.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace wpk::harness {
namespace {

constexpr size_t kTooLarge = 8 * 1024 * 1024;

SOCKET ConnectTo(unsigned short port) {
    const SOCKET socket = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    EXPECT_EQ(connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    return socket;
}

std::string ReadToEnd(SOCKET socket) {
    std::string bytes;
    char piece[4096];
    for (int size; (size = recv(socket, piece, sizeof piece, 0)) > 0;) bytes.append(piece, static_cast<size_t>(size));
    return bytes;
}

/// A slow line to a front: half of the request goes through, and the answer comes back.
class SlowLine {
public:
    explicit SlowLine(unsigned short front) : front_(front) {}

    unsigned short Port() const { return peer_.Port(); }
    /// The status line of what the front has answered.
    std::string Status() {
        peer_.WaitUntilIdle();
        return answer_.substr(0, answer_.find('\r'));
    }

private:
    void Carry(Connection& connection) {
        const std::string request = connection.ReadRequest();
        const SOCKET socket = ConnectTo(front_);
        const size_t half = request.find("\r\n\r\n") + 10;
        EXPECT_EQ(send(socket, request.data(), static_cast<int>(half), 0), static_cast<int>(half));
        answer_ = ReadToEnd(socket);
        closesocket(socket);
        connection.Send(answer_);
    }

    const unsigned short front_;
    std::string answer_;
    Peer peer_{[this](Connection& connection) { Carry(connection); }};
};

class StrictFront : public testing::TestWithParam<const char*> {
protected:
    const Library library_ = StartFresh();
    const unsigned short port_ = PortOf(GetParam());
};

TEST_P(StrictFront, OrdinaryMessageComesThrough) {
    Request request(port_);
    RunAndExpectReply(library_, request, "hello");
}

// Status 504.
TEST_P(StrictFront, ServiceSlowerThanItWaitsForEndsTheRequest) {
    Request request(port_, "20000");
    request.Service("Sleep");
    RunAndExpectFailure(library_, request, WPK_ERROR_EXCHANGE);
}

// Status 413, while the request is still being sent: the library sends all of it, or finds the connection closed.
TEST_P(StrictFront, MessageLargerThanItTakesEndsTheRequest) {
    Request request(port_, Pattern(kTooLarge));
    RunAndExpectFailure(library_, request, WPK_ERROR_EXCHANGE);
}

INSTANTIATE_TEST_SUITE_P(Fronts, StrictFront, testing::Values("nginx_strict", "haproxy_strict"),
                         [](const auto& front) { return std::string(front.param); });

TEST(SlowClient, OfHaproxyIsToldAndEndsTheRequest) {
    SlowLine line(PortOf("haproxy_strict"));
    Request request(line.Port());
    RunAndExpectFailure(StartFresh(), request, WPK_ERROR_EXCHANGE);
    EXPECT_EQ(line.Status(), "HTTP/1.1 408 Request Time-out");
}

TEST(SlowClient, OfNginxIsLeftWithoutAWordAndEndsTheRequest) {
    SlowLine line(PortOf("nginx_strict"));
    Request request(line.Port());
    RunAndExpectFailure(StartFresh(), request, WPK_ERROR_EXCHANGE);
    EXPECT_EQ(line.Status(), "");
}

}  // namespace
}  // namespace wpk::harness
