// Progress of a reply that takes a while: a bar on a terminal, a few lines elsewhere.
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

namespace wpk_send {

/// Turns the counts of progress notifications into what is to be written, which is nothing for most of them: a large
/// reply arrives in thousands of pieces. One thread at a time.
class Progress {
public:
    enum class Style { kNone, kBar, kLines };

    explicit Progress(Style style) : style_(style) {}

    /// @return the text to write now; empty for none.
    std::string Update(std::uint32_t received, std::uint32_t total);

private:
    Style style_;
    int shown_percent_ = -1;
};

/// For people: "512 bytes", "1.5 KiB", "64.0 MiB".
std::string SizeText(std::uint64_t bytes);

}  // namespace wpk_send
