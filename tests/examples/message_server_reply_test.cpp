// The message server's replies, byte for byte.
// SPDX-License-Identifier: MIT
#include "message_server/reply.h"

#include <gtest/gtest.h>

#include <string>

namespace message_server {
namespace {

TEST(ServerReplyHead, NamesTheServersVersionAndTheLength) {
    EXPECT_EQ(ReplyHead(0), "HTTP/1.0 200 OK\r\nServer: WPK/1.00\r\nContent-Length: 0\r\n\r\n");
    EXPECT_EQ(ReplyHead(4294967295), "HTTP/1.0 200 OK\r\nServer: WPK/1.00\r\nContent-Length: 4294967295\r\n\r\n");
}

TEST(RefusalReply, HasItsReasonInTheStatusLineAndAsBody) {
    EXPECT_EQ(RefusalReply(Refusal(500, "Bad_Plugin_Name")),
              "HTTP/1.0 500 Bad_Plugin_Name\r\nServer: WPK/1.00\r\nContent-Length: 15\r\n\r\nBad_Plugin_Name");
}

TEST(Answer, CountsTextAndAlphabetTogether) {
    EXPECT_EQ(Answer().Length(), 0U);
    EXPECT_EQ((Answer{"abc", 4294967295}).Length(), 4294967298U);
}

TEST(FillWithAlphabet, GoesOnAtAnyOffset) {
    std::string whole(100, '?');
    FillWithAlphabet(0, whole.data(), whole.size());
    EXPECT_EQ(whole.substr(0, 28), "abcdefghijklmnopqrstuvwxyzab");
    for (size_t offset = 0; offset <= whole.size(); ++offset) {
        std::string rest(whole.size() - offset, '?');
        FillWithAlphabet(offset, rest.data(), rest.size());
        EXPECT_EQ(rest, whole.substr(offset)) << offset;
    }
}

TEST(FillWithAlphabet, BehindFourGibibytesStillGoesOn) {
    char letter = '?';
    FillWithAlphabet(26ULL * 200000000ULL + 3, &letter, 1);
    EXPECT_EQ(letter, 'd');
}

}  // namespace
}  // namespace message_server
