// Base64 text: groups, padding, folding.
// SPDX-License-Identifier: MIT
#include "transport/base64.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "unit/transport/allocation_fault.h"

namespace wpk::core {
namespace {

std::string Base64Of(std::string_view bytes) {
    const TextBuffer text = EncodeBase64(bytes);
    EXPECT_TRUE(text.IsWhole());
    return std::string(text.View());
}

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
    EXPECT_EQ(Base64Of(""), "");
    EXPECT_EQ(Base64Of("f"), "Zg==");
    EXPECT_EQ(Base64Of("fo"), "Zm8=");
    EXPECT_EQ(Base64Of("foo"), "Zm9v");
    EXPECT_EQ(Base64Of("foob"), "Zm9vYg==");
    EXPECT_EQ(Base64Of("fooba"), "Zm9vYmE=");
    EXPECT_EQ(Base64Of("foobar"), "Zm9vYmFy");
}

TEST(Base64, UserUWithPasswordPGivesDTpw) {
    EXPECT_EQ(Base64Of("u:p"), "dTpw");
}

TEST(Base64, AlphabetEndsInPlusAndSlash) {
    EXPECT_EQ(Base64Of("\xfb\xff\xbe"), "+/++");
    EXPECT_EQ(Base64Of(std::string(3, '\0')), "AAAA");
    EXPECT_EQ(Base64Of("\xff"), "/w==");
}

TEST(Base64, FiftySevenBytesAreOneLineWithoutABreak) {
    const std::string text = Base64Of(std::string(57, 'a'));
    EXPECT_EQ(text.size(), 76U);
    EXPECT_EQ(text.find('\r'), std::string::npos);
}

TEST(Base64, FiftyEightBytesAreFoldedAfter76Characters) {
    const std::string text = Base64Of(std::string(58, 'a'));
    EXPECT_EQ(text, Base64Of(std::string(57, 'a')) + "\r\nYQ==");
}

TEST(Base64, Bytes114AreTwoFullLinesWithoutATrailingBreak) {
    const std::string line = Base64Of(std::string(57, 'a'));
    EXPECT_EQ(Base64Of(std::string(114, 'a')), line + "\r\n" + line);
    EXPECT_EQ(Base64Of(std::string(115, 'a')), line + "\r\n" + line + "\r\nYQ==");
}

TEST(Base64, AgreesWithASlowModelForEveryLengthAndByte) {
    std::string bytes;
    for (int i = 0; i < 600; ++i) {
        EXPECT_EQ(Base64Of(bytes), SlowBase64(bytes)) << i;
        bytes += static_cast<char>(i * 7 + i / 256);
    }
}

TEST(Base64, WithoutMemoryTheTextIsNotWhole) {
    const test::AllocationFault fault;
    EXPECT_FALSE(EncodeBase64("u:p").IsWhole());
    EXPECT_EQ(fault.Fired(), 1);
}

}  // namespace
}  // namespace wpk::core
