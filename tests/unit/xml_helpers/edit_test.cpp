// Changing by the helpers: texts, attributes, elements.
// SPDX-License-Identifier: MIT
#include <clocale>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include <wpk/xml_helpers.h>

#include "support/xml.h"

using namespace wpk::xml;
using xml_tests::Shape;

namespace {

/// What the written element says.
template <class T>
std::string WrittenText(const T& value) {
    Document document("a");
    EXPECT_TRUE(SetText(document.root, value));
    return ToString(*document.root);
}

TEST(AppendEscaped, MakesReferencesOfTheFive) {
    Document document("a");
    EXPECT_TRUE(AppendEscaped(document.root, "Tom & Jerry <3 \"it's\">"));
    EXPECT_EQ(ToString(*document.root), "<a>Tom &amp; Jerry &lt;3 &quot;it&apos;s&quot;&gt;</a>");
    EXPECT_EQ(Shape(*document.root), "T(Tom ) R(amp) T( Jerry ) R(lt) T(3 ) R(quot) T(it) R(apos) T(s) R(quot) R(gt)");
}

TEST(AppendEscaped, GivesEveryPieceItsParent) {
    Document document("a");
    AppendEscaped(document.root, "x<\n");
    for (const Node* piece : document.root->children) EXPECT_EQ(piece->parent, document.root);
    EXPECT_TRUE(Remove(document.root->children[1]));
    EXPECT_EQ(Shape(*document.root), "T(x) #0A");
}

TEST(AppendEscaped, AddsToWhatIsThere) {
    Document document("a");
    document.root->AppendText("1 ");
    AppendEscaped(document.root, "< ");
    AppendEscaped(document.root, 2);
    EXPECT_EQ(document.root->GetText(), "1 < 2");
}

TEST(AppendEscaped, GoesAtTheEndAlsoWhereTextIsPending) {
    Document document("a");
    document.root->AppendText("1");
    document.root->pendingText = static_cast<AdvXMLParser::Text*>(document.root->children[0]);
    Add(document.root, "b");
    document.root->pendingText = static_cast<AdvXMLParser::Text*>(document.root->children[0]);
    AppendEscaped(document.root, "2");
    document.root->AppendText("3");
    EXPECT_EQ(Shape(*document.root), "T(1) E(b) T(2) T(3)");
}

TEST(AppendEscaped, OfNothingAddsNothing) {
    Document document("a");
    EXPECT_TRUE(AppendEscaped(document.root, ""));
    EXPECT_TRUE(AppendEscaped(document.root, static_cast<const char*>(nullptr)));
    EXPECT_EQ(document.root->children.size(), 0U);
}

TEST(AppendEscaped, KeepsWhiteSpaceThatTheWriterWouldCollapse) {
    EXPECT_EQ(WrittenText("a b"), "<a>a b</a>");
    EXPECT_EQ(WrittenText("a  b"), "<a>a &#x20;b</a>");
    EXPECT_EQ(WrittenText("\ta\r\n"), "<a>&#x9;a&#xD;&#xA;</a>");
}

TEST(AppendEscaped, LeavesBytesAbove127AsTheyAre) {
    EXPECT_EQ(WrittenText("\xC3\xA9\xFF\x7F"), "<a>\xC3\xA9\xFF\x7F</a>");
}

TEST(AppendEscaped, RefusesWhatNoDocumentCanHold) {
    Document document("a");
    document.root->AppendText("before");
    for (int byte = 0; byte < 0x20; ++byte) {
        if (byte == '\t' || byte == '\n' || byte == '\r') continue;
        const std::string text{'x', static_cast<char>(byte)};
        EXPECT_THROW(AppendEscaped(document.root, text), std::invalid_argument) << byte;
        EXPECT_THROW(SetText(document.root, text), std::invalid_argument) << byte;
        EXPECT_THROW(SetAttribute(document.root, "n", text), std::invalid_argument) << byte;
        EXPECT_THROW(Add(document.root, "n", text), std::invalid_argument) << byte;
    }
    EXPECT_EQ(ToString(*document.root), "<a>before</a>");
}

TEST(SetText, WritesValues) {
    EXPECT_EQ(WrittenText(-7), "<a>-7</a>");
    EXPECT_EQ(WrittenText(std::numeric_limits<unsigned long long>::max()), "<a>18446744073709551615</a>");
    EXPECT_EQ(WrittenText(static_cast<signed char>(-5)), "<a>-5</a>") << "a number, not a character";
    EXPECT_EQ(WrittenText(true), "<a>true</a>");
    EXPECT_EQ(WrittenText(false), "<a>false</a>");
    EXPECT_EQ(WrittenText('<'), "<a>&lt;</a>");
    EXPECT_EQ(WrittenText(12.5), "<a>12.5</a>");
    EXPECT_EQ(WrittenText(0.1), "<a>0.1</a>");
    EXPECT_EQ(WrittenText(0.1F), "<a>0.1</a>");
    EXPECT_EQ(WrittenText(std::string("s")), "<a>s</a>");
    EXPECT_EQ(WrittenText(std::string_view("v")), "<a>v</a>");
    EXPECT_EQ(WrittenText(AdvXMLParser::ByteString("b")), "<a>b</a>");
}

TEST(SetText, WritesNumbersSoThatTheyReadBack) {
    Document document("a");
    for (const double value : {0.1, 1.0 / 3, -1e-300, 1e300, std::numeric_limits<double>::denorm_min(),
                               (std::numeric_limits<double>::max)()}) {
        SetText(document.root, value);
        EXPECT_EQ(TextOr(document.root, 0.0), value);
    }
    // With mingw-w64, std::from_chars reads no more digits of a long double than of a double.
    const long double wide = 1.0L / 3;
    SetText(document.root, wide);
    EXPECT_EQ(static_cast<double>(TextOr(document.root, 0.0L)), static_cast<double>(wide));
    SetText(document.root, -12.5L);
    EXPECT_EQ(TextOr(document.root, 0.0L), -12.5L);
}

TEST(SetText, WritesADotWhateverTheLocale) {
    const std::string before = std::setlocale(LC_ALL, nullptr);
    std::setlocale(LC_ALL, "de_DE.UTF-8");
    const std::string written = WrittenText(1.5);
    std::setlocale(LC_ALL, before.c_str());
    EXPECT_EQ(written, "<a>1.5</a>");
}

TEST(SetText, ReplacesEverythingInside) {
    const auto document = Parse("<a>text<b/>&lt;<!--c--></a>");
    SetText(document->root, "new");
    EXPECT_EQ(Shape(*document->root), "T(new)");
    SetText(document->root, "");
    EXPECT_EQ(ToString(*document->root), "<a/>");
}

TEST(SetText, TakesAValueFromWhatItReplaces) {
    const auto document = Parse("<a>a text that is too long for its place</a>");
    const std::string_view text = static_cast<AdvXMLParser::Text*>(document->root->children[0])->text;
    SetText(document->root, text.substr(2));
    EXPECT_EQ(document->root->GetText(), "text that is too long for its place");
}

TEST(SetText, LetsTheTextThatWasPendingGo) {
    const auto document = Parse("<a>text</a>");
    document->root->pendingText = static_cast<AdvXMLParser::Text*>(document->root->children[0]);
    SetText(document->root, "1");
    document->root->AppendText("2");
    EXPECT_EQ(document->root->GetText(), "12");
}

TEST(SetText, WritesAnAttributesValue) {
    const auto document = Parse("<a x='1'/>");
    EXPECT_TRUE(SetText(FindAttribute(document->root, "x"), "<2>"));
    EXPECT_EQ(ToString(*document->root), "<a x=\"&lt;2&gt;\"/>");
}

TEST(SetAttribute, AddsOrReplaces) {
    Document document("a");
    EXPECT_TRUE(SetAttribute(document.root, "n", 1));
    EXPECT_TRUE(SetAttribute(document.root, "t", "Tom & \"Jerry\""));
    EXPECT_TRUE(SetAttribute(document.root, "n", 2));
    EXPECT_TRUE(SetAttribute(document.root, "b", true));
    EXPECT_EQ(ToString(*document.root), "<a n=\"2\" t=\"Tom &amp; &quot;Jerry&quot;\" b=\"true\"/>");
    for (const Attribute* attribute : document.root->attributes) EXPECT_EQ(attribute->parent, document.root);
}

TEST(SetAttribute, TakesItsOwnValueAndName) {
    const auto document = Parse("<a a-name-that-is-too-long-for-its-place='a value that is too long for its place'/>");
    const Attribute* attribute = document->root->attributes[0];
    const std::string_view value = static_cast<AdvXMLParser::Text*>(attribute->children[0])->text;
    SetAttribute(document->root, attribute->name, value.substr(2));
    EXPECT_EQ(attribute->GetText(), "value that is too long for its place");
    EXPECT_EQ(document->root->attributes.size(), 1U);
}

TEST(SetAttribute, OfXmlSpaceCountsAtOnce) {
    Document document("a");
    SetAttribute(document.root, "xml:space", "preserve");
    EXPECT_TRUE(document.root->preserveSpace);
    SetAttribute(document.root, "xml:space", "default");
    EXPECT_FALSE(document.root->preserveSpace);
}

TEST(Names, ThatNoDocumentCanHoldAreRefused) {
    Document document("a");
    for (const char* name :
         {"", "1", "-a", ".a", "a b", "a<", "a>", "a&b", "a=", "a/", "a\"", "\xC3\xA9", "a\xD7", "a\n"}) {
        EXPECT_THROW(Add(document.root, name), std::invalid_argument) << name;
        EXPECT_THROW(Add(document.root, name, 1), std::invalid_argument) << name;
        EXPECT_THROW(SetAttribute(document.root, name, 1), std::invalid_argument) << name;
    }
    EXPECT_EQ(ToString(*document.root), "<a/>");
}

TEST(Names, AreThoseThatTheParserTakes) {
    for (int first = 1; first < 256; ++first) {
        for (const std::string& name :
             {std::string(1, static_cast<char>(first)), "a" + std::string(1, static_cast<char>(first))}) {
            bool isRead = false;
            try {
                isRead = Parse("<" + name + "/>")->root->name == name;
            } catch (const ParsingException&) {
                isRead = false;
            }
            Document document("a");
            bool isTaken = true;
            try {
                Add(document.root, name);
            } catch (const std::invalid_argument&) {
                isTaken = false;
            }
            EXPECT_EQ(isTaken, isRead) << first << " " << name.size();
        }
    }
}

TEST(Add, AppendsElements) {
    Document document("a");
    Element* b = Add(document.root, "b");
    Add(b, "c", 1);
    Add(document.root, "b", "Tom & Jerry");
    EXPECT_EQ(b->parent, document.root);
    EXPECT_EQ(ToString(document, WRITE_VERBATIM),
              R"(<?xml version="1.0" encoding="UTF-8"?><a><b><c>1</c></b><b>Tom &amp; Jerry</b></a>)");
}

TEST(Add, MakesTheRootOfADocumentWithoutOne) {
    Document document;
    Element* root = Add(&document, "a", 1);
    EXPECT_EQ(document.root, root);
    EXPECT_EQ(root->parent, &document);
    EXPECT_TRUE(IsNull(Add(&document, "b")));
    EXPECT_TRUE(IsNull(Add(&document, "b", 1)));
    EXPECT_EQ(document.children.size(), 1U);
}

TEST(Add, TakesItsNameFromTheTreeItself) {
    const auto document = Parse("<a><a-name-that-is-too-long-for-its-place/></a>");
    for (int i = 0; i < 20; ++i) Add(document->root, (*Children(document->root).begin())->name);
    EXPECT_EQ(document->root->children.back()->name, "a-name-that-is-too-long-for-its-place");
}

TEST(Remove, TakesChildrenAttributesAndTheRoot) {
    const auto document = Parse("<!--c--><a x='1' y='2'>text<b><c/></b>&lt;</a>");
    EXPECT_TRUE(Remove(FindAttribute(document->root, "x")));
    EXPECT_TRUE(Remove(document->root->FindElement("b")));
    EXPECT_EQ(ToString(*document->root), "<a y=\"2\">text&lt;</a>");
    while (!document->root->children.empty()) EXPECT_TRUE(Remove(document->root->children[0]));
    EXPECT_TRUE(Remove(document->root));
    EXPECT_EQ(document->root, nullptr);
    EXPECT_EQ(document->children.size(), 1U);
    EXPECT_TRUE(Remove(document->children[0]));
    EXPECT_EQ(Add(document.get(), "new"), document->root);
}

TEST(Remove, LetsTheTextThatWasPendingGo) {
    const auto document = Parse("<a>text</a>");
    document->root->pendingText = static_cast<AdvXMLParser::Text*>(document->root->children[0]);
    EXPECT_TRUE(Remove(document->root->children[0]));
    document->root->AppendText("new");
    EXPECT_EQ(document->root->GetText(), "new");
}

TEST(Remove, LeavesANodeThatStandsNowhere) {
    Document document("a");
    Element alone(document.root, "b");
    EXPECT_FALSE(Remove(&alone));
    EXPECT_FALSE(Remove(&document));
    EXPECT_EQ(document.root->children.size(), 0U);
}

TEST(EditedNullNodes, AreNeverWrittenTo) {
    const auto document = Parse("<a>text</a>");
    Node* const nothing[] = {nullptr,
                             &AdvXMLParser::NullElement(),
                             &AdvXMLParser::NullAttribute(),
                             &AdvXMLParser::NullComment(),
                             &AdvXMLParser::NullPi(),
                             &AdvXMLParser::NullCData(),
                             document->root->FindElement("missing"),
                             FindAttribute(document->root, "missing"),
                             document->root->children[0],
                             document.get()};
    for (Node* node : nothing) {
        EXPECT_FALSE(AppendEscaped(node, "x<"));
        EXPECT_FALSE(SetText(node, "x<"));
        EXPECT_FALSE(SetAttribute(node, "n", "x"));
        EXPECT_FALSE(SetAttribute(node, "xml:space", "preserve"));
        EXPECT_TRUE(IsNull(Add(node, "n")));
        EXPECT_TRUE(IsNull(Add(node, "n", "x")));
        EXPECT_TRUE(IsNull(AddCopy(node, document->root)));
        if (node != document->root->children[0]) {
            EXPECT_FALSE(Remove(node));
        }
    }
    EXPECT_FALSE(SetAttribute(document->root->children[0], "n", "x"));
    for (const NodeContainer* node : {static_cast<NodeContainer*>(&AdvXMLParser::NullElement()),
                                      static_cast<NodeContainer*>(&AdvXMLParser::NullAttribute())}) {
        EXPECT_EQ(node->children.size(), 0U);
        EXPECT_EQ(node->pendingText, nullptr);
        EXPECT_EQ(node->name, "");
    }
    EXPECT_EQ(AdvXMLParser::NullElement().attributes.size(), 0U);
    EXPECT_FALSE(AdvXMLParser::NullElement().preserveSpace);
    EXPECT_EQ(ToString(*document->root), "<a>text</a>");
}

TEST(RemoveLayout, LetsADocumentBeLaidOutAnew) {
    const std::string laidOut = "<a>\n  <b>\n    <c>1</c>\n  </b>\n  <d/>\n</a>";
    const auto document = Parse("<a>\n      <b> <c>1</c></b>\n\n<d/></a>");
    RemoveLayout(document.get());
    EXPECT_EQ(ToString(*document->root), laidOut);
    const auto again = Parse(laidOut);
    RemoveLayout(again->root);
    EXPECT_EQ(ToString(*again->root), laidOut);
}

TEST(RemoveLayout, LeavesTextsWithWordsAndPreservedSpace) {
    const std::string text =
        "<a><p><b>x</b> <i>y</i>&lt;</p><q> </q><r xml:space=\"preserve\"> <s> <t/></s></r>"
        "<u>1 <v/> 2</u><w><![CDATA[ ]]> <x/></w></a>";
    const auto document = Parse(text);
    RemoveLayout(document.get());
    EXPECT_EQ(ToString(*document->root, WRITE_VERBATIM), text);
    RemoveLayout(nullptr);
    RemoveLayout(&AdvXMLParser::NullElement());
}

TEST(RemoveLayout, LetsTheTextThatWasPendingGo) {
    const auto document = Parse("<a> <b/></a>");
    document->root->pendingText = static_cast<AdvXMLParser::Text*>(document->root->children[0]);
    RemoveLayout(document->root);
    EXPECT_EQ(document->root->pendingText, nullptr);
}

}  // namespace
