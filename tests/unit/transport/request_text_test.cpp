// Request line and header block, byte for byte.
// SPDX-License-Identifier: MIT
#include "transport/request_text.h"

#include <gtest/gtest.h>

#include <string>

namespace wpk {
namespace {

TEST(RequestLine, NamesServerAndPortInAbsoluteForm) {
    EXPECT_EQ(BuildRequestLine("server.example", 80), "POST http://server.example:80/ HTTP/1.0\r\n");
    EXPECT_EQ(BuildRequestLine("127.0.0.1", 65535), "POST http://127.0.0.1:65535/ HTTP/1.0\r\n");
    EXPECT_EQ(BuildRequestLine("s", 0), "POST http://s:0/ HTTP/1.0\r\n");
}

TEST(RequestLine, PortsBeyond31BitsPrintAsSigned32BitNumbers) {
    EXPECT_EQ(BuildRequestLine("s", 70000), "POST http://s:70000/ HTTP/1.0\r\n");
    EXPECT_EQ(BuildRequestLine("s", 0x7FFFFFFF), "POST http://s:2147483647/ HTTP/1.0\r\n");
    EXPECT_EQ(BuildRequestLine("s", 0xFFFFFFFF), "POST http://s:-1/ HTTP/1.0\r\n");
}

TEST(RequestLine, LongServerNameIsKeptWhole) {
    const std::string server(5000, 's');
    EXPECT_EQ(BuildRequestLine(server, 80), "POST http://" + server + ":80/ HTTP/1.0\r\n");
}

TEST(HeaderBlock, DirectRequestHasThreeLinesAndNoOther) {
    EXPECT_EQ(BuildHeaderBlock(82, /*viaProxy=*/false, "", ""),
              "User-Agent: WPK/1.00\r\nContent-Type: application/tagged-data\r\nContent-Length: 82\r\n");
}

TEST(HeaderBlock, CredentialsGoToAProxyOnly) {
    const std::string direct = BuildHeaderBlock(82, /*viaProxy=*/false, "u", "p");
    EXPECT_EQ(direct, BuildHeaderBlock(82, false, "", ""));
    EXPECT_EQ(BuildHeaderBlock(82, /*viaProxy=*/true, "u", "p"), direct + "Proxy-Authorization: Basic dTpw\r\n");
}

TEST(HeaderBlock, ProxyWithoutCredentialsGetsNoAuthorization) {
    EXPECT_EQ(BuildHeaderBlock(1, /*viaProxy=*/true, "", ""), BuildHeaderBlock(1, false, "", ""));
}

TEST(HeaderBlock, UserOrPasswordAloneIsSent) {
    const std::string plain = BuildHeaderBlock(1, false, "", "");
    EXPECT_EQ(BuildHeaderBlock(1, true, "u", ""), plain + "Proxy-Authorization: Basic dTo=\r\n");
    EXPECT_EQ(BuildHeaderBlock(1, true, "", "p"), plain + "Proxy-Authorization: Basic OnA=\r\n");
}

TEST(HeaderBlock, PairOf57BytesStaysOnOneLineAndOneOf58IsFolded) {
    const std::string plain = BuildHeaderBlock(1, false, "", "");
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
    EXPECT_EQ(BuildHeaderBlock(1, true, "u", std::string(55, 'p')),
              plain + "Proxy-Authorization: Basic " + line + "\r\n");
    EXPECT_EQ(BuildHeaderBlock(1, true, "u", std::string(56, 'p')),
              plain + "Proxy-Authorization: Basic " + line + "\r\ncA==\r\n");
}

TEST(HeaderBlock, LengthsBeyond31BitsPrintUnsigned) {
    EXPECT_NE(BuildHeaderBlock(0, false, "", "").find("Content-Length: 0\r\n"), std::string::npos);
    EXPECT_NE(BuildHeaderBlock(0x80000000, false, "", "").find("Content-Length: 2147483648\r\n"), std::string::npos);
    EXPECT_NE(BuildHeaderBlock(0xFFFFFFFF, false, "", "").find("Content-Length: 4294967295\r\n"), std::string::npos);
}

}  // namespace
}  // namespace wpk
