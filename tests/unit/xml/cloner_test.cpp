// Copies of nodes.
// SPDX-License-Identifier: MIT
#include <memory>

#include <gtest/gtest.h>

#include "support/xml.h"

using namespace AdvXMLParser;
using xml_tests::Parse;
using xml_tests::Shape;

namespace {

TEST(Clone, OfAnElementHasNoAttributesAndDoesNotPreserveSpace) {
    Element element(nullptr, "e");
    element.preserveSpace = true;
    Attribute* attribute = new Attribute(&element, "a");
    attribute->AppendText("1");
    element.attributes.push_back(attribute);
    element.AppendText(" x ");
    Element parent(nullptr, "p");
    const std::unique_ptr<Element> copy(element.Clone(&parent));
    EXPECT_EQ(copy->name, "e");
    EXPECT_EQ(copy->parent, &parent);
    EXPECT_EQ(copy->attributes.size(), 0U);
    EXPECT_FALSE(copy->preserveSpace);
    EXPECT_EQ(Shape(*copy), "T( x )");
    EXPECT_EQ(copy->children[0]->parent, copy.get());
    EXPECT_EQ(parent.children.size(), 0U);
}

TEST(Clone, OfInnerElementsHasNoAttributesEither) {
    const auto document = Parse("<r><a x='1' xml:space='preserve'> <b y='2'>t</b></a></r>");
    const std::unique_ptr<Element> copy(document->root->Clone(nullptr));
    EXPECT_EQ(xml_tests::WrittenVerbatim(*copy), "<r><a> <b>t</b></a></r>");
    EXPECT_FALSE(copy->FindElement("a")->AsElement().preserveSpace);
}

TEST(Clone, OfAnAttributeHasItsPieces) {
    const auto document = Parse("<r a='1 &lt; 2 &#65;'/>");
    const std::unique_ptr<Attribute> copy(document->root->attributes[0]->Clone(document->root));
    EXPECT_EQ(copy->name, "a");
    EXPECT_EQ(copy->parent, document->root);
    EXPECT_EQ(Shape(*copy), "T(1 ) R(lt) T( 2 ) #41 T()");
}

TEST(Clone, OfADocumentHasTheFieldsOfANewOne) {
    const auto document = Parse("<?xml version='1.1' encoding='ascii' standalone='no'?><!--c--><r>x</r>");
    EXPECT_EQ(document->version, "1.1");
    const std::unique_ptr<Document> copy(document->Clone(document->root));
    EXPECT_EQ(copy->version, "1.0");
    EXPECT_EQ(copy->encoding, "UTF-8");
    EXPECT_TRUE(copy->standalone);
    EXPECT_EQ(copy->root, nullptr);
    EXPECT_EQ(copy->parent, &NullElement());
    EXPECT_EQ(&copy->self, copy.get());
    EXPECT_EQ(Shape(*copy), "M(c) E(r)");
    EXPECT_EQ(copy->children[1]->parent, copy.get());
}

TEST(Clone, OfLeavesKeepsWhatTheyHold) {
    Element parent(nullptr, "p");
    const std::unique_ptr<Text> text(Text(nullptr, " t ").Clone(&parent));
    const std::unique_ptr<CData> cdata(CData(nullptr, "c").Clone(&parent));
    const std::unique_ptr<Comment> comment(Comment(nullptr, "m").Clone(&parent));
    const std::unique_ptr<Pi> pi(Pi(nullptr, "target", "data").Clone(&parent));
    const std::unique_ptr<CharRef> character(CharRef(nullptr, 0xE9).Clone(&parent));
    EXPECT_EQ(text->text, " t ");
    EXPECT_EQ(cdata->text, "c");
    EXPECT_EQ(comment->text, "m");
    EXPECT_EQ(pi->name, "target");
    EXPECT_EQ(pi->data, "data");
    EXPECT_EQ(static_cast<unsigned char>(character->value), 0xE9U);
    for (const Node* node :
         {static_cast<Node*>(text.get()), static_cast<Node*>(cdata.get()), static_cast<Node*>(comment.get()),
          static_cast<Node*>(pi.get()), static_cast<Node*>(character.get())}) {
        EXPECT_EQ(node->parent, &parent);
    }
}

TEST(Clone, OfATreeWithABadReferenceThrows) {
    const auto document = Parse("<r><a>text<b>&lt;</b></a></r>");
    Node* b = document->root->FindElement("a")->FindElement("b");
    b->AsElement().children[1]->name = "gone";
    EXPECT_THROW(document->root->Clone(nullptr), InvalidRefException);
}

}  // namespace
