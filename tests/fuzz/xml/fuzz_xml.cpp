// Feeds any bytes to the XML parser and does everything that can be done with a tree it returns.
// SPDX-License-Identifier: MIT
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "wpk/xml.h"

namespace {

using AdvXMLParser::Document;
using AdvXMLParser::Element;
using AdvXMLParser::Node;
using AdvXMLParser::NodeContainer;
using Tree = std::unique_ptr<Document>;

void Require(bool holds) {
    if (!holds) std::abort();
}

Tree Parse(const std::string& text) {
    try {
        return Tree(AdvXMLParser::Parser().Parse(text.data(), static_cast<int>(text.size())));
    } catch (const AdvXMLParser::ParsingException& exception) {
        Require(exception.code >= 1 && exception.code <= 43 && exception.line >= 1);
        return nullptr;
    }
}

std::string Write(const Node& node, unsigned flags) {
    std::string output;
    AdvXMLParser::WriteContext context;
    context.flags = flags;
    context.output = &output;
    node.Write(context);
    return output;
}

/// Every node below `container`, and itself, parents before children.
std::vector<Node*> AllNodes(NodeContainer& container) {
    std::vector<Node*> nodes = {&container};
    for (std::size_t at = 0; at < nodes.size(); ++at) {
        auto* parent = dynamic_cast<NodeContainer*>(nodes[at]);
        if (parent == nullptr) continue;
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
        Write(*node, 0);
        const std::unique_ptr<Node> copy(node->Clone(&AdvXMLParser::NullElement()));
        for (int code = 1; code < 10; ++code) Require(copy->IsType(code) == node->IsType(code));
    }
}

/// A tree written verbatim reads back as the same, but for character references of 0x80 and above.
void WriteAndReadBack(const Document& tree) {
    const std::string written = Write(tree, AdvXMLParser::WRITE_VERBATIM);
    const Tree again = Parse(written);
    Require(again != nullptr || written.find("&#x;") != std::string::npos);
    if (again) Require(Write(*again, AdvXMLParser::WRITE_VERBATIM) == written);
}

void FindAndChange(Document& tree) {
    for (Node* node : AllNodes(tree)) {
        if (!node->IsType(1)) continue;
        const std::string name(node->name);
        Node* parent = node->parent;
        Require(parent->FindElement(name)->IsType(1));
        Require(IsNull(node->FindElement("no such")) || node->FindElement("no such")->name == "no such");
        node->AppendText("more text than fits in place");
        node->name += "-and-a-longer-name";
        node->GetOrCreateElement("made")->AppendText("x");
    }
    tree.GetText();
    Write(tree, 0);
}

/// Nodes of one parse share their memory: take the tree apart and let the pieces die in another order.
void TakeApart(Tree tree) {
    std::vector<std::unique_ptr<Node>> kept;
    for (Node* node : AllNodes(*tree)) {
        auto* container = dynamic_cast<NodeContainer*>(node);
        if (container == nullptr || container->children.empty() || kept.size() >= 50) continue;
        kept.emplace_back(container->children.back());
        container->children.pop_back();
    }
    tree.reset();
    for (std::size_t at = 0; at < kept.size(); at += 2) kept[at].reset();
    for (const std::unique_ptr<Node>& node : kept) {
        if (node) node->GetText();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Tree tree;
    try {
        tree.reset(AdvXMLParser::Parser().Parse(data, static_cast<int>(size)));
    } catch (const AdvXMLParser::ParsingException& exception) {
        Require(exception.code >= 1 && exception.code <= 43 && exception.line >= 1);
        return 0;
    }
    Require(tree->root != nullptr);
    AskEveryNode(*tree);
    WriteAndReadBack(*tree);
    FindAndChange(*tree);
    TakeApart(std::move(tree));
    return 0;
}
