// wpk_trace: the bytes of a connection in words.
// SPDX-License-Identifier: MIT
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "common/words.h"
#include "wpk_trace/message_view.h"

namespace wpk_trace {
namespace {

using namespace std::string_view_literals;

std::string Joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) text += line + "\n";
    return text;
}

/// What is shown of a message that comes in pieces of that size.
std::string Shows(std::string_view bytes, const Shown& shown = {}, size_t piece = 1000000) {
    MessageView view(shown);
    std::string text;
    for (size_t at = 0; at < bytes.size(); at += piece) text += Joined(view.Feed(bytes.substr(at, piece)));
    EXPECT_EQ(view.Length(), bytes.size());
    return text + Joined(view.End());
}

std::string Entry(std::string_view key, std::string_view value) {
    std::string entry;
    for (const std::string_view text : {key, value}) {
        for (int shift = 0; shift < 32; shift += 8) entry += static_cast<char>(text.size() >> shift & 255);
        entry += text;
    }
    return entry;
}

std::string Request(std::string_view headers, const std::string& body) {
    return "POST http://127.0.0.1:80/ HTTP/1.0\r\nUser-Agent: WPK/1.00\r\nContent-Type: application/tagged-data\r\n" +
           std::string(headers) + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

const std::string kBody =
    Entry("WPK_IsBehindProxy", "NO") + Entry("WPK_ServiceName", "Echo") + Entry("WPK_ServiceData", "hello\n");

constexpr char kRequestInWords[] =
    "POST http://127.0.0.1:80/ HTTP/1.0\n"
    "User-Agent: WPK/1.00\n"
    "Content-Type: application/tagged-data\n"
    "Content-Length: 83\n"
    "\n"
    "tagged data:\n"
    "  WPK_IsBehindProxy, 2 bytes: NO\n"
    "  WPK_ServiceName, 4 bytes: Echo\n"
    "  WPK_ServiceData, 6 bytes: hello\\n\n";

TEST(TraceView, ShowsARequestInWordsHoweverItComes) {
    for (const size_t piece : {1U, 2U, 3U, 7U, 100U, 1000U}) {
        EXPECT_EQ(Shows(Request("", kBody), {}, piece), kRequestInWords) << piece;
    }
}

TEST(TraceView, ShowsAReplyAndTheBeginningOfItsBody) {
    EXPECT_EQ(Shows("HTTP/1.0 200 OK\r\nServer: WPK/1.00\r\nContent-Length: 5\r\n\r\nhello"),
              "HTTP/1.0 200 OK\nServer: WPK/1.00\nContent-Length: 5\n\n5 bytes: hello\n");
    Shown shown;
    shown.body = 3;
    EXPECT_EQ(Shows("HTTP/1.0 200 OK\r\nContent-Length: 5\r\n\r\nhello", shown),
              "HTTP/1.0 200 OK\nContent-Length: 5\n\n5 bytes: hel...\n");
    shown.body = 0;
    EXPECT_EQ(Shows("HTTP/1.0 200 OK\r\nContent-Length: 5\r\n\r\nhello", shown),
              "HTTP/1.0 200 OK\nContent-Length: 5\n\n5 bytes\n");
}

TEST(TraceView, ShowsAnEmptyReplyAsSoonAsItsHeadIsThere) {
    MessageView view({});
    EXPECT_EQ(Joined(view.Feed("HTTP/1.0 200 OK\r\nContent-Length: 0\r\n\r\n")),
              "HTTP/1.0 200 OK\nContent-Length: 0\n\n0 bytes\n");
    EXPECT_TRUE(view.End().empty());
}

TEST(TraceView, SaysWhatIsMissingOrTooMuch) {
    EXPECT_EQ(Shows(""), "");
    EXPECT_EQ(Shows("HTTP/1.0 2"), "HTTP/1.0 2\ncut off in the head, after 10 bytes\n");
    EXPECT_EQ(Shows("HTTP/1.0 200 OK\r\n"), "HTTP/1.0 200 OK\ncut off in the head, after 17 bytes\n");
    EXPECT_EQ(Shows("A: b\nContent-Length: 5\n\nhel"),
              "A: b\nContent-Length: 5\n\n3 bytes: hel\ncut off: 5 bytes were announced, 3 came\n");
    for (const size_t piece : {1U, 1000U}) {
        EXPECT_EQ(Shows("A: b\nContent-Length: 5\n\nhello you", {}, piece),
                  "A: b\nContent-Length: 5\n\n5 bytes: hello\n4 bytes more than announced\n");
    }
    EXPECT_EQ(Shows("HTTP/1.0 200 OK\n\nhello"), "HTTP/1.0 200 OK\n\n5 bytes: hello\nno Content-Length was given\n");
    EXPECT_EQ(Shows("GET /\n\nhello"), "GET /\n\n0 bytes\nno Content-Length was given\n5 bytes more than announced\n");
    EXPECT_EQ(Shows("A: b\nContent-Length: x\n\n"),
              "A: b\nContent-Length: x\n\n0 bytes\nno Content-Length was given\n");
}

TEST(TraceView, HidesCredentials) {
    const std::string words = Shows(Request("Proxy-Authorization: Basic c2VjcmV0\r\n", kBody));
    EXPECT_EQ(words.find("c2VjcmV0"), std::string::npos) << words;
    EXPECT_NE(words.find("Proxy-Authorization: (hidden; --show-credentials shows it)\nContent-Length"),
              std::string::npos)
        << words;
}

TEST(TraceView, HidesCredentialsHoweverTheyAreSpelt) {
    for (const char* text :
         {"P / HTTP/1.0\r\nPROXY-authorization : c2VjcmV0\r\n\r\n", "P\r\nAuthorization:c2VjcmV0\r\n\r\n",
          "Proxy-Authorization: c2VjcmV0\r\n\r\n", "P\nProxy-Authorization: x\nc2VjcmV0\nc2VjcmV0\n\n",
          "P\nProxy-Authorization: x\n a:c2VjcmV0\n\tb:c2VjcmV0\n\n", "P\nProxy-Authorization: c2VjcmV0",
          "P\nProxy-Authorization: x\nc2VjcmV0", "\r\n\r\nProxy-Authorization: c2VjcmV0\r\n"}) {
        for (const size_t piece : {1U, 5U, 1000U}) {
            EXPECT_EQ(Shows(text, {}, piece).find("c2VjcmV0"), std::string::npos) << text;
        }
    }
    EXPECT_NE(Shows("P\nProxy-Authorization: x\ny\nOther: shown\n\n").find("Other: shown"), std::string::npos);
    const std::string next = "P\nProxy-Authorization: c2VjcmV0\n\n";
    EXPECT_EQ(Shows("P\nContent-Length: 0\n\n" + next).find("c2VjcmV0"), std::string::npos) << "of a second request";
    EXPECT_EQ(Shows("P\nA: b\n\n" + next).find("c2VjcmV0"), std::string::npos) << "after one without a length";
}

TEST(TraceView, ShowsCredentialsWhenToldTo) {
    Shown shown;
    shown.credentials = true;
    EXPECT_NE(Shows("P\nProxy-Authorization: Basic c2VjcmV0\nbW9yZQ==\n\n", shown)
                  .find("Proxy-Authorization: Basic c2VjcmV0\nbW9yZQ==\n"),
              std::string::npos);
}

TEST(TraceView, ShowsTheBeginningOfLongLinesAndValues) {
    const std::string words = Shows("X: " + std::string(5000, 'x') + "\r\n\r\n");
    EXPECT_LT(words.size(), 2200U);
    EXPECT_NE(words.find("x... (5004 bytes)\n"), std::string::npos);
    EXPECT_NE(Shows(Request("", Entry("K", std::string(300, 'v'))))
                  .find("  K, 300 bytes: " + std::string(200, 'v') + "...\n"),
              std::string::npos);
    EXPECT_NE(
        Shows(Request("", Entry(std::string(70, 'k'), "v"))).find("  " + std::string(64, 'k') + "..., 1 byte: v\n"),
        std::string::npos);
}

TEST(TraceView, ShowsEmptyKeysAndValues) {
    EXPECT_NE(Shows(Request("", Entry("", "") + Entry("K", ""))).find("  , 0 bytes\n  K, 0 bytes\n"),
              std::string::npos);
}

TEST(TraceView, TrustsNoLength) {
    const struct {
        std::string_view body;
        const char* words;
    } kCases[] = {
        {"\x05"sv, "  cut off in a key\n"},
        {"\x05\0\0\0ab"sv, "  cut off in a key, which claims 5 bytes and has 2 bytes: ab\n"},
        {"\xFF\xFF\xFF\xFF"sv, "  cut off in a key, which claims 4294967295 bytes and has 0 bytes\n"},
        {"\x01\0\0\0K\x01"sv, "  cut off in the value of K\n"},
        {"\x01\0\0\0K\xFF\xFF\xFF\xFFvalue"sv,
         "  cut off in the value of K, which claims 4294967295 bytes and has 5 bytes: value\n"},
    };
    for (const auto& example : kCases) {
        const std::string words = Shows(Request("", std::string(example.body)));
        EXPECT_NE(words.find(std::string("tagged data:\n") + example.words), std::string::npos) << words;
    }
}

TEST(TraceView, ShowsNothingThatATerminalMightActOn) {
    std::mt19937 random(16);
    for (int round = 0; round < 2000; ++round) {
        std::string bytes = round % 2 == 0 ? "" : Request("", kBody);
        for (int i = 0; i < 300; ++i) bytes.insert(random() % (bytes.size() + 1), 1, static_cast<char>(random()));
        for (const char c : Shows(bytes, {}, 1 + random() % 40)) {
            ASSERT_TRUE(c == '\n' || (c >= 0x20 && c < 0x7F)) << static_cast<int>(c);
        }
    }
}

TEST(Words, SpellWhatIsNotPrintable) {
    EXPECT_EQ(common::Spelt("a\r\n\t\x1B\x7F\xE9z"), "a\\r\\n\\t\\x1B\\x7F\\xE9z");
    EXPECT_EQ(common::Bytes(0), "0 bytes");
    EXPECT_EQ(common::Bytes(1), "1 byte");
    EXPECT_EQ(common::Trimmed(" \ta b\t "), "a b");
    EXPECT_EQ(common::Trimmed(" \t"), "");
}

}  // namespace
}  // namespace wpk_trace
