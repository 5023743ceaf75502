// The message server's reading of requests: what it takes, what it refuses and with which words.
// SPDX-License-Identifier: MIT
#include "message_server/request.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "message_server/refusal.h"

namespace message_server {
namespace {

constexpr size_t kMaxBody = 1000;

std::string HeadOf(const std::string& length) {
    return "POST http://127.0.0.1:80/ HTTP/1.0\r\nUser-Agent: WPK/1.00\r\nContent-Type: application/tagged-data\r\n"
           "Content-Length: " +
           length + "\r\n\r\n";
}

std::string Integer(size_t value) {
    std::string bytes;
    for (int i = 0; i < 4; ++i) bytes += static_cast<char>(value >> (8 * i) & 0xFF);
    return bytes;
}

std::string Entry(const std::string& key, const std::string& value) {
    return Integer(key.size()) + key + Integer(value.size()) + value;
}

std::string Body(const std::string& behindProxy, const std::string& service, const std::string& data) {
    return Entry("WPK_IsBehindProxy", behindProxy) + Entry("WPK_ServiceName", service) + Entry("WPK_ServiceData", data);
}

/// "CODE reason" of the refusal, or "accepted".
template <typename Function>
std::string RefusalOf(Function function) {
    try {
        function();
    } catch (const Refusal& refusal) {
        return std::to_string(refusal.Code()) + " " + refusal.what();
    }
    return "accepted";
}

std::string HeadRefusal(const std::string& head) {
    return RefusalOf([&] { ParseHead(head, kMaxBody); });
}

std::string BodyRefusal(const std::string& body) {
    return RefusalOf([&] { ParseBody(body); });
}

TEST(FindHeadEnd, OfAWholeHeadIsBehindItsEmptyLine) {
    const std::string head = HeadOf("5");
    EXPECT_EQ(FindHeadEnd(head + "hello"), head.size());
}

TEST(FindHeadEnd, OfEveryTruncatedHeadIsNotThereYet) {
    const std::string head = HeadOf("5");
    for (size_t length = 0; length < head.size(); ++length) {
        EXPECT_EQ(FindHeadEnd(head.substr(0, length)), std::nullopt) << length;
    }
}

TEST(ParseHead, OfAClientsOwnHeadGivesTheBodysLength) {
    EXPECT_EQ(ParseHead(HeadOf("0"), kMaxBody), 0U);
    EXPECT_EQ(ParseHead(HeadOf("82"), kMaxBody), 82U);
}

TEST(ParseHead, TakesWhatAProxyMakesOfIt) {
    EXPECT_EQ(ParseHead("POST / HTTP/1.1\r\nHost: 127.0.0.1:80\r\nVia: 1.0 proxy\r\nuser-agent:WPK/1.00\t\r\n"
                        "CONTENT-TYPE:   application/tagged-data\r\ncontent-length: 7\r\nConnection: close\r\n\r\n",
                        kMaxBody),
              7U);
}

TEST(ParseHead, TakesABodyOfExactlyTheLimitAndRefusesOneByteMore) {
    EXPECT_EQ(ParseHead(HeadOf("1000"), kMaxBody), 1000U);
    EXPECT_EQ(HeadRefusal(HeadOf("1001")), "413 Request_Too_Large");
}

TEST(ParseHead, RefusesRequestLines) {
    const std::string rest = HeadOf("5").substr(HeadOf("5").find("\r\n"));
    const struct {
        const char* line;
        const char* refusal;
    } cases[] = {
        {"", "400 Bad_Request_Line"},
        {"POST", "400 Bad_Request_Line"},
        {"POST HTTP/1.0", "400 Bad_Request_Line"},
        {"POST  HTTP/1.0", "400 Bad_Request_Line"},
        {" / HTTP/1.0", "400 Bad_Request_Line"},
        {"POST / FTP/1.0", "400 Bad_Request_Line"},
        {"POST / ", "400 Bad_Request_Line"},
        {"POST /\r HTTP/1.0", "400 Bad_Line_End"},
        {"POST /\n HTTP/1.0", "400 Bad_Line_End"},
        {"POST / HTTP/2.0", "505 HTTP_Version_Not_Supported"},
        {"POST / HTTP/", "505 HTTP_Version_Not_Supported"},
        {"GET / HTTP/1.0", "405 Method_Not_Allowed"},
        {"post / HTTP/1.0", "405 Method_Not_Allowed"},
    };
    for (const auto& [line, refusal] : cases) EXPECT_EQ(HeadRefusal(line + rest), refusal) << line;
}

TEST(ParseHead, RefusesHeaders) {
    const std::string line = "POST / HTTP/1.0\r\n";
    const std::string agent = "User-Agent: WPK/1.00\r\n";
    const std::string type = "Content-Type: application/tagged-data\r\n";
    const std::string length = "Content-Length: 5\r\n";
    const struct {
        std::string headers;
        const char* refusal;
    } cases[] = {
        {"", "500 Bad_Version"},
        {type + length, "500 Bad_Version"},
        {"User-Agent: WPK/1.01\r\n" + type + length, "500 Bad_Version"},
        {"User-Agent: WPK/1.00 (new)\r\n" + type + length, "500 Bad_Version"},
        {"User-Agent:\r\n" + type + length, "500 Bad_Version"},
        {agent + "User-Agent: other\r\n" + type + length, "400 Repeated_Header"},
        {agent + type + length + "Content-Length: 6\r\n", "400 Repeated_Header"},
        {agent + type + length + length, "accepted"},
        {agent + type, "411 Length_Required"},
        {agent + type + "Content-Length: \r\n", "400 Bad_Content_Length"},
        {agent + type + "Content-Length: five\r\n", "400 Bad_Content_Length"},
        {agent + type + "Content-Length: -5\r\n", "400 Bad_Content_Length"},
        {agent + type + "Content-Length: +5\r\n", "400 Bad_Content_Length"},
        {agent + type + "Content-Length: 5 5\r\n", "400 Bad_Content_Length"},
        {agent + type + "Content-Length: 0x5\r\n", "400 Bad_Content_Length"},
        {agent + type + "Content-Length: 18446744073709551615\r\n", "413 Request_Too_Large"},
        {agent + type + "Content-Length: 99999999999999999999999\r\n", "413 Request_Too_Large"},
        {agent + length, "415 Unsupported_Media_Type"},
        {agent + "Content-Type: text/plain\r\n" + length, "415 Unsupported_Media_Type"},
        {agent + type + length + "Transfer-Encoding: chunked\r\n", "501 Transfer_Encoding_Not_Implemented"},
        {agent + type + length + "no colon\r\n", "400 Bad_Header"},
        {agent + type + length + ": no name\r\n", "400 Bad_Header"},
        {agent + type + length + "X: bare\rreturn\r\n", "400 Bad_Line_End"},
        {agent + type + length + "X: bare\nfeed\r\n", "400 Bad_Line_End"},
    };
    for (const auto& [headers, refusal] : cases) EXPECT_EQ(HeadRefusal(line + headers + "\r\n"), refusal) << headers;
}

TEST(ParseBody, OfAClientsOwnBodyGivesItsThreeParts) {
    const Message message = ParseBody(Body("NO", "Echo", "hello"));
    EXPECT_FALSE(message.behind_proxy);
    EXPECT_EQ(message.service, "Echo");
    EXPECT_EQ(message.data, "hello");
}

TEST(ParseBody, KeepsZeroBytesAndEmptyParts) {
    const std::string zeros("a\0b\0", 4);
    const Message message = ParseBody(Body("YES", "", zeros));
    EXPECT_TRUE(message.behind_proxy);
    EXPECT_EQ(message.service, "");
    EXPECT_EQ(message.data, zeros);
}

TEST(ParseBody, RefusesEntriesThatAreNotTheThree) {
    const std::string good = Body("NO", "Echo", "hello");
    const std::string bodies[] = {
        Body("MAYBE", "Echo", "hello"),
        Body("", "Echo", "hello"),
        good + "x",
        good + Entry("WPK_ServiceData", "again"),
        Entry("WPK_ServiceName", "Echo") + Entry("WPK_IsBehindProxy", "NO") + Entry("WPK_ServiceData", "hello"),
        Entry("WPK_IsBehindProxy", "NO") + Entry("wpk_servicename", "Echo") + Entry("WPK_ServiceData", "hello"),
        Entry("WPK_IsBehindProxy", "NO") + Entry("WPK_IsBehindProxy", "NO") + Entry("WPK_ServiceData", "hello"),
        Integer(0xFFFFFFFF) + good,
        Integer(17) + "WPK_IsBehindProxy" + Integer(0xFFFFFFFF) + "NO",
    };
    for (const std::string& body : bodies) EXPECT_EQ(BodyRefusal(body), "400 Bad_Tagged_Data");
}

TEST(ParseBody, RefusesItCutOffAtEveryByte) {
    const std::string good = Body("NO", "Echo", "hello");
    for (size_t length = 0; length < good.size(); ++length) {
        EXPECT_EQ(BodyRefusal(good.substr(0, length)), "400 Bad_Tagged_Data") << length;
    }
}

TEST(ParseRequest, OfDamagedBytesIsRefusedOrTakenAndReadsNothingElse) {
    const std::string head = HeadOf("82");
    const std::string body = Body("NO", "Echo", "hello");
    std::mt19937 random(1);
    int refused = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string damagedHead = head;
        std::string damagedBody = body;
        for (unsigned hits = random() % 4 + 1; hits > 0; --hits) {
            damagedHead[random() % (head.size() - 4)] = static_cast<char>(random());
            damagedBody[random() % body.size()] = static_cast<char>(random());
        }
        // The parser is only ever given heads that end where FindHeadEnd says; a copy of exact size lets sanitizers see
        // a read behind it.
        const std::string exactHead = damagedHead.substr(0, *FindHeadEnd(damagedHead));
        refused += HeadRefusal(exactHead) != "accepted" ? 1 : 0;
        refused += BodyRefusal(damagedBody) != "accepted" ? 1 : 0;
    }
    EXPECT_GT(refused, 20000);
}

}  // namespace
}  // namespace message_server
