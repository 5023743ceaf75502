// A counted, zero-terminated text.
// SPDX-License-Identifier: MIT
#include "threadlib/counted_text.h"

#include <algorithm>
#include <new>
#include <utility>

namespace wpk::core {

CountedText::CountedText(std::string_view text) {
    AssignJoined(text, {});
}

CountedText::CountedText(CountedText&& other) noexcept
    : length_(std::exchange(other.length_, 0)), bytes_(std::move(other.bytes_)) {}

CountedText& CountedText::operator=(CountedText other) noexcept {
    std::swap(length_, other.length_);
    std::swap(bytes_, other.bytes_);
    return *this;
}

void CountedText::AssignJoined(std::string_view first, std::string_view second) {
    const size_t length = first.size() + second.size();
    std::unique_ptr<char[]> joined;
    if (length > 0) joined.reset(new (std::nothrow) char[length + 1]);
    if (joined) {
        char* end = std::copy(first.begin(), first.end(), joined.get());
        end = std::copy(second.begin(), second.end(), end);
        *end = '\0';
    }
    length_ = joined ? static_cast<uint32_t>(length) : 0;
    bytes_ = std::move(joined);
}

}  // namespace wpk::core
