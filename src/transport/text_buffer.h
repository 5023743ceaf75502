// A text that is put together in memory of its own and wiped in the end.
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

/// Zeroes memory that is about to be given back; the compiler leaves these writes in.
inline void Wipe(void* memory, size_t size) noexcept {
    for (auto* byte = static_cast<volatile unsigned char*>(memory); size > 0; --size) *byte++ = 0;
}

/// Owns room for as many bytes as it is made for. Its memory is wiped before it is freed, for it holds credentials, or
/// what is made of them. Move-only, one thread at a time; nothing here throws.
class TextBuffer {
public:
    /// Empty, without room.
    TextBuffer() = default;
    explicit TextBuffer(size_t room) noexcept
        : bytes_(room > 0 ? new (std::nothrow) char[room] : nullptr),
          room_(bytes_ ? room : 0),
          isWhole_(room_ == room) {}
    /// What stands for a text that could not be put together: empty and not whole.
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

    /// False when a piece is missing: memory has run out, or there was more than there is room for.
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
