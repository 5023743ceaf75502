// How the head of a reply is judged: status lines, headers, line rules.
// SPDX-License-Identifier: MIT
#include "support/dll/peer.h"
#include "support/dll/process.h"
#include "support/dll/request.h"
#include "support/dll/wire.h"

#include <gtest/gtest.h>

namespace wpk::harness {
namespace {

const Library& TheLibrary() {
    static const Library library = StartFresh();
    return library;
}

constexpr int kDelivered = 0;

const std::vector<std::string> kGoodHeaders = {"Server: WPK/1.00", "Content-Length: 2"};

/// What becomes of a request whose peer answers these bytes and closes.
void ExpectOutcome(const std::string& reply, int error) {
    SCOPED_TRACE(reply.substr(0, 200));
    Peer peer(Answer(reply));
    Request request(peer.Port());
    ASSERT_TRUE(request.Run(TheLibrary()));
    if (error == kDelivered) {
        ExpectReply(request, "ok");
    } else {
        ExpectFailure(request, error);
        EXPECT_EQ(request.inbox.All().size(), 1u) << "a refused reply must bring nothing but the failure";
    }
    EXPECT_TRUE(FilesLike("", "tmp*").empty());
}

TEST(ReceivedStatusLine, EveryKindHasItsOutcome) {
    const struct {
        const char* line;
        int error;
    } kTable[] = {
        {"HTTP/1.0 200 OK", kDelivered},
        {"HTTP/1.1 200 OK", kDelivered},
        {"http/1.0 200 OK", kDelivered},
        {"HTTP/1.0 200 Anything at all", kDelivered},
        {"HTTP/1.0 200 ", kDelivered},        // an empty reason text, but a blank before it
        {"HTTP/1.0 \t200\t OK", kDelivered},  // tabs around the code are trimmed
        {"HTTPS 200 OK", kDelivered},         // any word that sorts behind "HTTP"
        {"icy 200 OK", kDelivered},
        {"ZZZ 200 OK", kDelivered},
        {"HTTP/1.0 200", WPK_ERROR_EXCHANGE},  // no blank behind the code
        {"HTTP/1.0", WPK_ERROR_EXCHANGE},      // no blank at all
        {"", WPK_ERROR_EXCHANGE},
        {" HTTP/1.0 200 OK", WPK_ERROR_EXCHANGE},  // the first word is empty
        {"HTTP 200 OK", WPK_ERROR_EXCHANGE},       // equal to "HTTP", not greater
        {"http 200 OK", WPK_ERROR_EXCHANGE},
        {"HTT 200 OK", WPK_ERROR_EXCHANGE},
        {"FTP/1.0 200 OK", WPK_ERROR_EXCHANGE},
        {"220 mail.example ESMTP", WPK_ERROR_EXCHANGE},
        {"HTTP/1.0  200 OK", WPK_ERROR_EXCHANGE},  // the code is the empty word between two blanks
        {"HTTP/1.0 OK 200", WPK_ERROR_EXCHANGE},
        {"HTTP/1.0 0 OK", WPK_ERROR_EXCHANGE},
        {"HTTP/1.0 -200 OK", WPK_ERROR_EXCHANGE},
        {"HTTP/1.0 201 Created", WPK_ERROR_EXCHANGE},
        {"HTTP/1.0 204 No Content", WPK_ERROR_EXCHANGE},
        {"HTTP/1.0 302 Found", WPK_ERROR_EXCHANGE},
        {"HTTP/1.0 404 Not Found", WPK_ERROR_EXCHANGE},
        {"HTTP/1.0 401 Bad_Plugin_Name", WPK_ERROR_EXCHANGE},
        {"HTTP/1.0 503 Bad_Version", WPK_ERROR_EXCHANGE},
        {"HTTP/1.0 407 Proxy Authentication Required", WPK_ERROR_PROXY_CREDENTIALS},
        {"HTTP/1.0 500 Bad_Plugin_Name", WPK_ERROR_NO_SERVICE},
        {"HTTP/1.1 500 bad_plugin_name", WPK_ERROR_NO_SERVICE},
        {"HTTP/1.0 500  \tBad_Plugin_Name \t", WPK_ERROR_NO_SERVICE},
        {"HTTP/1.0 500 Bad_Version", WPK_ERROR_BAD_VERSION},
        {"HTTP/1.0 500 bad_version", WPK_ERROR_BAD_VERSION},
        {"HTTP/1.0 500 Internal Server Error", WPK_ERROR_EXCHANGE},
        {"HTTP/1.0 500 Bad_Plugin_Names", WPK_ERROR_EXCHANGE},
        {"HTTP/1.0 500 Bad_Plugin", WPK_ERROR_EXCHANGE},
        {"HTTP/1.0 500 ", WPK_ERROR_EXCHANGE},
    };
    for (const auto& row : kTable) ExpectOutcome(RawReply(row.line, kGoodHeaders, "ok"), row.error);
}

TEST(ReceivedStatusLine, Status100IsFollowedByAnotherStatusLine) {
    const std::string rest = RawReply("HTTP/1.0 200 OK", kGoodHeaders, "ok");
    ExpectOutcome("HTTP/1.1 100 Continue\r\n" + rest, kDelivered);
    ExpectOutcome("HTTP/1.1 100 Continue\r\nHTTP/1.1 100 again\r\n" + rest, kDelivered);
    ExpectOutcome("HTTP/1.1 100 Continue\r\n" + RawReply("HTTP/1.0 500 Bad_Version", kGoodHeaders, "ok"),
                  WPK_ERROR_BAD_VERSION);
}

TEST(ReceivedStatusLine, EmptyLineAfterStatus100FailsTheHead) {
    ExpectOutcome("HTTP/1.1 100 Continue\r\n\r\n" + RawReply("HTTP/1.0 200 OK", kGoodHeaders, "ok"),
                  WPK_ERROR_EXCHANGE);
}

TEST(ReceivedStatusLine, HeaderAfterStatus100FailsTheHead) {
    ExpectOutcome("HTTP/1.1 100 Continue\r\nServer: WPK/1.00\r\n" + RawReply("HTTP/1.0 200 OK", kGoodHeaders, "ok"),
                  WPK_ERROR_EXCHANGE);
}

TEST(Headers, ServerTextMustNameTheProtocol) {
    const struct {
        std::vector<std::string> headers;
        int error;
    } kTable[] = {
        {{"Server: WPK/1.00", "Content-Length: 2"}, kDelivered},
        {{"Content-Length: 2", "Server: WPK/1.00"}, kDelivered},
        {{"Server: wpk/1.00", "Content-Length: 2"}, kDelivered},
        {{"SERVER:WPK/1.00", "Content-Length: 2"}, kDelivered},
        {{" \tServer\t :\t WPK/1.00 \t", "Content-Length: 2"}, kDelivered},
        {{"Content-Length: 2"}, WPK_ERROR_BAD_VERSION},
        {{"Server:", "Content-Length: 2"}, WPK_ERROR_BAD_VERSION},
        {{"Server: WPK/1.01", "Content-Length: 2"}, WPK_ERROR_BAD_VERSION},
        {{"Server: WPK/1.000", "Content-Length: 2"}, WPK_ERROR_BAD_VERSION},
        {{"Server: WPK/1.0", "Content-Length: 2"}, WPK_ERROR_BAD_VERSION},
        {{"Server: nginx/1.22.1", "Content-Length: 2"}, WPK_ERROR_BAD_VERSION},
        {{"X-Server: WPK/1.00", "Content-Length: 2"}, WPK_ERROR_BAD_VERSION},
        {{"Server: nginx", "Server: WPK/1.00", "Content-Length: 2"}, kDelivered},  // the last one counts
    };
    for (const auto& row : kTable) ExpectOutcome(RawReply("HTTP/1.0 200 OK", row.headers, "ok"), row.error);
}

TEST(Headers, ContentLengthIsReadInAnyCaseAndTrimmed) {
    const struct {
        std::vector<std::string> headers;
        int error;
    } kTable[] = {
        {{"Server: WPK/1.00", "content-length: 2"}, kDelivered},
        {{"Server: WPK/1.00", "CONTENT-LENGTH:2"}, kDelivered},
        {{"Server: WPK/1.00", "\tContent-Length \t: \t2 \t"}, kDelivered},
        {{"Server: WPK/1.00", "Content-Length: 2 bytes"}, kDelivered},
        {{"Server: WPK/1.00", "Content-Length: 002"}, kDelivered},
        {{"Server: WPK/1.00", "Content-Length: 9", "Content-Length: 2"}, kDelivered},
        {{"Server: WPK/1.00"}, WPK_ERROR_EXCHANGE},
        {{"Server: WPK/1.00", "Content-Length: two"}, WPK_ERROR_EXCHANGE},
        {{"Server: WPK/1.00", "Content-Length:"}, WPK_ERROR_EXCHANGE},
        {{"Server: WPK/1.00", "Content-Length: -1"}, WPK_ERROR_EXCHANGE},
        {{"Server: WPK/1.00", "Content_Length: 2"}, WPK_ERROR_EXCHANGE},
        {{"Content-Type: text/plain"}, WPK_ERROR_EXCHANGE},  // a missing length outweighs a wrong server
    };
    for (const auto& row : kTable) ExpectOutcome(RawReply("HTTP/1.0 200 OK", row.headers, "ok"), row.error);
}

TEST(Headers, OtherHeadersAreIgnored) {
    ExpectOutcome(RawReply("HTTP/1.0 200 OK",
                           {"Date: Thu, 01 Jan 1998 00:00:00 GMT", ":", ": no name", "X-Colons: a:b:c",
                            "Empty:", "Transfer-Encoding: chunked", "Server: WPK/1.00", "Connection: keep-alive",
                            "Content-Length: 2"},
                           "ok"),
                  kDelivered);
}

TEST(Headers, LineWithoutColonFailsTheHead) {
    ExpectOutcome(RawReply("HTTP/1.0 200 OK", {"Server: WPK/1.00", "no colon here", "Content-Length: 2"}, "ok"),
                  WPK_ERROR_EXCHANGE);
    ExpectOutcome(RawReply("HTTP/1.0 200 OK", {"Server: WPK/1.00", "Content-Length: 2", " "}, "ok"),
                  WPK_ERROR_EXCHANGE);
}

// The outcome of the status line stands when the headers cannot be read.
TEST(Headers, LineWithoutColonAfterARefusalKeepsTheRefusal) {
    ExpectOutcome(RawReply("HTTP/1.0 500 Bad_Plugin_Name", {"no colon here"}), WPK_ERROR_NO_SERVICE);
    ExpectOutcome(RawReply("HTTP/1.0 500 Bad_Version", {"no colon here"}), WPK_ERROR_BAD_VERSION);
}

TEST(Refusal, WithoutHeadersAndBodyIsUnderstood) {
    ExpectOutcome("HTTP/1.0 500 Bad_Plugin_Name\r\n\r\n", WPK_ERROR_NO_SERVICE);
    ExpectOutcome("HTTP/1.0 500 Bad_Version\r\n\r\n", WPK_ERROR_BAD_VERSION);
    ExpectOutcome("HTTP/1.0 500 Other\r\n\r\n", WPK_ERROR_EXCHANGE);
}

TEST(Refusal, WithABodyBringsNoProgress) {
    const std::string body(500, 'x');
    const std::string length = "Content-Length: 500";
    ExpectOutcome(RawReply("HTTP/1.0 500 Bad_Plugin_Name", {length}, body), WPK_ERROR_NO_SERVICE);
    ExpectOutcome(RawReply("HTTP/1.0 200 OK", {"Server: other", length}, body), WPK_ERROR_BAD_VERSION);
    ExpectOutcome(RawReply("HTTP/1.0 404 Not Found", {length}, body), WPK_ERROR_EXCHANGE);
}

TEST(Refusal, WithABodyThatGoesToAFileLeavesNoFile) {
    const std::string body(20000, 'x');
    ExpectOutcome(RawReply("HTTP/1.0 500 Bad_Plugin_Name", {"Content-Length: 20000"}, body), WPK_ERROR_NO_SERVICE);
    ExpectOutcome(RawReply("HTTP/1.0 200 OK", {"Server: other", "Content-Length: 20000"}, body), WPK_ERROR_BAD_VERSION);
}

TEST(Lines, OfUpTo2047BytesAreRead) {
    const std::string name = "X-Long: ";
    for (const size_t length : {2000u, 2046u, 2047u}) {
        const std::string header = name + std::string(length - name.size(), 'v');
        ExpectOutcome(RawReply("HTTP/1.0 200 OK", {"Server: WPK/1.00", header, "Content-Length: 2"}, "ok"), kDelivered);
    }
}

TEST(Lines, Of2048BytesOrMoreFailTheHead) {
    const std::string name = "X-Long: ";
    for (const size_t length : {2048u, 2049u, 100000u}) {
        const std::string header = name + std::string(length - name.size(), 'v');
        ExpectOutcome(RawReply("HTTP/1.0 200 OK", {"Server: WPK/1.00", header, "Content-Length: 2"}, "ok"),
                      WPK_ERROR_EXCHANGE);
    }
}

TEST(Lines, StatusLineHasTheSameLimit) {
    const std::string start = "HTTP/1.0 200 ";
    ExpectOutcome(RawReply(start + std::string(2047 - start.size(), 'r'), kGoodHeaders, "ok"), kDelivered);
    ExpectOutcome(RawReply(start + std::string(2048 - start.size(), 'r'), kGoodHeaders, "ok"), WPK_ERROR_EXCHANGE);
}

TEST(Lines, CarriageReturnWithoutLineFeedFailsTheHead) {
    ExpectOutcome("HTTP/1.0 200 OK\rServer: WPK/1.00\r\nContent-Length: 2\r\n\r\nok", WPK_ERROR_EXCHANGE);
    ExpectOutcome("HTTP/1.0 200 OK\r\nServer: WPK/1.00\r\rContent-Length: 2\r\n\r\nok", WPK_ERROR_EXCHANGE);
    ExpectOutcome("HTTP/1.0 200 OK\r\nServer: WPK/1.00\r\r\nContent-Length: 2\r\n\r\nok", WPK_ERROR_EXCHANGE);
    ExpectOutcome("HTTP/1.0 200 OK\r\nServer: WPK/1.00\r\nContent-Length: 2\r\n\rok", WPK_ERROR_EXCHANGE);
}

TEST(Lines, LineFeedAloneEndsNoLine) {
    ExpectOutcome("HTTP/1.0 200 OK\nServer: WPK/1.00\nContent-Length: 2\n\nok", WPK_ERROR_EXCHANGE);
    // Part of the reason text, and of a value.
    ExpectOutcome("HTTP/1.0 200 OK\nX: y\r\nServer: WPK/1.00\r\nY: a\nb\r\nContent-Length: 2\r\n\r\nok", kDelivered);
}

TEST(Lines, MoreHeadersThanAnyBufferAreRead) {
    std::vector<std::string> headers(3000, "X-Filler: 0123456789012345678901234567890123456789");
    headers.insert(headers.end(), kGoodHeaders.begin(), kGoodHeaders.end());
    ExpectOutcome(RawReply("HTTP/1.0 200 OK", headers, "ok"), kDelivered);
}

TEST(WrongPeer, AnswersRubbishEndsWithOneFailure) {
    ExpectOutcome(std::string(1000, '\0'), WPK_ERROR_EXCHANGE);
    ExpectOutcome(std::string(5000, '\xFF'), WPK_ERROR_EXCHANGE);
    ExpectOutcome("SSH-2.0-OpenSSH_9.2p1\r\n", WPK_ERROR_EXCHANGE);
    ExpectOutcome("<html><body>hello</body></html>", WPK_ERROR_EXCHANGE);
    ExpectOutcome("\r\n\r\n", WPK_ERROR_EXCHANGE);
    ExpectOutcome("", WPK_ERROR_EXCHANGE);
}

}  // namespace
}  // namespace wpk::harness
