// Nodes as they are made: types, names, fields, values.
// SPDX-License-Identifier: MIT
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <type_traits>
#include <utility>

#include <gtest/gtest.h>

#include "support/xml.h"

using namespace AdvXMLParser;
using xml_tests::Parse;
using xml_tests::Shape;

namespace {

TEST(NodeTypes, EveryClassAnswersItsOwnCodeOnly) {
    Element element(nullptr, "e");
    Attribute attribute(nullptr, "a");
    Text text(nullptr, "t");
    CData cdata(nullptr, "c");
    EntityRef entity("lt");
    CharRef character(nullptr, 'x');
    Pi pi(nullptr, "p", "");
    Comment comment(nullptr, "m");
    Document document;
    const std::pair<const Node*, int> nodes[] = {{&element, 1}, {&attribute, 2}, {&text, 3},
                                                 {&cdata, 4},   {&entity, 5},    {&character, 5},
                                                 {&pi, 7},      {&comment, 8},   {&document, 9}};
    for (const auto& [node, type] : nodes) {
        for (int code = -1; code < 12; ++code) EXPECT_EQ(node->IsType(code), code == type) << type << " " << code;
    }
}

TEST(NodeNames, EveryClassHasItsName) {
    EXPECT_EQ(Element(nullptr, "e").name, "e");
    EXPECT_EQ(Attribute(nullptr, "a").name, "a");
    EXPECT_EQ(Document().name, "#document");
    EXPECT_EQ(Text(nullptr, "t").name, "#text");
    EXPECT_EQ(CData(nullptr, "t").name, "#cdata-section");
    EXPECT_EQ(Comment(nullptr, "t").name, "#comment");
    EXPECT_EQ(Pi(nullptr, "target", "data").name, "target");
    EXPECT_EQ(EntityRef("amp").name, "amp");
    EXPECT_EQ(CharRef(nullptr, 1).name, "");
}

TEST(NodeNames, ParsedNodesHaveTheSame) {
    const auto document = Parse("<!--m--><e a='v'>t<![CDATA[c]]><?p d?>&amp;&#65;</e>");
    EXPECT_EQ(document->name, "#document");
    EXPECT_EQ(document->children[0]->name, "#comment");
    const Element& e = *document->root;
    EXPECT_EQ(e.name, "e");
    EXPECT_EQ(e.attributes[0]->name, "a");
    EXPECT_EQ(e.children[0]->name, "#text");
    EXPECT_EQ(e.children[1]->name, "#cdata-section");
    EXPECT_EQ(e.children[3]->name, "p");
    EXPECT_EQ(e.children[5]->name, "amp");
    EXPECT_EQ(e.children[7]->name, "");
}

TEST(NodeFields, NewContainersAreEmpty) {
    const Element element(&NullElement(), "e");
    EXPECT_EQ(element.children.size(), 0U);
    EXPECT_EQ(element.attributes.size(), 0U);
    EXPECT_EQ(element.pendingText, nullptr);
    EXPECT_FALSE(element.preserveSpace);
    EXPECT_EQ(element.parent, &NullElement());
}

TEST(NodeFields, NullParentBecomesTheNullElement) {
    EXPECT_EQ(Element(nullptr, "e").parent, &NullElement());
    EXPECT_EQ(Text(nullptr, "t").parent, &NullElement());
}

TEST(NodeValues, AreTheOwnValueOfEachClass) {
    Element element(nullptr, "e");
    element.AppendText("x");
    EXPECT_EQ(element.GetNodeValue(), "");
    Attribute attribute(nullptr, "a");
    attribute.AppendText(" x ");
    EXPECT_EQ(attribute.GetNodeValue(), "x");
    Document document("r");
    document.root->AppendText("x");
    EXPECT_EQ(document.GetNodeValue(), "");
    EXPECT_EQ(document.GetText(), "x");
    for (const char* text : {"", " x ", "longer than fits in place"}) {
        EXPECT_EQ(Text(nullptr, text).GetNodeValue(), text);
        EXPECT_EQ(CData(nullptr, text).GetNodeValue(), text);
        EXPECT_EQ(Comment(nullptr, text).GetNodeValue(), text);
        EXPECT_EQ(Pi(nullptr, "p", text).GetNodeValue(), text);
        EXPECT_EQ(Text(nullptr, text).GetText(), text);
        EXPECT_EQ(CData(nullptr, text).GetText(), text);
        EXPECT_EQ(Comment(nullptr, text).GetText(), text);
        EXPECT_EQ(Pi(nullptr, "p", text).GetText(), text);
    }
    EXPECT_EQ(CharRef(nullptr, 0x141).GetNodeValue(), "A");
    EXPECT_EQ(CharRef(nullptr, 0xE9).GetText(), "\xE9");
    EXPECT_EQ(EntityRef("gt").GetNodeValue(), ">");
}

TEST(EntityRefs, KnowFiveNames) {
    const std::pair<const char*, char> known[] = {
        {"lt", '<'}, {"gt", '>'}, {"amp", '&'}, {"apos", '\''}, {"quot", '"'}};
    for (const auto& [name, value] : known) {
        const EntityRef entity(name);
        EXPECT_EQ(entity.value, value);
        EXPECT_EQ(entity.GetText(), std::string(1, value));
        EXPECT_EQ(entity.parent, &NullElement());
    }
}

TEST(EntityRefs, UnknownNameThrowsCarryingIt) {
    for (const char* name : {"nbsp", "LT", "", "l", "ltx"}) {
        try {
            const EntityRef entity(name);
            FAIL() << name;
        } catch (const InvalidRefException& fault) {
            EXPECT_EQ(fault.name, name);
        }
    }
}

TEST(EntityRefs, CloneLooksUpTheNameAgain) {
    EntityRef entity("lt");
    entity.name = "nosuch";
    EXPECT_THROW(entity.Clone(nullptr), InvalidRefException);
}

TEST(EntityRefs, CloneKeepsTheValueAndForgetsTheParent) {
    Element parent(nullptr, "p");
    EntityRef entity("lt");
    entity.value = 'x';
    const std::unique_ptr<Node> copy(entity.Clone(&parent));
    EXPECT_EQ(copy->parent, &NullElement());
    EXPECT_EQ(copy->GetText(), "x");
}

TEST(Documents, BeginWithTheirDefaults) {
    Document document;
    EXPECT_EQ(document.version, "1.0");
    EXPECT_EQ(document.encoding, "UTF-8");
    EXPECT_TRUE(document.standalone);
    EXPECT_EQ(document.root, nullptr);
    EXPECT_EQ(document.children.size(), 0U);
    EXPECT_EQ(document.parent, &NullElement());
    EXPECT_EQ(&document.self, &document);
}

TEST(Documents, WithARootNameHaveThatRoot) {
    Document document("message");
    ASSERT_NE(document.root, nullptr);
    EXPECT_EQ(document.root->name, "message");
    EXPECT_EQ(document.root->parent, &document);
    ASSERT_EQ(document.children.size(), 1U);
    EXPECT_EQ(document.children[0], document.root);
}

}  // namespace
