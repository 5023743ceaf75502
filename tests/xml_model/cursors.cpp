// The two cursors of the parser side by side.
// SPDX-License-Identifier: MIT
#include "xml_model/cursors.h"

#include <cstddef>
#include <memory>
#include <vector>

#include "wpk/xml.h"
#include "xml/document_rules.h"
#include "xml/diagnosing_cursor.h"
#include "xml/fast_cursor.h"
#include "xml_model/library_tree.h"

namespace xml_model {
namespace {

using AdvXMLParser::detail::Byte;
using Tree = std::unique_ptr<AdvXMLParser::Document>;

template <class Cursor, class Refusal>
Tree Read(std::string_view input) {
    // In a block of its own, so that a read past its end is seen by AddressSanitizer.
    const std::vector<Byte> bytes(input.begin(), input.end());
    static constexpr Byte kNothing[1] = {0};
    try {
        return Tree(AdvXMLParser::detail::ReadDocument<Cursor>(bytes.empty() ? kNothing : bytes.data(), bytes.size()));
    } catch (const Refusal&) {
        return nullptr;
    }
}

/// What a node holds and where its children stand; nothing is left out that a parser sets.
void Describe(const AdvXMLParser::Node& node, const AdvXMLParser::Node* parent, std::string& all) {
    all += "(" + std::string(node.name) + "|" + node.GetNodeValue() + (node.parent == parent ? "" : "|lost");
    for (int code = 1; code < 10; ++code) all += node.IsType(code) ? "|" + std::to_string(code) : "";
    if (const auto* element = dynamic_cast<const AdvXMLParser::Element*>(&node)) {
        if (element->preserveSpace) all += "|preserve";
        for (const AdvXMLParser::Attribute* attribute : element->attributes) Describe(*attribute, &node, all);
    }
    if (const auto* container = dynamic_cast<const AdvXMLParser::NodeContainer*>(&node)) {
        for (const AdvXMLParser::Node* child : container->children) Describe(*child, &node, all);
    }
    all += ")";
}

std::string Describe(const AdvXMLParser::Document& document) {
    std::string all = std::string(document.version) + "|" + std::string(document.encoding) + "|" +
                      (document.standalone ? "standalone" : "") + "|" +
                      (document.root != nullptr ? std::string(document.root->name) : "no root");
    Describe(document, &AdvXMLParser::NullElement(), all);
    return all;
}

}  // namespace

std::string CursorDisagreement(std::string_view input) {
    const Tree fast = Read<AdvXMLParser::detail::FastCursor, AdvXMLParser::detail::NotWellFormed>(input);
    const Tree exact = Read<AdvXMLParser::detail::DiagnosingCursor, AdvXMLParser::ParsingException>(input);
    std::string difference;
    if ((!fast) != (!exact)) {
        difference = !fast ? "refused by the fast cursor alone" : "refused by the exact cursor alone";
    } else if (fast && Describe(*fast) != Describe(*exact)) {
        difference = "fast:  " + Readable(Describe(*fast)) + "\n  exact: " + Readable(Describe(*exact));
    }
    return difference.empty() ? "" : "input: " + Readable(input) + "\n  " + difference;
}

}  // namespace xml_model
