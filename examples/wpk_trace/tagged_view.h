// The body of a request in words, while it is forwarded.
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "common/words.h"

namespace wpk_trace {

/// Reads tagged data in pieces of any size: entries of a key and a value, each after its 32-bit little-endian length.
/// Trusts no length, and keeps only the beginning of what it reads.
class TaggedView {
public:
    /// @param at_most how much of each value is shown.
    explicit TaggedView(std::size_t at_most) : at_most_(at_most), text_(kKeyShown) {}

    /// Takes the next piece; adds a line for each entry that is complete.
    void Feed(std::string_view bytes, std::vector<std::string>& lines);
    /// The body has ended; adds a line when it did in the middle of an entry.
    void End(std::vector<std::string>& lines) const;

private:
    enum class Part { kKeyLength, kKey, kValueLength, kValue };
    static constexpr std::size_t kKeyShown = 64;

    void TakeLength(std::string_view& bytes);
    void TakeText(std::string_view& bytes, std::vector<std::string>& lines);
    void EndText(std::vector<std::string>& lines);
    bool IsText() const { return part_ == Part::kKey || part_ == Part::kValue; }

    std::size_t at_most_;
    Part part_ = Part::kKeyLength;
    std::uint32_t length_ = 0;
    unsigned length_bytes_ = 0;
    std::string key_;
    common::Beginning text_;
};

}  // namespace wpk_trace
