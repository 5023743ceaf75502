// GetText: white space at every level.
// SPDX-License-Identifier: MIT
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "support/xml.h"

using namespace AdvXMLParser;
using xml_tests::Parse;

namespace {

TEST(GetText, CollapsesAndTrimsInAnElement) {
    Element element(nullptr, "e");
    element.AppendText(" a \t b \n");
    EXPECT_EQ(element.GetText(), "a b");
}

TEST(GetText, LeavesAPreservingElementAlone) {
    Element element(nullptr, "e");
    element.AppendText(" a \t b \n");
    element.preserveSpace = true;
    EXPECT_EQ(element.GetText(), " a \t b \n");
}

TEST(GetText, TrimsAnAttributeWithoutCollapsing) {
    Attribute attribute(nullptr, "a");
    attribute.AppendText(" a \t b \n");
    EXPECT_EQ(attribute.GetText(), "a \t b");
}

TEST(GetText, OfADocumentAlwaysNormalises) {
    EXPECT_EQ(Parse("<r xml:space='preserve'> a  b </r>")->GetText(), "a b");
}

TEST(GetText, OfAPreservingElementInsideAnotherIsCollapsedByThatOne) {
    const auto document = Parse("<r>[<p xml:space='preserve'>  x  y  </p>]</r>");
    EXPECT_EQ(document->root->children[1]->GetText(), "  x  y  ");
    EXPECT_EQ(document->root->GetText(), "[ x y ]");
}

TEST(GetText, TrimsInnerElementsBeforeTheyMeetTheirSurroundings) {
    EXPECT_EQ(Parse("<r>a<b> b </b>c</r>")->GetText(), "abc");
    EXPECT_EQ(Parse("<r>a <b> b </b> c</r>")->GetText(), "a b c");
    EXPECT_EQ(Parse("<r>a <b>  </b> c</r>")->GetText(), "a c");
    EXPECT_EQ(Parse("<r>  <b> <c> </c> x</b> </r>")->GetText(), "x");
}

TEST(GetText, CountsCommentsInstructionsAndSectionsIn) {
    EXPECT_EQ(Parse("<r>a<!-- b --><?p c?><![CDATA[ d ]]>&lt;&#65;</r>")->root->GetText(), "a b c d <A");
}

TEST(GetText, TakesOnlyFourCharactersForWhiteSpace) {
    Element element(nullptr, "e");
    const std::string text = "\v\fx\xA0\x1F";
    element.AppendText(text);
    EXPECT_EQ(element.GetText(), text);
    const std::string withZero("a\0 \0b", 5);
    element.DeleteChildren();
    element.AppendText(withZero);
    EXPECT_EQ(element.GetText(), withZero);
}

TEST(GetText, OfNothingIsEmpty) {
    EXPECT_EQ(Element(nullptr, "e").GetText(), "");
    EXPECT_EQ(Document().GetText(), "");
    Element element(nullptr, "e");
    element.AppendText(" \t\r\n ");
    EXPECT_EQ(element.GetText(), "");
}

// The rules as they are stated, one level after the other.

bool IsWhite(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

std::string Collapsed(const std::string& text) {
    std::string result;
    for (const char c : text) {
        if (!IsWhite(c)) {
            result += c;
        } else if (result.empty() || result.back() != ' ') {
            result += ' ';
        }
    }
    return result;
}

std::string Trimmed(std::string text) {
    while (!text.empty() && IsWhite(text.back())) text.pop_back();
    while (!text.empty() && IsWhite(text.front())) text.erase(0, 1);
    return text;
}

std::string ModelText(const Node& node) {
    const auto* container = dynamic_cast<const NodeContainer*>(&node);
    if (!container) return node.GetText();
    std::string text;
    for (const Node* child : container->children) text += ModelText(*child);
    if (node.IsType(ATTRIBUTE_NODE)) return Trimmed(text);
    const auto* element = dynamic_cast<const Element*>(&node);
    if (element && element->preserveSpace) return text;
    return Trimmed(Collapsed(text));
}

/// A tree of any containers in any order, also of such as no parser makes.
class TreeMaker {
public:
    explicit TreeMaker(unsigned seed) : random_(seed) {}

    void Fill(NodeContainer& container, int depth) {
        const unsigned count = random_() % 5;
        for (unsigned i = 0; i < count; ++i) {
            switch (depth == 0 ? 0 : random_() % 6) {
                case 0:
                case 1:
                    container.AppendText(RandomText());
                    break;
                case 2: {
                    Attribute* attribute = new Attribute(&container, "a");
                    container.AppendChild(attribute);
                    Fill(*attribute, depth - 1);
                    break;
                }
                case 3: {
                    Document* document = new Document();
                    container.AppendChild(document);
                    if (random_() % 4 == 0) Fill(*document, depth - 1);
                    break;
                }
                default: {
                    Element* element = new Element(&container, "e");
                    element->preserveSpace = random_() % 2 == 0;
                    container.AppendChild(element);
                    Fill(*element, depth - 1);
                    break;
                }
            }
        }
    }

private:
    std::string RandomText() {
        std::string text;
        for (unsigned i = random_() % 5; i > 0; --i) text += " \t\r\nab "[random_() % 7];
        return text;
    }

    std::mt19937 random_;
};

TEST(GetText, OfRandomTreesIsWhatTheRulesGiveLevelByLevel) {
    for (unsigned seed = 0; seed < 4000; ++seed) {
        TreeMaker maker(seed);
        Element element(nullptr, "e");
        element.preserveSpace = seed % 2 == 0;
        maker.Fill(element, 5);
        ASSERT_EQ(element.GetText(), ModelText(element)) << "seed " << seed;
        Attribute attribute(nullptr, "a");
        maker.Fill(attribute, 4);
        ASSERT_EQ(attribute.GetText(), ModelText(attribute)) << "seed " << seed;
    }
}

}  // namespace
