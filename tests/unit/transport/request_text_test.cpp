// Request line and header block, byte for byte.
// SPDX-License-Identifier: MIT
#include "transport/request_text.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "unit/transport/allocation_fault.h"

namespace wpk::core {
namespace {

std::string RequestLineOf(std::string_view server, uint32_t port) {
    const TextBuffer line = BuildRequestLine(server, port);
    EXPECT_TRUE(line.IsWhole());
    return std::string(line.View());
}

std::string HeaderBlockOf(uint32_t bodyLength, bool viaProxy, std::string_view user, std::string_view password) {
    const TextBuffer block = BuildHeaderBlock(bodyLength, viaProxy, user, password);
    EXPECT_TRUE(block.IsWhole());
    return std::string(block.View());
}

TEST(RequestLine, NamesServerAndPortInAbsoluteForm) {
    EXPECT_EQ(RequestLineOf("server.example", 80), "POST http://server.example:80/ HTTP/1.0\r\n");
    EXPECT_EQ(RequestLineOf("127.0.0.1", 65535), "POST http://127.0.0.1:65535/ HTTP/1.0\r\n");
    EXPECT_EQ(RequestLineOf("s", 0), "POST http://s:0/ HTTP/1.0\r\n");
}

TEST(RequestLine, PortsBeyond31BitsPrintAsSigned32BitNumbers) {
    EXPECT_EQ(RequestLineOf("s", 70000), "POST http://s:70000/ HTTP/1.0\r\n");
    EXPECT_EQ(RequestLineOf("s", 0x7FFFFFFF), "POST http://s:2147483647/ HTTP/1.0\r\n");
    EXPECT_EQ(RequestLineOf("s", 0xFFFFFFFF), "POST http://s:-1/ HTTP/1.0\r\n");
}

TEST(RequestLine, LongServerNameIsKeptWhole) {
    const std::string server(5000, 's');
    EXPECT_EQ(RequestLineOf(server, 80), "POST http://" + server + ":80/ HTTP/1.0\r\n");
}

TEST(HeaderBlock, DirectRequestHasThreeLinesAndNoOther) {
    EXPECT_EQ(HeaderBlockOf(82, /*viaProxy=*/false, "", ""),
              "User-Agent: WPK/1.00\r\nContent-Type: application/tagged-data\r\nContent-Length: 82\r\n");
}

TEST(HeaderBlock, CredentialsGoToAProxyOnly) {
    const std::string direct = HeaderBlockOf(82, /*viaProxy=*/false, "u", "p");
    EXPECT_EQ(direct, HeaderBlockOf(82, false, "", ""));
    EXPECT_EQ(HeaderBlockOf(82, /*viaProxy=*/true, "u", "p"), direct + "Proxy-Authorization: Basic dTpw\r\n");
}

TEST(HeaderBlock, ProxyWithoutCredentialsGetsNoAuthorization) {
    EXPECT_EQ(HeaderBlockOf(1, /*viaProxy=*/true, "", ""), HeaderBlockOf(1, false, "", ""));
}

TEST(HeaderBlock, UserOrPasswordAloneIsSent) {
    const std::string plain = HeaderBlockOf(1, false, "", "");
    EXPECT_EQ(HeaderBlockOf(1, true, "u", ""), plain + "Proxy-Authorization: Basic dTo=\r\n");
    EXPECT_EQ(HeaderBlockOf(1, true, "", "p"), plain + "Proxy-Authorization: Basic OnA=\r\n");
}

TEST(HeaderBlock, PairOf57BytesStaysOnOneLineAndOneOf58IsFolded) {
    const std::string plain = HeaderBlockOf(1, false, "", "");
    const std::string line =
        "dTpw"
        "cHBw"
        "cHBw"
        "cHBw"
        "cHBw"
        "cHBw"
        "cHBw"
        "cHBw"
        "cHBw"
        "cHBw"
        "cHBw"
        "cHBw"
        "cHBw"
        "cHBw"
        "cHBw"
        "cHBw"
        "cHBw"
        "cHBw"
        "cHBw";
    EXPECT_EQ(HeaderBlockOf(1, true, "u", std::string(55, 'p')), plain + "Proxy-Authorization: Basic " + line + "\r\n");
    EXPECT_EQ(HeaderBlockOf(1, true, "u", std::string(56, 'p')),
              plain + "Proxy-Authorization: Basic " + line + "\r\ncA==\r\n");
}

TEST(HeaderBlock, LengthsBeyond31BitsPrintUnsigned) {
    EXPECT_NE(HeaderBlockOf(0, false, "", "").find("Content-Length: 0\r\n"), std::string::npos);
    EXPECT_NE(HeaderBlockOf(0x80000000, false, "", "").find("Content-Length: 2147483648\r\n"), std::string::npos);
    EXPECT_NE(HeaderBlockOf(0xFFFFFFFF, false, "", "").find("Content-Length: 4294967295\r\n"), std::string::npos);
}

TEST(RequestLine, WithoutMemoryIsNotWhole) {
    const test::AllocationFault fault;
    EXPECT_FALSE(BuildRequestLine("server.example", 80).IsWhole());
}

TEST(HeaderBlock, WithoutMemoryForAnyOfItsTextsIsNotWhole) {
    // The pair, its base64, the line with it, and the block.
    constexpr int kTexts = 4;
    for (int successes = 0; successes < kTexts; ++successes) {
        const test::AllocationFault fault(successes);
        EXPECT_FALSE(BuildHeaderBlock(1, /*viaProxy=*/true, "u", "p").IsWhole()) << successes;
        EXPECT_EQ(fault.Fired(), 1) << successes;
    }
    const test::AllocationFault none(kTexts);
    EXPECT_TRUE(BuildHeaderBlock(1, /*viaProxy=*/true, "u", "p").IsWhole());
}

}  // namespace
}  // namespace wpk::core
