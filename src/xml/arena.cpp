// The memory of one parsed document: making, sizing and freeing its chunks.
// SPDX-License-Identifier: MIT
#include "xml/arena.h"

#include <algorithm>
#include <new>

#include <wpk/xml/nodes.h>

namespace AdvXMLParser::detail {
namespace {

/// How much of the input one chunk is to serve: nearly always all of it.
constexpr std::size_t kChunkSpan = std::size_t{1} << 20;
/// Upper bounds of a chunk, in bytes per input byte and altogether, so that input that merely looks like markup cannot
/// make us over-allocate. The first is what the densest trees take, of elements with names of one letter. Larger trees
/// get further chunks.
constexpr std::size_t kMaxBytesPerInputByte = 40;
constexpr std::size_t kMaxChunk = std::size_t{16} << 20;
/// How much of the input is looked at to size a chunk, and in how many pieces when that is not all of it.
constexpr std::size_t kSample = 4096;
constexpr std::size_t kSamplePieces = 16;
/// Below this a second chunk is rare, and room to spare is much of the first one.
constexpr std::size_t kTiny = 1024;
/// Smallest chunk worth allocating near the end of the input.
constexpr std::size_t kMinChunk = 256;
/// A piece that can only be a long text or a long list.
constexpr std::size_t kLongPiece = 256;
/// Input per piece of markup above which the rest is taken for long text.
constexpr std::size_t kUsualRun = 32;

constexpr std::size_t RoundUp(std::size_t size) {
    return (size + Arena::kUnit - 1) / Arena::kUnit * Arena::kUnit;
}

/// Bytes that tell how many nodes there will be.
struct MarkupCount {
    std::size_t tags = 0;
    std::size_t values = 0;
    std::size_t references = 0;

    void Add(const char* bytes, std::size_t size) {
        while (size != 0) {
            // Sums of one byte, which compilers turn into vector code.
            const std::size_t block = std::min<std::size_t>(size, 128);
            std::uint8_t sums[3] = {};
            for (std::size_t i = 0; i < block; ++i) {
                sums[0] = static_cast<std::uint8_t>(sums[0] + (bytes[i] == '<'));
                sums[1] = static_cast<std::uint8_t>(sums[1] + (bytes[i] == '='));
                sums[2] = static_cast<std::uint8_t>(sums[2] + (bytes[i] == '&'));
            }
            tags += sums[0];
            values += sums[1];
            references += sums[2];
            bytes += block;
            size -= block;
        }
    }
};

/// What a list takes for each of its nodes.
constexpr std::size_t kEntry = sizeof(void*);

/// The memory that this part of a document takes as a tree. Where it takes more there will be another chunk. Long texts
/// count only when there is reason to: what looks like one may be a declaration, which takes nothing.
std::size_t EstimateTreeBytes(const char* bytes, std::size_t size, bool hasLongTexts) {
    MarkupCount count;
    std::size_t sample = size;
    if (size <= kSample) {
        count.Add(bytes, size);
    } else {
        sample = kSample;
        for (std::size_t i = 0; i < kSamplePieces; ++i)
            count.Add(bytes + size / kSamplePieces * i, kSample / kSamplePieces);
    }
    // Of two tags one begins an element, and there is a text in front of each.
    std::size_t estimate = count.tags * (sizeof(Element) / 2 + sizeof(Text) + kEntry) +
                           count.values * (sizeof(Attribute) + sizeof(Text) + kEntry) +
                           count.references * (sizeof(EntityRef) + sizeof(Text) + 2 * kEntry);
    const std::size_t usual = kUsualRun * (count.tags + count.values);
    if (hasLongTexts && sample > usual) estimate += sample - usual;
    if (sample == 0) return 0;
    // Lists of more than one entry take more, and a sample is not the whole.
    if (size > kTiny) estimate += estimate / 16;
    return std::min(
        {size / sample * estimate + size % sample * estimate / sample, kMaxBytesPerInputByte * size, kMaxChunk});
}

/// How many nodes of any arena are between BeginDelete and EndDelete, and the arenas without nodes that wait for them.
/// EndDelete cannot tell which arena its node was in: the node is gone, and a thread-local variable could need memory
/// that is not there. So an arena is freed only while no node of any arena is being deleted.
std::atomic<std::size_t> deleting{0};
std::atomic<Arena*> retired{nullptr};

}  // namespace

Arena* Arena::Create(std::size_t chunkSize) {
    const std::size_t heads = sizeof(Chunk) + RoundUp(sizeof(Arena));
    char* const memory = static_cast<char*>(::operator new(heads + chunkSize));
    Chunk* const chunk = new (memory) Chunk{nullptr, nullptr};
    chunk->arena = new (memory + sizeof(Chunk)) Arena(chunk);
    return chunk->arena;
}

Arena::Chunk* Arena::AddChunk(std::size_t size) {
    chunks_ = new (::operator new(sizeof(Chunk) + size)) Chunk{this, chunks_};
    return chunks_;
}

void Arena::Destroy(Arena* arena) noexcept {
    Chunk* chunk = arena->chunks_;
    arena->~Arena();
    while (chunk) {
        Chunk* const next = chunk->next;
        ::operator delete(chunk);
        chunk = next;
    }
}

void Arena::DestroyAll(Arena* first) noexcept {
    while (first) {
        Arena* const next = first->NextRetired();
        Destroy(first);
        first = next;
    }
}

Arena* Arena::OfFirstPiece(void* piece) noexcept {
    return reinterpret_cast<Arena*>(static_cast<char*>(piece) - RoundUp(sizeof(Arena)));
}

bool Arena::CountDown(std::size_t nodes) noexcept {
    // Usually a whole tree goes at once: then no other thread can be counting.
    const std::uint32_t count = static_cast<std::uint32_t>(nodes);
    return liveNodes_.load(std::memory_order_acquire) == count ||
           liveNodes_.fetch_sub(count, std::memory_order_acq_rel) == count;
}

void Arena::Release(std::size_t nodes) noexcept {
    if (!CountDown(nodes)) return;
    // A node of this arena that counts as deleted may still be in its destructor; then `deleting` is not 0.
    if (deleting.load() == 0) return Destroy(this);
    ++deleting;
    NextRetired() = nullptr;
    Retire(this);
    EndDelete();
}

void Arena::BeginDelete(Arena& arena) noexcept {
    arena.NoteChange();
    ++deleting;
    if (!arena.CountDown(1)) return;
    arena.NextRetired() = nullptr;
    Retire(&arena);
}

void Arena::EndDelete() noexcept {
    for (;;) {
        // Whoever retired these arenas was counted in `deleting` at that time: if this is the last of them, all their
        // destructors have returned.
        Arena* const taken = retired.exchange(nullptr);
        if (deleting.fetch_sub(1) == 1) {
            DestroyAll(taken);
            if (!retired.load()) return;
        } else {
            if (!taken) return;
            Retire(taken);
            if (deleting.load() != 0) return;
        }
        // The others have ended meanwhile and have not seen what was put back: one more look.
        ++deleting;
    }
}

/// Adds a list of arenas to those that wait to be freed.
void Arena::Retire(Arena* first) noexcept {
    Arena* last = first;
    while (last->NextRetired()) last = last->NextRetired();
    Arena* before = retired.load();
    do {
        last->NextRetired() = before;
    } while (!retired.compare_exchange_weak(before, first));
}

void BumpAllocator::Refill(std::size_t size, const char* reached) {
    const std::size_t left = static_cast<std::size_t>(inputEnd_ - reached);
    const std::size_t stretch = std::min(left, kChunkSpan);
    const std::size_t room =
        RoundUp(size + std::max(EstimateTreeBytes(reached, stretch, size > kLongPiece), kMinChunk));
    if (!arena_) {
        arena_ = Arena::Create(room);
        chunk_ = reinterpret_cast<char*>(arena_->FirstChunk());
        top_ = reinterpret_cast<char*>(arena_) + RoundUp(sizeof(Arena));
    } else {
        chunk_ = reinterpret_cast<char*>(arena_->AddChunk(room));
        top_ = chunk_ + sizeof(Arena::Chunk);
    }
    end_ = top_ + room;
}

}  // namespace AdvXMLParser::detail
