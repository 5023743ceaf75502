// Texts: narrow as they stand, wide converted exactly or not at all.
// SPDX-License-Identifier: MIT
#include "client/fixture.h"

#include <gtest/gtest.h>

namespace wpk::client_test {
namespace {

TEST(AnsiTextTest, NarrowStandsAsItIs) {
    const std::string name = "name";
    EXPECT_EQ(AnsiText("name").str(), "name");
    EXPECT_EQ(AnsiText(name).str(), "name");
    EXPECT_EQ(AnsiText(std::string_view("names", 4)).str(), "name");
    EXPECT_EQ(AnsiText("\x80\xFF").str(), "\x80\xFF");
}

TEST(AnsiTextTest, EmptyIsEmptyInEveryForm) {
    EXPECT_TRUE(AnsiText().empty());
    EXPECT_TRUE(AnsiText("").empty());
    EXPECT_TRUE(AnsiText(L"").empty());
    EXPECT_TRUE(AnsiText(std::wstring()).empty());
    EXPECT_TRUE(AnsiText(static_cast<const char*>(nullptr)).empty());
    EXPECT_TRUE(AnsiText(static_cast<const wchar_t*>(nullptr)).empty());
}

TEST(AnsiTextTest, WideIsConvertedToTheAnsiCodePage) {
    ASSERT_EQ(GetACP(), 1252u) << "the characters below are chosen for this code page";
    const std::wstring name = L"\u20AC \u00E4";
    EXPECT_EQ(AnsiText(L"\u20AC \u00E4").str(), "\x80 \xE4");
    EXPECT_EQ(AnsiText(name).str(), "\x80 \xE4");
    EXPECT_EQ(AnsiText(std::wstring_view(name).substr(0, 1)).str(), "\x80");
}

TEST(AnsiTextTest, WideCharacterThatTheCodePageLacksIsAnError) {
    // Cyrillic; a letter that has only a best fit, "A"; a pair of surrogates; half a pair.
    for (const wchar_t* text : {L"\u0416", L"x\u0100", L"\xD83D\xDE00", L"\xD83D"}) {
        EXPECT_EQ(CodeThrownBy([&] { AnsiText wide(text); }), Errc::kNotConvertible);
    }
}

TEST(AnsiTextTest, WithAQuestionMarkIsConverted) {
    EXPECT_EQ(AnsiText(L"what?").str(), "what?");
}

TEST(AnsiTextTest, WithAZeroInsideIsAnError) {
    EXPECT_EQ(CodeThrownBy([] { AnsiText narrow(std::string("a\0b", 3)); }), Errc::kZeroInText);
    EXPECT_EQ(CodeThrownBy([] { AnsiText wide(std::wstring_view(L"a\0b", 3)); }), Errc::kZeroInText);
}

}  // namespace
}  // namespace wpk::client_test
