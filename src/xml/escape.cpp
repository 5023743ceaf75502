// Character data as the writer puts it: copied while it is searched.
// SPDX-License-Identifier: MIT
#include "xml/escape.h"

#include <algorithm>

#include "xml/char_class.h"
#include "xml/entities.h"

namespace AdvXMLParser::detail {
namespace {

const char* SkipWhite(const char* at, const char* end) noexcept {
    while (at != end && IsWhite(*at)) ++at;
    return at;
}

char* CopyName(char* to, char escaped) noexcept {
    const std::string_view name = EscapeNames::Find(escaped);
    std::memcpy(to, name.data(), name.size());
    return to + name.size();
}

#ifdef WPK_XML_SSE2

/// How much is put between two looks at the room in the buffer: with what may be put after it, a block or a name, it is
/// less than the room.
constexpr std::size_t kRun = OutputBuffer::kRoom - 2 * Block::kSize;

/// Puts pieces of one text, one after the other. Between them there is room.
template <WhiteSpace kSpace>
class Escaper {
public:
    Escaper(OutputBuffer& out, char* to) : out_(out), to_(out.MakeRoom(to)) {}

    /// Whole blocks. What is left is less than one.
    const char* PutBlocks(const char* at, const char* end) {
        while (static_cast<std::size_t>(end - at) >= Block::kSize) {
            const char* const runEnd =
                at + std::min(static_cast<std::size_t>(end - at), kRun) / Block::kSize * Block::kSize;
            at = PutRun(at, runEnd, end);
            to_ = out_.MakeRoom(to_);
        }
        return at;
    }

    /// Less than a block, of which a whole one can be read from any byte on.
    void PutRest(const char* at, const char* end) {
        while (at != end) {
            const std::size_t size = static_cast<std::size_t>(end - at);
            const Block block(at);
            block.Store(to_);
            const Stops<kSpace> stops(block, isAfterWhite_);
            const unsigned own = stops.all & ((1U << size) - 1);
            at = own != 0 ? PutStop(at, end, to_, stops.white, LowestBit(own)) : Finish(end, to_ + size);
        }
        to_ = out_.MakeRoom(to_);
    }

    char* End() const noexcept { return to_; }

private:
    /// Blocks up to `runEnd`, or up to the first that cannot be put as it is, and what stands for that in it.
    const char* PutRun(const char* at, const char* runEnd, const char* end) noexcept {
        char* to = to_;
        unsigned isAfterWhite = isAfterWhite_;
        do {
            const Block block(at);
            block.Store(to);
            const Stops<kSpace> stops(block, isAfterWhite);
            if (stops.all != 0) {
                isAfterWhite_ = isAfterWhite;
                return PutStop(at, end, to, stops.white, LowestBit(stops.all));
            }
            at += Block::kSize;
            to += Block::kSize;
            isAfterWhite = stops.white >> (Block::kSize - 1);
        } while (at != runEnd);
        isAfterWhite_ = isAfterWhite;
        return Finish(at, to);
    }

    const char* Finish(const char* at, char* to) noexcept {
        to_ = to;
        return at;
    }

    /// Writes the replacement for the character at `copied`; returns the position after it in the text.
    const char* PutStop(const char* at, const char* end, char* to, unsigned white, unsigned copied) noexcept {
        const char* const stop = at + copied;
        if (!IsWhite(*stop)) {
            isAfterWhite_ = 0;
            return Finish(stop + 1, CopyName(to + copied, *stop));
        }
        // Where the white space has begun before, its space is there.
        const unsigned isThere = (((white << 1) | isAfterWhite_) >> copied) & 1;
        to[copied] = ' ';
        isAfterWhite_ = 1;
        return Finish(SkipWhite(stop, end), to + copied + 1 - isThere);
    }

    OutputBuffer& out_;
    char* to_;
    /// 1 when the last character put was white space, else 0.
    unsigned isAfterWhite_ = 0;
};

#endif

}  // namespace

#ifdef WPK_XML_SSE2

template <WhiteSpace kSpace>
char* EscapeAnyText(OutputBuffer& out, char* to, const ByteString& text) {
    Escaper<kSpace> escaper(out, to);
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
    return escaper.End();
}

#else

template <WhiteSpace kSpace>
char* EscapeAnyText(OutputBuffer& out, char* to, const ByteString& text) {
    const char* at = text.data();
    const char* const end = at + text.size();
    while (at != end) {
        to = out.MakeRoom(to);
        if (kSpace == WhiteSpace::kCollapsed && IsWhite(*at)) {
            *to++ = ' ';
            at = SkipWhite(at, end);
        } else if (Is(static_cast<unsigned char>(*at), kEscaped)) {
            to = CopyName(to, *at++);
        } else {
            *to++ = *at++;
        }
    }
    return out.MakeRoom(to);
}

#endif

template char* EscapeAnyText<WhiteSpace::kAsIs>(OutputBuffer&, char*, const ByteString&);
template char* EscapeAnyText<WhiteSpace::kCollapsed>(OutputBuffer&, char*, const ByteString&);

}  // namespace AdvXMLParser::detail
