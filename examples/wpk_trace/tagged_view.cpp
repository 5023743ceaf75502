// The body of a request in words, while it is forwarded.
// SPDX-License-Identifier: MIT
#include "tagged_view.h"

#include <algorithm>

namespace wpk_trace {

using common::Beginning;
using common::Bytes;
using common::Spelt;

void TaggedView::Feed(std::string_view bytes, std::vector<std::string>& lines) {
    while (!bytes.empty()) {
        if (IsText()) {
            TakeText(bytes, lines);
        } else {
            TakeLength(bytes);
        }
        // An empty text has no byte to wait for.
        if (IsText() && length_ == 0) EndText(lines);
    }
}

void TaggedView::TakeLength(std::string_view& bytes) {
    length_ |= static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[0])) << (8 * length_bytes_);
    bytes.remove_prefix(1);
    if (++length_bytes_ < 4) return;
    length_bytes_ = 0;
    const bool is_key = part_ == Part::kKeyLength;
    part_ = is_key ? Part::kKey : Part::kValue;
    text_ = Beginning(is_key ? kKeyShown : at_most_);
}

void TaggedView::TakeText(std::string_view& bytes, std::vector<std::string>& lines) {
    const std::uint64_t missing = length_ - text_.Length();
    const auto taken = static_cast<std::size_t>(std::min<std::uint64_t>(bytes.size(), missing));
    text_.Add(bytes.substr(0, taken));
    bytes.remove_prefix(taken);
    if (text_.Length() == length_ && length_ > 0) EndText(lines);
}

void TaggedView::EndText(std::vector<std::string>& lines) {
    if (part_ == Part::kKey) {
        key_ = Spelt(text_.Kept()) + (text_.Kept().size() < text_.Length() ? "..." : "");
        part_ = Part::kValueLength;
    } else {
        lines.push_back("  " + key_ + ", " + text_.InWords());
        part_ = Part::kKeyLength;
    }
    length_ = 0;
}

void TaggedView::End(std::vector<std::string>& lines) const {
    if (part_ == Part::kKeyLength && length_bytes_ == 0) return;
    std::string line = "  cut off in ";
    if (part_ == Part::kKeyLength || part_ == Part::kKey) {
        line += "a key";
    } else {
        line += "the value of " + key_;
    }
    if (IsText()) line += ", which claims " + Bytes(length_) + " and has " + text_.InWords();
    lines.push_back(line);
}

}  // namespace wpk_trace
