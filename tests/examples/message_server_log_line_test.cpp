// message_server: the lines of its log.
// SPDX-License-Identifier: MIT
#include "message_server/log_line.h"

#include <gtest/gtest.h>

namespace message_server {
namespace {

const std::string kTime = "2026-07-01 12:30:05";
constexpr std::chrono::milliseconds kTaken{2};

LogLine Line(const std::string& service, int status, const std::string& reason, const std::string& why) {
    LogLine line;
    line.peer = "127.0.0.1:49712";
    line.service = service;
    line.status = status;
    line.reason = reason;
    line.length = 5;
    line.why = why;
    return line;
}

TEST(LogLineTest, SaysWhoAskedForWhatAndWhatCameOfIt) {
    EXPECT_EQ(Written(Line("Echo", 200, "OK", ""), kTime, kTaken),
              "2026-07-01 12:30:05 127.0.0.1:49712 Echo 200 OK, 5 bytes, 2 ms");
}

TEST(LogLineTest, SaysWhyARequestWasRefused) {
    EXPECT_EQ(
        Written(Line("", 413, "Request_Too_Large", "of 9 bytes; --max-request is 8"), kTime, kTaken),
        "2026-07-01 12:30:05 127.0.0.1:49712 - 413 Request_Too_Large, 5 bytes, 2 ms: of 9 bytes; --max-request is "
        "8");
}

TEST(LogLineTest, SaysThatNothingWasSent) {
    EXPECT_EQ(Written(Line("Sleep", 0, "", "broken off: the client has gone"), kTime, kTaken),
              "2026-07-01 12:30:05 127.0.0.1:49712 Sleep no reply, 2 ms: broken off: the client has gone");
}

TEST(LogLineTest, ShowsNothingOfAServiceNameThatCouldPassForALineOfItsOwn) {
    const std::string text =
        Written(Line("a\n2026 b\x1B[2J" + std::string(100000, 'x'), 500, "Bad_Plugin_Name", ""), kTime, kTaken);
    EXPECT_EQ(text.find('\n'), std::string::npos);
    EXPECT_NE(text.find(" a\\n2026 b\\x1B[2Jxxx"), std::string::npos) << text;
    EXPECT_LT(text.size(), 200U);
}

}  // namespace
}  // namespace message_server
