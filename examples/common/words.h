// Bytes from outside as words that can be shown on a terminal.
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace common {

/// The bytes with everything but printable ASCII spelt out: \r, \n, \t, and \xNN for the rest.
std::string Spelt(std::string_view bytes);

/// "1 byte", "5 bytes".
std::string Bytes(std::uint64_t count);

bool EqualIgnoringCase(std::string_view a, std::string_view b);

/// Without the blanks and tabs at both ends.
std::string_view Trimmed(std::string_view text);

/// The first bytes of something that may be long: what is kept of it, and how long it is.
class Beginning {
public:
    explicit Beginning(std::size_t at_most) : at_most_(at_most) {}

    void Add(std::string_view bytes);
    std::uint64_t Length() const { return length_; }
    /// What is kept.
    std::string_view Kept() const { return kept_; }
    /// "5 bytes: hello", or the beginning of it and "..."; "0 bytes".
    std::string InWords() const;

private:
    std::size_t at_most_;
    std::string kept_;
    std::uint64_t length_ = 0;
};

}  // namespace common
