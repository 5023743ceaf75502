// The memory of one parsed document: a few chunks, given back together.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_ARENA_H
#define WPK_XML_ARENA_H

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace AdvXMLParser::detail {

/// Where a new node is built: in this chunk.
struct ArenaLocation {
    const char* chunk;
};

/// Owns the chunks and counts the nodes in them. It lives in the first chunk and is freed when the last node is
/// deleted, on whatever thread that happens: nodes that were parsed together may be spread over several trees later.
/// Texts and lists that nodes borrow from the arena are not counted, as they are of use only while their node is there.
class Arena {
public:
    /// The head of every chunk. A node's offset is counted from it.
    struct Chunk {
        Arena* arena;
        Chunk* next;
    };
    /// Pieces are cut in units of this size.
    static constexpr std::size_t kUnit = 8;
    static Arena* Create(std::size_t chunkSize);
    /// Frees all memory, whatever nodes are in it.
    static void Destroy(Arena* arena) noexcept;

    /// Room for `size` bytes and the chunk's head, at the front of the list.
    Chunk* AddChunk(std::size_t size);
    Chunk* FirstChunk() const noexcept { return chunks_; }

    /// The arena whose first piece this is.
    static Arena* OfFirstPiece(void* piece) noexcept;

    /// Set, for good, when a string or list of a node in this arena is changed for the first time, or might be. Until
    /// then all nodes are where the parser has put them, and none has memory from elsewhere.
    ///@{
    void NoteChange() noexcept { isChanged_.store(true, std::memory_order_relaxed); }
    bool IsChanged() const noexcept { return isChanged_.load(std::memory_order_relaxed); }
    ///@}

    void SetLiveNodes(std::size_t nodes) noexcept {
        liveNodes_.store(static_cast<std::uint32_t>(nodes), std::memory_order_relaxed);
    }
    /// Counts this number of nodes as deleted, and frees the memory when they were the last.
    void Release(std::size_t nodes) noexcept;

    /// For a node that is deleted by itself: in two steps, on one thread. BeginDelete, in its destructor, counts it as
    /// deleted; EndDelete, in its operator delete, tells that the destructor has returned. Any earlier another thread
    /// might find all nodes deleted and free the memory under the destructor.
    static void BeginDelete(Arena& arena) noexcept;
    static void EndDelete() noexcept;

private:
    explicit Arena(Chunk* first) noexcept : chunks_(first) {}
    /// True when no node is left.
    bool CountDown(std::size_t nodes) noexcept;
    static void DestroyAll(Arena* first) noexcept;
    static void Retire(Arena* first) noexcept;

    /// Links the arenas without nodes. The chunk has no other use for this pointer then.
    Arena*& NextRetired() noexcept { return chunks_->arena; }

    /// Even 2 GiB of text make no more nodes than that.
    std::atomic<std::uint32_t> liveNodes_{0};
    std::atomic<bool> isChanged_{false};
    Chunk* chunks_;
};

/// Cuts pieces off an arena while a document is parsed into it. Unless the work ends with Finish, everything is given
/// back: nothing that the parser builds needs a destructor.
class BumpAllocator {
public:
    explicit BumpAllocator(const char* inputEnd) noexcept : inputEnd_(inputEnd) {}
    ~BumpAllocator() {
        if (arena_) Arena::Destroy(arena_);
    }
    BumpAllocator(const BumpAllocator&) = delete;
    BumpAllocator& operator=(const BumpAllocator&) = delete;

    /// `size` is a multiple of Arena::kUnit; `reached` is how far the input is used up, from which the next chunk's
    /// size is estimated.
    char* Cut(std::size_t size, const char* reached) {
        if (static_cast<std::size_t>(end_ - top_) < size) Refill(size, reached);
        char* const piece = top_;
        top_ += size;
        return piece;
    }
    /// Takes back the end of the piece that was cut last.
    void Trim(char* newTop) noexcept { top_ = newTop; }

    /// The location of what is built in the piece that was cut last.
    ArenaLocation Location() const noexcept { return {chunk_}; }

    /// From now on the arena belongs to the nodes in it.
    void Finish(std::size_t nodes) noexcept {
        arena_->SetLiveNodes(nodes);
        arena_ = nullptr;
    }

private:
    void Refill(std::size_t size, const char* reached);

    const char* inputEnd_;
    Arena* arena_ = nullptr;
    char* chunk_ = nullptr;
    char* top_ = nullptr;
    char* end_ = nullptr;
};

}  // namespace AdvXMLParser::detail

#endif  // WPK_XML_ARENA_H
