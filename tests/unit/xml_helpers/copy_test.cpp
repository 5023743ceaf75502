// Copies have everything that the original has.
// SPDX-License-Identifier: MIT
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include <wpk/xml_helpers.h>

#include "support/small_stack.h"
#include "support/xml.h"

using namespace wpk::xml;
using wpk::test::RunOnSmallStack;

namespace {

constexpr const char* kEverything =
    "<?xml version=\"1.1\" encoding=\"ISO-8859-1\"?><!--c--><?p d?><a x=\"1&lt;&#x41;\" y=\"\">t<b z=\"2\" "
    "xml:space=\"preserve\"> <c w=\"3\"/> </b>&amp;<![CDATA[<]]>&#x42;</a><?end?>";

/// Every node below says who its parent is.
void ExpectParents(const NodeContainer& container) {
    for (const Node* child : container.children) {
        EXPECT_EQ(child->parent, &container);
        if (!IsNull(child->AsContainer())) ExpectParents(child->AsContainer());
    }
    for (const Attribute* attribute : container.AsElement().attributes) {
        EXPECT_EQ(attribute->parent, &container);
        ExpectParents(*attribute);
    }
}

TEST(Copy, OfADocumentIsWrittenAsTheOriginal) {
    const auto document = Parse(kEverything);
    document->standalone = false;
    const std::unique_ptr<Document> copy = Copy(document.get());
    EXPECT_EQ(ToString(*copy, WRITE_VERBATIM), ToString(*document, WRITE_VERBATIM));
    EXPECT_EQ(copy->root->name, "a");
    EXPECT_EQ(copy->root, copy->children[2]);
    EXPECT_FALSE(copy->standalone);
    EXPECT_TRUE(copy->root->FindElement("b")->AsElement().preserveSpace);
    ExpectParents(*copy);
}

TEST(Copy, LivesWithoutTheOriginal) {
    auto document = Parse(kEverything);
    const std::string text = ToString(*document, WRITE_VERBATIM);
    const std::unique_ptr<Document> copy = Copy(document.get());
    SetText(document->root, "other");
    document.reset();
    EXPECT_EQ(ToString(*copy, WRITE_VERBATIM), text);
}

TEST(Copy, OfAnElementStandsInNoParent) {
    const auto document = Parse(kEverything);
    const std::unique_ptr<Element> copy = Copy(document->root);
    EXPECT_TRUE(IsNull(copy->parent));
    EXPECT_EQ(ToString(*copy, WRITE_VERBATIM), ToString(*document->root, WRITE_VERBATIM));
    ExpectParents(*copy);
}

TEST(Copy, TakesEveryKindOfNode) {
    const auto document = Parse(kEverything);
    for (const Node* node : document->root->children) {
        const std::unique_ptr<Node> copy = Copy(node);
        EXPECT_EQ(ToString(*copy, WRITE_VERBATIM), ToString(*node, WRITE_VERBATIM));
    }
    const std::unique_ptr<Attribute> attribute = Copy(document->root->attributes[0]);
    EXPECT_EQ(ToString(*attribute), "x=\"1&lt;&#x41;\"");
    ExpectParents(*attribute);
}

TEST(Copy, OfADocumentInsideAnElementKeepsItsRoot) {
    Document outer("outer");
    outer.root->AppendChild(Parse("<inner x='1'/>").release());
    const std::unique_ptr<Document> copy = Copy(&outer);
    const auto& inner = static_cast<const Document&>(*copy->root->children[0]);
    ASSERT_EQ(inner.root, inner.children[0]);
    EXPECT_EQ(AttributeOr(inner.root, "x", 0), 1);
}

TEST(Copy, OfADocumentWithoutRootHasNone) {
    const Document document;
    EXPECT_EQ(Copy(&document)->root, nullptr);
}

TEST(Copy, OfNothingIsNull) {
    EXPECT_EQ(Copy(&AdvXMLParser::NullElement()), nullptr);
    EXPECT_EQ(Copy(static_cast<const Document*>(nullptr)), nullptr);
    EXPECT_EQ(Copy(&AdvXMLParser::NullAttribute()), nullptr);
}

TEST(AddCopy, AppendsToAnElementOfAnyTree) {
    const auto document = Parse("<a x='1'><b/></a>");
    Document other("other");
    Element* added = AddCopy(other.root, document->root);
    EXPECT_EQ(added->parent, other.root);
    EXPECT_EQ(ToString(*other.root, WRITE_VERBATIM), "<other><a x=\"1\"><b/></a></other>");
    AddCopy(other.root, other.root);
    EXPECT_EQ(ToString(*other.root, WRITE_VERBATIM),
              "<other><a x=\"1\"><b/></a><other><a x=\"1\"><b/></a></other></other>");
}

TEST(AddCopy, MakesTheRootOfADocumentWithoutOne) {
    const auto document = Parse("<a x='1'/>");
    Document other;
    EXPECT_EQ(AddCopy(&other, document->root), other.root);
    EXPECT_EQ(AttributeOr(other.root, "x", 0), 1);
    EXPECT_TRUE(IsNull(AddCopy(&other, document->root)));
}

TEST(AddCopy, OfNothingAddsNothing) {
    const auto document = Parse("<a>text</a>");
    EXPECT_TRUE(IsNull(AddCopy(document->root, nullptr)));
    EXPECT_TRUE(IsNull(AddCopy(document->root, document->root->FindElement("missing"))));
    EXPECT_TRUE(IsNull(AddCopy(document->root, document->root->children[0])));
    EXPECT_EQ(ToString(*document->root), "<a>text</a>");
}

TEST(Depth, OfAMillionLevelsNeedsNoStack) {
    static constexpr int kLevels = 1000000;
    std::string text;
    for (int i = 0; i < kLevels; ++i) text += "<a x='1'> ";
    for (int i = 0; i < kLevels; ++i) text += "</a>";
    const auto work = [&text] {
        const auto document = Parse(text);
        const std::unique_ptr<Document> copy = Copy(document.get());
        Element* added = AddCopy(copy->root, document->root);
        EXPECT_EQ(AttributeOr(added, "x", 0), 1);
        RemoveLayout(copy.get());
        EXPECT_TRUE(Remove(added));
        int levels = 0;
        for (const Element* element = copy->root; !IsNull(element); element = &element->FindElement("a")->AsElement()) {
            levels += AttributeOr(element, "x", 0);
        }
        EXPECT_EQ(levels, kLevels);
        EXPECT_EQ(Parse(ToString(*copy, WRITE_VERBATIM))->root->name, "a");
    };
    EXPECT_TRUE(RunOnSmallStack(work));
}

}  // namespace
