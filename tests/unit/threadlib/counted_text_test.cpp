// Counted texts.
// SPDX-License-Identifier: MIT
#include "threadlib/counted_text.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace wpk::core {
namespace {

TEST(CountedTextTest, IsEmptyAndTerminatedAtFirst) {
    const CountedText text;
    EXPECT_TRUE(text.Empty());
    EXPECT_EQ(text.Length(), 0u);
    EXPECT_STREQ(text.CStr(), "");
}

TEST(CountedTextTest, CopiesOwnTheirBytes) {
    std::string source = "abc";
    CountedText text(source);
    source[0] = 'X';
    const CountedText copy = text;
    text = CountedText("changed");
    EXPECT_EQ(copy.View(), "abc");
    EXPECT_STREQ(copy.CStr(), "abc");
    EXPECT_EQ(copy.Length(), 3u);
}

TEST(CountedTextTest, HoldsZerosInside) {
    const std::string source("a\0b", 3);
    EXPECT_EQ(CountedText(source).View(), source);
}

TEST(CountedTextTest, AMovedTextLeavesAnEmptyOne) {
    CountedText text("abc");
    const CountedText moved = std::move(text);
    EXPECT_EQ(moved.View(), "abc");
    EXPECT_TRUE(text.Empty());  // NOLINT(bugprone-use-after-move): promised to be empty
    EXPECT_STREQ(text.CStr(), "");
}

TEST(CountedTextTest, JoinsTwoTextsItsOwnAmongThem) {
    CountedText text("old");
    text.AssignJoined("a", "bc");
    EXPECT_EQ(text.View(), "abc");
    text.AssignJoined(text.View(), "d");
    EXPECT_EQ(text.View(), "abcd");
    text.AssignJoined("", "");
    EXPECT_TRUE(text.Empty());
}

}  // namespace
}  // namespace wpk::core
