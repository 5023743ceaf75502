// Nodes: construction, null nodes, look-ups, copies, ownership.
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

/// Counts its own deaths.
class Mortal : public Text {
public:
    explicit Mortal(std::string& log, const char* name_) : Text(nullptr, name_), log_(log) {}
    ~Mortal() override { log_ += std::string(text); }

private:
    std::string& log_;
};

class MortalElement : public Element {
public:
    explicit MortalElement(std::string& log, const char* name_) : Element(nullptr, name_), log_(log) {}
    ~MortalElement() override { log_ += std::string(name); }

private:
    std::string& log_;
};

/// Looks something up when static objects are being destroyed, after all that came to life later than this one.
struct LooksUpAtTheEnd {
    ~LooksUpAtTheEnd() {
        if (!isAsked) return;
        Node* const found = NullElement().FindElement("a")->GetOrCreateElement("b");
        if (found == &NullElement() && found->GetText().empty()) std::fputs("found nothing", stderr);
    }
    bool isAsked = false;
} looksUpAtTheEnd;

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

TEST(Exceptions, DeriveFromTheBase) {
    static_assert(std::is_base_of<Exception, ParsingException>::value, "");
    static_assert(std::is_base_of<Exception, InvalidRefException>::value, "");
    static_assert(std::is_polymorphic<Exception>::value, "");
    const ParsingException fault(13, 2, 7);
    const ParsingException copy = fault;
    EXPECT_EQ(copy.code, 13U);
    EXPECT_EQ(copy.line, 2U);
    EXPECT_EQ(copy.column, 7U);
    EXPECT_STRNE(copy.what(), "");
    EXPECT_STRNE(InvalidRefException("x").what(), "");
    EXPECT_STRNE(Exception().what(), "");
}

TEST(NullNodes, AreEmptyAndTheirOwnWorld) {
    EXPECT_EQ(NullElement().parent, &NullElement());
    EXPECT_EQ(NullElement().name, "");
    EXPECT_FALSE(NullElement().preserveSpace);
    EXPECT_EQ(NullAttribute().parent, &NullElement());
    EXPECT_EQ(NullAttribute().name, "");
    EXPECT_EQ(NullComment().name, "#comment");
    EXPECT_EQ(NullComment().text, "");
    EXPECT_EQ(NullPi().name, "");
    EXPECT_EQ(NullPi().data, "");
    EXPECT_EQ(NullCData().name, "#cdata-section");
    EXPECT_EQ(NullCData().text, "");
    EXPECT_EQ(&NullElement(), &NullElement());
}

TEST(NullNodes, AreRecognisedByAddress) {
    EXPECT_TRUE(IsNull(NullElement()));
    EXPECT_TRUE(IsNull(&NullAttribute()));
    EXPECT_TRUE(IsNull(NullComment()));
    EXPECT_TRUE(IsNull(NullPi()));
    EXPECT_TRUE(IsNull(NullCData()));
    EXPECT_TRUE(IsNull(nullptr));
    EXPECT_FALSE(IsNull(Element(nullptr, "")));
    EXPECT_FALSE(IsNull(Comment(nullptr, "")));
}

TEST(NullNodes, StayEmptyWhateverIsDoneToThem) {
    NullElement().AppendText("x");
    NullAttribute().AppendText("x");
    NullElement().AppendChild(nullptr);
    NullElement().DeleteChildren();
    EXPECT_EQ(NullElement().GetOrCreateElement("a"), &NullElement());
    EXPECT_EQ(NullAttribute().GetOrCreateElement("a"), &NullElement());
    Element full(nullptr, "full");
    full.AppendText("x");
    NodeContainer::CloneChildren(full, NullElement());
    EXPECT_EQ(NullElement().children.size(), 0U);
    EXPECT_EQ(NullAttribute().children.size(), 0U);
    EXPECT_EQ(NullElement().GetText(), "");
    EXPECT_EQ(NullElement().FindElement("a"), &NullElement());
}

TEST(NullNodes, DeleteWhatIsHandedToThem) {
    std::string log;
    NullElement().AppendChild(new Mortal(log, "gone"));
    EXPECT_EQ(log, "gone");
    EXPECT_EQ(NullElement().children.size(), 0U);
}

TEST(NullNodes, AreThereAfterTheEndOfMain) {
    EXPECT_EXIT(
        {
            looksUpAtTheEnd.isAsked = true;
            NullElement();
            std::exit(0);
        },
        testing::ExitedWithCode(0), "found nothing");
}

TEST(NullNodes, CannotBecomeChildren) {
    Element element(nullptr, "e");
    element.AppendChild(&NullComment());
    element.AppendChild(nullptr);
    EXPECT_EQ(element.children.size(), 0U);
}

TEST(Lookups, OfMissingElementsChainToTheNullElement) {
    Document document("r");
    Node* const missing = document.root->FindElement("a")->FindElement("b");
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
    Comment* const comment = new Comment(&parent, "");
    comment->name = "a";
    parent.AppendChild(comment);
    Text* const text = new Text(&parent, "");
    text->name = "a";
    parent.AppendChild(text);
    Element* const element = new Element(&parent, "a");
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
    std::size_t i = 0;
    for (; document->root->FindNextElement("i", i); ++i) found += document->root->children[i]->GetText();
    EXPECT_EQ(found, "123");
    EXPECT_EQ(i, document->root->children.size());
}

TEST(FindNextElement, FromBeyondTheEndIsFalse) {
    Element element(nullptr, "e");
    std::size_t position = 5;
    EXPECT_FALSE(element.FindNextElement("a", position));
    EXPECT_EQ(position, 0U);
}

TEST(GetOrCreateElement, CreatesOnceAndFindsAfterwards) {
    Element element(nullptr, "e");
    Node* const first = element.GetOrCreateElement("a");
    EXPECT_EQ(element.GetOrCreateElement("a"), first);
    EXPECT_EQ(element.children.size(), 1U);
    EXPECT_EQ(first->parent, &element);
    EXPECT_TRUE(first->IsType(ELEMENT_NODE));
    EXPECT_NE(element.GetOrCreateElement("A"), first);
}

TEST(GetOrCreateElement, ThroughANodeReachesTheElementThatItIs) {
    Element element(nullptr, "e");
    Node& node = element;
    Node* const created = node.GetOrCreateElement("a");
    EXPECT_EQ(node.GetOrCreateElement("a"), created);
    EXPECT_EQ(created->GetOrCreateElement("b")->parent, created);
    ASSERT_EQ(element.children.size(), 1U);
    EXPECT_EQ(element.children[0], created);
}

TEST(GetOrCreateElement, SetsAFieldOfAMessage) {
    const auto document = Parse("<m><name>old</name></m>");
    for (const char* value : {"new", "newer still, and longer than fits in place"}) {
        Node* const field = document->root->GetOrCreateElement("name");
        field->DeleteChildren();
        field->AppendText(value);
        EXPECT_EQ(document->root->GetOrCreateElement("name")->GetText(), value);
    }
    EXPECT_EQ(Shape(*document->root), "T() E(name) T()");
}

TEST(AppendChild, ClearsPendingTextUnlessTheNodeIsAText) {
    Element element(nullptr, "e");
    Text* const first = new Text(&element, "a");
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
    Text* const text = new Text(&other, "a");
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

TEST(Deletion, GoesAttributesFirstThenChildrenInOrderInnermostFirst) {
    std::string log;
    Element* const root = new Element(nullptr, "r");
    root->AppendChild(new Mortal(log, "4"));
    Element* const inner = new Element(root, "i");
    inner->AppendChild(new Mortal(log, "6"));
    root->AppendChild(inner);
    root->AppendChild(new Mortal(log, "7"));
    for (const char* name : {"1", "2"}) {
        Attribute* const attribute = new Attribute(root, "a");
        attribute->AppendChild(new Mortal(log, name));
        root->attributes.push_back(attribute);
    }
    root->attributes[1]->AppendChild(new Mortal(log, "3"));
    Attribute* const ofInner = new Attribute(inner, "a");
    ofInner->AppendChild(new Mortal(log, "5"));
    inner->attributes.push_back(ofInner);
    delete root;
    EXPECT_EQ(log, "1234567");
}

TEST(Deletion, OfADocumentTakesEveryNodeOnce) {
    std::string log;
    Document* const document = new Document("r");
    document->root->AppendChild(new Mortal(log, "a"));
    document->AppendChild(new Mortal(log, "b"));
    delete document;
    EXPECT_EQ(log, "ab");
}

TEST(Deletion, OfADocumentTakesItsRootAfterWhatTheRootHolds) {
    std::string log;
    Document* const document = new Document;
    document->root = new MortalElement(log, "root");
    document->AppendChild(document->root);
    document->root->AppendChild(new Mortal(log, "inner "));
    delete document;
    EXPECT_EQ(log, "inner root");
}

TEST(Deletion, DoesNotRelyOnParentPointers) {
    Element stranger(nullptr, "stranger");
    Document document("r");
    Element* const a = new Element(&stranger, "a");
    Element* const b = new Element(a, "b");
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
        Node* const item = from.children[1];
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

TEST(Clone, OfAnElementHasNoAttributesAndDoesNotPreserveSpace) {
    Element element(nullptr, "e");
    element.preserveSpace = true;
    Attribute* const attribute = new Attribute(&element, "a");
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
    Node* const b = document->root->FindElement("a")->FindElement("b");
    b->AsElement().children[1]->name = "gone";
    EXPECT_THROW(document->root->Clone(nullptr), InvalidRefException);
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

/// A node of an application's own.
class Stamp : public Node {
public:
    Stamp() : Node(nullptr, "#stamp") {}
    std::string GetNodeValue() const override { return "stamp"; }
    std::string GetText() const override { return " stamp "; }
    bool IsType(int code) const override { return code == 77; }
    Node* Clone(NodeContainer*) const override { return new Stamp; }
    void Write(WriteContext& context) const override { *context.output += "(stamp)"; }
};

TEST(ForeignNodes, TakePartInTheTree) {
    Document document("r");
    document.root->AppendText("a");
    document.root->AppendChild(new Stamp);
    document.root->AppendText("b");
    EXPECT_EQ(document.GetText(), "a stamp b");
    EXPECT_EQ(xml_tests::WrittenVerbatim(*document.root), "<r>a(stamp)b</r>");
    const std::unique_ptr<Element> copy(document.root->Clone(nullptr));
    EXPECT_EQ(copy->GetText(), "a stamp b");
    EXPECT_EQ(document.root->FindElement("#stamp"), &NullElement());
}

/// A container of an application's own.
class Crate : public NodeContainer {
public:
    explicit Crate(NodeContainer* parentNode) : NodeContainer(parentNode, "crate") {}
    std::string GetNodeValue() const override { return "crate"; }
    std::string GetText() const override { return "[" + std::to_string(children.size()) + "]"; }
    bool IsType(int code) const override { return code == ELEMENT_NODE; }
    Node* Clone(NodeContainer* newParent) const override {
        auto copy = std::make_unique<Crate>(newParent);
        CloneChildren(this, copy.get());
        return copy.release();
    }
};

TEST(ForeignContainers, TakePartInTheTree) {
    std::string log;
    {
        Document document("r");
        Node* const crate = new Crate(document.root);
        document.root->AppendChild(crate);
        EXPECT_EQ(document.root->FindElement("crate"), crate);
        crate->AppendText("text");
        crate->GetOrCreateElement("inner")->AppendText("more");
        crate->AppendChild(new Mortal(log, "gone"));
        EXPECT_EQ(crate->FindElement("inner")->GetText(), "more");
        EXPECT_EQ(crate->AsContainer().children.size(), 3U);
        EXPECT_EQ(&crate->AsElement(), &NullElement());
        EXPECT_EQ(document.GetText(), "[3]");
        // The base's Write: every child in order.
        EXPECT_EQ(xml_tests::WrittenVerbatim(*document.root), "<r>text<inner>more</inner>gone</r>");
        EXPECT_EQ(xml_tests::Written(*document.root), "\n<r>text\n  <inner>more</inner>gone\n</r>");
        const std::unique_ptr<Element> copy(document.root->Clone(nullptr));
        EXPECT_EQ(copy->GetText(), "[3]");
        EXPECT_EQ(copy->FindElement("crate")->FindElement("inner")->GetText(), "more");
        crate->DeleteChildren();
        EXPECT_EQ(log, "gone");
        crate->AppendChild(new Mortal(log, " too"));
    }
    EXPECT_EQ(log, "gone too");
}

/// Classes derived from concrete ones that do everything their own way.
template <class Base>
class Loud : public Base {
public:
    template <class... Arguments>
    explicit Loud(const Arguments&... arguments) : Base(arguments...) {}
    std::string GetText() const override { return "LOUD"; }
    Base* Clone(NodeContainer*) const override { return new Loud(*this, Again()); }
    void Write(WriteContext& context) const override { *context.output += "(loud)"; }

private:
    struct Again {};
    Loud(const Loud& original, Again) : Base(original.parent, std::string_view(original.name)) {}
};

TEST(DerivedNodes, AreAskedThemselvesWhereverTheyStand) {
    Document document("r");
    document.root->AppendChild(new Loud<Text>(document.root, "quiet"));
    document.root->AppendChild(new Loud<Element>(document.root, "e"));
    document.root->AppendChild(new Loud<Comment>(document.root, "c"));
    EXPECT_EQ(document.GetText(), "LOUDLOUDLOUD");
    EXPECT_EQ(xml_tests::WrittenVerbatim(*document.root), "<r>(loud)(loud)(loud)</r>");
    const std::unique_ptr<Element> copy(document.root->Clone(nullptr));
    EXPECT_EQ(copy->GetText(), "LOUDLOUDLOUD");
}

TEST(DerivedNodes, AreAskedThemselvesAsTheOnlyChild) {
    Document document("r");
    document.root->GetOrCreateElement("a")->AppendChild(new Loud<Text>(document.root, "quiet"));
    Attribute* const plain = new Attribute(document.root, "plain");
    plain->AppendChild(new Loud<Text>(plain, "quiet"));
    document.root->attributes.push_back(plain);
    Attribute* const loud = new Loud<Attribute>(document.root, "loud");
    loud->AppendText("quiet");
    document.root->attributes.push_back(loud);
    EXPECT_EQ(xml_tests::WrittenVerbatim(*document.root), "<r plain=\"(loud)\" (loud)><a>(loud)</a></r>");
    EXPECT_EQ(document.root->FindElement("a")->GetText(), "LOUD");
    EXPECT_EQ(plain->GetText(), "LOUD");
}

/// Overrides nothing that matters here, so it does what its base does.
class Plain : public Element {
public:
    using Element::Element;
};

TEST(DerivedNodes, DoAsTheirBaseWhatTheyDoNotOverride) {
    Plain outer(nullptr, "outer");
    outer.AppendText(" a ");
    Element* const inner = new Plain(&outer, "inner");
    outer.AppendChild(inner);
    inner->AppendText(" b ");
    outer.GetOrCreateElement("last")->AppendText("c");
    EXPECT_EQ(outer.GetText(), "a bc");
    EXPECT_EQ(xml_tests::Written(outer), "\n<outer> a \n  <inner> b </inner>\n  <last>c</last>\n</outer>");
    EXPECT_EQ(outer.FindElement("inner"), inner);
    const std::unique_ptr<Element> copy(outer.Clone(nullptr));
    EXPECT_EQ(xml_tests::WrittenVerbatim(*copy), xml_tests::WrittenVerbatim(outer));
}

/// Answers another type than its base.
class Disguised : public Text {
public:
    Disguised() : Text(nullptr, "") { name = "a"; }
    bool IsType(int code) const override { return code == ELEMENT_NODE; }
};

TEST(DerivedNodes, AreFoundByTheTypeThatTheyAnswer) {
    Element element(nullptr, "e");
    element.pendingText = nullptr;
    Node* const disguised = new Disguised;
    element.AppendChild(disguised);
    EXPECT_EQ(element.FindElement("a"), disguised);
}

}  // namespace
