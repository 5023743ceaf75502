// The model's node tree: plain values, and what can be asked of them.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_XML_MODEL_TREE_H
#define WPK_TESTS_XML_MODEL_TREE_H

#include <cstddef>
#include <string>
#include <vector>

namespace xml_model {

enum Type { kElement = 1, kAttribute, kText, kCData, kReference, kPi = 7, kComment, kDocument };

struct Node {
    Type type;
    std::string name;
    /// Text, data, or the one character of a reference.
    std::string value;
    /// Only for references: a character reference, not a named one.
    bool isCharacterReference = false;
    bool preserveSpace = false;
    std::vector<Node> children;
    std::vector<Node> attributes;
};

struct Document {
    Node node{kDocument, "#document", "", false, false, {}, {}};
    std::string version = "1.0";
    std::string encoding = "UTF-8";
    bool standalone = true;
    /// Index of the root among the children.
    size_t root = 0;
};

std::string CollapseWhitespace(const std::string& text);
std::string TrimWhitespace(const std::string& text);

std::string GetNodeValue(const Node& node);
std::string GetText(const Node& node);
Node Clone(const Node& node);

}  // namespace xml_model

#endif  // WPK_TESTS_XML_MODEL_TREE_H
