// Feeds any bytes to the XML parser and does everything that can be done with a tree it returns.
// SPDX-License-Identifier: MIT
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "support/xml.h"
#include "wpk/xml.h"

namespace {

using AdvXMLParser::Document;
using AdvXMLParser::Element;
using AdvXMLParser::Node;
using AdvXMLParser::NodeContainer;
using Tree = xml_tests::DocumentPtr;
using xml_tests::Written;

void Require(bool holds) {
    if (!holds) std::abort();
}

/// Null for what is refused.
Tree ParseIfWellFormed(const std::string& text) {
    try {
        return xml_tests::Parse(text);
    } catch (const AdvXMLParser::ParsingException& exception) {
        Require(exception.code >= 1 && exception.code <= 43 && exception.line >= 1);
        return nullptr;
    }
}

/// Every node below `container`, and itself, parents before children.
std::vector<Node*> AllNodes(NodeContainer& container) {
    std::vector<Node*> nodes = {&container};
    for (size_t at = 0; at < nodes.size(); ++at) {
        auto* parent = dynamic_cast<NodeContainer*>(nodes[at]);
        if (!parent) continue;
        nodes.insert(nodes.end(), parent->children.begin(), parent->children.end());
        if (auto* element = dynamic_cast<Element*>(parent)) {
            nodes.insert(nodes.end(), element->attributes.begin(), element->attributes.end());
        }
    }
    return nodes;
}

/// Asks every node for all it knows. Small trees only: the whole is the square of the depth.
void AskEveryNode(Document& tree) {
    const std::vector<Node*> nodes = AllNodes(tree);
    if (nodes.size() > 200) return;
    for (const Node* node : nodes) {
        Require(node->parent != nullptr);
        node->GetText();
        node->GetNodeValue();
        Written(*node, 0);
        const std::unique_ptr<Node> copy(node->Clone(&AdvXMLParser::NullElement()));
        for (int code = 1; code < 10; ++code) Require(copy->IsType(code) == node->IsType(code));
    }
}

/// What is written reads back, but for character references of 0x80 and above.
Tree ReadBack(const std::string& written) {
    Tree again = ParseIfWellFormed(written);
    Require(again != nullptr || written.find("&#x;") != std::string::npos);
    return again;
}

/// A tree written verbatim reads back as the same.
void WriteVerbatimAndReadBack(const Document& tree) {
    const std::string written = Written(tree, AdvXMLParser::WRITE_VERBATIM);
    if (const Tree again = ReadBack(written)) Require(Written(*again, AdvXMLParser::WRITE_VERBATIM) == written);
}

/// The layout adds white space between the nodes. Once it is there, another round changes nothing any more.
void LayOutAndReadBack(const Document& tree, const char* indent) {
    const Tree first = ReadBack(Written(tree, 0, indent));
    if (!first) return;
    const std::string laidOut = Written(*first, 0, indent);
    const Tree second = ReadBack(laidOut);
    Require(second && Written(*second, 0, indent) == laidOut);
}

/// The copy of a document has all that is below it but attributes, and no root of its own.
void CloneWhole(const Document& tree) {
    const std::unique_ptr<Document> copy(tree.Clone(&AdvXMLParser::NullElement()));
    Require(!copy->root && copy->children.size() == tree.children.size());
    Require(copy->version == "1.0" && copy->encoding == "UTF-8" && copy->standalone);
    const std::string written = Written(*copy, AdvXMLParser::WRITE_VERBATIM);
    const std::unique_ptr<Document> again(copy->Clone(nullptr));
    Require(Written(*again, AdvXMLParser::WRITE_VERBATIM) == written);
    ReadBack(written);
}

void FindAndChange(Document& tree) {
    for (Node* node : AllNodes(tree)) {
        if (!node->IsType(1)) continue;
        const std::string name(node->name);
        Node* parent = node->parent;
        Require(parent->FindElement(name)->IsType(1));
        Require(IsNull(node->FindElement("no such")));
        node->AppendText("more text than fits in place");
        node->name += "-and-a-longer-name";
        node->GetOrCreateElement("made")->AppendText("x");
    }
    tree.GetText();
    Written(tree, 0);
}

/// The look-ups of one container agree with each other and with a plain count.
void CountByName(NodeContainer& container) {
    if (container.children.size() > 100) return;
    for (const Node* wanted : container.children) {
        const std::string name(wanted->name);
        size_t expected = 0;
        for (const Node* child : container.children) expected += child->IsType(1) && child->name == name ? 1 : 0;
        size_t found = 0;
        for (size_t i = 0; container.FindNextElement(name, i); ++i) {
            Require(container.children[i]->name == name && container.children[i]->IsType(1));
            if (found == 0) Require(container.FindElement(name) == container.children[i]);
            ++found;
        }
        Require(found == expected && IsNull(container.FindElement(name)) == (found == 0));
    }
}

/// Children go from one container to another, by clones and by hand, and some die.
void MoveAround(Document& tree) {
    Element target(nullptr, "target");
    for (Node* node : AllNodes(tree)) {
        auto* container = dynamic_cast<NodeContainer*>(node);
        if (!container) continue;
        CountByName(*container);
        if (container->children.empty() || target.children.size() > 100) continue;
        NodeContainer::CloneChildren(*container, target);
        container->children.insert(container->children.begin(), new AdvXMLParser::EntityRef("lt"));
        container->children.push_back(new AdvXMLParser::CharRef(container, 0x141));
        container->children.push_back(new AdvXMLParser::CData(container, node->GetNodeValue()));
        container->pendingText = new AdvXMLParser::Text(container, "");
        container->AppendChild(container->pendingText);
        container->AppendText("a");
        container->AppendText("b");
        Require(container->pendingText->text == "ab");
        container->AppendChild(new AdvXMLParser::Comment(container, "c"));
        Require(!container->pendingText);
    }
    Require(IsNull(AdvXMLParser::NullElement().GetOrCreateElement("x")));
    target.GetText();
    Written(target, 0, "\t");
    Written(tree, 0, nullptr);
    target.GetOrCreateElement("made")->AppendText("x");
    Require(target.FindElement("made") == target.GetOrCreateElement("made"));
    target.DeleteChildren();
    Require(target.children.empty() && Written(target, AdvXMLParser::WRITE_VERBATIM) == "<target/>");
}

/// Nodes of one parse share their memory: take the tree apart and let the pieces die in another order.
void TakeApart(Tree tree) {
    std::vector<std::unique_ptr<Node>> kept;
    for (Node* node : AllNodes(*tree)) {
        auto* container = dynamic_cast<NodeContainer*>(node);
        if (!container || container->children.empty() || kept.size() >= 50) continue;
        kept.emplace_back(container->children.back());
        container->children.pop_back();
    }
    tree.reset();
    for (size_t at = 0; at < kept.size(); at += 2) kept[at].reset();
    for (const std::unique_ptr<Node>& node : kept) {
        if (node) node->GetText();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Tree tree;
    try {
        tree.reset(AdvXMLParser::Parser().Parse(data, static_cast<int>(size)));
    } catch (const AdvXMLParser::ParsingException& exception) {
        Require(exception.code >= 1 && exception.code <= 43 && exception.line >= 1);
        return 0;
    }
    Require(tree->root != nullptr);
    AskEveryNode(*tree);
    WriteVerbatimAndReadBack(*tree);
    LayOutAndReadBack(*tree, "  ");
    LayOutAndReadBack(*tree, "\t");
    LayOutAndReadBack(*tree, "");
    CloneWhole(*tree);
    FindAndChange(*tree);
    MoveAround(*tree);
    TakeApart(std::move(tree));
    return 0;
}
