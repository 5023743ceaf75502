// Nodes of an application's own in the library's trees.
// SPDX-License-Identifier: MIT
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include <gtest/gtest.h>

#include "support/xml.h"
#include "unit/xml/mortal.h"

using namespace AdvXMLParser;
using xml_tests::Mortal;

namespace {

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

/// A node whose Write changes the context.
class Switch : public Stamp {
public:
    explicit Switch(std::function<void(WriteContext&)> change) : change_(std::move(change)) {}
    void Write(WriteContext& context) const override { change_(context); }

private:
    std::function<void(WriteContext&)> change_;
};

/// <a/>, the switch and <b> <c/></b>, written below <r>.
std::string WrittenAround(std::function<void(WriteContext&)> change) {
    Document document("r");
    document.root->GetOrCreateElement("a");
    document.root->AppendChild(new Switch(std::move(change)));
    Node* const b = document.root->GetOrCreateElement("b");
    b->AppendText("  ");
    b->GetOrCreateElement("c");
    return xml_tests::Written(*document.root);
}

TEST(ForeignNodes, ChangeTheStateOfWhatFollows) {
    const std::string end = " \n    <c/>\n  </b>\n</r>";
    EXPECT_EQ(WrittenAround([](WriteContext&) {}), "\n<r>\n  <a/>\n  <b>" + end);
    EXPECT_EQ(WrittenAround([](WriteContext& context) { context.atLineStart = true; }), "\n<r>\n  <a/>  <b>" + end);
    EXPECT_EQ(WrittenAround([](WriteContext& context) { ++context.depth; }),
              "\n<r>\n  <a/>\n    <b> \n      <c/>\n    </b>\n  </r>");
}

TEST(ForeignNodes, ChangeTheSettingsOfWhatFollows) {
    EXPECT_EQ(WrittenAround([](WriteContext& context) { context.flags = WRITE_VERBATIM; }),
              "\n<r>\n  <a/><b>  <c/></b></r>");
    EXPECT_EQ(WrittenAround([](WriteContext& context) { context.indent = "-"; }),
              "\n<r>\n  <a/>\n-<b> \n--<c/>\n-</b>\n</r>");
    std::string other;
    EXPECT_EQ(WrittenAround([&other](WriteContext& context) { context.output = &other; }), "\n<r>\n  <a/>");
    EXPECT_EQ(other, "\n  <b> \n    <c/>\n  </b>\n</r>");
    EXPECT_EQ(WrittenAround([](WriteContext& context) { context.output = nullptr; }), "\n<r>\n  <a/>");
}

TEST(ForeignNodes, InAnAttributeChangeTheSettingsOfWhatFollows) {
    Element element(nullptr, "e");
    Attribute* const attribute = new Attribute(&element, "a");
    attribute->AppendChild(new Switch([](WriteContext& context) { context.flags = WRITE_VERBATIM; }));
    element.attributes.push_back(attribute);
    element.attributes.push_back(new Attribute(&element, "b"));
    element.attributes.back()->AppendText("1  2");
    element.AppendText("3  4");
    EXPECT_EQ(xml_tests::Written(element), "\n<e a=\"\" b=\"1  2\">3  4</e>");
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
        Node* crate = new Crate(document.root);
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
    Attribute* plain = new Attribute(document.root, "plain");
    plain->AppendChild(new Loud<Text>(plain, "quiet"));
    document.root->attributes.push_back(plain);
    Attribute* loud = new Loud<Attribute>(document.root, "loud");
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
    Element* inner = new Plain(&outer, "inner");
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
    Node* disguised = new Disguised;
    element.AppendChild(disguised);
    EXPECT_EQ(element.FindElement("a"), disguised);
}

}  // namespace
