// Building the nodes of a parsed document in its pool.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_TREE_BUILDER_H
#define WPK_XML_TREE_BUILDER_H

#include <new>
#include <utility>

#include "xml/fast_cursor.h"
#include "xml/internals.h"
#include "xml/pooled_bytes.h"
#include "xml/teardown.h"

namespace AdvXMLParser {

WPK_XML_INLINE Node::Seat::Seat(Kind nodeKind, const PoolSeat& place) noexcept
    : offset(static_cast<std::uint32_t>(static_cast<std::size_t>(reinterpret_cast<const char*>(this) - place.chunk) /
                                        kUnit)),
      kind(nodeKind) {}

WPK_XML_INLINE Node::Node(Kind kind, const PoolSeat& seat, NodeContainer* nodeParent,
                          const PooledBytes& nodeName) noexcept
    : name(nodeName), parent(nodeParent), seat_(kind, seat) {}

WPK_XML_INLINE Element::Element(const PoolSeat& seat, NodeContainer* parentNode, const PooledBytes& tagName) noexcept
    : NodeContainer(Kind::kElement, seat, parentNode, tagName) {
    Internals::MarkAsParsed(children);
    Internals::MarkAsParsed(attributes);
}
WPK_XML_INLINE Attribute::Attribute(const PoolSeat& seat, NodeContainer* parentNode,
                                    const PooledBytes& attributeName) noexcept
    : NodeContainer(Kind::kAttribute, seat, parentNode, attributeName) {
    Internals::MarkAsParsed(children);
}
WPK_XML_INLINE Document::Document(const PoolSeat& seat) noexcept
    : NodeContainer(Kind::kDocument, seat, &NullElement(), fixed_names::kDocument),
      version("1.0"),
      encoding("UTF-8"),
      self(*this) {
    Internals::MarkAsParsed(children);
}
WPK_XML_INLINE Text::Text(const PoolSeat& seat, NodeContainer* parentNode, const PooledBytes& characters) noexcept
    : Node(Kind::kText, seat, parentNode, fixed_names::kText), text(characters) {}
WPK_XML_INLINE CData::CData(const PoolSeat& seat, NodeContainer* parentNode, const PooledBytes& characters) noexcept
    : Node(Kind::kCData, seat, parentNode, fixed_names::kCData), text(characters) {}
WPK_XML_INLINE Comment::Comment(const PoolSeat& seat, NodeContainer* parentNode, const PooledBytes& characters) noexcept
    : Node(Kind::kComment, seat, parentNode, fixed_names::kComment), text(characters) {}
WPK_XML_INLINE Pi::Pi(const PoolSeat& seat, NodeContainer* parentNode, const PooledBytes& target,
                      const PooledBytes& targetData) noexcept
    : Node(Kind::kPi, seat, parentNode, target), data(targetData) {}
WPK_XML_INLINE EntityRef::EntityRef(const PoolSeat& seat, NodeContainer* parentNode, const PooledBytes& entityName,
                                    char character) noexcept
    : Reference(Kind::kEntityRef, seat, parentNode, entityName), value(character) {}
WPK_XML_INLINE CharRef::CharRef(const PoolSeat& seat, NodeContainer* parentNode, signed char character) noexcept
    : Reference(Kind::kCharRef, seat, parentNode, fixed_names::kNone), value(character) {}

/// A node of class T in a pool, for which `delete` does what it does for any other. (When a whole tree goes, Teardown
/// takes the nodes in pools by itself, without their destructors.)
template <class T>
class Pooled final : public T {
public:
    template <class... Arguments>
    WPK_XML_INLINE explicit Pooled(const PoolSeat& seat, Arguments&&... arguments) noexcept
        : T(seat, std::forward<Arguments>(arguments)...) {}

    ~Pooled() override {
        // Whoever is below leaves first, so that this node still has its seat then.
        Teardown::EmptyAll(*this);
        Pool::BeginToLeave(Internals::PoolOf(*this));
    }

    static void* operator new(std::size_t size) = delete;
    // NOLINTNEXTLINE(misc-new-delete-overloads): what it would match is deleted
    static void operator delete(void* /*memory*/) noexcept { Pool::EndToLeave(); }
};

/// The document, the first piece of its pool.
template <>
class Pooled<Document> final : public Document {
public:
    explicit Pooled(const PoolSeat& seat) noexcept : Document(seat) {}

    ~Pooled() override {
        Pool& pool = Internals::PoolOf(*this);
        if (pool.IsChanged()) {
            Teardown::EmptyAll(*this);
            return;
        }
        // Every node is where the parser has put it, and everything that any of them holds is in the pool.
        pool.Occupy(1);
        Internals::Forget(children);
    }

    static void* operator new(std::size_t size) = delete;
    // NOLINTNEXTLINE(misc-new-delete-overloads): what it would match is deleted
    static void operator delete(void* memory) noexcept { Pool::OfFirstPiece(memory)->LeaveForGood(1); }
};

/// Makes nodes and strings. Whatever has been made is given back with the builder, unless Finish hands it over.
class TreeBuilder {
public:
    explicit TreeBuilder(const char* input, const char* inputEnd) noexcept
        : cutter_(inputEnd),
          lastRoomy_(static_cast<std::size_t>(inputEnd - input) >= sizeof(ByteString) ? inputEnd - sizeof(ByteString)
                                                                                      : nullptr),
          reached_(input) {}

    /// Memory runs out by std::bad_alloc, here and below. Every node has to get into a list, but for the document.
    template <class T, class... Arguments>
    WPK_XML_INLINE T* Make(Arguments&&... arguments) {
        void* const piece = cutter_.Cut(RoundUp(sizeof(Pooled<T>)), reached_);
        return ::new (piece) Pooled<T>(cutter_.Seat(), std::forward<Arguments>(arguments)...);
    }

    /// The bytes for a string of the node that is made next: its name, or its other one.
    ///@{
    WPK_XML_INLINE PooledBytes KeepName(const Slice& slice) { return Keep(slice, Mark::kName); }
    WPK_XML_INLINE PooledBytes KeepValue(const Slice& slice) { return Keep(slice, Mark::kValue); }
    ///@}

    /// Changes a string of a node that was made here.
    void Set(ByteString& bytes, const Slice& slice) {
        const PooledBytes kept = Keep(slice, Mark::kNone);
        bytes.~ByteString();
        ::new (&bytes) ByteString(kept);
    }

    /// Fills an empty list.
    ///@{
    template <class T>
    WPK_XML_INLINE void Fill(NodeList<T>& list, Node* const* nodes, std::size_t count) {
        if (count == 0) return;
        if (count == 1) return FillWithOne(list, static_cast<T*>(*nodes));
        void* const piece = cutter_.Cut(RoundUp(count * sizeof(T*)), reached_);
        T** const entries = static_cast<T**>(piece);
        for (std::size_t i = 0; i < count; ++i) entries[i] = static_cast<T*>(nodes[i]);
        Internals::Borrow(list, entries, count);
        listed_ += count;
    }
    template <class T>
    WPK_XML_INLINE void FillWithOne(NodeList<T>& list, T* node) noexcept {
        Internals::HoldOne(list, node);
        ++listed_;
    }
    ///@}

    void Finish() noexcept { cutter_.Finish(listed_ + 1); }

private:
    using Mark = Internals::Mark;

    static constexpr std::size_t RoundUp(std::size_t size) noexcept {
        return (size + Pool::kUnit - 1) / Pool::kUnit * Pool::kUnit;
    }

    WPK_XML_INLINE PooledBytes Keep(const Slice& slice, Mark mark) {
        reached_ = slice.data;
        // Often there is nothing between two tags.
        if (slice.size == 0) return MakeEmpty(mark);
        const bool isSimple = slice.size < Internals::kNearSize && !slice.hasReturns && slice.data <= lastRoomy_;
        return isSimple ? MakeNear(slice.data, slice.size, mark)
                        : KeepOther(slice.data, slice.size, slice.hasReturns, mark);
    }
    PooledBytes KeepOther(const char* data, std::size_t size, bool hasReturns, Mark mark);
    PooledBytes KeepWithoutReturns(const char* data, std::size_t size, Mark mark);
    PooledBytes KeepCopy(const char* data, std::size_t size, Mark mark);

    PoolCutter cutter_;
    /// The last place in the input from which a block can be read.
    const char* const lastRoomy_;
    /// How far the input has been used: where the last string came from.
    const char* reached_;
    /// How many nodes are in lists.
    std::size_t listed_ = 0;
};

}  // namespace AdvXMLParser

#endif  // WPK_XML_TREE_BUILDER_H
