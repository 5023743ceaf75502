// Finding where a run of like bytes ends: the loops in which parsing spends its time.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_SCAN_H
#define WPK_XML_SCAN_H

#include <cstddef>

#include "xml/block.h"
#include "xml/char_class.h"

// Each function looks at [at, end) and returns the first byte that ends the run, or `end`.
namespace AdvXMLParser {

using Byte = unsigned char;

#ifdef WPK_XML_SSE2
namespace scan_detail {

/// Control characters but tab and line feed.
inline Matches Controls(const Block& block) noexcept {
    return block.Between(0, 0x1F).AndNot(block.Between('\t', '\n'));
}

inline Matches NameChars(const Block& block) noexcept {
    // The ASCII ones. '-', '.', digits and ':' stand in a row, with a '/' among them.
    return block.LowerCase().Between('a', 'z') | block.Between('-', ':').AndNot(block == '/') | (block == '_');
}

/// Skips whole blocks without a stop. Leaves fewer than sixteen bytes, or `at` on a stop.
template <class Stops>
const Byte* SkipBlocks(const Byte* at, const Byte* end, Stops stops) noexcept {
    for (; static_cast<std::size_t>(end - at) >= Block::kSize; at += Block::kSize) {
        const unsigned mask = stops(Block(at));
        if (mask != 0) return at + LowestBit(mask);
    }
    return at;
}

}  // namespace scan_detail
#endif

/// Ends at what CharClass calls a text stop.
inline const Byte* FindTextStop(const Byte* at, const Byte* end) noexcept {
#ifdef WPK_XML_SSE2
    at = scan_detail::SkipBlocks(at, end, [](const Block& block) noexcept {
        return ((block == '<') | (block == '&') | (block == ']') | scan_detail::Controls(block)).Mask();
    });
#endif
    while (at != end && !Is(*at, kTextStop)) ++at;
    return at;
}

/// Ends at the quote, and at what CharClass calls a value stop other than a quote.
inline const Byte* FindValueStop(const Byte* at, const Byte* end, char quote) noexcept {
#ifdef WPK_XML_SSE2
    at = scan_detail::SkipBlocks(at, end, [quote](const Block& block) noexcept {
        return ((block == quote) | (block == '<') | (block == '&') | scan_detail::Controls(block)).Mask();
    });
#endif
    for (; at != end; ++at) {
        if (Is(*at, kValueStop) && (*at == static_cast<Byte>(quote) || (*at != '"' && *at != '\''))) break;
    }
    return at;
}

/// Ends at the given byte, at a carriage return, and at what is not allowed in text.
inline const Byte* FindStop(const Byte* at, const Byte* end, char stop) noexcept {
#ifdef WPK_XML_SSE2
    at = scan_detail::SkipBlocks(at, end, [stop](const Block& block) noexcept {
        return ((block == stop) | scan_detail::Controls(block)).Mask();
    });
#endif
    while (at != end && *at != static_cast<Byte>(stop) && *at != '\r' && Is(*at, kAllowed)) ++at;
    return at;
}

/// Ends behind the last character of a name.
inline const Byte* SkipNameChars(const Byte* at, const Byte* end) noexcept {
#ifdef WPK_XML_SSE2
    at = scan_detail::SkipBlocks(
        at, end, [](const Block& block) noexcept { return scan_detail::NameChars(block).Mask() ^ Block::kAll; });
#endif
    // Also where a block was left at a letter beyond ASCII.
    while (at != end && Is(*at, kNameChar)) ++at;
    return at;
}

/// Whether `size` bytes are the same.
inline bool SameBytes(const void* a, const void* b, std::size_t size) noexcept {
    const Byte* const first = static_cast<const Byte*>(a);
    const Byte* const second = static_cast<const Byte*>(b);
    std::size_t i = 0;
#ifdef WPK_XML_SSE2
    for (; size - i >= Block::kSize; i += Block::kSize) {
        if ((Block(first + i) == Block(second + i)).Mask() != Block::kAll) return false;
    }
#endif
    while (i < size && first[i] == second[i]) ++i;
    return i == size;
}

}  // namespace AdvXMLParser

#endif  // WPK_XML_SCAN_H
