// Compares the library's tree with the model's.
// SPDX-License-Identifier: MIT
#include "xml_model/library_tree.h"

#include <cstddef>
#include <memory>

#include "xml_model/writer.h"

namespace xml_model {
namespace {

using AdvXMLParser::NodeContainer;

std::string Differ(const std::string& what, std::string_view expected, std::string_view actual) {
    return what + "\n  model:   " + Readable(expected) + "\n  library: " + Readable(actual);
}

bool IsContainer(Type type) {
    return type == kElement || type == kAttribute || type == kDocument;
}

/// The node's own string field or character.
std::string ValueOf(Type type, const AdvXMLParser::Node& node) {
    switch (type) {
        case kText:
            return std::string(std::string_view(static_cast<const AdvXMLParser::Text&>(node).text));
        case kCData:
            return std::string(std::string_view(static_cast<const AdvXMLParser::CData&>(node).text));
        case kComment:
            return std::string(std::string_view(static_cast<const AdvXMLParser::Comment&>(node).text));
        case kPi:
            return std::string(std::string_view(static_cast<const AdvXMLParser::Pi&>(node).data));
        default:
            return {};
    }
}

std::string ReferenceDifference(const Node& model, const AdvXMLParser::Node& library) {
    const auto* character = dynamic_cast<const AdvXMLParser::CharRef*>(&library);
    const auto* entity = dynamic_cast<const AdvXMLParser::EntityRef*>(&library);
    if (model.isCharacterReference == !character) return "kind of reference";
    if (!character && !entity) return "a reference of neither kind";
    const char value = static_cast<char>(character ? character->value : entity->value);
    if (model.value != std::string(1, value)) return Differ("character of a reference", model.value, {&value, 1});
    return {};
}

std::string NodeDifference(const Node& model, const AdvXMLParser::Node& library);

template <class Nodes>
std::string ListDifference(const std::vector<Node>& model, const Nodes& library, const AdvXMLParser::Node& owner) {
    if (model.size() != library.size()) {
        return Differ("number of nodes in a list", std::to_string(model.size()), std::to_string(library.size()));
    }
    for (size_t at = 0; at < model.size(); ++at) {
        const AdvXMLParser::Node& child = *library[at];
        if (child.parent != &owner) return "parent of " + Readable(model[at].name);
        std::string difference = NodeDifference(model[at], child);
        if (!difference.empty()) return difference;
    }
    return {};
}

std::string NodeDifference(const Node& model, const AdvXMLParser::Node& library) {
    for (int code = 0; code <= 10; ++code) {
        if (library.IsType(code) != (code == model.type)) return "type code " + std::to_string(code);
    }
    if (std::string_view(library.name) != model.name) return Differ("name", model.name, library.name);
    if (model.type == kReference) return ReferenceDifference(model, library);
    if (!IsContainer(model.type)) {
        const std::string value = ValueOf(model.type, library);
        return value == model.value ? "" : Differ("value", model.value, value);
    }
    const auto& container = static_cast<const NodeContainer&>(library);
    if (container.pendingText) return "pendingText";
    if (model.type == kElement) {
        const auto& element = static_cast<const AdvXMLParser::Element&>(library);
        if (element.preserveSpace != model.preserveSpace) return "preserveSpace of " + model.name;
        std::string difference = ListDifference(model.attributes, element.attributes, library);
        if (!difference.empty()) return difference;
    }
    return ListDifference(model.children, container.children, library);
}

std::string NodeAnswersDifference(const Node& model, const AdvXMLParser::Node& library) {
    const std::string text(std::string_view(library.GetText()));
    if (text != GetText(model)) return Differ("GetText", GetText(model), text);
    const std::string value(std::string_view(library.GetNodeValue()));
    if (value != GetNodeValue(model)) return Differ("GetNodeValue", GetNodeValue(model), value);
    if (model.type == kDocument) return {};
    for (const WriteMode& mode : kWriteModes) {
        Writer writer(mode.verbatim, mode.indent);
        writer.Write(model);
        const std::string written = WriteWithLibrary(library, mode);
        if (written != writer.Output()) return Differ("a node written on its own", writer.Output(), written);
    }
    return {};
}

/// As `NodeDifference`, for a copy: a copied named reference has the null element for a parent.
std::string CopyDifference(const Node& model, const AdvXMLParser::Node& copy) {
    if (!IsContainer(model.type)) return NodeDifference(model, copy);
    const auto& container = static_cast<const NodeContainer&>(copy);
    if (std::string_view(copy.name) != model.name || !copy.IsType(model.type)) return "name or type of a copy";
    if (model.type == kElement) {
        const auto& element = static_cast<const AdvXMLParser::Element&>(copy);
        if (element.preserveSpace || element.attributes.size() != 0) return "a copied element keeps too much";
    }
    if (container.children.size() != model.children.size()) return "number of children of a copy";
    for (size_t at = 0; at < model.children.size(); ++at) {
        const Node& expected = model.children[at];
        const AdvXMLParser::Node& child = *container.children[at];
        const bool hasNullParent = expected.type == kReference && !expected.isCharacterReference;
        const AdvXMLParser::Node* parent = &copy;
        if (hasNullParent) parent = &AdvXMLParser::NullElement();
        if (child.parent != parent) return "parent in a copy";
        std::string difference = CopyDifference(expected, child);
        if (!difference.empty()) return difference;
    }
    return {};
}

}  // namespace

std::string WriteWithLibrary(const AdvXMLParser::Node& node, const WriteMode& mode) {
    std::string output;
    AdvXMLParser::WriteContext context{};
    context.flags = mode.verbatim ? AdvXMLParser::WRITE_VERBATIM : 0;
    context.indent = mode.indent;
    context.output = &output;
    node.Write(context);
    return output;
}

std::string DocumentDifference(const Document& model, const AdvXMLParser::Document& library) {
    if (std::string_view(library.version) != model.version) return Differ("version", model.version, library.version);
    if (std::string_view(library.encoding) != model.encoding) {
        return Differ("encoding", model.encoding, library.encoding);
    }
    if (library.standalone != model.standalone) return "standalone";
    if (library.parent != &AdvXMLParser::NullElement()) return "parent of the document";
    std::string difference = NodeDifference(model.node, library);
    if (!difference.empty()) return difference;
    const AdvXMLParser::Node* root = library.children[model.root];
    return library.root == root ? "" : "root";
}

std::string EveryNodeDifference(const Node& model, const AdvXMLParser::Node& library) {
    std::string difference = NodeAnswersDifference(model, library);
    if (!difference.empty() || !IsContainer(model.type)) return difference;
    const auto& container = static_cast<const NodeContainer&>(library);
    for (size_t at = 0; at < model.children.size(); ++at) {
        difference = EveryNodeDifference(model.children[at], *container.children[at]);
        if (!difference.empty()) return difference;
    }
    for (size_t at = 0; at < model.attributes.size(); ++at) {
        const auto& element = static_cast<const AdvXMLParser::Element&>(library);
        difference = EveryNodeDifference(model.attributes[at], *element.attributes[at]);
        if (!difference.empty()) return difference;
    }
    return {};
}

std::string CloneDifference(const Document& model, const AdvXMLParser::Document& library) {
    const std::unique_ptr<AdvXMLParser::Node> copy(library.Clone(&AdvXMLParser::NullElement()));
    const auto& document = static_cast<const AdvXMLParser::Document&>(*copy);
    if (std::string_view(document.version) != "1.0" || std::string_view(document.encoding) != "UTF-8") {
        return "a copied document keeps its declaration";
    }
    if (!document.standalone || document.root) return "a copied document keeps standalone or root";
    return CopyDifference(Clone(model.node), *copy);
}

std::string Readable(std::string_view bytes) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string readable;
    for (char character : bytes) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte >= 0x20 && byte < 0x7F && byte != '\\') {
            readable += character;
        } else {
            readable += {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 15]};
        }
    }
    return readable;
}

}  // namespace xml_model
