// Character data as the writer puts it.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_ESCAPE_H
#define WPK_XML_ESCAPE_H

#include <limits>

#include "xml/block.h"
#include "xml/node_access.h"
#include "xml/output_buffer.h"

namespace AdvXMLParser::detail {

/// Whether a run of white space is put as it is, or as one space.
enum class WhiteSpace { kAsIs, kCollapsed };

/// EscapeText for any text. Makes room after it.
template <WhiteSpace kSpace>
char* EscapeAnyText(OutputBuffer& out, char* to, const ByteString& text);

#ifdef WPK_XML_SSE2

/// What of a block cannot be put as it is, a bit for every byte.
template <WhiteSpace kSpace>
struct Stops {
    /// `isAfterWhite` is 1 when white space has been put before the block, else 0. Single spaces can be put as they
    /// are; other white space, and what of it follows white space, cannot when it is collapsed.
    WPK_XML_INLINE Stops(const Block& block, unsigned isAfterWhite) noexcept {
        // '&' and '\'' differ in one bit, and so do '<' and '>'.
        const Matches escaped = (block.With(1) == '\'') | (block.With(2) == '>') | (block == '"');
        if constexpr (kSpace == WhiteSpace::kAsIs) {
            all = escaped.Mask();
        } else {
            const Matches breaks = (block == '\t') | (block == '\n') | (block == '\r');
            white = (breaks | (block == ' ')).Mask();
            all = (escaped | breaks).Mask() | (white & ((white << 1) | isAfterWhite));
        }
    }

    unsigned all;
    /// All white space, if it is collapsed.
    unsigned white = 0;
};

#endif

/// Puts a text with the five special characters replaced by their EscapeNames. CollapseWhitespace comes before that in
/// the same pass where it is wanted, so that no copy of the text is needed. There must be room for a block.
template <WhiteSpace kSpace>
WPK_XML_INLINE char* EscapeText(OutputBuffer& out, char* to, const ByteString& text) {
#ifdef WPK_XML_SSE2
    if (NodeAccess::IsNear(text)) {
        const std::size_t size = text.size();
        // Often there is nothing between two tags.
        if (size == 0) return to;
        const Block block(text.data());
        block.Store(to);
        const Stops<kSpace> stops(block, 0);
        // What of the block is not part of the text is shifted out.
        const unsigned others = std::numeric_limits<unsigned>::digits - static_cast<unsigned>(size);
        if ((stops.all << others) == 0) return to + size;
        // Nothing but a line feed and an indentation: one space.
        if ((~stops.white << others) == 0) {
            *to = ' ';
            return to + 1;
        }
    }
#endif
    return EscapeAnyText<kSpace>(out, to, text);
}

}  // namespace AdvXMLParser::detail

#endif  // WPK_XML_ESCAPE_H
