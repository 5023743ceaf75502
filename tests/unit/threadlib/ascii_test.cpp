// Comparison and trimming of protocol text.
// SPDX-License-Identifier: MIT
#include "threadlib/ascii.h"

#include <gtest/gtest.h>

#include <string>

namespace wpk::core {
namespace {

TEST(CompareIgnoreCase, LettersOfBothCasesAreEqual) {
    EXPECT_EQ(CompareIgnoreCase("Content-Length", "cONTENT-lENGTH"), 0);
    EXPECT_EQ(CompareIgnoreCase("", ""), 0);
}

TEST(CompareIgnoreCase, ALongerTextSortsAfterItsBeginning) {
    EXPECT_GT(CompareIgnoreCase("HTTP/1.0", "HTTP"), 0);
    EXPECT_LT(CompareIgnoreCase("HTT", "HTTP"), 0);
    EXPECT_LT(CompareIgnoreCase("", "HTTP"), 0);
}

TEST(CompareIgnoreCase, TheFirstDifferenceDecides) {
    EXPECT_GT(CompareIgnoreCase("icy", "HTTP"), 0);
    EXPECT_LT(CompareIgnoreCase("GET/xyz", "http"), 0);
}

TEST(CompareIgnoreCase, BytesAbove127SortAfterLetters) {
    EXPECT_GT(CompareIgnoreCase("\xC4", "z"), 0);
    EXPECT_NE(CompareIgnoreCase("\xC4", "\xE4"), 0);
}

TEST(CompareIgnoreCase, SignsBetweenTheCasesSortBeforeLetters) {
    EXPECT_LT(CompareIgnoreCase("_", "a"), 0);
    EXPECT_LT(CompareIgnoreCase("_", "A"), 0);
}

// Every pair of single bytes, against a table built the slow way.
TEST(CompareIgnoreCase, AgreesWithASlowModelForEveryPairOfBytes) {
    const auto fold = [](int byte) { return byte >= 'A' && byte <= 'Z' ? byte + 32 : byte; };
    for (int a = 0; a < 256; ++a) {
        for (int b = 0; b < 256; ++b) {
            const int result =
                CompareIgnoreCase(std::string(1, static_cast<char>(a)), std::string(1, static_cast<char>(b)));
            EXPECT_EQ(result < 0, fold(a) < fold(b)) << a << ' ' << b;
            EXPECT_EQ(result == 0, fold(a) == fold(b)) << a << ' ' << b;
        }
    }
}

TEST(EqualsIgnoreCase, DifferentLengthsAreNotEqual) {
    EXPECT_TRUE(EqualsIgnoreCase("Server", "SERVER"));
    EXPECT_FALSE(EqualsIgnoreCase("Server", "Servers"));
    EXPECT_FALSE(EqualsIgnoreCase(std::string_view("Server\0", 7), "Server"));
}

TEST(TrimBlanks, TakesSpacesAndTabsFromBothEndsOnly) {
    EXPECT_EQ(TrimBlanks(" \t a \t b\t "), "a \t b");
    EXPECT_EQ(TrimBlanks("ab"), "ab");
    EXPECT_EQ(TrimBlanks(" \t "), "");
    EXPECT_EQ(TrimBlanks(""), "");
    EXPECT_EQ(TrimBlanks("\na\v"), "\na\v");
}

}  // namespace
}  // namespace wpk::core
