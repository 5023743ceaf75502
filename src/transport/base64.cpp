// Base64 text of bytes.
// SPDX-License-Identifier: MIT
#include "transport/base64.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace wpk::core {
namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr size_t kGroupBytes = 3;
constexpr size_t kGroupCharacters = 4;
constexpr size_t kLineBytes = 57;  // 76 characters
constexpr std::string_view kLineEnd = "\r\n";

std::array<char, kGroupCharacters> EncodeGroup(std::string_view group) noexcept {
    uint32_t bits = 0;
    for (size_t i = 0; i < kGroupBytes; ++i) {
        bits = (bits << 8) | (i < group.size() ? static_cast<unsigned char>(group[i]) : 0U);
    }
    std::array<char, kGroupCharacters> text{};
    for (size_t i = 0; i < kGroupCharacters; ++i) {
        text[i] = i <= group.size() ? kAlphabet[(bits >> (18 - 6 * i)) & 63U] : '=';
    }
    return text;
}

}  // namespace

TextBuffer EncodeBase64(std::string_view bytes) noexcept {
    const size_t groups = (bytes.size() + kGroupBytes - 1) / kGroupBytes;
    TextBuffer text(groups * kGroupCharacters + bytes.size() / kLineBytes * kLineEnd.size());
    for (size_t at = 0; at < bytes.size(); at += kGroupBytes) {
        if (at != 0 && at % kLineBytes == 0) text.Append(kLineEnd);
        const auto group = EncodeGroup(bytes.substr(at, kGroupBytes));
        text.Append({group.data(), group.size()});
    }
    return text;
}

}  // namespace wpk::core
