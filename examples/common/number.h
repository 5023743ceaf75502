// Decimal numbers in texts from outside.
// SPDX-License-Identifier: MIT
#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>
#include <system_error>

namespace common {

/// The number that the text consists of; nothing where there is anything but digits, or more than 64 bits hold.
inline std::optional<std::uint64_t> Number(std::string_view digits) {
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
    return number;
}

}  // namespace common
