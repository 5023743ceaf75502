// What containers do with their children.
// SPDX-License-Identifier: MIT
#include <cstddef>
#include <string>

#include <gtest/gtest.h>

#include "support/xml.h"
#include "unit/xml/mortal.h"

using namespace AdvXMLParser;
using xml_tests::Mortal;
using xml_tests::Parse;
using xml_tests::Shape;

namespace {

TEST(Lookups, OfMissingElementsChainToTheNullElement) {
    Document document("r");
    Node* missing = document.root->FindElement("a")->FindElement("b");
    EXPECT_EQ(missing, &NullElement());
    EXPECT_EQ(missing->GetText(), "");
    missing->GetOrCreateElement("c")->AppendText("x");
    missing->DeleteChildren();
    EXPECT_EQ(NullElement().children.size(), 0U);
}

TEST(Lookups, ChainThroughWhatIsFound) {
    const auto document = Parse("<order><customer><name>Miller</name></customer></order>");
    EXPECT_EQ(document->root->FindElement("customer")->FindElement("name")->GetText(), "Miller");
}

TEST(Lookups, OnNodesWithoutChildrenFindNothing) {
    Text text(nullptr, "x");
    Node& node = text;
    EXPECT_EQ(node.FindElement("a"), &NullElement());
    EXPECT_EQ(node.GetOrCreateElement("a"), &NullElement());
    node.AppendText("y");
    node.DeleteChildren();
    EXPECT_EQ(text.text, "x");
    EXPECT_EQ(&node.AsElement(), &NullElement());
    EXPECT_EQ(&node.AsContainer(), &NullElement());
}

TEST(Lookups, AsElementGivesTheElementItself) {
    Element element(nullptr, "e");
    Attribute attribute(nullptr, "a");
    const Node& node = element;
    EXPECT_EQ(&node.AsElement(), &element);
    EXPECT_EQ(&static_cast<Node&>(attribute).AsElement(), &NullElement());
    EXPECT_EQ(&static_cast<Node&>(attribute).AsContainer(), &attribute);
}

TEST(FindElement, SkipsOtherKindsOfNodesOfThatName) {
    Element parent(nullptr, "p");
    Comment* comment = new Comment(&parent, "");
    comment->name = "a";
    parent.AppendChild(comment);
    Text* text = new Text(&parent, "");
    text->name = "a";
    parent.AppendChild(text);
    Element* element = new Element(&parent, "a");
    parent.AppendChild(element);
    EXPECT_EQ(parent.FindElement("a"), element);
    EXPECT_EQ(parent.FindElement("#text"), &NullElement());
}

TEST(FindElement, ComparesNamesByteForByte) {
    const auto document = Parse("<r><Abc/><abcd/><ab/><abc>right</abc></r>");
    EXPECT_EQ(document->root->FindElement("abc")->GetText(), "right");
    EXPECT_EQ(document->root->FindElement("ABC"), &NullElement());
    EXPECT_EQ(document->root->FindElement(""), &NullElement());
}

TEST(FindElement, LooksAtChildrenOnly) {
    const auto document = Parse("<r><a><b/></a></r>");
    EXPECT_EQ(document->root->FindElement("b"), &NullElement());
    EXPECT_EQ(document->FindElement("r"), document->root);
}

TEST(FindNextElement, VisitsEveryMatchInOrder) {
    const auto document = Parse("<r><i>1</i><x/><i>2</i>text<i>3</i></r>");
    std::string found;
    size_t i = 0;
    for (; document->root->FindNextElement("i", i); ++i) found += document->root->children[i]->GetText();
    EXPECT_EQ(found, "123");
    EXPECT_EQ(i, document->root->children.size());
}

TEST(FindNextElement, FromBeyondTheEndIsFalse) {
    Element element(nullptr, "e");
    size_t position = 5;
    EXPECT_FALSE(element.FindNextElement("a", position));
    EXPECT_EQ(position, 0U);
}

TEST(GetOrCreateElement, CreatesOnceAndFindsAfterwards) {
    Element element(nullptr, "e");
    Node* first = element.GetOrCreateElement("a");
    EXPECT_EQ(element.GetOrCreateElement("a"), first);
    EXPECT_EQ(element.children.size(), 1U);
    EXPECT_EQ(first->parent, &element);
    EXPECT_TRUE(first->IsType(ELEMENT_NODE));
    EXPECT_NE(element.GetOrCreateElement("A"), first);
}

TEST(GetOrCreateElement, ThroughANodeReachesTheElementThatItIs) {
    Element element(nullptr, "e");
    Node& node = element;
    Node* created = node.GetOrCreateElement("a");
    EXPECT_EQ(node.GetOrCreateElement("a"), created);
    EXPECT_EQ(created->GetOrCreateElement("b")->parent, created);
    ASSERT_EQ(element.children.size(), 1U);
    EXPECT_EQ(element.children[0], created);
}

TEST(GetOrCreateElement, SetsAFieldOfAMessage) {
    const auto document = Parse("<m><name>old</name></m>");
    for (const char* value : {"new", "newer still, and longer than fits in place"}) {
        Node* field = document->root->GetOrCreateElement("name");
        field->DeleteChildren();
        field->AppendText(value);
        EXPECT_EQ(document->root->GetOrCreateElement("name")->GetText(), value);
    }
    EXPECT_EQ(Shape(*document->root), "T() E(name) T()");
}

TEST(AppendChild, ClearsPendingTextUnlessTheNodeIsAText) {
    Element element(nullptr, "e");
    Text* first = new Text(&element, "a");
    element.AppendChild(first);
    EXPECT_EQ(element.pendingText, nullptr);
    element.pendingText = first;
    element.AppendChild(new Text(&element, "b"));
    EXPECT_EQ(element.pendingText, first);
    element.AppendChild(new Comment(&element, "c"));
    EXPECT_EQ(element.pendingText, nullptr);
}

TEST(AppendChild, LeavesTheParentAsItIs) {
    Element other(nullptr, "other");
    Element element(nullptr, "e");
    Text* text = new Text(&other, "a");
    element.AppendChild(text);
    EXPECT_EQ(text->parent, &other);
}

TEST(AppendText, MakesATextOfItsOwnEachTime) {
    Element element(nullptr, "e");
    element.AppendText("x");
    element.AppendText("y");
    EXPECT_EQ(Shape(element), "T(x) T(y)");
    EXPECT_EQ(element.GetText(), "xy");
    EXPECT_EQ(element.children[0]->parent, &element);
    element.AppendText("");
    EXPECT_EQ(Shape(element), "T(x) T(y) T()");
}

TEST(AppendText, AddsToThePendingText) {
    Element element(nullptr, "e");
    element.AppendText("x");
    element.pendingText = static_cast<Text*>(element.children[0]);
    std::string expected = "x";
    for (int i = 0; i < 100; ++i) {
        element.AppendText("piece ");
        expected += "piece ";
    }
    EXPECT_EQ(element.children.size(), 1U);
    EXPECT_EQ(element.pendingText->text, expected);
}

TEST(AppendText, AddsToThePendingTextOfAParsedNode) {
    const auto document = Parse("<a>some text that is long enough to stand elsewhere</a>");
    document->root->pendingText = static_cast<Text*>(document->root->children[0]);
    document->root->AppendText(", and more");
    EXPECT_EQ(document->root->GetText(), "some text that is long enough to stand elsewhere, and more");
}

TEST(DeleteChildren, DeletesInOrderAndLeavesPendingTextAlone) {
    std::string log;
    Element element(nullptr, "e");
    for (const char* name : {"a", "b", "c"}) element.AppendChild(new Mortal(log, name));
    Text elsewhere(nullptr, "");
    element.pendingText = &elsewhere;
    element.DeleteChildren();
    EXPECT_EQ(log, "abc");
    EXPECT_EQ(element.children.size(), 0U);
    EXPECT_EQ(element.pendingText, &elsewhere);
    element.DeleteChildren();
}

TEST(CloneChildren, AppendsCopiesUnderTheTarget) {
    const auto document = Parse("<r>x<a>y</a></r>");
    Element target(nullptr, "t");
    target.AppendText("first");
    target.pendingText = static_cast<Text*>(target.children[0]);
    NodeContainer::CloneChildren(document->root, &target);
    EXPECT_EQ(Shape(target), "T(first) T(x) E(a) T()");
    EXPECT_EQ(target.children[2]->parent, &target);
    EXPECT_EQ(target.pendingText, nullptr);
}

TEST(CloneChildren, IntoTheSameOrAnInnerContainerEnds) {
    const auto document = Parse("<r>x<a>y</a></r>");
    Element& root = *document->root;
    NodeContainer::CloneChildren(root, root.children[1]->AsElement());
    EXPECT_EQ(xml_tests::WrittenVerbatim(root), "<r>x<a>yx<a>yx</a></a></r>");
    NodeContainer::CloneChildren(root, root);
    EXPECT_EQ(xml_tests::WrittenVerbatim(root), "<r>x<a>yx<a>yx</a></a>x<a>yx<a>yx</a></a></r>");
}

}  // namespace
