// Character data as the writer puts it: copied while it is searched.
// SPDX-License-Identifier: MIT
#include "xml/escape.h"

#include <algorithm>

#include "xml/block.h"
#include "xml/char_class.h"
#include "xml/entities.h"

namespace AdvXMLParser {
namespace {

const char* SkipWhite(const char* at, const char* end) noexcept {
    while (at != end && IsWhite(*at)) ++at;
    return at;
}

#ifdef WPK_XML_SSE2

char* CopyName(char* to, char escaped) noexcept {
    const std::string_view name = EscapeNames::Find(escaped);
    std::memcpy(to, name.data(), name.size());
    return to + name.size();
}

/// How much is put between two looks at the room in the buffer, and what may be put beyond it: a block, or a name.
constexpr std::size_t kRun = 32 * Block::kSize;
constexpr std::size_t kBeyond = Block::kSize;

/// Puts pieces of one text, one after the other.
template <WhiteSpace kSpace>
class Escaper {
public:
    explicit Escaper(OutputBuffer& out) noexcept : out_(out) {}

    /// Whole blocks. What is left is less than one.
    const char* PutBlocks(const char* at, const char* end) {
        while (static_cast<std::size_t>(end - at) >= Block::kSize) {
            const char* const runEnd =
                at + std::min(static_cast<std::size_t>(end - at), kRun) / Block::kSize * Block::kSize;
            char* to = out_.Reserve(kRun + kBeyond);
            unsigned stops = 0;
            do {
                const Block block(at);
                block.Store(to);
                stops = Stops(block);
                if (stops != 0) break;
                at += Block::kSize;
                to += Block::kSize;
                isAfterWhite_ = white_ >> (Block::kSize - 1);
            } while (at != runEnd);
            at = stops != 0 ? PutStop(at, end, to, LowestBit(stops)) : Finish(at, to);
        }
        return at;
    }

    /// Less than a block, of which a whole one can be read from any byte on.
    void PutRest(const char* at, const char* end) {
        while (at != end) {
            const std::size_t size = static_cast<std::size_t>(end - at);
            char* const to = out_.Reserve(Block::kSize + kBeyond);
            const Block block(at);
            block.Store(to);
            const unsigned stops = Stops(block) & ((1U << size) - 1);
            at = stops != 0 ? PutStop(at, end, to, LowestBit(stops)) : Finish(end, to + size);
        }
    }

private:
    /// Where a block cannot be put as it is. Single spaces can; other white space, and what of it follows white space,
    /// cannot when it is collapsed.
    unsigned Stops(const Block& block) noexcept {
        const Matches escaped = (block == '<') | (block == '>') | (block == '&') | (block == '\'') | (block == '"');
        if constexpr (kSpace == WhiteSpace::kAsIs) {
            return escaped.Mask();
        } else {
            const Matches breaks = (block == '\t') | (block == '\n') | (block == '\r');
            white_ = (breaks | (block == ' ')).Mask();
            return (escaped | breaks).Mask() | (white_ & ((white_ << 1) | isAfterWhite_));
        }
    }

    const char* Finish(const char* at, char* to) noexcept {
        out_.Advance(to);
        return at;
    }

    /// Puts what stands for the character that stops a block at `copied`, and gives the place behind it in the text.
    const char* PutStop(const char* at, const char* end, char* to, unsigned copied) noexcept {
        const char* const stop = at + copied;
        if (!IsWhite(*stop)) {
            isAfterWhite_ = 0;
            return Finish(stop + 1, CopyName(to + copied, *stop));
        }
        // Where the white space has begun before, its space is there.
        const unsigned isThere = ((white_ << 1) | isAfterWhite_) >> copied & 1;
        to[copied] = ' ';
        isAfterWhite_ = 1;
        return Finish(SkipWhite(stop, end), to + copied + 1 - isThere);
    }

    OutputBuffer& out_;
    unsigned white_ = 0;
    /// 1 when the last character put was white space, else 0.
    unsigned isAfterWhite_ = 0;
};

#endif

}  // namespace

#ifdef WPK_XML_SSE2

template <WhiteSpace kSpace>
void EscapeText(OutputBuffer& out, const ByteString& text) {
    Escaper<kSpace> escaper(out);
    const char* at = text.data();
    const char* const end = at + text.size();
    // A block can be read from the beginning of every string, and of a short one it is all there is.
    char rest[2 * Block::kSize];
    if (text.size() < Block::kSize) {
        Block(at).Store(rest);
    } else {
        at = escaper.PutBlocks(at, end);
        std::memcpy(rest, at, static_cast<std::size_t>(end - at));
    }
    escaper.PutRest(rest, rest + (end - at));
}

#else

template <WhiteSpace kSpace>
void EscapeText(OutputBuffer& out, const ByteString& text) {
    const char* at = text.data();
    const char* const end = at + text.size();
    while (at != end) {
        if (kSpace == WhiteSpace::kCollapsed && IsWhite(*at)) {
            out.Put(' ');
            at = SkipWhite(at, end);
        } else if (Is(static_cast<unsigned char>(*at), kEscaped)) {
            out.Put(EscapeNames::Find(*at++));
        } else {
            out.Put(*at++);
        }
    }
}

#endif

template void EscapeText<WhiteSpace::kAsIs>(OutputBuffer&, const ByteString&);
template void EscapeText<WhiteSpace::kCollapsed>(OutputBuffer&, const ByteString&);

}  // namespace AdvXMLParser
