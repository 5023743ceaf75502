// Puts the lines of a reply head together from bytes as they arrive.
// SPDX-License-Identifier: MIT
#include "transport/line_assembler.h"

#include <algorithm>

namespace wpk::core {

size_t LineAssembler::Consume(std::string_view bytes) noexcept {
    size_t used = 0;
    while (used < bytes.size() && state_ == State::kNeedsMore) {
        if (sawCarriageReturn_) {
            state_ = bytes[used++] == '\n' ? State::kComplete : State::kFailed;
        } else {
            used += ConsumeText(bytes.substr(used));
        }
    }
    return used;
}

std::string_view LineAssembler::Line() const noexcept {
    return state_ == State::kComplete ? std::string_view(buffer_.data(), length_) : std::string_view{};
}

void LineAssembler::Restart() noexcept {
    state_ = State::kNeedsMore;
    sawCarriageReturn_ = false;
    length_ = 0;
}

// Takes text up to and with a CR, or as much as the buffer holds.
size_t LineAssembler::ConsumeText(std::string_view bytes) noexcept {
    const std::string_view fitting = bytes.substr(0, kBufferSize - length_);
    const size_t text = std::min(fitting.find('\r'), fitting.size());
    std::copy_n(fitting.data(), text, buffer_.data() + length_);
    length_ += text;
    sawCarriageReturn_ = text < fitting.size();
    if (sawCarriageReturn_) return text + 1;
    if (length_ == kBufferSize) state_ = State::kFailed;
    return text;
}

}  // namespace wpk::core
