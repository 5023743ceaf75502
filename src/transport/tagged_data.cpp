// The body of a request: an ordered list of keys and values, each entry kept as it goes onto the wire.
// SPDX-License-Identifier: MIT
#include "transport/tagged_data.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

#include "threadlib/ascii.h"

namespace wpk::core {
namespace {

constexpr uint32_t kLengthSize = 4;
constexpr uint32_t kEntryOverhead = 2 * kLengthSize;
constexpr uint64_t kMaxTotal = std::numeric_limits<uint32_t>::max();
/// The usual number, for which memory is asked once.
constexpr size_t kEntriesOfARequest = 3;

// Memory that is about to be overwritten whole, so it is not cleared first; null when there is none.
std::unique_ptr<unsigned char[]> Allocate(uint32_t size) noexcept {
    return std::unique_ptr<unsigned char[]>(new (std::nothrow) unsigned char[size]);
}

unsigned char* PutLength(unsigned char* out, uint32_t length) noexcept {
    for (uint32_t i = 0; i < kLengthSize; ++i) *out++ = static_cast<unsigned char>(length >> (8 * i));
    return out;
}

// Copying nothing from nowhere is allowed here, but not to memcpy.
unsigned char* PutBytes(unsigned char* out, const void* bytes, uint32_t length) noexcept {
    if (length != 0) std::memcpy(out, bytes, length);
    return out + length;
}

std::string_view ViewOf(const unsigned char* bytes, uint32_t length) noexcept {
    return {reinterpret_cast<const char*>(bytes), length};
}

}  // namespace

int TaggedData::Add(std::string_view key, const void* value, uint32_t length) noexcept {
    if (value == nullptr && length != 0) return 0;
    if (key.size() > kMaxTotal || HasKey(key)) return 0;
    const uint64_t size = uint64_t{kEntryOverhead} + key.size() + length;
    if (size > kMaxTotal - totalLength_) return 0;

    Bytes encoded = Allocate(static_cast<uint32_t>(size));
    if (!encoded || !MakeRoom()) return 0;
    const auto keyLength = static_cast<uint32_t>(key.size());
    unsigned char* end = PutLength(encoded.get(), keyLength);
    end = PutBytes(end, key.data(), keyLength);
    end = PutLength(end, length);
    PutBytes(end, value, length);

    const unsigned char* const start = encoded.get();
    entries_[count_++] = {std::move(encoded), start, keyLength, length};
    totalLength_ += static_cast<uint32_t>(size);
    isJoined_ = false;
    return 1;
}

int TaggedData::Join() noexcept {
    if (isJoined_) return 1;
    Bytes all = Allocate(totalLength_);
    if (!all) return 0;

    unsigned char* next = all.get();
    for (size_t i = 0; i < count_; ++i) {
        Entry& entry = entries_[i];
        unsigned char* const start = next;
        next = PutBytes(next, entry.encoded, kEntryOverhead + entry.keyLength + entry.valueLength);
        entry.encoded = start;
        entry.own.reset();
    }
    joined_ = std::move(all);
    isJoined_ = true;
    return 1;
}

std::string_view TaggedData::Key(size_t index) const noexcept {
    const Entry& entry = entries_[index];
    return ViewOf(entry.encoded + kLengthSize, entry.keyLength);
}

std::string_view TaggedData::Value(size_t index) const noexcept {
    const Entry& entry = entries_[index];
    return ViewOf(entry.encoded + kEntryOverhead + entry.keyLength, entry.valueLength);
}

std::string_view TaggedData::Joined() const noexcept {
    return isJoined_ ? ViewOf(joined_.get(), totalLength_) : std::string_view{};
}

/// Room for one more entry. False when there is no memory for it.
bool TaggedData::MakeRoom() noexcept {
    if (count_ < room_) return true;
    const size_t room = std::max(2 * room_, kEntriesOfARequest);
    std::unique_ptr<Entry[]> entries(new (std::nothrow) Entry[room]);
    if (!entries) return false;
    std::move(entries_.get(), entries_.get() + count_, entries.get());
    entries_ = std::move(entries);
    room_ = room;
    return true;
}

bool TaggedData::HasKey(std::string_view key) const noexcept {
    for (size_t i = 0; i < count_; ++i) {
        const bool same = keys_ == Keys::kCaseSensitive ? Key(i) == key : EqualsIgnoreCase(Key(i), key);
        if (same) return true;
    }
    return false;
}

}  // namespace wpk::core
