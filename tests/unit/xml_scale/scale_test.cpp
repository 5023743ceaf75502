// Trees a million levels deep, with 64 KiB of stack, and a million of everything: what is not linear does not end.
// SPDX-License-Identifier: MIT
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "support/sanitized.h"
#include "support/small_stack.h"
#include "support/xml.h"

using namespace AdvXMLParser;
using wpk::test::RunOnSmallStack;
using xml_tests::Parse;
using xml_tests::WrittenVerbatim;

namespace {

/// A tenth is more than deep enough for 64 KiB of stack, too.
constexpr size_t kMillion = support::Many(1000000, 100000);

std::string Repeated(std::string_view text, size_t times) {
    std::string result;
    result.reserve(text.size() * times);
    for (size_t i = 0; i < times; ++i) result += text;
    return result;
}

TEST(Scale, AMillionNestedElementsAreUsedLikeAnyTree) {
    const std::string text = Repeated("<a>", kMillion) + "x" + Repeated("</a>", kMillion);
    std::string written;
    std::string collected;
    std::string ofClone;
    ASSERT_TRUE(RunOnSmallStack([&] {
        const auto document = Parse(text);
        written = WrittenVerbatim(*document->root);
        collected = document->GetText();
        const std::unique_ptr<Element> copy(document->root->Clone(nullptr));
        ofClone = copy->GetText();
    }));
    EXPECT_TRUE(written == text);
    EXPECT_EQ(collected, "x");
    EXPECT_EQ(ofClone, "x");
}

TEST(Scale, GetTextOfADeepTreeFullOfTextIsLinear) {
    const std::string text = Repeated("<a> word ", kMillion) + Repeated("</a>", kMillion);
    std::string collected;
    ASSERT_TRUE(RunOnSmallStack([&] { collected = Parse(text)->GetText(); }));
    EXPECT_EQ(collected.size(), 5 * kMillion - 1);
    EXPECT_EQ(collected.substr(0, 14), "word word word");
}

TEST(Scale, GetTextOfADeepTreeWithWhiteSpaceBehindIsLinear) {
    const std::string text =
        Repeated("<a xml:space='preserve'><b>", kMillion / 4) + "x" + Repeated(" </b>  </a>", kMillion / 4);
    std::string collected;
    ASSERT_TRUE(RunOnSmallStack([&] { collected = Parse(text)->root->GetText(); }));
    EXPECT_EQ(collected, "x  ");
}

TEST(Scale, ADeepTreeBuiltByHandIsUsedLikeAnyTree) {
    std::string collected;
    std::string ofClone;
    std::string written;
    std::string afterwards;
    ASSERT_TRUE(RunOnSmallStack([&] {
        Document document("r");
        NodeContainer* at = document.root;
        for (size_t i = 0; i < kMillion; ++i) {
            // Parents that say nothing about the tree.
            Element* element = new Element(i % 2 == 0 ? nullptr : document.root, "e");
            at->AppendChild(element);
            at = element;
        }
        at->AppendText("x");
        collected = document.GetText();
        written = WrittenVerbatim(*document.root);
        const std::unique_ptr<Element> copy(document.root->Clone(nullptr));
        ofClone = copy->GetText();
        document.root->DeleteChildren();
        afterwards = document.GetText();
    }));
    EXPECT_EQ(collected, "x");
    EXPECT_TRUE(written == "<r>" + Repeated("<e>", kMillion) + "x" + Repeated("</e>", kMillion) + "</r>");
    EXPECT_EQ(ofClone, "x");
    EXPECT_EQ(afterwards, "");
}

TEST(Scale, ADeepTreeIsTakenApartFromTheTop) {
    const std::string text = Repeated("<a>", kMillion) + "x" + Repeated("</a>", kMillion);
    std::string collected;
    ASSERT_TRUE(RunOnSmallStack([&] {
        const auto document = Parse(text);
        auto& children = document->root->children;
        const std::unique_ptr<Element> kept(static_cast<Element*>(children[1]));
        children.erase(children.begin() + 1);
        document->root->DeleteChildren();
        collected = kept->GetText();
    }));
    EXPECT_EQ(collected, "x");
}

TEST(Scale, AnUnfinishedDocumentOfAMillionLevelsFailsAndFreesWhatItHad) {
    const std::string text = Repeated("<a b='c'>", kMillion);
    std::string verdict;
    ASSERT_TRUE(RunOnSmallStack([&] { verdict = xml_tests::Verdict(text); }));
    EXPECT_EQ(verdict, "1 1:" + std::to_string(text.size() + 1));
}

TEST(Scale, ATreeDeepInItsAttributesIsUsedLikeAnyTree) {
    std::string written;
    ASSERT_TRUE(RunOnSmallStack([&] {
        Element root(nullptr, "e");
        Element* at = &root;
        for (size_t i = 0; i < kMillion / 4; ++i) {
            Attribute* attribute = new Attribute(at, "a");
            at->attributes.push_back(attribute);
            Element* element = new Element(attribute, "e");
            attribute->AppendChild(element);
            at = element;
        }
        written = WrittenVerbatim(root);
    }));
    EXPECT_TRUE(written == Repeated("<e a=\"", kMillion / 4) + "<e/>" + Repeated("\"/>", kMillion / 4));
}

TEST(Scale, AMillionNestedGroupsAreAccepted) {
    const std::string groups = Repeated("(", kMillion) + "b" + Repeated(",c)*", kMillion);
    ASSERT_TRUE(RunOnSmallStack([&] {
        EXPECT_EQ(xml_tests::Verdict("<!DOCTYPE a[<!ELEMENT a " + groups + ">]><a/>"), "ok");
        EXPECT_EQ(xml_tests::Verdict("<!DOCTYPE a[<!ELEMENT a " + Repeated("(", kMillion)),
                  "29 1:" + std::to_string(kMillion + 25));
    }));
}

TEST(Scale, AMillionPiecesOfOneTextAreAppendedInLinearTime) {
    Element element(nullptr, "e");
    element.AppendText("");
    element.pendingText = static_cast<Text*>(element.children[0]);
    for (size_t i = 0; i < kMillion; ++i) element.AppendText("ten bytes.");
    EXPECT_EQ(element.pendingText->text.size(), 10 * kMillion);
}

TEST(Scale, AMillionChildrenAreDeletedOneByOneFromEitherEnd) {
    const std::string text = "<r>" + Repeated("<a>x</a>", kMillion / 2) + "</r>";
    for (const bool fromTheFront : {true, false}) {
        const auto document = Parse(text);
        auto& children = document->root->children;
        while (!children.empty()) {
            const auto last = fromTheFront ? children.begin() : children.end() - 1;
            delete *last;
            children.erase(last);
        }
        EXPECT_EQ(WrittenVerbatim(*document->root), "<r/>");
    }
}

TEST(Scale, AMillionAttributesAreAddedByHandWrittenAndDeletedFromTheFront) {
    Element element(nullptr, "e");
    for (size_t i = 0; i < kMillion; ++i) {
        Attribute* attribute = new Attribute(&element, "a");
        attribute->AppendText("v");
        element.attributes.push_back(attribute);
    }
    EXPECT_EQ(WrittenVerbatim(element).size(), 4 + 6 * kMillion);
    while (!element.attributes.empty()) {
        delete element.attributes.front();
        element.attributes.erase(element.attributes.begin());
    }
    EXPECT_EQ(WrittenVerbatim(element), "<e/>");
}

TEST(Scale, LookupsAmongAMillionChildrenFindFirstAndLast) {
    const auto document = Parse("<r><first/>" + Repeated("<a/>", kMillion) + "<last/></r>");
    const Element& root = *document->root;
    EXPECT_EQ(document->root->FindElement("first"), root.children[1]);
    EXPECT_EQ(document->root->FindElement("last"), root.children[root.children.size() - 2]);
    EXPECT_TRUE(IsNull(document->root->FindElement("none")));
    size_t found = 0;
    for (size_t at = 0; document->root->FindNextElement("a", at); ++at) ++found;
    EXPECT_EQ(found, kMillion);
}

TEST(Scale, AMillionNodesMoveFromOneTreeToAnother) {
    Document collected("all");
    {
        const auto document = Parse("<r>" + Repeated("<a>x</a>", kMillion / 2) + "</r>");
        auto& children = document->root->children;
        while (!children.empty()) {
            Node* first = children.front();
            children.erase(children.begin());
            first->parent = collected.root;
            collected.root->AppendChild(first);
        }
    }
    EXPECT_EQ(collected.root->children.size(), kMillion + 1);
    EXPECT_EQ(collected.GetText().size(), kMillion / 2);
}

}  // namespace
