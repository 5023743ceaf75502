// A counted block of bytes.
// SPDX-License-Identifier: MIT
#include "threadlib/byte_buffer.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace wpk::core {

ByteBuffer::ByteBuffer(const void* bytes, uint32_t length) {
    if (length == 0) return;
    if (length > sizeof short_) {
        bytes_.reset(new (std::nothrow) uint8_t[length]);
        if (!bytes_) return;
    }
    std::memcpy(bytes_ ? bytes_.get() : short_, bytes, length);
    length_ = length;
}

ByteBuffer::ByteBuffer(ByteBuffer&& other) noexcept {
    *this = std::move(other);
}

ByteBuffer& ByteBuffer::operator=(ByteBuffer&& other) noexcept {
    if (this == &other) return *this;
    std::copy_n(other.short_, sizeof short_, short_);
    bytes_ = std::move(other.bytes_);
    length_ = std::exchange(other.length_, 0);
    return *this;
}

uint64_t ByteBuffer::AsInteger(uint32_t width) const {
    uint64_t value = 0;
    const uint32_t used = std::min({length_, width, uint32_t{sizeof value}});
    for (uint32_t i = 0; i < used; ++i) value |= uint64_t{Data()[i]} << (8 * i);
    return value;
}

bool operator==(const ByteBuffer& left, const ByteBuffer& right) {
    if (left.Length() > right.Length()) return false;
    return left.Length() == 0 || std::memcmp(left.Data(), right.Data(), left.Length()) == 0;
}

}  // namespace wpk::core
