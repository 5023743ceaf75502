// A text that is assembled in its own memory and wiped at the end.
// SPDX-License-Identifier: MIT
#ifndef WPK_TRANSPORT_TEXT_BUFFER_H
#define WPK_TRANSPORT_TEXT_BUFFER_H

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

namespace wpk::core {

/// Zeroes memory that is about to be freed; the compiler does not remove these writes.
inline void Wipe(void* memory, size_t size) noexcept {
    for (auto* byte = static_cast<volatile unsigned char*>(memory); size > 0; --size) *byte++ = 0;
}

/// Owns memory of a fixed size, which is wiped before it is freed because it contains credentials or text made from
/// them. Move-only, one thread at a time; nothing here throws.
class TextBuffer {
public:
    /// Empty, without memory.
    TextBuffer() = default;
    explicit TextBuffer(size_t room) noexcept
        : bytes_(room > 0 ? new (std::nothrow) char[room] : nullptr),
          room_(bytes_ ? room : 0),
          isWhole_(room_ == room) {}
    /// A text that could not be assembled: empty and not whole.
    static TextBuffer Missing() noexcept {
        TextBuffer missing;
        missing.isWhole_ = false;
        return missing;
    }
    static TextBuffer CopyOf(std::string_view text) noexcept {
        TextBuffer copy(text.size());
        copy.Append(text);
        return copy;
    }
    TextBuffer(TextBuffer&& other) noexcept { *this = std::move(other); }
    TextBuffer& operator=(TextBuffer&& other) noexcept {
        std::swap(bytes_, other.bytes_);
        std::swap(room_, other.room_);
        std::swap(length_, other.length_);
        std::swap(isWhole_, other.isWhole_);
        return *this;
    }
    ~TextBuffer() { Wipe(bytes_.get(), room_); }

    void Append(std::string_view piece) noexcept {
        if (piece.size() > room_ - length_) {
            isWhole_ = false;
            return;
        }
        std::copy_n(piece.data(), piece.size(), bytes_.get() + length_);
        length_ += piece.size();
    }

    /// False if a piece is missing: memory ran out, or there was more text than room.
    bool IsWhole() const noexcept { return isWhole_; }
    bool Empty() const noexcept { return length_ == 0; }
    std::string_view View() const noexcept { return {bytes_.get(), length_}; }

private:
    std::unique_ptr<char[]> bytes_;
    size_t room_ = 0;
    size_t length_ = 0;
    bool isWhole_ = true;
};

}  // namespace wpk::core

#endif
