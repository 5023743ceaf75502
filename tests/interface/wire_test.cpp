// What a request puts on the wire, byte for byte.
// SPDX-License-Identifier: MIT
#include "support/dll/import_patch.h"
#include "support/dll/peer.h"
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

/// Sends to a peer that answers "ok" and expects these bytes, no more and no fewer, on the wire.
void ExpectOnTheWire(Peer& peer, Request& request, const std::string& bytes) {
    RunAndExpectReply(TheLibrary(), request, "ok");
    const std::vector<std::string> requests = peer.Requests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0], bytes);
}

TEST(WireFormat, MessageOfFiveBytesToEchoIsFramedByteForByte) {
    Peer peer(Answer(Ok("ok")));
    Request request(peer.Port(), "hello");
    const std::string body = std::string("\x11\0\0\0WPK_IsBehindProxy\2\0\0\0NO", 27) +
                             std::string("\x0F\0\0\0WPK_ServiceName\4\0\0\0Echo", 27) +
                             std::string("\x0F\0\0\0WPK_ServiceData\5\0\0\0hello", 28);
    ASSERT_EQ(body.size(), 82u);
    ExpectOnTheWire(peer, request,
                    "POST http://127.0.0.1:" + std::to_string(peer.Port()) +
                        "/ HTTP/1.0\r\n"
                        "User-Agent: WPK/1.00\r\n"
                        "Content-Type: application/tagged-data\r\n"
                        "Content-Length: 82\r\n"
                        "\r\n" +
                        body);
}

TEST(WireFormat, EmptyMessageHasAnEmptyThirdEntry) {
    Peer peer(Answer(Ok("ok")));
    Request request(peer.Port(), "");
    request.record.lpData = nullptr;
    ExpectedRequest expected;
    expected.port = peer.Port();
    expected.data = "";
    ExpectOnTheWire(peer, request, expected.Bytes());
}

TEST(WireFormat, ServiceNameThatIsNullCountsAsEmpty) {
    Peer peer(Answer(Ok("ok")));
    Request request(peer.Port());
    request.record.lpszServiceName = nullptr;
    ExpectedRequest expected;
    expected.port = peer.Port();
    expected.service = "";
    ExpectOnTheWire(peer, request, expected.Bytes());
}

TEST(WireFormat, MessageOfEveryByteValueTravelsUnchanged) {
    std::string message;
    for (int byte = 0; byte < 256; ++byte) message.push_back(static_cast<char>(byte));
    message += "\r\n\r\n";
    Peer peer(Answer(Ok("ok")));
    Request request(peer.Port(), message);
    ExpectedRequest expected;
    expected.port = peer.Port();
    expected.data = message;
    ExpectOnTheWire(peer, request, expected.Bytes());
}

TEST(WireFormat, MessageLongerThanOneSendTravelsWhole) {
    // Around the 4096 bytes of one send, and far beyond.
    for (const size_t length : {4095u, 4096u, 4097u, 8192u, 3000000u}) {
        Peer peer(Answer(Ok("ok")));
        Request request(peer.Port(), Pattern(length));
        ASSERT_TRUE(request.Run(TheLibrary()));
        ExpectReply(request, "ok");
        ExpectedRequest expected;
        expected.port = peer.Port();
        expected.data = request.Message();
        EXPECT_TRUE(peer.WaitForRequest() == expected.Bytes()) << length;
    }
}

TEST(WireFormat, ServerGivenByNameIsResolvedAndWrittenAsGiven) {
    Peer peer(Answer(Ok("ok")));
    Request request(peer.Port());
    request.Server("localhost");
    ExpectedRequest expected;
    expected.port = peer.Port();
    expected.server = "localhost";
    ExpectOnTheWire(peer, request, expected.Bytes());
}

TEST(WireFormat, LongServiceNameTravelsWhole) {
    Peer peer(Answer(Ok("ok")));
    Request request(peer.Port());
    request.Service(std::string(5000, 's') + " with \xE4\r\n in it");
    ExpectedRequest expected;
    expected.port = peer.Port();
    expected.service = std::string(5000, 's') + " with \xE4\r\n in it";
    ExpectOnTheWire(peer, request, expected.Bytes());
}

TEST(WireFormat, EveryRequestTravelsOnAConnectionOfItsOwn) {
    Peer peer(Answer(Ok("ok")));
    for (int i = 0; i < 3; ++i) {
        Request request(peer.Port());
        RunAndExpectReply(TheLibrary(), request, "ok");
    }
    EXPECT_EQ(peer.Connections(), 3u);
}

/// What the library asks of its socket, in order. Not under a lock: one request at a time runs.
struct SocketCalls {
    std::vector<std::string> order;
    std::vector<int> sent;
    int oobInline = -1;
};
SocketCalls calls;

int WSAAPI NoteOption(SOCKET socket, int level, int option, const char* value, int length) {
    if (level == SOL_SOCKET && option == SO_OOBINLINE) std::memcpy(&calls.oobInline, value, sizeof(int));
    calls.order.emplace_back("setsockopt");
    return setsockopt(socket, level, option, value, length);
}

int WSAAPI NoteSelect(int count, fd_set* readable, fd_set* writable, fd_set* failed, timeval* limit) {
    const int ready = select(count, readable, writable, failed, limit);
    calls.order.emplace_back(ready > 0 ? "ready" : "not yet");
    return ready;
}

int WSAAPI NoteSend(SOCKET socket, const char* bytes, int length, int flags) {
    calls.order.emplace_back("send");
    calls.sent.push_back(length);
    return send(socket, bytes, length, flags);
}

int WSAAPI NoteReceive(SOCKET socket, char* bytes, int length, int flags) {
    calls.order.emplace_back("recv");
    return recv(socket, bytes, length, flags);
}

TEST(SocketCalls, SendLineHeadersEmptyLineAndBodyInPiecesEachAfterALookForRoom) {
    calls = SocketCalls();
    const ImportPatch patches[] = {{TheLibrary().module(), "setsockopt", AddressOf(&NoteOption)},
                                   {TheLibrary().module(), "select", AddressOf(&NoteSelect)},
                                   {TheLibrary().module(), "send", AddressOf(&NoteSend)},
                                   {TheLibrary().module(), "recv", AddressOf(&NoteReceive)}};
    for (const ImportPatch& patch : patches) ASSERT_TRUE(patch.Found());
    Peer peer(Answer(Ok("ok")));
    Request request(peer.Port(), Pattern(10000));
    RunAndExpectReply(TheLibrary(), request, "ok");

    ExpectedRequest expected;
    expected.port = peer.Port();
    expected.data = request.Message();
    const std::string head = expected.Head();
    const int line = static_cast<int>(head.find("\r\n") + 2);
    const int headers = static_cast<int>(head.size()) - line - 2;
    const int body = static_cast<int>(expected.Body().size());
    EXPECT_EQ(calls.sent, (std::vector<int>{line, headers, 2, 4096, 4096, body - 2 * 4096}));
    EXPECT_EQ(calls.oobInline, 0);
    for (size_t i = 1; i < calls.order.size(); ++i) {
        const bool transfers = calls.order[i] == "send" || calls.order[i] == "recv";
        EXPECT_TRUE(!transfers || calls.order[i - 1] == "ready") << i;
    }
}

WORD versionAskedFor;

int WSAAPI NoteVersion(WORD version, LPWSADATA data) {
    versionAskedFor = version;
    return WSAStartup(version, data);
}

TEST(SocketCalls, StartTheInterfaceInVersion1Point1) {
    const Library library = Library::LoadFresh();
    const ImportPatch patch(library.module(), "WSAStartup", AddressOf(&NoteVersion));
    ASSERT_TRUE(patch.Found());
    const WPK_INITSTRUCT settings = PermanentSettings(*new Inbox);
    ASSERT_EQ(library.Init(&settings), 1);
    EXPECT_EQ(versionAskedFor, MAKEWORD(1, 1));
}

TEST(WireFormat, AfterTheReplyTheConnectionIsClosedByTheLibrary) {
    Signal closed;
    {
        Peer peer([&](Connection& connection) {
            connection.ReadRequest();
            connection.Send(Ok("ok"));
            // The peer keeps its side open: only the library can end this.
            if (connection.WaitForEnd()) closed.Set();
        });
        Request request(peer.Port());
        RunAndExpectReply(TheLibrary(), request, "ok");
        EXPECT_TRUE(closed.Wait());
    }
}

}  // namespace
}  // namespace wpk::harness
