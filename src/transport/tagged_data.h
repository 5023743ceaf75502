// The body of a request: an ordered list of keys and values, each entry kept as it goes onto the wire.
// SPDX-License-Identifier: MIT
#ifndef WPK_TRANSPORT_TAGGED_DATA_H
#define WPK_TRANSPORT_TAGGED_DATA_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

namespace wpk::core {

/// An entry on the wire, integers 32-bit little-endian: key length, key, value length, value. Entries follow each other
/// in the order they were added, with nothing in between.
///
/// A value is copied once when it is added and once by Join(): messages may be large, so each entry is one allocation,
/// the joined body is another, and an entry's own memory goes as soon as it has been joined.
///
/// One thread at a time. Nothing here throws. Views stay valid until the next Add(), Join() or the end of the object.
class TaggedData {
public:
    enum class Keys { kCaseSensitive, kCaseInsensitive };

    explicit TaggedData(Keys keys = Keys::kCaseSensitive) noexcept : keys_(keys) {}

    /// Appends an entry with copies of the key and of `length` bytes at `value` (which may be null when `length` is 0).
    /// Returns 1; or 0, with nothing added, when the key is there already, when memory is short, or when the total
    /// would no longer fit 32 bits.
    int Add(std::string_view key, const void* value, uint32_t length) noexcept;

    /// Lays all entries out in one buffer. Returns 1, also when there is nothing to do; 0 when memory is short, and
    /// then nothing has changed.
    int Join() noexcept;

    size_t Count() const noexcept { return count_; }
    std::string_view Key(size_t index) const noexcept;
    std::string_view Value(size_t index) const noexcept;

    /// Bytes of all entries together: the length of the body.
    uint32_t TotalLength() const noexcept { return totalLength_; }

    /// The body; empty while an entry has been added since the last Join().
    std::string_view Joined() const noexcept;

private:
    using Bytes = std::unique_ptr<unsigned char[]>;

    struct Entry {
        Bytes own;  // null once the entry lives in the joined buffer
        const unsigned char* encoded = nullptr;
        uint32_t keyLength = 0;
        uint32_t valueLength = 0;
    };

    bool HasKey(std::string_view key) const noexcept;
    bool MakeRoom() noexcept;

    Keys keys_;
    /// No vector, which throws if memory runs out.
    std::unique_ptr<Entry[]> entries_;
    size_t count_ = 0;
    size_t room_ = 0;
    uint32_t totalLength_ = 0;
    Bytes joined_;
    bool isJoined_ = true;
};

}  // namespace wpk::core

#endif
