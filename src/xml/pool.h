// The memory of one parsed document: a few chunks, given back together.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_POOL_H
#define WPK_XML_POOL_H

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace AdvXMLParser {

/// The chunk that a new node sits in.
struct PoolSeat {
    const char* chunk;
};

/// Owns the chunks. It lives in the first of them and is gone when the last node that sits in any of them has left, on
/// whatever thread that happens: nodes that were parsed together may be spread over several trees later. Texts and
/// lists that nodes borrow from the pool are not counted, as they are of use only while their node is there.
class Pool {
public:
    /// The head of every chunk. Seats are counted from it.
    struct Chunk {
        Pool* pool;
        Chunk* next;
    };
    /// Pieces are cut in units of this size.
    static constexpr std::size_t kUnit = 8;
    static Pool* Create(std::size_t chunkSize);
    /// Gives all memory back, whoever sits in it.
    static void Destroy(Pool* pool) noexcept;

    /// Room for `size` bytes and the chunk's head, at the front of the list.
    Chunk* AddChunk(std::size_t size);
    Chunk* FirstChunk() const noexcept { return chunks_; }

    /// The pool whose first piece this is.
    static Pool* OfFirstPiece(void* piece) noexcept;

    /// Set, for good, when a string or list of a node that sits here is changed for the first time, or might be. Until
    /// then all nodes stand where the parser has put them, and none has memory from elsewhere.
    ///@{
    void NoteChange() noexcept { isChanged_.store(true, std::memory_order_relaxed); }
    bool IsChanged() const noexcept { return isChanged_.load(std::memory_order_relaxed); }
    ///@}

    void Occupy(std::size_t seats) noexcept {
        seats_.store(static_cast<std::uint32_t>(seats), std::memory_order_relaxed);
    }
    /// Gives the memory back when nobody is left.
    void LeaveForGood(std::size_t seats) noexcept;

    /// For a node that is deleted by itself. It leaves in two steps, on one thread: its destructor gives up its seat,
    /// and when that has come to its end, the node's memory being given back, it says so. Any earlier another thread
    /// might find all seats free and give the memory back under the destructor.
    static void BeginToLeave(Pool& pool) noexcept;
    static void EndToLeave() noexcept;

private:
    explicit Pool(Chunk* first) noexcept : chunks_(first) {}
    /// True when nobody is left.
    bool Leave(std::size_t seats) noexcept;
    static void DestroyAll(Pool* first) noexcept;
    static void Bury(Pool* first) noexcept;

    /// Links those that nobody sits in any more. The chunk has no other use for its pool then.
    Pool*& NextBuried() noexcept { return chunks_->pool; }

    /// Even 2 GiB of text make no more nodes than that.
    std::atomic<std::uint32_t> seats_{0};
    std::atomic<bool> isChanged_{false};
    Chunk* chunks_;
};

/// Cuts pieces off a pool while a document is parsed into it. Unless the work ends with Finish, everything is given
/// back: nothing that the parser builds needs a destructor.
class PoolCutter {
public:
    explicit PoolCutter(const char* inputEnd) noexcept : inputEnd_(inputEnd) {}
    ~PoolCutter() {
        if (pool_ != nullptr) Pool::Destroy(pool_);
    }
    PoolCutter(const PoolCutter&) = delete;
    PoolCutter& operator=(const PoolCutter&) = delete;

    /// `size` is a multiple of Pool::kUnit; `reached` is how far the input is used up, from which the next chunk's size
    /// is reckoned.
    char* Cut(std::size_t size, const char* reached) {
        if (static_cast<std::size_t>(end_ - top_) < size) Refill(size, reached);
        char* const piece = top_;
        top_ += size;
        return piece;
    }
    /// Takes back the end of the piece that was cut last.
    void Trim(char* newTop) noexcept { top_ = newTop; }

    /// The seat of what is built in the piece that was cut last.
    PoolSeat Seat() const noexcept { return {chunk_}; }

    /// From now on the pool belongs to the nodes that sit in it.
    void Finish(std::size_t seats) noexcept {
        pool_->Occupy(seats);
        pool_ = nullptr;
    }

private:
    void Refill(std::size_t size, const char* reached);

    const char* inputEnd_;
    Pool* pool_ = nullptr;
    char* chunk_ = nullptr;
    char* top_ = nullptr;
    char* end_ = nullptr;
};

}  // namespace AdvXMLParser

#endif  // WPK_XML_POOL_H
