// A counted, zero-terminated text: names, folders, error texts.
// SPDX-License-Identifier: MIT
#ifndef WPK_THREADLIB_COUNTED_TEXT_H
#define WPK_THREADLIB_COUNTED_TEXT_H

#include <cstdint>
#include <memory>
#include <string_view>

namespace wpk::core {

/// Owns a copy of a text. Nothing here throws: where a copy cannot be allocated, the text becomes empty.
class CountedText {
public:
    CountedText() = default;
    explicit CountedText(std::string_view text);
    CountedText(const CountedText& other) : CountedText(other.View()) {}
    CountedText(CountedText&& other) noexcept;
    CountedText& operator=(CountedText other) noexcept;
    ~CountedText() = default;

    uint32_t Length() const { return length_; }
    bool Empty() const { return length_ == 0; }
    /// Zero-terminated; never null.
    const char* CStr() const { return bytes_ ? bytes_.get() : ""; }
    std::string_view View() const { return {CStr(), length_}; }

    /// Takes the given texts, one after the other, in place of what it held.
    void AssignJoined(std::string_view first, std::string_view second);

private:
    uint32_t length_ = 0;
    std::unique_ptr<char[]> bytes_;
};

}  // namespace wpk::core

#endif
