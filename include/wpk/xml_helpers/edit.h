/// @file
/// Changing a tree: texts that arrive unchanged, attributes, adding and removing elements.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_HELPERS_EDIT_H
#define WPK_XML_HELPERS_EDIT_H

#include <wpk/xml_helpers/look_up.h>
#include <wpk/xml_helpers/names.h>
#include <wpk/xml_helpers/values.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace wpk {
namespace xml {
namespace detail {

inline bool IsControl(char c) noexcept {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 && c != '\t' && c != '\n' && c != '\r';
}

inline bool IsNameStart(char c) noexcept {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c == ':';
}

/// As the parser has it: of the bytes above 127 those that are letters in Latin-1.
inline bool IsNameCharacter(char c) noexcept {
    const auto byte = static_cast<unsigned char>(c);
    return IsNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.' || byte == 0xB7 ||
           (byte >= 0xC0 && byte != 0xD7 && byte != 0xF7);
}

inline void CheckName(std::string_view name) {
    if (name.empty() || !IsNameStart(name[0]) || !std::all_of(name.begin(), name.end(), IsNameCharacter)) {
        throw std::invalid_argument("wpk::xml: no element or attribute can have the name \"" + std::string(name) +
                                    "\"");
    }
}

inline void CheckCharacters(std::string_view text) {
    if (std::any_of(text.begin(), text.end(), IsControl)) {
        throw std::invalid_argument("wpk::xml: no document can hold this control character; encode such data");
    }
}

/// The entity that must replace the character; null if the character may be written itself.
inline const char* EntityOf(char c) noexcept {
    switch (c) {
        case '<':
            return "lt";
        case '>':
            return "gt";
        case '&':
            return "amp";
        case '\'':
            return "apos";
        case '"':
            return "quot";
        default:
            return nullptr;
    }
}

/// Whether the writer or the parser would change it: white space is collapsed, a carriage return is read as a line
/// feed.
inline bool NeedsCharRef(std::string_view text, std::size_t at, std::size_t runStart) noexcept {
    const char c = text[at];
    return c == '\t' || c == '\n' || c == '\r' || (c == ' ' && at > runStart && text[at - 1] == ' ');
}

inline std::unique_ptr<Node> ReferenceTo(NodeContainer& parent, char c, const char* entity) {
    if (!entity) return std::make_unique<AdvXMLParser::CharRef>(&parent, static_cast<unsigned char>(c));
    auto reference = std::make_unique<AdvXMLParser::EntityRef>(entity);
    reference->parent = &parent;
    return reference;
}

/// Appends the pieces of a checked text to `holder`, with `parent` as their parent.
inline void AppendPieces(NodeContainer& holder, NodeContainer& parent, std::string_view text) {
    std::size_t runStart = 0;
    const auto endRun = [&](std::size_t at) {
        if (at > runStart) holder.AppendChild(new AdvXMLParser::Text(&parent, text.substr(runStart, at - runStart)));
        runStart = at + 1;
    };
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char* const entity = EntityOf(text[at]);
        if (!entity && !NeedsCharRef(text, at, runStart)) continue;
        endRun(at);
        holder.AppendChild(ReferenceTo(parent, text[at], entity).release());
    }
    endRun(text.size());
}

/// Adds the pieces at the end of `parent`: all or none.
inline void TakePieces(NodeContainer& parent, Attribute& pieces) {
    parent.children.reserve(parent.children.size() + pieces.children.size());
    for (Node* const piece : pieces.children) parent.children.push_back(piece);
    pieces.children.clear();
    parent.pendingText = nullptr;
}

/// Replaces the content of `parent` by the pieces. Nothing is allocated: their list exists already.
inline void ReplaceByPieces(NodeContainer& parent, Attribute& pieces) {
    parent.DeleteChildren();
    parent.children = std::move(pieces.children);
    parent.pendingText = nullptr;
}

inline NodeContainer* WritableContainer(Node* node) noexcept {
    if (IsNull(node)) return nullptr;
    NodeContainer& container = node->AsContainer();
    return IsNull(container) || container.IsType(AdvXMLParser::DOCUMENT_NODE) ? nullptr : &container;
}

/// Makes the pieces of a text, which may be a view of what they replace, and puts them into the node. False if there is
/// no such node.
inline bool PutText(Node* node, std::string_view text, void (*put)(NodeContainer& parent, Attribute& pieces)) {
    CheckCharacters(text);
    NodeContainer* const container = WritableContainer(node);
    if (!container) return false;
    Attribute pieces(nullptr, {});
    AppendPieces(pieces, *container, text);
    put(*container, pieces);
    return true;
}

/// The document when the container is one, else null.
inline Document* AsDocument(NodeContainer& container) noexcept {
    return container.IsType(AdvXMLParser::DOCUMENT_NODE) ? static_cast<Document*>(&container) : nullptr;
}

/// The container that can take one more element: an element, or a document without a root. Null if there is none.
inline NodeContainer* PlaceForElement(Node* parent) noexcept {
    if (IsNull(parent)) return nullptr;
    NodeContainer& container = parent->AsContainer();
    const Document* const document = AsDocument(container);
    const bool takesOne = document ? !document->root : !IsNull(container.AsElement());
    return takesOne ? &container : nullptr;
}

inline Element* AppendElement(NodeContainer& place, std::unique_ptr<Element> element) {
    Element* const added = element.get();
    place.AppendChild(element.release());
    if (Document* const document = AsDocument(place)) document->root = added;
    return added;
}

inline bool IsBlankText(const Node& node) {
    return node.IsType(AdvXMLParser::TEXT_NODE) && Trimmed(node.GetNodeValue()).empty();
}

/// Whether the texts in it are only layout: it has elements, and there is nothing else between them.
inline bool HoldsLayoutOnly(const NodeContainer& container) {
    bool hasElement = false;
    for (const Node* const child : container.children) {
        const bool isElement = child->IsType(AdvXMLParser::ELEMENT_NODE);
        const bool isAside = child->IsType(AdvXMLParser::COMMENT_NODE) || child->IsType(AdvXMLParser::PI_NODE);
        if (!isElement && !isAside && !IsBlankText(*child)) return false;
        hasElement = hasElement || isElement;
    }
    return hasElement && !container.AsElement().preserveSpace;
}

inline void RemoveBlankTexts(NodeContainer& container) {
    auto kept = container.children.begin();
    for (Node* const child : container.children) {
        if (IsBlankText(*child)) {
            if (container.pendingText == child) container.pendingText = nullptr;
            delete child;
        } else {
            *kept++ = child;
        }
    }
    while (container.children.end() != kept) container.children.pop_back();
}

/// Removes the node from the list; false if it is not there. Searches from the end, where the last added node is.
template <class List>
bool TakeOut(List& list, const Node* node) noexcept {
    for (auto entry = list.end(); entry != list.begin();) {
        if (*--entry != node) continue;
        list.erase(entry);
        return true;
    }
    return false;
}

}  // namespace detail

/// Adds a text, or another value that TextOr can read, to an element or to an attribute's value so that it arrives
/// unchanged:
///
///     AppendEscaped(remark, "Tom & Jerry <3");        // written as Tom &amp; Jerry &lt;3
///
/// The five characters < > & ' " become references. So do tabs, line breaks, and blanks after a blank, which the writer
/// would otherwise collapse into one blank. (An element's GetText still collapses them unless its preserveSpace is
/// set.) A null pointer to characters is an empty text.
///
/// Returns false and does nothing if there is no such node. Throws std::invalid_argument for any other control
/// character (below 0x20): no document can contain it.
template <class T>
bool AppendEscaped(Node* node, const T& value) {
    return detail::PutText(node, detail::Written(value).Text(), detail::TakePieces);
}

/// Replaces everything inside an element, or an attribute's value, by a value, in the way of AppendEscaped. The value
/// may be a view of what is replaced. Returns false and does nothing if there is no such node; throws as AppendEscaped
/// does.
///
///     SetText(order->root->GetOrCreateElement("total"), 10.25);
template <class T>
bool SetText(Node* node, const T& value) {
    return detail::PutText(node, detail::Written(value).Text(), detail::ReplaceByPieces);
}

/// Sets the element's first attribute of that name, as SetText does, or adds one. An attribute xml:space also sets the
/// element's preserveSpace, as the parser does. Returns false and does nothing if there is no such element. Throws
/// std::invalid_argument for a name that no attribute can have, and as AppendEscaped does.
///
///     SetAttribute(item, "price", 12.5);
template <class T>
bool SetAttribute(Node* element, std::string_view name, const T& value) {
    detail::CheckName(name);
    if (IsNull(element) || IsNull(element->AsElement())) return false;
    Element& owner = element->AsElement();
    const bool preserve = detail::Trimmed(detail::Written(value).Text()) == "preserve";
    Attribute* const present = FindAttribute(&owner, name);
    if (IsNull(present)) {
        auto added = std::make_unique<Attribute>(&owner, name);
        SetText(added.get(), value);
        owner.attributes.push_back(added.get());
        static_cast<void>(added.release());
    } else {
        SetText(present, value);
    }
    if (name == "xml:space") owner.preserveSpace = preserve;
    return true;
}

/// Adds an empty element at the end of an element, or as the root of a document that has none yet, and returns it. Does
/// nothing and returns the null element if `parent` is neither. Throws std::invalid_argument for a name that no element
/// can have.
///
///     SetAttribute(Add(order->root, "item"), "id", 4711);
inline Element* Add(Node* parent, std::string_view name) {
    detail::CheckName(name);
    NodeContainer* const place = detail::PlaceForElement(parent);
    if (!place) return &AdvXMLParser::NullElement();
    return detail::AppendElement(*place, std::make_unique<Element>(place, name));
}

/// The same with a value inside the new element, as by SetText.
template <class T>
Element* Add(Node* parent, std::string_view name, const T& value) {
    detail::CheckName(name);
    detail::CheckCharacters(detail::Written(value).Text());
    NodeContainer* const place = detail::PlaceForElement(parent);
    if (!place) return &AdvXMLParser::NullElement();
    auto element = std::make_unique<Element>(place, name);
    SetText(element.get(), value);
    return detail::AppendElement(*place, std::move(element));
}

/// Removes a node from its parent (an element's child or attribute; a document's child, including its root) and deletes
/// it with everything below it. Returns false and does nothing if the node has no parent.
///
///     Remove(order->root->FindElement("remark"));
inline bool Remove(Node* node) noexcept {
    if (IsNull(node) || IsNull(node->parent)) return false;
    NodeContainer& parent = *node->parent;
    if (!detail::TakeOut(parent.children, node) && !detail::TakeOut(parent.AsElement().attributes, node)) return false;
    if (parent.pendingText == node) parent.pendingText = nullptr;
    Document* const document = detail::AsDocument(parent);
    if (document && document->root == node) document->root = nullptr;
    delete node;
    return true;
}

/// Removes the white space between the elements below the node, so that ToString and Save can apply a new layout; the
/// old layout of a parsed document would otherwise be written in addition to the new one. White space is removed only
/// where nothing else is between the elements, and not in an element with preserveSpace. If memory runs out, some of it
/// remains.
inline void RemoveLayout(Node* node) {
    if (IsNull(node)) return;
    std::vector<NodeContainer*> open{&node->AsContainer()};
    while (!open.empty()) {
        NodeContainer& container = *open.back();
        open.pop_back();
        if (detail::HoldsLayoutOnly(container)) detail::RemoveBlankTexts(container);
        if (container.AsElement().preserveSpace) continue;
        for (Node* const child : container.children) {
            if (!IsNull(child->AsContainer())) open.push_back(&child->AsContainer());
        }
    }
}

}  // namespace xml
}  // namespace wpk

#endif  // WPK_XML_HELPERS_EDIT_H
