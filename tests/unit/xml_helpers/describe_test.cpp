// Faults in words, with their place.
// SPDX-License-Identifier: MIT
#include <set>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include <wpk/xml_helpers.h>

using namespace wpk::xml;

namespace {

/// What is said of a text that is refused, with its excerpt.
std::string Said(std::string_view text) {
    try {
        Parse(text);
        return "ok";
    } catch (const DocumentError& fault) {
        return std::string(fault.what()) + "\n" + fault.excerpt;
    }
}

TEST(ParsingErrorText, IsASentenceOfItsOwnForEachCode) {
    std::set<std::string> texts;
    for (unsigned code = 1; code <= 43; ++code) texts.insert(ParsingErrorText(code));
    EXPECT_EQ(texts.size(), 43U);
    EXPECT_EQ(texts.count(ParsingErrorText(0)), 0U);
    EXPECT_STREQ(ParsingErrorText(0), ParsingErrorText(44));
}

TEST(ParsingErrorText, FitsWhatWasWrong) {
    const struct {
        const char* text;
        const char* words;
    } kFaults[] = {
        {"<a>", "the document ends"},
        {"<a>\x01</a>", "character that no document may hold"},
        {"<a b/>", "without \"=\""},
        {"<a b=1/>", "not in quotes"},
        {"<a b='<'/>", "\"&lt;\""},
        {"<a>Tom & Jerry</a>", "\"&amp;\""},
        {"<a>&#xg;</a>", "hexadecimal"},
        {"<a>&#g;</a>", "without a digit"},
        {"<a>&copy;</a>", "entity other than"},
        {"<a><3</a>", "without a name"},
        {"<a/b>", "\"/\" in a start tag"},
        {"<a b='' c", "without \"=\""},
        {"<a ?>", "not closed by \">\""},
        {"<a></b>", "not that of the open element"},
        {"<a>]]></a>", "\"]]>\" in a text"},
        {"text", "no root element"},
        {"<?xml?>", "no valid version"},
        {"<?xml version='1.0'", "not closed by \"?>\""},
        {"<?xml version='1.0' encoding=x?>", "encoding is not in quotes"},
        {"<?xml version='1.0' encoding=''?>", "no name of one"},
        {"<?xml version='1.0' standalone=yes?>", "standalone is not in quotes"},
        {"<?xml version='1.0' standalone='maybe'?>", "neither \"yes\" nor \"no\""},
        {"<!-- -- --><a/>", "\"--\" in a comment"},
        {"<a><? x?></a>", "without a target"},
        {" <?xml version='1.0'?><a/>", "not at the beginning"},
        {"<!DOCTYPE><a/>", "document type declaration is malformed"},
        {"<!DOCTYPE a [%;]><a/>", "\"%\" without"},
        {"<!DOCTYPE a PUBLIC '{' ''><a/>", "public identifier"},
        {"<!DOCTYPE a [<!ELEMENT>]><a/>", "element declaration"},
        {"<!DOCTYPE a [<!ELEMENT a (b|c,d)>]><a/>", "\"|\""},
        {"<!DOCTYPE a [<!ELEMENT a (b,c|d)>]><a/>", "separators differ"},
        {"<!DOCTYPE a [<!ELEMENT a (b|)>]><a/>", "after a separator"},
        {"<!DOCTYPE a [<!ATTLIST>]><a/>", "attribute-list"},
        {"<!DOCTYPE a [<!ATTLIST a x>]><a/>", "lacks its type"},
        {"<!DOCTYPE a [<!ATTLIST a x NOTATION>]><a/>", "notation type"},
        {"<!DOCTYPE a [<!ATTLIST a x (>]><a/>", "enumeration"},
        {"<!DOCTYPE a [<!ATTLIST a x CDATA #FIXED'1'>]><a/>", "#FIXED"},
        {"<!DOCTYPE a [<!ENTITY>]><a/>", "entity declaration"},
        {"<!DOCTYPE a [<!ENTITY e SYSTEM 's' NDATA>]><a/>", "NDATA"},
        {"<!DOCTYPE a [<!NOTATION>]><a/>", "notation declaration"},
        {"<!DOCTYPE a SYSTEM><a/>", "\"SYSTEM\" or \"PUBLIC\""},
        {"<a/><b/>", "after the root element"},
    };
    for (const auto& fault : kFaults) {
        EXPECT_NE(Said(fault.text).find(fault.words), std::string::npos) << fault.text << "\n" << Said(fault.text);
    }
}

TEST(Describe, SaysTheLineAndTheColumn) {
    EXPECT_EQ(Describe(ParsingException(13, 2, 7)), std::string("line 2, column 7: ") + ParsingErrorText(13));
    EXPECT_EQ(Describe(ParsingException(13, 1, 7)), std::string("line 1, column 6: ") + ParsingErrorText(13))
        << "the first line counts as all others";
    EXPECT_EQ(Describe(ParsingException(16, 1, 1)), std::string("line 1, column 1: ") + ParsingErrorText(16));
    EXPECT_EQ(Describe(ParsingException(12, 2, 0)), std::string("line 2, column 1: ") + ParsingErrorText(12));
    EXPECT_EQ(Describe(ParsingException(12, 0, 0)), std::string("line 0, column 1: ") + ParsingErrorText(12));
}

TEST(Describe, ShowsTheLineWithACaretUnderTheFault) {
    const std::string text = "<a>\n  <b></c>\n</a>";
    try {
        Parse(text);
        FAIL();
    } catch (const ParsingException& fault) {
        EXPECT_EQ(Describe(fault, text),
                  "line 2, column 8: the end tag is not that of the open element\n  <b></c>\n       ^");
    }
}

TEST(Describe, PutsTheCaretUnderTheSameCharacterOnEveryLine) {
    const std::string wanted = "<a x='<'/>\n      ^";
    EXPECT_NE(Said("<a x='<'/>").find(wanted), std::string::npos) << Said("<a x='<'/>");
    for (const char* before : {"<r>\n", "<r>\r\n", "<r>\r", "<r>\n\r\n\r"}) {
        const std::string said = Said(before + std::string("<a x='<'/>"));
        EXPECT_NE(said.find(wanted), std::string::npos) << said;
    }
    EXPECT_NE(Said("\xEF\xBB\xBF<a x='<'/>").find(wanted), std::string::npos) << "a mark is no part of the line";
}

TEST(Describe, CountsCharactersAndTabsAsTheScreenDoes) {
    EXPECT_NE(Said("<a>\n\t<b>\xC3\xA9\x01</b></a>").find("\t<b>\xC3\xA9?</b></a>\n\t    ^"), std::string::npos)
        << Said("<a>\n\t<b>\xC3\xA9\x01</b></a>");
}

TEST(Describe, ShowsNothingThatATerminalMightActOn) {
    const std::string said = Said("<a>\n\x1B[2J\x7F</a>");
    EXPECT_NE(said.find("\n?[2J?</a>\n^"), std::string::npos) << said;
}

TEST(Describe, CutsLongLinesAroundTheFault) {
    const std::string said = Said("<a>\n" + std::string(1000, 'x') + "<3" + std::string(1000, 'y') + "</a>");
    EXPECT_EQ(said.substr(said.find('\n') + 1),
              "..." + std::string(50, 'x') + "<3" + std::string(24, 'y') + "...\n" + std::string(53, ' ') + "^");
    for (int shift = 0; shift < 4; ++shift) {
        std::string line(static_cast<size_t>(shift), 'x');
        for (int i = 0; i < 300; ++i) line += "\xE2\x82\xAC";
        const std::string cut = Said("<a>\n" + line + "<3" + line + "</a>");
        const std::string shown = cut.substr(cut.find('\n') + 1);
        EXPECT_EQ(shown.substr(0, 6), "...\xE2\x82\xAC") << "no character is cut in two";
        EXPECT_NE(shown.find("\xE2\x82\xAC...\n"), std::string::npos) << "at neither end";
    }
}

TEST(Describe, OfOtherBytesShowsNoMoreThanThereIs) {
    EXPECT_EQ(Describe(ParsingException(13, 9, 9), "<a>\n</a>"),
              std::string("line 9, column 9: ") + ParsingErrorText(13) + "\n\n^");
    EXPECT_EQ(Describe(ParsingException(13, 2, 4000000000), "<a>\n</a>"),
              std::string("line 2, column 4000000000: ") + ParsingErrorText(13) + "\n</a>\n   ^");
}

}  // namespace
