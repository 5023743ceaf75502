// Finding where a run of like bytes ends: the loops in which parsing spends its time.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_SCAN_H
#define WPK_XML_SCAN_H

#include <cstddef>
#include <cstring>

#include "xml/block.h"
#include "xml/char_class.h"
#include "xml/slice.h"

// Each function looks at [at, end) and returns the first byte that ends the run, or `end`.
namespace AdvXMLParser::detail {

namespace scan_detail {

/// Control characters but tab and line feed.
template <class AnyBlock>
auto Controls(const AnyBlock& block) noexcept {
    return block.Between(0, 0x1F).AndNot(block.Between('\t', '\n'));
}

/// Ends at the first byte for which `isStop`; `stops` says the same for the bytes of a block.
template <class Stops, class IsStop>
WPK_XML_INLINE const Byte* Find(const Byte* at, const Byte* end, [[maybe_unused]] Stops stops, IsStop isStop) noexcept {
#ifdef WPK_XML_SSE2
    for (; static_cast<std::size_t>(end - at) >= Block::kSize; at += Block::kSize) {
        const unsigned mask = stops(Block(at));
        if (mask != 0) return at + LowestBit(mask);
    }
#endif
    while (at != end && !isStop(*at)) ++at;
    return at;
}

}  // namespace scan_detail

/// Ends at what CharClass calls a text stop.
WPK_XML_INLINE const Byte* FindTextStop(const Byte* at, const Byte* end) noexcept {
    return scan_detail::Find(
        at, end,
        [](const auto& block) {
            return ((block == '<') | (block == '&') | (block == ']') | scan_detail::Controls(block)).Mask();
        },
        [](Byte c) { return Is(c, kTextStop); });
}

/// Ends at the quote, and at what CharClass calls a value stop other than a quote.
WPK_XML_INLINE const Byte* FindValueStop(const Byte* at, const Byte* end, char quote) noexcept {
    return scan_detail::Find(
        at, end,
        [quote](const auto& block) {
            return ((block == quote) | (block == '<') | (block == '&') | scan_detail::Controls(block)).Mask();
        },
        [quote](Byte c) { return Is(c, kValueStop) && (c == static_cast<Byte>(quote) || (c != '"' && c != '\'')); });
}

/// Ends at either quote, '<', '&', and every control character. What it looks for does not depend on the input, so that
/// nothing has to be waited for before it begins.
WPK_XML_INLINE const Byte* FindPlainValueStop(const Byte* at, const Byte* end) noexcept {
    return scan_detail::Find(
        at, end,
        [](const auto& block) {
            // '&' and '\'' differ in one bit.
            return ((block.With(1) == '\'') | (block == '"') | (block == '<') | block.Between(0, 0x1F)).Mask();
        },
        [](Byte c) { return c < 0x20 || Is(c, kValueStop); });
}

/// Ends at the given byte, at a carriage return, and at what is not allowed in text.
inline const Byte* FindStop(const Byte* at, const Byte* end, char stop) noexcept {
    return scan_detail::Find(
        at, end, [stop](const auto& block) { return ((block == stop) | scan_detail::Controls(block)).Mask(); },
        [stop](Byte c) { return c == static_cast<Byte>(stop) || c == '\r' || !Is(c, kAllowed); });
}

/// Ends after the last character of a name. What follows the name must be before the end of the input.
WPK_XML_INLINE const Byte* SkipNameChars(const Byte* at) noexcept {
    while (Is(*at, kNameChar)) ++at;
    return at;
}

/// Whether [at, end) begins with the `size` bytes at `bytes`, which come before `at` in the same memory.
WPK_XML_INLINE bool BeginsWith(const Byte* at, const Byte* end, const Byte* bytes, std::size_t size) noexcept {
    const std::size_t left = static_cast<std::size_t>(end - at);
    if (left < size) return false;
#ifdef WPK_XML_SSE2
    if (size <= Block::kSize && left >= Block::kSize) {
        const unsigned different = (Block(at) == Block(bytes)).Mask() ^ Block::kAll;
        return (different & ((1U << size) - 1)) == 0;
    }
#endif
    return std::memcmp(at, bytes, size) == 0;
}

}  // namespace AdvXMLParser::detail

#endif  // WPK_XML_SCAN_H
