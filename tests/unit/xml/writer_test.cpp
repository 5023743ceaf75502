// The writer: every kind of node, both layouts, escaping.
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/xml.h"

using namespace AdvXMLParser;
using xml_tests::Parse;
using xml_tests::Written;
using xml_tests::WrittenVerbatim;

namespace {

const std::string kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";

std::string TextAsWritten(std::string_view text) {
    return Written(Text(nullptr, text));
}

TEST(Writing, LaysOutOneBlockALine) {
    Document document("r");
    document.root->GetOrCreateElement("a")->AppendText("x");
    document.root->GetOrCreateElement("b");
    EXPECT_EQ(Written(document), kDeclaration + "\n<r>\n  <a>x</a>\n  <b/>\n</r>");
    EXPECT_EQ(WrittenVerbatim(document), kDeclaration + "<r><a>x</a><b/></r>");
}

TEST(Writing, IndentsByTheGivenUnit) {
    Document document("r");
    document.root->GetOrCreateElement("a")->GetOrCreateElement("b");
    EXPECT_EQ(Written(document, 0, "\t"), kDeclaration + "\n<r>\n\t<a>\n\t\t<b/>\n\t</a>\n</r>");
    EXPECT_EQ(Written(document, 0, ""), kDeclaration + "\n<r>\n<a>\n<b/>\n</a>\n</r>");
    EXPECT_EQ(Written(document, 0, nullptr), Written(document, 0, ""));
}

TEST(Writing, IndentsByAUnitOfAnyLength) {
    Document document("r");
    document.root->GetOrCreateElement("a")->GetOrCreateElement("b");
    for (const size_t length : {31U, 32U, 33U, 63U, 64U, 65U, 200U, 5000U}) {
        const std::string unit(length, ' ');
        EXPECT_EQ(Written(document, 0, unit.c_str()),
                  kDeclaration + "\n<r>\n" + unit + "<a>\n" + unit + unit + "<b/>\n" + unit + "</a>\n</r>")
            << length;
    }
}

TEST(Writing, IndentsToAnyDepth) {
    for (const std::size_t length : {1U, 2U, 3U, 21U, 63U, 64U}) {
        const std::string unit(length, ' ');
        Document document("r");
        Node* innermost = document.root;
        std::string indentation;
        std::string tags = "<r>";
        std::string ends = "\n</r>";
        for (int depth = 0; depth < 100; ++depth) {
            innermost = innermost->GetOrCreateElement("e");
            indentation += unit;
            tags += "\n" + indentation + (depth < 99 ? "<e>" : "<e/>");
            if (depth < 99) ends = "\n" + indentation + "</e>" + ends;
        }
        EXPECT_EQ(Written(document, 0, unit.c_str()), kDeclaration + "\n" + tags + ends) << length;
    }
}

TEST(Writing, PutsNamesOfAnyLength) {
    std::vector<std::size_t> lengths = {4000, 4095, 4096, 4097, 9000};
    for (std::size_t length = 0; length < 600; ++length) lengths.push_back(length);
    for (const std::size_t length : lengths) {
        const std::string name(length, 'n');
        Element element(nullptr, name);
        EXPECT_EQ(WrittenVerbatim(element), "<" + name + "/>");
        Attribute* const attribute = new Attribute(&element, name);
        attribute->AppendText("v");
        element.attributes.push_back(attribute);
        element.AppendText("x");
        EXPECT_EQ(WrittenVerbatim(element), "<" + name + " " + name + "=\"v\">x</" + name + ">");
    }
}

TEST(Writing, DefaultsToTwoSpacesAndNoFlags) {
    const WriteContext context;
    EXPECT_EQ(context.flags, 0U);
    EXPECT_STREQ(context.indent, "  ");
    EXPECT_EQ(context.depth, 0);
    EXPECT_FALSE(context.afterBlock);
    EXPECT_FALSE(context.atLineStart);
}

TEST(Writing, WithoutAnOutputDoesNothing) {
    WriteContext context;
    Document("r").Write(context);
    EXPECT_EQ(context.depth, 0);
}

TEST(Writing, AppendsToWhatIsThere) {
    std::string output = "before";
    WriteContext context;
    context.output = &output;
    context.flags = WRITE_VERBATIM;
    Element(nullptr, "e").Write(context);
    EXPECT_EQ(output, "before<e/>");
}

TEST(Writing, ReadsNoOtherFlag) {
    EXPECT_EQ(Written(Document("r"), 0xFFFFFFFEU), Written(Document("r"), 0));
    EXPECT_EQ(Written(Document("r"), 0xFFFFFFFFU), Written(Document("r"), WRITE_VERBATIM));
}

TEST(Writing, AnEmptyElementIsOneTag) {
    EXPECT_EQ(WrittenVerbatim(Element(nullptr, "b")), "<b/>");
}

TEST(Writing, AnElementWithAnEmptyTextIsTwoTags) {
    Element element(nullptr, "b");
    element.AppendText("");
    EXPECT_EQ(WrittenVerbatim(element), "<b></b>");
    EXPECT_EQ(Written(element), "\n<b></b>");
}

TEST(Writing, AnElementAloneBeginsWithALineFeed) {
    EXPECT_EQ(Written(Element(nullptr, "b")), "\n<b/>");
}

TEST(Writing, ACommentBeforeTheRootLeavesNoEmptyLine) {
    Document document;
    document.AppendChild(new Comment(&document, " c "));
    document.AppendChild(new Element(&document, "r"));
    EXPECT_EQ(Written(document), kDeclaration + "\n<!-- c -->\n<r/>");
}

TEST(Writing, ACommentAfterTheRootStandsOnALineOfItsOwn) {
    EXPECT_EQ(Written(*Parse("<r>x</r><!-- c -->")), kDeclaration + "\n<r>x</r>\n<!-- c -->\n");
    EXPECT_EQ(Written(*Parse("<r/><!--c--><?p d?>")), kDeclaration + "\n<r/>\n<!--c-->\n<?p d?>\n");
    EXPECT_EQ(WrittenVerbatim(*Parse("<r>x</r>\n<!-- c -->")), kDeclaration + "<r>x</r><!-- c -->");
}

TEST(Writing, WhiteSpaceInAnAttributesTextIsCollapsedToo) {
    const auto document = Parse("<r a=' 1 \n\t2 ' b='\n' c='&lt;  &gt;'/>");
    EXPECT_EQ(Written(*document->root), "\n<r a=\" 1 2 \" b=\" \" c=\"&lt; &gt;\"/>");
    EXPECT_EQ(WrittenVerbatim(*document->root), "<r a=\" 1 \n\t2 \" b=\"\n\" c=\"&lt;  &gt;\"/>");
}

TEST(Writing, BlocksInsideOfAnElementAreFollowedByALineFeed) {
    Element element(nullptr, "e");
    element.AppendChild(new Comment(&element, "m"));
    element.AppendChild(new CData(&element, "c"));
    element.AppendChild(new Pi(&element, "p", "d"));
    element.AppendChild(new Element(&element, "x"));
    EXPECT_EQ(Written(element), "\n<e>\n  <!--m-->\n  <![CDATA[c]]>\n  <?p d?>\n  <x/>\n</e>");
}

TEST(Writing, ATextEvenAnEmptyOneEndsTheLineThatABlockHasBegun) {
    Element element(nullptr, "e");
    element.AppendChild(new Comment(&element, "m"));
    element.AppendText("");
    element.AppendChild(new Element(&element, "x"));
    EXPECT_EQ(Written(element), "\n<e>\n  <!--m-->\n\n  <x/>\n</e>");
}

TEST(Writing, MixedContentStaysInline) {
    EXPECT_EQ(Written(*Parse("<r>a <b>c</b>\n d</r>")), kDeclaration + "\n<r>a \n  <b>c</b> d\n</r>");
}

TEST(Writing, LeavesTheContextWhereTheTreeEnds) {
    std::string output;
    WriteContext context;
    context.output = &output;
    Element element(nullptr, "e");
    element.AppendChild(new Comment(&element, "m"));
    element.Write(context);
    EXPECT_EQ(context.depth, 0);
    EXPECT_TRUE(context.afterBlock);
    EXPECT_FALSE(context.atLineStart);
    Comment(nullptr, "m").Write(context);
    EXPECT_TRUE(context.atLineStart);
    EXPECT_EQ(context.depth, 0);
}

TEST(Writing, GoesOnFromTheGivenContext) {
    std::string output;
    WriteContext context;
    context.output = &output;
    context.depth = 2;
    context.atLineStart = true;
    Element(nullptr, "e").Write(context);
    EXPECT_EQ(output, "    <e/>");
}

TEST(Writing, VerbatimDoesNotGiveTheDepthBack) {
    std::string output;
    WriteContext context;
    context.output = &output;
    context.flags = WRITE_VERBATIM;
    Element element(nullptr, "e");
    element.AppendText("x");
    element.Write(context);
    EXPECT_EQ(context.depth, 1);
    Element(nullptr, "empty").Write(context);
    EXPECT_EQ(context.depth, 1);
}

TEST(Writing, ADocumentWritesItsDeclarationAlways) {
    Document document;
    document.version = "";
    document.encoding = "";
    document.standalone = false;
    EXPECT_EQ(Written(document), "<?xml version=\"\" encoding=\"\"?>\n");
    EXPECT_EQ(WrittenVerbatim(document), "<?xml version=\"\" encoding=\"\"?>");
}

TEST(Writing, AttributesAreInDoubleQuotes) {
    const auto document = Parse("<r a='1' long-attribute-name=\"a value that is long, too\" c=''/>");
    EXPECT_EQ(WrittenVerbatim(*document->root),
              "<r a=\"1\" long-attribute-name=\"a value that is long, too\" c=\"\"/>");
}

TEST(Writing, QuotesInsideOfAttributesBecomeNames) {
    const auto document = Parse("<r a='say \"x\"' b=\"it's\"/>");
    EXPECT_EQ(WrittenVerbatim(*document->root), "<r a=\"say quotxquot\" b=\"itaposs\"/>");
}

TEST(Writing, ReferencesStayReferences) {
    const auto document = Parse("<r a='&lt;&#x41;'>&amp;x&#10;</r>");
    EXPECT_EQ(WrittenVerbatim(*document->root), "<r a=\"&lt;&#x41;\">&amp;x&#xA;</r>");
}

TEST(Writing, CharRefDigitsFollowTheSignedValue) {
    const std::pair<int, const char*> cases[] = {{0x41, "&#x41;"}, {0x0A, "&#xA;"}, {0x7F, "&#x7F;"}, {0x10, "&#x10;"},
                                                 {0x01, "&#x1;"},  {0x00, "&#x;"},  {0xE9, "&#x;"},   {0x80, "&#x;"}};
    for (const auto& [value, expected] : cases) {
        EXPECT_EQ(Written(CharRef(nullptr, value)), expected) << value;
    }
}

TEST(Writing, APiWithoutDataHasNoSpace) {
    EXPECT_EQ(WrittenVerbatim(Pi(nullptr, "xml-stylesheet", "")), "<?xml-stylesheet?>");
    EXPECT_EQ(WrittenVerbatim(Pi(nullptr, "xml-stylesheet", "a b")), "<?xml-stylesheet a b?>");
    EXPECT_EQ(WrittenVerbatim(Pi(nullptr, "", "")),
              "<?"
              "?>");
}

TEST(Writing, CheckNothing) {
    EXPECT_EQ(WrittenVerbatim(Comment(nullptr, "a--b")), "<!--a--b-->");
    EXPECT_EQ(WrittenVerbatim(CData(nullptr, "a]]>b & <c>")), "<![CDATA[a]]>b & <c>]]>");
    EXPECT_EQ(WrittenVerbatim(Element(nullptr, "1 < 2")), "<1 < 2/>");
    EXPECT_EQ(WrittenVerbatim(Element(nullptr, "")), "</>");
}

TEST(Writing, NodesInUnusualPlacesAreWrittenAllTheSame) {
    Element element(nullptr, "e");
    Attribute* attribute = new Attribute(&element, "a");
    attribute->AppendChild(new Element(attribute, "x"));
    element.attributes.push_back(attribute);
    element.AppendChild(new Attribute(&element, "b"));
    element.AppendChild(new Document("d"));
    EXPECT_EQ(WrittenVerbatim(element), "<e a=\"<x/>\">b=\"\"" + kDeclaration + "<d/></e>");
}

TEST(Writing, AnAttributeWithABlockPutsTheEndTagOnALineOfItsOwn) {
    Element element(nullptr, "e");
    Attribute* attribute = new Attribute(&element, "a");
    attribute->AppendChild(new Element(attribute, "x"));
    element.attributes.push_back(attribute);
    element.AppendText("t");
    EXPECT_EQ(Written(element), "\n<e a=\"\n  <x/>\">t\n</e>");
    Element outer(nullptr, "o");
    Element* const inner = static_cast<Element*>(element.Clone(&outer));
    inner->attributes.push_back(static_cast<Attribute*>(attribute->Clone(inner)));
    outer.AppendChild(inner);
    EXPECT_EQ(Written(outer), "\n<o>\n  <e a=\"\n    <x/>\">t\n  </e>\n</o>");
}

/// Texts are put piece by piece, each of which must fit into what is left of the buffer of 4096 bytes.
TEST(Writing, ALongTextMayBeginAtAnyPlaceOfTheBuffer) {
    for (size_t before = 3400; before < 4200; ++before) {
        const std::string name(before, 'n');
        const std::string text = std::string(511, 't') + "&" + std::string(700, 't');
        Element element(nullptr, "e");
        element.AppendChild(new Comment(&element, name.substr(0, 500)));
        for (size_t left = before - 500; left > 0; left -= std::min<size_t>(left, 500)) {
            element.AppendChild(new Text(&element, name.substr(0, std::min<size_t>(left, 500))));
        }
        element.AppendChild(new Text(&element, text));
        element.GetOrCreateElement("i");
        EXPECT_EQ(Written(element, 0, "--"), "\n<e>\n--<!--" + name.substr(0, 500) + "-->\n" + name.substr(500) +
                                                 TextAsWritten(text) + "\n--<i/>\n</e>");
    }
}

TEST(Writing, AContainersOwnWriteWritesItsChildren) {
    Element element(nullptr, "e");
    element.AppendText("x");
    element.AppendChild(new Element(&element, "y"));
    std::string output;
    WriteContext context;
    context.output = &output;
    element.NodeContainer::Write(context);
    EXPECT_EQ(output, "x\n<y/>");
}

TEST(Escaping, PutsBareNames) {
    EXPECT_EQ(TextAsWritten("a<b&c"), "altbampc");
    EXPECT_EQ(TextAsWritten("<>&'\""), "ltgtampaposquot");
    EXPECT_EQ(TextAsWritten("<"), "lt");
    EXPECT_EQ(TextAsWritten(""), "");
}

TEST(Escaping, LetsEverythingElsePass) {
    std::string text;
    for (int c = 0; c < 256; ++c) {
        if (std::string_view("<>&'\" \t\r\n").find(static_cast<char>(c)) == std::string_view::npos) {
            text += static_cast<char>(c);
        }
    }
    EXPECT_EQ(TextAsWritten(text), text);
    EXPECT_EQ(WrittenVerbatim(Text(nullptr, text)), text);
}

TEST(Escaping, CollapsesWhiteSpaceWithoutTrimming) {
    EXPECT_EQ(TextAsWritten("a  \nb"), "a b");
    EXPECT_EQ(TextAsWritten("\n  a\t"), " a ");
    EXPECT_EQ(TextAsWritten("   "), " ");
    EXPECT_EQ(TextAsWritten("\n"), " ");
    EXPECT_EQ(WrittenVerbatim(Text(nullptr, "a  \nb\r")), "a  \nb\r");
}

/// All texts of one length over a few telling characters, at all places around the ends of the blocks in which the
/// writer works.
TEST(Escaping, IsTheSameAtEveryPlaceOfALongText) {
    const std::string_view letters = "x \n<";
    for (size_t before : {0U, 1U, 11U, 12U, 13U, 14U, 15U, 16U, 17U, 28U, 31U, 32U, 60U}) {
        for (unsigned number = 0; number < 1024; ++number) {
            std::string text(before, '.');
            for (unsigned digits = number, i = 0; i < 5; ++i, digits /= 4) text += letters[digits % 4];
            text += number % 3 == 0 ? "" : number % 3 == 1 ? " end" : "........................ and a longer end";
            std::string verbatim;
            std::string collapsed;
            for (const char c : text) {
                const bool isWhite = c == ' ' || c == '\n';
                verbatim += c == '<' ? std::string("lt") : std::string(1, c);
                if (isWhite && !collapsed.empty() && collapsed.back() == ' ') continue;
                collapsed += c == '<' ? std::string("lt") : std::string(1, isWhite ? ' ' : c);
            }
            ASSERT_EQ(TextAsWritten(text), collapsed) << text;
            ASSERT_EQ(WrittenVerbatim(Text(nullptr, text)), verbatim) << text;
        }
    }
}

TEST(Escaping, OfTextsLargerThanTheBuffer) {
    std::string text;
    std::string expected;
    for (int i = 0; i < 5000; ++i) {
        text += "word  <";
        expected += "word lt";
    }
    EXPECT_EQ(TextAsWritten(text), expected);
    const Comment comment(nullptr, text);
    EXPECT_EQ(WrittenVerbatim(comment), "<!--" + text + "-->");
}

}  // namespace
