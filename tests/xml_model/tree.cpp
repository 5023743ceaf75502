// The model's node tree: plain values, and what can be asked of them.
// SPDX-License-Identifier: MIT
#include "xml_model/tree.h"

#include "xml_model/cursor.h"

namespace xml_model {

std::string CollapseWhitespace(const std::string& text) {
    std::string collapsed;
    bool inRun = false;
    for (char character : text) {
        const bool isSpace = IsWhitespace(static_cast<Byte>(character));
        if (!isSpace) collapsed += character;
        if (isSpace && !inRun) collapsed += ' ';
        inRun = isSpace;
    }
    return collapsed;
}

std::string TrimWhitespace(const std::string& text) {
    size_t from = 0;
    size_t to = text.size();
    while (from < to && IsWhitespace(static_cast<Byte>(text[from]))) ++from;
    while (to > from && IsWhitespace(static_cast<Byte>(text[to - 1]))) --to;
    return text.substr(from, to - from);
}

std::string GetNodeValue(const Node& node) {
    if (node.type == kAttribute) return GetText(node);
    return node.value;
}

std::string GetText(const Node& node) {
    if (node.type != kElement && node.type != kAttribute && node.type != kDocument) return node.value;
    std::string text;
    for (const Node& child : node.children) text += GetText(child);
    if (node.type == kAttribute) return TrimWhitespace(text);
    if (node.type == kElement && node.preserveSpace) return text;
    return TrimWhitespace(CollapseWhitespace(text));
}

Node Clone(const Node& node) {
    Node copy{node.type, node.name, node.value, node.isCharacterReference, false, {}, {}};
    for (const Node& child : node.children) copy.children.push_back(Clone(child));
    return copy;
}

}  // namespace xml_model
