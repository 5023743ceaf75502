// The model itself against answers worked out by hand: what it says of the library is worth no more than this.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "xml_model/parser.h"
#include "xml_model/writer.h"

namespace xml_model {
namespace {

using namespace std::string_view_literals;

std::string Outcome(std::string_view input) {
    try {
        Parse(input);
        return "accepted";
    } catch (const Fault& fault) {
        return std::to_string(fault.code) + " at " + std::to_string(fault.line) + ":" + std::to_string(fault.column);
    }
}

std::string Code(std::string_view input) {
    const std::string outcome = Outcome(input);
    return outcome.substr(0, outcome.find(' '));
}

std::string ModelOutput(std::string_view input, bool verbatim) {
    Writer writer(verbatim, "  ");
    writer.Write(Parse(input));
    return writer.Output();
}

TEST(Model, FaultsCarryTheCodeOfTheirConstruct) {
    const struct {
        std::string_view input;
        const char* code;
    } cases[] = {
        {"  ", "16"},
        {"<a>", "1"},
        {"<a>\x01</a>", "2"},
        {"<a b/>", "3"},
        {"<a b=c/>", "4"},
        {"<a b='<'/>", "5"},
        {"<a>&;</a>", "6"},
        {"<a>&#x;</a>", "7"},
        {"<a>&#;</a>", "8"},
        {"<a>&#X41;</a>", "8"},
        {"<a>&AMP;</a>", "9"},
        {"<1/>", "10"},
        {"<a/ >", "11"},
        {"<a x=\"1\"y=\"2\"/>", "12"},
        {"<a></A>", "13"},
        {"<a>]]></a>", "15"},
        {"<?xml-stylesheet?><a/>", "17"},
        {"<?xml version=\"1.0\" standalone=\"yes\" encoding=\"UTF-8\"?><a/>", "18"},
        {"<?xml version='1' encoding=x?><a/>", "19"},
        {"<?xml version='1' encoding=''?><a/>", "20"},
        {"<?xml version='1' standalone=x?><a/>", "21"},
        {"<?xml version='1' standalone='x'?><a/>", "22"},
        {"<!-- a -- b --><a/>", "23"},
        {"<? a?><a/>", "24"},
        {"<a><?XmL x?></a>", "25"},
        {"<!DOCTYPE a [<!--c-->]><a/>", "26"},
        {"<!DOCTYPE a [%;]><a/>", "27"},
        {"<!DOCTYPE a PUBLIC '\t' ''><a/>", "28"},
        {"<!DOCTYPE a [<!ELEMENT a>]><a/>", "29"},
        {"<!DOCTYPE a [<!ELEMENT a (#PCDATA|b)>]><a/>", "30"},
        {"<!DOCTYPE a [<!ELEMENT a (b|c,d)>]><a/>", "30"},
        {"<!DOCTYPE a [<!ELEMENT a (b,c|d)>]><a/>", "31"},
        {"<!DOCTYPE a [<!ELEMENT a (b|)>]><a/>", "32"},
        {"<!DOCTYPE a [<!ATTLIST>]><a/>", "33"},
        {"<!DOCTYPE a [<!ATTLIST a x>]><a/>", "34"},
        {"<!DOCTYPE a [<!ATTLIST a x NOTATION>]><a/>", "35"},
        {"<!DOCTYPE a [<!ATTLIST a x (|)>]><a/>", "36"},
        {"<!DOCTYPE a [<!ATTLIST a x CDATA #FIXED\"1\">]><a/>", "37"},
        {"<!DOCTYPE a [<!ENTITY>]><a/>", "38"},
        {"<!DOCTYPE a [<!ENTITY e SYSTEM '' NDATA>]><a/>", "39"},
        {"<!DOCTYPE a [<!NOTATION n>]><a/>", "40"},
        {"<!DOCTYPE a [<!NOTATION n PUBLIC \"p\">]><a/>", "41"},
        {"<a>x</a>y", "43"},
        {"<!DOCTYPE a [<!ELEMENT a (b;c)>]><a/>", "accepted"},
        {"<!DOCTYPE a [<!ELEMENT a (#PCDATA|)*>]><a/>", "accepted"},
        {"<a/>\0anything"sv, "accepted"},
        {"<a\xC0></a\xC0>", "accepted"},
    };
    for (const auto& expected : cases) {
        EXPECT_EQ(Code(expected.input), expected.code) << expected.input;
    }
}

TEST(Model, ColumnsOfTheFirstLineAreOneAheadOfThoseOfLaterLines) {
    EXPECT_EQ(Outcome("\x01"), "16 at 1:1");
    EXPECT_EQ(Outcome("<a>\x01"), "2 at 1:5");
    EXPECT_EQ(Outcome("<a>\n\x01"), "2 at 2:1");
    EXPECT_EQ(Outcome("<a>\r\n\x01"), "2 at 2:1");
    EXPECT_EQ(Outcome("<a>x</a>y"), "43 at 1:10");
}

TEST(Model, EveryRunOfTextIsANodeOfItsOwnEvenWhenEmpty) {
    const Document document = Parse("<a><b/></a>");
    const Node& root = document.node.children[document.root];
    ASSERT_EQ(root.children.size(), 3U);
    EXPECT_EQ(root.children[0].type, kText);
    EXPECT_EQ(root.children[0].value, "");
    EXPECT_EQ(root.children[1].name, "b");
    EXPECT_EQ(root.children[2].type, kText);
}

TEST(Model, WritesTheLayoutWorkedOutByHand) {
    EXPECT_EQ(ModelOutput("<r><a>x</a><b/></r>", false),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<r>\n  <a>x</a>\n  <b/>\n</r>");
    EXPECT_EQ(ModelOutput("<r><a>x</a><b/></r>", true),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?><r><a>x</a><b/></r>");
    EXPECT_EQ(ModelOutput("<!--c--><r/>", false), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!--c-->\n<r/>");
}

TEST(Model, WritesReferencesAndSpecialCharacters) {
    EXPECT_EQ(EscapeText("a<b&c"), "altbampc");
    EXPECT_EQ(ModelOutput("<r>&#x41;&#10;&#xE9;&lt;</r>", true),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?><r>&#x41;&#xA;&#x;&lt;</r>");
    EXPECT_EQ(ModelOutput("<r x='a\"b'/>", true), "<?xml version=\"1.0\" encoding=\"UTF-8\"?><r x=\"aquotb\"/>");
}

TEST(Model, TextIsCollapsedAndTrimmedAsItsNodeAsks) {
    const std::string spaced = " a \t b \n";
    const Document collapsed = Parse("<r x='" + spaced + "'>" + spaced + "</r>");
    const Node& root = collapsed.node.children[collapsed.root];
    EXPECT_EQ(GetText(root), "a b");
    EXPECT_EQ(GetText(root.attributes[0]), "a \t b");
    const Document preserved = Parse("<r xml:space=' preserve '>" + spaced + "</r>");
    EXPECT_EQ(GetText(preserved.node.children[0]), spaced);
    EXPECT_EQ(GetText(preserved.node), "a b");
}

}  // namespace
}  // namespace xml_model
