// Deletion: in which order, and of nodes of any origin.
// SPDX-License-Identifier: MIT
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "support/xml.h"
#include "unit/xml/mortal.h"

using namespace AdvXMLParser;
using xml_tests::Mortal;
using xml_tests::MortalElement;
using xml_tests::Parse;

namespace {

TEST(Deletion, GoesAttributesFirstThenChildrenInOrderInnermostFirst) {
    std::string log;
    Element* root = new Element(nullptr, "r");
    root->AppendChild(new Mortal(log, "4"));
    Element* inner = new Element(root, "i");
    inner->AppendChild(new Mortal(log, "6"));
    root->AppendChild(inner);
    root->AppendChild(new Mortal(log, "7"));
    for (const char* name : {"1", "2"}) {
        Attribute* attribute = new Attribute(root, "a");
        attribute->AppendChild(new Mortal(log, name));
        root->attributes.push_back(attribute);
    }
    root->attributes[1]->AppendChild(new Mortal(log, "3"));
    Attribute* ofInner = new Attribute(inner, "a");
    ofInner->AppendChild(new Mortal(log, "5"));
    inner->attributes.push_back(ofInner);
    delete root;
    EXPECT_EQ(log, "1234567");
}

TEST(Deletion, OfADocumentTakesEveryNodeOnce) {
    std::string log;
    Document* document = new Document("r");
    document->root->AppendChild(new Mortal(log, "a"));
    document->AppendChild(new Mortal(log, "b"));
    delete document;
    EXPECT_EQ(log, "ab");
}

TEST(Deletion, OfADocumentTakesItsRootAfterWhatTheRootHolds) {
    std::string log;
    Document* document = new Document;
    document->root = new MortalElement(log, "root");
    document->AppendChild(document->root);
    document->root->AppendChild(new Mortal(log, "inner "));
    delete document;
    EXPECT_EQ(log, "inner root");
}

TEST(Deletion, DoesNotRelyOnParentPointers) {
    Element stranger(nullptr, "stranger");
    Document document("r");
    Element* a = new Element(&stranger, "a");
    Element* b = new Element(a, "b");
    document.root->AppendChild(a);
    a->AppendChild(b);
    b->AppendText("x");
    a->parent = b;
    b->parent = document.root;
    document.root->parent = b;
    EXPECT_EQ(document.GetText(), "x");
    EXPECT_EQ(xml_tests::WrittenVerbatim(*document.root), "<r><a><b>x</b></a></r>");
}

TEST(Deletion, ParsedNodesMayBeDeletedOneByOne) {
    const auto document = Parse("<r a='1'><b>text that does not fit in place</b><c/></r>");
    Element& root = *document->root;
    delete root.children[1];
    root.children.erase(root.children.begin() + 1);
    delete root.attributes[0];
    root.attributes.clear();
    EXPECT_EQ(xml_tests::WrittenVerbatim(*document->root), "<r><c/></r>");
}

TEST(Deletion, ParsedNodesOutliveTheirDocumentElsewhere) {
    Document collected("all");
    for (int i = 0; i < 20; ++i) {
        const auto document = Parse("<r><item name='with a rather long value'>and a text of some length</item></r>");
        Element& from = *document->root;
        Node* item = from.children[1];
        from.children.erase(from.children.begin() + 1);
        item->parent = collected.root;
        collected.root->AppendChild(item);
    }
    EXPECT_EQ(collected.root->children.size(), 20U);
    EXPECT_EQ(collected.root->children[19]->GetText(), "and a text of some length");
    EXPECT_EQ(collected.root->children[7]->AsElement().attributes[0]->GetText(), "with a rather long value");
}

TEST(Deletion, StringsAndListsMayBeMovedOutOfAParsedDocument) {
    ByteString text;
    NodeList<Node> children;
    {
        const auto document = Parse("<r>a text that does not fit in place<b/>x</r>");
        text = std::move(static_cast<Text*>(document->root->children[0])->text);
        children = std::move(document->root->children);
        EXPECT_EQ(document->root->children.size(), 0U);
    }
    EXPECT_EQ(text, "a text that does not fit in place");
    ASSERT_EQ(children.size(), 3U);
    EXPECT_EQ(children[1]->name, "b");
    for (Node* child : children) delete child;
}

}  // namespace
