// Building the nodes of a parsed document in its arena.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_TREE_BUILDER_H
#define WPK_XML_TREE_BUILDER_H

#include <new>
#include <utility>

#include "xml/arena_bytes.h"
#include "xml/arena_nodes.h"
#include "xml/slice.h"

namespace AdvXMLParser::detail {

/// Makes nodes and strings. Whatever has been made is given back with the builder, unless Finish hands it over.
class TreeBuilder {
public:
    explicit TreeBuilder(const char* input, const char* inputEnd) noexcept
        : cutter_(inputEnd),
          lastOverreadable_(static_cast<std::size_t>(inputEnd - input) >= sizeof(ByteString)
                                ? inputEnd - sizeof(ByteString)
                                : nullptr),
          reached_(input) {}

    /// Memory runs out by std::bad_alloc, here and below. Every node has to get into a list, but for the document.
    template <class T, class... Arguments>
    WPK_XML_INLINE T* Make(Arguments&&... arguments) {
        void* const piece = cutter_.Cut(RoundUp(sizeof(ArenaNode<T>)), reached_);
        return ::new (piece) ArenaNode<T>(cutter_.Location(), std::forward<Arguments>(arguments)...);
    }

    /// The bytes for a string of the node that is made next: its name, or its other one.
    ///@{
    WPK_XML_INLINE ArenaBytes StoreName(const Slice& slice) { return StoreBytes(slice, Mark::kName); }
    WPK_XML_INLINE ArenaBytes StoreValue(const Slice& slice) { return StoreBytes(slice, Mark::kValue); }
    ///@}

    /// Changes a string of a node that was made here.
    void Set(ByteString& bytes, const Slice& slice) {
        const ArenaBytes kept = StoreBytes(slice, Mark::kNone);
        bytes.~ByteString();
        ::new (&bytes) ByteString(kept);
    }

    /// Fills an empty list.
    ///@{
    template <class T>
    WPK_XML_INLINE void SetEntries(NodeList<T>& list, Node* const* nodes, std::size_t count) {
        if (count == 0) return;
        if (count == 1) return SetSingleEntry(list, static_cast<T*>(*nodes));
        void* const piece = cutter_.Cut(RoundUp(count * sizeof(T*)), reached_);
        T** const entries = static_cast<T**>(piece);
        for (std::size_t i = 0; i < count; ++i) entries[i] = static_cast<T*>(nodes[i]);
        NodeAccess::SetBorrowed(list, entries, count);
        listed_ += count;
    }
    template <class T>
    WPK_XML_INLINE void SetSingleEntry(NodeList<T>& list, T* node) noexcept {
        NodeAccess::SetSingle(list, node);
        ++listed_;
    }
    ///@}

    void Finish() noexcept { cutter_.Finish(listed_ + 1); }

private:
    using Mark = NodeAccess::Mark;

    static constexpr std::size_t RoundUp(std::size_t size) noexcept {
        return (size + Arena::kUnit - 1) / Arena::kUnit * Arena::kUnit;
    }

    WPK_XML_INLINE ArenaBytes StoreBytes(const Slice& slice, Mark mark) {
        reached_ = slice.data;
        // Often there is nothing between two tags.
        if (slice.size == 0) return MakeEmpty(mark);
        const bool isSimple =
            slice.size < NodeAccess::kNearSize && !slice.hasReturns && slice.data <= lastOverreadable_;
        return isSimple ? MakeNear(slice.data, slice.size, mark)
                        : StoreOther(slice.data, slice.size, slice.hasReturns, mark);
    }
    ArenaBytes StoreOther(const char* data, std::size_t size, bool hasReturns, Mark mark);
    ArenaBytes StoreWithoutReturns(const char* data, std::size_t size, Mark mark);
    ArenaBytes StoreCopy(const char* data, std::size_t size, Mark mark);

    BumpAllocator cutter_;
    /// The last place in the input from which a block can be read.
    const char* const lastOverreadable_;
    /// How far the input has been used: where the last string came from.
    const char* reached_;
    /// How many nodes are in lists.
    std::size_t listed_ = 0;
};

}  // namespace AdvXMLParser::detail

#endif  // WPK_XML_TREE_BUILDER_H
