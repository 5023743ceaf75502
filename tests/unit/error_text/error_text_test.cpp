// The sentences of wpk/error_text.h.
// SPDX-License-Identifier: MIT
#include <wpk/error_text.h>

#include <climits>
#include <set>
#include <string>

#include <gtest/gtest.h>

extern "C" const char* TextInC(int error);
const char* TextInCpp98(int error);

namespace {

TEST(ErrorText, IsASentenceOfItsOwnForEachError) {
    std::set<std::string> texts;
    for (int error = WPK_ERROR_PROXY_CREDENTIALS; error <= WPK_ERROR_BAD_REQUEST; ++error) {
        const std::string text = WPK_ErrorText(error);
        EXPECT_EQ(text.back(), '.') << text;
        texts.insert(text);
    }
    EXPECT_EQ(texts.size(), 8U);
    EXPECT_EQ(texts.count(WPK_ErrorText(0)), 0U);
    EXPECT_EQ(texts.count(WPK_ErrorText(1)), 0U);
}

TEST(ErrorText, FitsTheError) {
    EXPECT_STREQ(WPK_ErrorText(WPK_ERROR_NO_NETWORK), "There is no network connection.");
    EXPECT_STREQ(WPK_ErrorText(WPK_ERROR_NO_SERVICE), "The server has no service of that name.");
    EXPECT_NE(std::string(WPK_ErrorText(WPK_ERROR_PROXY_CREDENTIALS)).find("password"), std::string::npos);
    EXPECT_STREQ(WPK_ErrorText(0), "The reply has arrived.");
}

TEST(ErrorText, OfAnyOtherNumberSaysThatItIsNotKnown) {
    for (const int error : {-9, -99, 1, INT_MIN, INT_MAX}) {
        EXPECT_STREQ(WPK_ErrorText(error), "The request failed for a reason that this program does not know.");
    }
}

TEST(ErrorText, IsTheSameInEveryLanguage) {
    for (int error = -10; error < 3; ++error) {
        EXPECT_STREQ(TextInC(error), WPK_ErrorText(error));
        EXPECT_STREQ(TextInCpp98(error), WPK_ErrorText(error));
    }
}

}  // namespace
