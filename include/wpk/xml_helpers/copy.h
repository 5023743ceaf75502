/// @file
/// Complete copies of nodes.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_HELPERS_COPY_H
#define WPK_XML_HELPERS_COPY_H

#include <wpk/xml_helpers/edit.h>
#include <wpk/xml_helpers/names.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace wpk {
namespace xml {
namespace detail {

inline void CopyAttributes(const Element& from, Element& to) {
    to.preserveSpace = from.preserveSpace;
    to.attributes.reserve(from.attributes.size());
    for (const Attribute* const attribute : from.attributes) {
        to.attributes.push_back(attribute->Clone(&to));
        for (Node* const piece : to.attributes.back()->children) piece->parent = to.attributes.back();
    }
}

inline void CopyDeclaration(const Document& from, Document& to) {
    to.version = from.version;
    to.encoding = from.encoding;
    to.standalone = from.standalone;
    const std::size_t count = (std::min)(from.children.size(), to.children.size());
    for (std::size_t i = 0; i < count; ++i) {
        if (from.root && from.children[i] == from.root) to.root = &to.children[i]->AsElement();
    }
}

/// Adds what Clone leaves out, level by level: `to` is a Clone of `from`.
inline void CompleteClone(const Node& from, Node& to) {
    std::vector<std::pair<const NodeContainer*, NodeContainer*>> open{{&from.AsContainer(), &to.AsContainer()}};
    while (!open.empty()) {
        const auto [source, copy] = open.back();
        open.pop_back();
        if (IsNull(copy)) continue;
        if (!IsNull(copy->AsElement())) CopyAttributes(source->AsElement(), copy->AsElement());
        if (copy->IsType(AdvXMLParser::DOCUMENT_NODE)) {
            CopyDeclaration(static_cast<const Document&>(*source), static_cast<Document&>(*copy));
        }
        const std::size_t count = (std::min)(source->children.size(), copy->children.size());
        for (std::size_t i = 0; i < count; ++i) {
            copy->children[i]->parent = copy;
            const NodeContainer& below = source->children[i]->AsContainer();
            if (!IsNull(below)) open.emplace_back(&below, &copy->children[i]->AsContainer());
        }
    }
}

}  // namespace detail

/// A copy of the node and of everything below it, including what Clone omits: attributes, preserveSpace, and a
/// document's declaration and root. It belongs to no container. Null if `node` is null or a null node.
///
///     const std::unique_ptr<Document> draft = Copy(order.get());
///     const std::unique_ptr<Element> kept = Copy(&order->root->FindElement("item")->AsElement());
///
/// Throws InvalidRefException if the name of an EntityRef was changed to an unknown one.
template <class T>
std::unique_ptr<T> Copy(const T* node) {
    if (IsNull(node)) return nullptr;
    std::unique_ptr<T> copy(node->Clone(nullptr));
    detail::CompleteClone(*node, *copy);
    return copy;
}

/// Adds a copy of `element` to `parent` as Add does, in the same tree or in another, and returns the copy. Does nothing
/// and returns the null element if `parent` cannot take an element or `element` is none.
///
///     AddCopy(archive->root, order->root->FindElement("item"));
inline Element* AddCopy(Node* parent, const Node* element) {
    NodeContainer* const place = detail::PlaceForElement(parent);
    if (!place || IsNull(element) || IsNull(element->AsElement())) return &AdvXMLParser::NullElement();
    std::unique_ptr<Element> copy = Copy(&element->AsElement());
    copy->parent = place;
    return detail::AppendElement(*place, std::move(copy));
}

}  // namespace xml
}  // namespace wpk

#endif  // WPK_XML_HELPERS_COPY_H
