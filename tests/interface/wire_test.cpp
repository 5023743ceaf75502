// What a request puts on the wire, byte for byte.
// SPDX-License-Identifier: MIT
#include "interface/rig/peer.h"
#include "interface/rig/request.h"
#include "interface/rig/wire.h"

#include <gtest/gtest.h>

namespace wpk::rig {
namespace {

const Library& TheLibrary() {
    static const Library library = StartFresh();
    return library;
}

// Sends to a peer that answers "ok" and expects these bytes, no more and no fewer, on the wire.
void ExpectOnTheWire(Peer& peer, Request& request, const std::string& bytes) {
    RunAndExpectReply(TheLibrary(), request, "ok");
    const std::vector<std::string> requests = peer.Requests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0], bytes);
}

TEST(WireFormat, MessageOfFiveBytesToEcho_IsFramedByteForByte) {
    Peer peer(Answer(Ok("ok")));
    Request request(peer.port(), "hello");
    const std::string body = std::string("\x11\0\0\0WPK_IsBehindProxy\2\0\0\0NO", 27) +
                             std::string("\x0F\0\0\0WPK_ServiceName\4\0\0\0Echo", 27) +
                             std::string("\x0F\0\0\0WPK_ServiceData\5\0\0\0hello", 28);
    ASSERT_EQ(body.size(), 82u);
    ExpectOnTheWire(peer, request,
                    "POST http://127.0.0.1:" + std::to_string(peer.port()) +
                        "/ HTTP/1.0\r\n"
                        "User-Agent: WPK/1.00\r\n"
                        "Content-Type: application/tagged-data\r\n"
                        "Content-Length: 82\r\n"
                        "\r\n" +
                        body);
}

TEST(WireFormat, EmptyMessage_HasAnEmptyThirdEntry) {
    Peer peer(Answer(Ok("ok")));
    Request request(peer.port(), "");
    request.record.lpData = nullptr;
    ExpectedRequest expected;
    expected.port = peer.port();
    expected.data = "";
    ExpectOnTheWire(peer, request, expected.Bytes());
}

TEST(WireFormat, ServiceNameThatIsNull_CountsAsEmpty) {
    Peer peer(Answer(Ok("ok")));
    Request request(peer.port());
    request.record.lpszServiceName = nullptr;
    ExpectedRequest expected;
    expected.port = peer.port();
    expected.service = "";
    ExpectOnTheWire(peer, request, expected.Bytes());
}

TEST(WireFormat, MessageOfEveryByteValue_TravelsUnchanged) {
    std::string message;
    for (int byte = 0; byte < 256; ++byte) message.push_back(static_cast<char>(byte));
    message += "\r\n\r\n";
    Peer peer(Answer(Ok("ok")));
    Request request(peer.port(), message);
    ExpectedRequest expected;
    expected.port = peer.port();
    expected.data = message;
    ExpectOnTheWire(peer, request, expected.Bytes());
}

TEST(WireFormat, MessageLongerThanOneSend_TravelsWhole) {
    // Around the 4096 bytes of one send, and far beyond.
    for (const size_t length : {4095u, 4096u, 4097u, 8192u, 3000000u}) {
        Peer peer(Answer(Ok("ok")));
        Request request(peer.port(), Pattern(length));
        ASSERT_TRUE(request.Run(TheLibrary()));
        ExpectReply(request, "ok");
        ExpectedRequest expected;
        expected.port = peer.port();
        expected.data = request.message();
        EXPECT_TRUE(peer.WaitForRequest() == expected.Bytes()) << length;
    }
}

TEST(WireFormat, ServerGivenByName_IsResolvedAndWrittenAsGiven) {
    Peer peer(Answer(Ok("ok")));
    Request request(peer.port());
    request.Server("localhost");
    ExpectedRequest expected;
    expected.port = peer.port();
    expected.server = "localhost";
    ExpectOnTheWire(peer, request, expected.Bytes());
}

TEST(WireFormat, LongServiceName_TravelsWhole) {
    Peer peer(Answer(Ok("ok")));
    Request request(peer.port());
    request.Service(std::string(5000, 's') + " with \xE4\r\n in it");
    ExpectedRequest expected;
    expected.port = peer.port();
    expected.service = std::string(5000, 's') + " with \xE4\r\n in it";
    ExpectOnTheWire(peer, request, expected.Bytes());
}

TEST(WireFormat, EveryRequest_TravelsOnAConnectionOfItsOwn) {
    Peer peer(Answer(Ok("ok")));
    for (int i = 0; i < 3; ++i) {
        Request request(peer.port());
        RunAndExpectReply(TheLibrary(), request, "ok");
    }
    EXPECT_EQ(peer.Connections(), 3u);
}

TEST(WireFormat, AfterTheReply_TheConnectionIsClosedByTheLibrary) {
    Signal closed;
    {
        Peer peer([&](Connection& connection) {
            connection.ReadRequest();
            connection.Send(Ok("ok"));
            // The peer keeps its side open: only the library can end this.
            if (connection.WaitForEnd()) closed.Set();
        });
        Request request(peer.port());
        RunAndExpectReply(TheLibrary(), request, "ok");
        EXPECT_TRUE(closed.Wait());
    }
}

}  // namespace
}  // namespace wpk::rig
