// One row of a record table: a fixed number of opaque byte fields.
// SPDX-License-Identifier: MIT
#ifndef WPK_THREADLIB_RECORD_H
#define WPK_THREADLIB_RECORD_H

#include <cstdint>
#include <memory>

#include "threadlib/byte_buffer.h"

namespace wpk::core {

/// Nothing here throws. A record whose fields cannot be allocated has none; a field whose bytes cannot be copied is
/// empty.
class Record {
public:
    Record() = default;
    explicit Record(uint64_t fieldCount);
    Record(const Record& other);
    Record(Record&& other) noexcept;
    Record& operator=(Record other) noexcept;
    ~Record() = default;

    uint64_t FieldCount() const { return fieldCount_; }

    /// A copy of field k; an empty buffer when there is no field k.
    ByteBuffer Get(uint64_t k) const { return Field(k); }
    /// Field k as it stands; an empty buffer when there is no field k. Valid as long as the record is unchanged.
    const ByteBuffer& Field(uint64_t k) const;

    /// Replaces field k by a copy of `value`. 1, or 0 when there is no field k (nothing is changed then) or the copy
    /// could not be made.
    uint32_t Set(uint64_t k, const ByteBuffer& value);

    uint32_t GetUint32(uint64_t k) const { return static_cast<uint32_t>(Field(k).AsInteger(4)); }
    uint64_t GetUint64(uint64_t k) const { return Field(k).AsInteger(8); }
    /// Stored little-endian in 4 and 8 bytes.
    uint32_t SetUint32(uint64_t k, uint32_t value) { return SetInteger(k, value, 4); }
    uint32_t SetUint64(uint64_t k, uint64_t value) { return SetInteger(k, value, 8); }

private:
    uint32_t SetInteger(uint64_t k, uint64_t value, uint32_t width);

    uint64_t fieldCount_ = 0;
    std::unique_ptr<ByteBuffer[]> fields_;
};

/// The 4-byte key under which rows of a thread id are found.
ByteBuffer KeyOf(uint32_t id);

}  // namespace wpk::core

#endif
