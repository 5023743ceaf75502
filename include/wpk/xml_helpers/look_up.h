/// @file
/// Reading a tree: attributes by name, texts as values, a loop over children.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_HELPERS_LOOK_UP_H
#define WPK_XML_HELPERS_LOOK_UP_H

#include <wpk/xml_helpers/names.h>
#include <wpk/xml_helpers/values.h>

#include <cstddef>
#include <iterator>
#include <string>
#include <string_view>

namespace wpk {
namespace xml {

/// The element's first attribute of that name, compared byte for byte; the null attribute if there is none. Never null.
/// Never fails.
inline Attribute* FindAttribute(const Node* element, std::string_view name) noexcept {
    if (!IsNull(element)) {
        for (Attribute* const attribute : element->AsElement().attributes) {
            if (attribute->name == name) return attribute;
        }
    }
    return &AdvXMLParser::NullAttribute();
}

/// The node's text (GetText) as a value of the fallback's type; the fallback if there is no such node or its text is
/// not such a value. If the fallback is a text, the result is a std::string: the text of the node, empty for an empty
/// element.
///
///     const double price = TextOr(item->FindElement("price"), 0.0);
///     const std::string name = TextOr(item->FindElement("name"), "nobody");
///
/// Numbers are decimal, with a dot, independent of the locale; a number that does not fit into the type is not a value.
/// A bool is true, false, 1 or 0. White space around both is ignored. A char is a text of one byte. A long double has
/// the precision of the standard library's std::from_chars, which with mingw-w64 is that of a double.
template <class T>
typename detail::Read<T>::Type TextOr(const Node* node, const T& fallback) {
    if (IsNull(node)) return detail::Fallback(fallback);
    return detail::ValueOr(node->GetText(), fallback);
}

/// The value of the element's first attribute of that name, in the same way:
///
///     for (Element* item : Children(order->root, "item")) Use(AttributeOr(item, "id", 0));
template <class T>
typename detail::Read<T>::Type AttributeOr(const Node* element, std::string_view name, const T& fallback) {
    return TextOr(FindAttribute(element, name), fallback);
}

/// The child elements of a container, or those with one name; made by Children. It keeps a copy of the name and refers
/// to the container, which must outlive it. During a loop, the current element may be removed, and others may be
/// appended.
class ChildRange {
public:
    /// Goes from one child to the next. The range must outlive it.
    class Iterator {
    public:
        /// As in the standard containers; one way only.
        ///@{
        using iterator_category = std::input_iterator_tag;
        using value_type = Element*;
        using difference_type = std::ptrdiff_t;
        using pointer = Element**;
        using reference = Element*;
        Element* operator*() const noexcept { return current_; }
        Iterator& operator++() noexcept {
            const auto& children = range_->parent_->children;
            // If the current element was removed, the next one is in its place already.
            if (position_ < children.size() && children[position_] == current_) ++position_;
            Find();
            return *this;
        }
        Iterator operator++(int) noexcept {
            const Iterator before = *this;
            ++*this;
            return before;
        }
        friend bool operator==(const Iterator& a, const Iterator& b) noexcept { return a.current_ == b.current_; }
        friend bool operator!=(const Iterator& a, const Iterator& b) noexcept { return a.current_ != b.current_; }
        ///@}

    private:
        friend class ChildRange;
        /// The end.
        Iterator() = default;
        explicit Iterator(const ChildRange& range) noexcept : range_(&range) { Find(); }

        void Find() noexcept {
            const auto& children = range_->parent_->children;
            current_ = nullptr;
            for (; position_ < children.size(); ++position_) {
                Element& child = children[position_]->AsElement();
                if (IsNull(child) || (range_->hasName_ && child.name != range_->name_)) continue;
                current_ = &child;
                return;
            }
        }

        const ChildRange* range_ = nullptr;
        std::size_t position_ = 0;
        Element* current_ = nullptr;
    };

    /// For Children.
    ///@{
    explicit ChildRange(const Node* parent) noexcept : parent_(Container(parent)) {}
    ChildRange(const Node* parent, std::string_view name) : parent_(Container(parent)), name_(name), hasName_(true) {}
    ///@}

    /// As in the standard containers.
    ///@{
    Iterator begin() const noexcept { return Iterator(*this); }
    Iterator end() const noexcept { return Iterator(); }
    bool empty() const noexcept { return begin() == end(); }
    ///@}

private:
    static const NodeContainer* Container(const Node* parent) noexcept {
        return parent ? &parent->AsContainer() : &AdvXMLParser::NullElement();
    }

    const NodeContainer* parent_;
    std::string name_;
    bool hasName_ = false;
};

/// The child elements with that name, or all child elements, in document order. None if there is no such parent.
///
///     for (Element* item : Children(order->root, "item")) total += TextOr(item->FindElement("price"), 0.0);
///@{
inline ChildRange Children(const Node* parent, std::string_view name) {
    return {parent, name};
}
inline ChildRange Children(const Node* parent) noexcept {
    return ChildRange(parent);
}
///@}

}  // namespace xml
}  // namespace wpk

#endif  // WPK_XML_HELPERS_LOOK_UP_H
