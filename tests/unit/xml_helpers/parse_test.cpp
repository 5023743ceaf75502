// Reading documents from memory by the helpers.
// SPDX-License-Identifier: MIT
#include <exception>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include <wpk/xml_helpers.h>

using namespace wpk::xml;

namespace {

TEST(Parse, GivesADocumentThatIsOwned) {
    const std::unique_ptr<Document> document = Parse("<a>text</a>");
    EXPECT_EQ(document->root->GetText(), "text");
}

TEST(Parse, SkipsAMarkAtTheBeginningOnly) {
    EXPECT_EQ(Parse("\xEF\xBB\xBF<?xml version='1.1'?><a/>")->version, "1.1");
    EXPECT_THROW(Parse("\xEF\xBB\xBF\xEF\xBB\xBF<a/>"), DocumentError);
    EXPECT_THROW(Parse("\xEF\xBB"), DocumentError);
    EXPECT_EQ(Parse("<a>\xEF\xBB\xBF</a>")->root->GetText(), "\xEF\xBB\xBF");
}

TEST(Parse, RefusesNothingAtAll) {
    for (const std::string_view nothing :
         {std::string_view(), std::string_view(""), std::string_view("\xEF\xBB\xBF")}) {
        try {
            Parse(nothing);
            FAIL();
        } catch (const DocumentError& fault) {
            EXPECT_EQ(fault.code, 16U);
        }
    }
}

TEST(Parse, RefusesMoreThanTheParserCountsTo) {
    const std::string_view few = "<a/>";
    // Only the length is looked at.
    const std::string_view many(few.data(), size_t{(std::numeric_limits<int>::max)()} + 1);
    EXPECT_THROW(Parse(many), std::length_error);
}

TEST(Parse, ThrowsWhatBothSidesKnow) {
    try {
        Parse("<a>\n</b>");
        FAIL();
    } catch (const ParsingException& fault) {
        EXPECT_EQ(fault.code, 13U);
        EXPECT_EQ(fault.line, 2U);
        EXPECT_EQ(fault.column, 3U);
    }
    try {
        Parse("<a>\n</b>");
        FAIL();
    } catch (const std::exception& fault) {
        EXPECT_STREQ(fault.what(), "line 2, column 3: the end tag is not that of the open element");
    }
}

TEST(ReferencesToUtf8, ReplacesReferencesToCharactersAbove127) {
    EXPECT_EQ(ReferencesToUtf8("&#128;&#233;&#x7FF;"), "\xC2\x80\xC3\xA9\xDF\xBF");
    EXPECT_EQ(ReferencesToUtf8("&#x800;&#x20AC;&#xfffd;&#xFFFF;"), "\xE0\xA0\x80\xE2\x82\xAC\xEF\xBF\xBD\xEF\xBF\xBF");
    EXPECT_EQ(ReferencesToUtf8("&#x10000;&#x1F600;&#1114111;"), "\xF0\x90\x80\x80\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF");
    EXPECT_EQ(ReferencesToUtf8("&#000000000000000233;"), "\xC3\xA9");
    EXPECT_EQ(ReferencesToUtf8("<a b='&#233;'>x&#233;y</a>"), "<a b='\xC3\xA9'>x\xC3\xA9y</a>");
}

TEST(ReferencesToUtf8, LeavesEverythingElse) {
    for (const char* text : {"",
                             "&",
                             "&#",
                             "&#;",
                             "&#x;",
                             "&#x",
                             "&#233",
                             "&#233 ;",
                             "&#x20AC",
                             "&#X20AC;",
                             "&#65;",
                             "&#127;",
                             "&#x7F;",
                             "&#0;",
                             "&#xD800;",
                             "&#xDFFF;",
                             "&#x110000;",
                             "&#4294967529;",
                             "&#99999999999999999999999999;",
                             "&amp;",
                             "&amp;#233;",
                             "& #233;",
                             "&&#",
                             "<a>text</a>",
                             "<",
                             "<<",
                             "<!-",
                             "<!--&#233;-->",
                             "<!--&#233;",
                             "<?p &#233;?>",
                             "<?p &#233;",
                             "<![CDATA[&#233;]]>",
                             "<![CDATA[&#233;",
                             "<!--",
                             "<?",
                             "<![CDATA["}) {
        EXPECT_EQ(ReferencesToUtf8(text), text);
    }
    const std::string zero("a\0&#65;\0", 8);
    EXPECT_EQ(ReferencesToUtf8(zero), zero);
}

TEST(ReferencesToUtf8, GoesOnAfterWhatItLeaves) {
    EXPECT_EQ(ReferencesToUtf8("<!--&#233;-->&#233;<?p?>&#233;<![CDATA[&#233;]]>&#233;&#65;&#233;&&#233;"),
              "<!--&#233;-->\xC3\xA9<?p?>\xC3\xA9<![CDATA[&#233;]]>\xC3\xA9&#65;\xC3\xA9&\xC3\xA9");
}

TEST(ReferencesToUtf8, MakesTheParserReadTheCharacter) {
    const auto document = Parse(ReferencesToUtf8("<a b='&#xE9;'>&#8364; 5 &lt; &#65;</a>"));
    EXPECT_EQ(TextOr(document->root, ""), "\xE2\x82\xAC 5 < A");
    EXPECT_EQ(AttributeOr(document->root, "b", ""), "\xC3\xA9");
}

TEST(ReferencesToUtf8, TakesTimeInProportion) {
    std::string text = "<a>";
    for (int i = 0; i < 500000; ++i) text += "&<!-&#x&#233;";
    EXPECT_EQ(ReferencesToUtf8(text).size(), 3U + 500000U * 9U);
}

}  // namespace
