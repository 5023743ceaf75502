// Base64 text: groups, padding, folding.
// SPDX-License-Identifier: MIT
#include "transport/base64.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace wpk {
namespace {

// Obviously right and slow: bit by bit, then cut into lines.
std::string SlowBase64(const std::string& bytes) {
    const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::vector<int> bits;
    for (const char c : bytes) {
        for (int bit = 7; bit >= 0; --bit) bits.push_back(static_cast<unsigned char>(c) >> bit & 1);
    }
    while (bits.size() % 6 != 0) bits.push_back(0);
    std::string flat;
    for (size_t i = 0; i < bits.size(); i += 6) {
        int value = 0;
        for (size_t j = 0; j < 6; ++j) value = value * 2 + bits[i + j];
        flat += alphabet[static_cast<size_t>(value)];
    }
    while (flat.size() % 4 != 0) flat += '=';
    std::string folded;
    for (size_t i = 0; i < flat.size(); i += 76) folded += (i == 0 ? "" : "\r\n") + flat.substr(i, 76);
    return folded;
}

TEST(Base64, GroupsOfOneTwoAndThreeBytesArePadded) {
    EXPECT_EQ(EncodeBase64(""), "");
    EXPECT_EQ(EncodeBase64("f"), "Zg==");
    EXPECT_EQ(EncodeBase64("fo"), "Zm8=");
    EXPECT_EQ(EncodeBase64("foo"), "Zm9v");
    EXPECT_EQ(EncodeBase64("foob"), "Zm9vYg==");
    EXPECT_EQ(EncodeBase64("fooba"), "Zm9vYmE=");
    EXPECT_EQ(EncodeBase64("foobar"), "Zm9vYmFy");
}

TEST(Base64, UserUWithPasswordPGivesDTpw) {
    EXPECT_EQ(EncodeBase64("u:p"), "dTpw");
}

TEST(Base64, AlphabetEndsInPlusAndSlash) {
    EXPECT_EQ(EncodeBase64("\xfb\xff\xbe"), "+/++");
    EXPECT_EQ(EncodeBase64(std::string(3, '\0')), "AAAA");
    EXPECT_EQ(EncodeBase64("\xff"), "/w==");
}

TEST(Base64, FiftySevenBytesAreOneLineWithoutABreak) {
    const std::string text = EncodeBase64(std::string(57, 'a'));
    EXPECT_EQ(text.size(), 76U);
    EXPECT_EQ(text.find('\r'), std::string::npos);
}

TEST(Base64, FiftyEightBytesAreFoldedAfter76Characters) {
    const std::string text = EncodeBase64(std::string(58, 'a'));
    EXPECT_EQ(text, EncodeBase64(std::string(57, 'a')) + "\r\nYQ==");
}

TEST(Base64, Bytes114AreTwoFullLinesWithoutATrailingBreak) {
    const std::string line = EncodeBase64(std::string(57, 'a'));
    EXPECT_EQ(EncodeBase64(std::string(114, 'a')), line + "\r\n" + line);
    EXPECT_EQ(EncodeBase64(std::string(115, 'a')), line + "\r\n" + line + "\r\nYQ==");
}

TEST(Base64, AgreesWithASlowModelForEveryLengthAndByte) {
    std::string bytes;
    for (int i = 0; i < 600; ++i) {
        EXPECT_EQ(EncodeBase64(bytes), SlowBase64(bytes)) << i;
        bytes += static_cast<char>(i * 7 + i / 256);
    }
}

}  // namespace
}  // namespace wpk
