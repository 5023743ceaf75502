// A counted block of bytes, the stuff of record fields.
// SPDX-License-Identifier: MIT
#ifndef WPK_THREADLIB_BYTE_BUFFER_H
#define WPK_THREADLIB_BYTE_BUFFER_H

#include <cstdint>
#include <memory>

namespace wpk::core {

/// Owns a copy of some bytes. Nothing here throws: where a copy cannot be allocated, the buffer becomes empty. Up to 8
/// bytes need no allocation, so that keys and integers never fail.
class ByteBuffer {
public:
    constexpr ByteBuffer() = default;
    ByteBuffer(const void* bytes, uint32_t length);
    ByteBuffer(const ByteBuffer& other) : ByteBuffer(other.Data(), other.Length()) {}
    ByteBuffer(ByteBuffer&& other) noexcept;
    ByteBuffer& operator=(const ByteBuffer& other) { return *this = ByteBuffer(other); }
    ByteBuffer& operator=(ByteBuffer&& other) noexcept;
    ~ByteBuffer() = default;

    uint32_t Length() const { return length_; }
    const uint8_t* Data() const { return length_ <= sizeof short_ ? short_ : bytes_.get(); }

    /// The bytes as a little-endian integer; those that are missing count as 0, those in excess are left out.
    uint64_t AsInteger(uint32_t width) const;

private:
    uint32_t length_ = 0;
    uint8_t short_[8] = {};
    /// Null for a short buffer.
    std::unique_ptr<uint8_t[]> bytes_;
};

/// Equal when no byte of the first one's length differs; a shorter second one differs.
bool operator==(const ByteBuffer& left, const ByteBuffer& right);
inline bool operator!=(const ByteBuffer& left, const ByteBuffer& right) {
    return !(left == right);
}

}  // namespace wpk::core

#endif
