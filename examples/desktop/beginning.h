// Beginning: the first bytes of a text, cut where no character is cut.
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string_view>

namespace desktop {

/// At most that number of bytes; fewer if a character of several bytes (UTF-8) would be cut.
inline std::string_view Beginning(std::string_view text, std::size_t max_bytes) {
    if (text.size() <= max_bytes) return text;
    std::size_t end = max_bytes;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
    return text.substr(0, end);
}

}  // namespace desktop
