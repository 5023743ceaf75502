// What the library's own code may touch of the public classes and an application may not.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_INTERNALS_H
#define WPK_XML_INTERNALS_H

#include <wpk/xml/nodes.h>

#include "xml/pool.h"

namespace AdvXMLParser {

struct Internals {
    using Kind = Node::Kind;

    /// Which of the library's classes the node is made of, be it as a base.
    static Kind KindOf(const Node& node) noexcept { return node.seat_.kind; }

    /// What its class is exactly: foreign for every class of an application's own, whose virtual functions may have
    /// been overridden. The parser makes none of those.
    static Kind ExactKindOf(const Node& node) noexcept {
        return node.seat_.offset != 0 || IsOfOwnClass(node) ? KindOf(node) : Kind::kForeign;
    }

    /// The container that a node is, or null.
    static NodeContainer* AsContainer(Node* node) noexcept {
        return HasChildren(KindOf(*node)) ? static_cast<NodeContainer*>(node) : nullptr;
    }
    /// The same, but null for a class of an application's own.
    static const NodeContainer* AsOwnContainer(const Node* node) noexcept {
        return HasChildren(ExactKindOf(*node)) ? static_cast<const NodeContainer*>(node) : nullptr;
    }

    /// The chunk that the node sits in, or null.
    static const Pool::Chunk* ChunkOf(const Node& node) noexcept {
        return node.seat_.offset == 0 ? nullptr : reinterpret_cast<const Pool::Chunk*>(node.seat_.Chunk());
    }

    /// Whether a text or an element in a pool has got any of its memory from elsewhere.
    static bool HasHeapMemory(const Text& text) noexcept { return text.name.IsHeap() || text.text.IsHeap(); }
    static bool HasHeapMemory(const Element& element) noexcept {
        return element.name.IsHeap() || element.attributes.IsHeap() || element.children.IsHeap();
    }

    static void FreeHeap(ByteString& bytes) noexcept {
        if (bytes.IsHeap()) bytes.FreeHeap();
    }
    template <class T>
    static void FreeHeap(NodeList<T>& list) noexcept {
        list.Free();
    }
    template <class T>
    static void Borrow(NodeList<T>& list, T** entries, std::size_t count) noexcept {
        list.Borrow(entries, count);
    }
    /// The entry of a list that is known to be in place.
    template <class T>
    static void HoldOne(NodeList<T>& list, T* entry) noexcept {
        list.one_ = entry;
        list.size_ = 1;
    }

private:
    static bool HasChildren(Kind kind) noexcept { return kind >= Kind::kForeignContainer && kind <= Kind::kDocument; }
    static bool IsOfOwnClass(const Node& node) noexcept;
};

}  // namespace AdvXMLParser

#endif  // WPK_XML_INTERNALS_H
