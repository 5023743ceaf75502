// What the library's own code may touch of the public classes and an application may not.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_NODE_ACCESS_H
#define WPK_XML_NODE_ACCESS_H

#include <cstddef>
#include <typeinfo>

#include <wpk/xml/nodes.h>

#include "xml/arena.h"

namespace AdvXMLParser {

struct NodeAccess {
    using Kind = Node::Kind;

    /// Which of the library's classes the node is made of, be it as a base.
    static Kind KindOf(const Node& node) noexcept { return node.location_.kind; }

    /// What its class is exactly: foreign for every class of an application's own, whose virtual functions may have
    /// been overridden. The parser makes none of those.
    static Kind ExactKindOf(const Node& node) noexcept {
        return node.location_.offset != 0 || IsOfOwnClass(node) ? KindOf(node) : Kind::kForeign;
    }

    /// The container that a node is, or null.
    static NodeContainer* AsContainer(Node* node) noexcept {
        return HasChildren(KindOf(*node)) ? static_cast<NodeContainer*>(node) : nullptr;
    }
    /// The same, but null for a class of an application's own.
    static const NodeContainer* AsOwnContainer(const Node* node) noexcept {
        return HasChildren(ExactKindOf(*node)) ? static_cast<const NodeContainer*>(node) : nullptr;
    }

    /// The node whose string or list this is; it must be one of a parsed node.
    ///@{
    static const Node& NodeOf(const ByteString& string) noexcept;
    static const Node& NodeOf(const void* list, bool isOfAttributes) noexcept;
    ///@}

    /// The arena of a parsed node.
    static Arena& ArenaOf(const Node& node) noexcept { return *ChunkOf(node)->arena; }

    /// The chunk that the node sits in, or null.
    static const Arena::Chunk* ChunkOf(const Node& node) noexcept {
        return node.location_.offset == 0 ? nullptr : reinterpret_cast<const Arena::Chunk*>(node.location_.Chunk());
    }

    /// Whether a string holds its bytes in place: sixteen can be read from there.
    static bool IsNear(const ByteString& bytes) noexcept { return bytes.IsNear(); }

    /// Whether a text or an element in an arena has got any of its memory from elsewhere.
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
    /// For the empty list of a node that is being parsed.
    ///@{
    template <class T>
    static void MarkAsParsed(NodeList<T>& list) noexcept {
        list.capacity_ = NodeList<T>::kParsed;
    }
    template <class T>
    static void SetBorrowed(NodeList<T>& list, T** entries, std::size_t count) noexcept {
        list.many_ = entries;
        list.size_ = static_cast<std::uint32_t>(count);
        list.capacity_ = list.size_ | NodeList<T>::kBorrowed | NodeList<T>::kParsed;
    }
    template <class T>
    static void SetSingle(NodeList<T>& list, T* entry) noexcept {
        list.one_ = entry;
        list.size_ = 1;
    }
    ///@}
    /// Empties a list whose entries and memory are somebody else's business.
    template <class T>
    static void Forget(NodeList<T>& list) noexcept {
        list.size_ = 0;
        list.capacity_ = 0;
    }
    /// Which of its node's strings one that is being parsed is.
    enum class Mark : std::uint8_t { kNone, kName, kValue };
    static constexpr std::size_t kMarks = 3;
    /// Such a string holds less than kNearSize bytes in place, or borrows bytes that are in the arena.
    ///@{
    static constexpr std::size_t kNearSize = ByteString::kNearSize;
    static constexpr std::uint8_t NearTag(std::size_t size, Mark mark) noexcept {
        return static_cast<std::uint8_t>((kNearSize - size) | MarkBits(mark));
    }
    static inline ArenaBytes Borrowed(char* bytes, std::size_t size, Mark mark) noexcept;
    ///@}

private:
    static constexpr std::uint8_t MarkBits(Mark mark) noexcept {
        return mark == Mark::kName ? ByteString::kParsedName : mark == Mark::kValue ? ByteString::kParsedValue : 0;
    }
    static bool HasChildren(Kind kind) noexcept { return kind >= Kind::kForeignContainer && kind <= Kind::kDocument; }
    static bool IsOfOwnClass(const Node& node) noexcept {
        const std::type_info& own = *kOwnClasses[static_cast<std::size_t>(KindOf(node))];
        // The address tells nearly always; where modules have copies of a class, it does not.
        const std::type_info& actual = typeid(node);
        return &actual == &own || actual == own;
    }

    /// By Kind. No node is just a Node.
    static inline const std::type_info* const kOwnClasses[] = {
        &typeid(Node),  &typeid(Node),    &typeid(Element), &typeid(Attribute), &typeid(Document), &typeid(Text),
        &typeid(CData), &typeid(Comment), &typeid(Pi),      &typeid(EntityRef), &typeid(CharRef)};
};

}  // namespace AdvXMLParser

#endif  // WPK_XML_NODE_ACCESS_H
