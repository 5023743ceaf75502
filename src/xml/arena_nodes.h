// The nodes of a parsed document: how they are built and deleted in its arena.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_ARENA_NODES_H
#define WPK_XML_ARENA_NODES_H

#include <cstddef>
#include <new>
#include <utility>

#include <wpk/xml/nodes.h>

#include "xml/arena_bytes.h"
#include "xml/teardown.h"

namespace AdvXMLParser::detail {

/// A name that all nodes of a class have.
class FixedName {
public:
    template <std::size_t N>
    explicit constexpr FixedName(const char (&name)[N]) {
        for (std::size_t i = 0; i < N; ++i) bytes_[i] = name[i];
        bytes_[sizeof(bytes_) - 1] = static_cast<char>(NodeAccess::NearTag(N - 1, NodeAccess::Mark::kName));
    }
    WPK_XML_INLINE operator ArenaBytes() const noexcept { return {Block(bytes_)}; }

private:
    alignas(sizeof(ByteString)) char bytes_[sizeof(ByteString)] = {};
};

namespace fixed_names {
inline constexpr FixedName kNone("");
inline constexpr FixedName kDocument("#document");
inline constexpr FixedName kText("#text");
inline constexpr FixedName kCData("#cdata-section");
inline constexpr FixedName kComment("#comment");
}  // namespace fixed_names

}  // namespace AdvXMLParser::detail

namespace AdvXMLParser {

WPK_XML_INLINE Node::Location::Location(Kind nodeKind, const detail::ArenaLocation& place) noexcept
    : offset(static_cast<std::uint32_t>(static_cast<std::size_t>(reinterpret_cast<const char*>(this) - place.chunk) /
                                        kUnit)),
      kind(nodeKind) {}

WPK_XML_INLINE Node::Node(Kind kind, const detail::ArenaLocation& location, NodeContainer* nodeParent,
                          const detail::ArenaBytes& nodeName) noexcept
    : name(nodeName), parent(nodeParent), location_(kind, location) {}

WPK_XML_INLINE Element::Element(const detail::ArenaLocation& location, NodeContainer* parentNode,
                                const detail::ArenaBytes& tagName) noexcept
    : NodeContainer(Kind::kElement, location, parentNode, tagName) {
    detail::NodeAccess::MarkAsParsed(children);
    detail::NodeAccess::MarkAsParsed(attributes);
}
WPK_XML_INLINE Attribute::Attribute(const detail::ArenaLocation& location, NodeContainer* parentNode,
                                    const detail::ArenaBytes& attributeName) noexcept
    : NodeContainer(Kind::kAttribute, location, parentNode, attributeName) {
    detail::NodeAccess::MarkAsParsed(children);
}
WPK_XML_INLINE Document::Document(const detail::ArenaLocation& location) noexcept
    : NodeContainer(Kind::kDocument, location, &NullElement(), detail::fixed_names::kDocument),
      version("1.0"),
      encoding("UTF-8"),
      self(*this) {
    detail::NodeAccess::MarkAsParsed(children);
}
WPK_XML_INLINE Text::Text(const detail::ArenaLocation& location, NodeContainer* parentNode,
                          const detail::ArenaBytes& characters) noexcept
    : Node(Kind::kText, location, parentNode, detail::fixed_names::kText), text(characters) {}
WPK_XML_INLINE CData::CData(const detail::ArenaLocation& location, NodeContainer* parentNode,
                            const detail::ArenaBytes& characters) noexcept
    : Node(Kind::kCData, location, parentNode, detail::fixed_names::kCData), text(characters) {}
WPK_XML_INLINE Comment::Comment(const detail::ArenaLocation& location, NodeContainer* parentNode,
                                const detail::ArenaBytes& characters) noexcept
    : Node(Kind::kComment, location, parentNode, detail::fixed_names::kComment), text(characters) {}
WPK_XML_INLINE Pi::Pi(const detail::ArenaLocation& location, NodeContainer* parentNode,
                      const detail::ArenaBytes& target, const detail::ArenaBytes& targetData) noexcept
    : Node(Kind::kPi, location, parentNode, target), data(targetData) {}
WPK_XML_INLINE EntityRef::EntityRef(const detail::ArenaLocation& location, NodeContainer* parentNode,
                                    const detail::ArenaBytes& entityName, char character) noexcept
    : Reference(Kind::kEntityRef, location, parentNode, entityName), value(character) {}
WPK_XML_INLINE CharRef::CharRef(const detail::ArenaLocation& location, NodeContainer* parentNode,
                                signed char character) noexcept
    : Reference(Kind::kCharRef, location, parentNode, detail::fixed_names::kNone), value(character) {}

}  // namespace AdvXMLParser

namespace AdvXMLParser::detail {

/// A node of class T in an arena, for which `delete` does what it does for any other. (When a whole tree goes, Teardown
/// takes the nodes in arenas by itself, without their destructors.)
template <class T>
class ArenaNode final : public T {
public:
    template <class... Arguments>
    WPK_XML_INLINE explicit ArenaNode(const ArenaLocation& location, Arguments&&... arguments) noexcept
        : T(location, std::forward<Arguments>(arguments)...) {}

    ~ArenaNode() override {
        // The nodes below go first: then this one still keeps the arena alive.
        Teardown::EmptyAll(*this);
        Arena::BeginDelete(NodeAccess::ArenaOf(*this));
    }

    static void* operator new(std::size_t size) = delete;
    // NOLINTNEXTLINE(misc-new-delete-overloads): what it would match is deleted
    static void operator delete(void* /*memory*/) noexcept { Arena::EndDelete(); }
};

/// The document, the first piece of its arena.
template <>
class ArenaNode<Document> final : public Document {
public:
    explicit ArenaNode(const ArenaLocation& location) noexcept : Document(location) {}

    ~ArenaNode() override {
        Arena& arena = NodeAccess::ArenaOf(*this);
        if (arena.IsChanged()) {
            Teardown::EmptyAll(*this);
            return;
        }
        // Every node is where the parser has put it, and everything that any of them holds is in the arena.
        arena.SetLiveNodes(1);
        NodeAccess::Forget(children);
    }

    static void* operator new(std::size_t size) = delete;
    // NOLINTNEXTLINE(misc-new-delete-overloads): what it would match is deleted
    static void operator delete(void* memory) noexcept { Arena::OfFirstPiece(memory)->Release(1); }
};

}  // namespace AdvXMLParser::detail

#endif  // WPK_XML_ARENA_NODES_H
