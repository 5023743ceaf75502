// The memory of one parsed document: making, sizing and freeing its chunks.
// SPDX-License-Identifier: MIT
#include "xml/pool.h"

#include <algorithm>
#include <new>

#include <wpk/xml/nodes.h>

namespace AdvXMLParser {
namespace {

/// How much of the input one chunk is to serve: nearly always all of it.
constexpr std::size_t kStretch = std::size_t{1} << 20;
/// The most that a chunk is made larger than its stretch. Trees that are denser than that get more chunks; what only
/// looks like markup does not get much for nothing.
constexpr std::size_t kMostPerByte = 16;
/// How much of a stretch is looked at to size its chunk, and in how many pieces when that is not all of it.
constexpr std::size_t kSample = 4096;
constexpr std::size_t kPieces = 16;
/// What a chunk is worth asking for when hardly any input is left.
constexpr std::size_t kLeastChunk = 256;
/// A piece that can only be a long text or a long list.
constexpr std::size_t kLongPiece = 256;
/// Input per piece of markup above which the rest is reckoned to be long text.
constexpr std::size_t kUsualRun = 32;

constexpr std::size_t RoundUp(std::size_t size) {
    return (size + Pool::kUnit - 1) / Pool::kUnit * Pool::kUnit;
}

/// Bytes that tell how many nodes there will be.
struct Census {
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

/// The memory that so much of a document takes as a tree. Where it takes more there will be another chunk. Long texts
/// are only taken into account when there is reason to: what looks like one may be a declaration, which takes nothing.
std::size_t Reckon(const char* bytes, std::size_t size, bool hasLongTexts) {
    Census census;
    std::size_t sample = size;
    if (size <= kSample) {
        census.Add(bytes, size);
    } else {
        sample = kSample;
        for (std::size_t i = 0; i < kPieces; ++i) census.Add(bytes + size / kPieces * i, kSample / kPieces);
    }
    // Of two tags one begins an element, and there is a text in front of each.
    std::size_t reckoned = census.tags * (sizeof(Element) / 2 + sizeof(Text) + kEntry) +
                           census.values * (sizeof(Attribute) + sizeof(Text) + kEntry) +
                           census.references * (sizeof(EntityRef) + sizeof(Text) + 2 * kEntry);
    const std::size_t usual = kUsualRun * (census.tags + census.values);
    if (hasLongTexts && sample > usual) reckoned += sample - usual;
    if (sample == 0) return 0;
    return std::min(size / sample * reckoned + size % sample * reckoned / sample, kMostPerByte * size);
}

/// How many nodes are on their way out of any pool, and the pools that the last one has left meanwhile. When a node's
/// memory is given back nothing tells any more which pool it is a part of, and a variable of the thread could need
/// memory of its own. So nobody's pool is given back before no node of any pool is on its way out.
std::atomic<std::size_t> leaving{0};
std::atomic<Pool*> buried{nullptr};

}  // namespace

Pool* Pool::Create(std::size_t chunkSize) {
    const std::size_t heads = sizeof(Chunk) + RoundUp(sizeof(Pool));
    char* const memory = static_cast<char*>(::operator new(heads + chunkSize));
    Chunk* const chunk = new (memory) Chunk{nullptr, nullptr};
    chunk->pool = new (memory + sizeof(Chunk)) Pool(chunk);
    return chunk->pool;
}

Pool::Chunk* Pool::AddChunk(std::size_t size) {
    chunks_ = new (::operator new(sizeof(Chunk) + size)) Chunk{this, chunks_};
    return chunks_;
}

void Pool::Destroy(Pool* pool) noexcept {
    Chunk* chunk = pool->chunks_;
    pool->~Pool();
    while (chunk != nullptr) {
        Chunk* const next = chunk->next;
        ::operator delete(chunk);
        chunk = next;
    }
}

void Pool::DestroyAll(Pool* first) noexcept {
    while (first != nullptr) {
        Pool* const next = first->NextBuried();
        Destroy(first);
        first = next;
    }
}

Pool* Pool::OfFirstPiece(void* piece) noexcept {
    return reinterpret_cast<Pool*>(static_cast<char*>(piece) - RoundUp(sizeof(Pool)));
}

bool Pool::Leave(std::size_t seats) noexcept {
    // Usually a whole tree goes at once and nobody else is there to be told.
    const std::uint32_t count = static_cast<std::uint32_t>(seats);
    return seats_.load(std::memory_order_acquire) == count ||
           seats_.fetch_sub(count, std::memory_order_acq_rel) == count;
}

void Pool::LeaveForGood(std::size_t seats) noexcept {
    if (!Leave(seats)) return;
    // A node of this pool that has given up its seat may still be in its destructor, and is counted then.
    if (leaving.load() == 0) return Destroy(this);
    ++leaving;
    NextBuried() = nullptr;
    Bury(this);
    EndToLeave();
}

void Pool::BeginToLeave(Pool& pool) noexcept {
    pool.NoteChange();
    ++leaving;
    if (!pool.Leave(1)) return;
    pool.NextBuried() = nullptr;
    Bury(&pool);
}

void Pool::EndToLeave() noexcept {
    for (;;) {
        // What has been buried by now was buried by nodes that were counted, so if this is the last of them, all of
        // those have come to their end.
        Pool* const taken = buried.exchange(nullptr);
        if (leaving.fetch_sub(1) == 1) {
            DestroyAll(taken);
            if (buried.load() == nullptr) return;
        } else {
            if (taken == nullptr) return;
            Bury(taken);
            if (leaving.load() != 0) return;
        }
        // The others are gone meanwhile and have not seen what was put back: one more look.
        ++leaving;
    }
}

/// Adds a list of pools to those that wait.
void Pool::Bury(Pool* first) noexcept {
    Pool* last = first;
    while (last->NextBuried() != nullptr) last = last->NextBuried();
    Pool* before = buried.load();
    do {
        last->NextBuried() = before;
    } while (!buried.compare_exchange_weak(before, first));
}

void PoolCutter::Refill(std::size_t size, const char* reached) {
    const std::size_t left = static_cast<std::size_t>(inputEnd_ - reached);
    const std::size_t stretch = std::min(left, kStretch);
    const std::size_t room = RoundUp(size + std::max(Reckon(reached, stretch, size > kLongPiece), kLeastChunk));
    if (pool_ == nullptr) {
        pool_ = Pool::Create(room);
        chunk_ = reinterpret_cast<char*>(pool_->FirstChunk());
        top_ = reinterpret_cast<char*>(pool_) + RoundUp(sizeof(Pool));
    } else {
        chunk_ = reinterpret_cast<char*>(pool_->AddChunk(room));
        top_ = chunk_ + sizeof(Pool::Chunk);
    }
    end_ = top_ + room;
}

}  // namespace AdvXMLParser
