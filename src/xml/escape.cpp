// Character data as the writer puts it: copied while it is searched.
// SPDX-License-Identifier: MIT
#include "xml/escape.h"

#include "xml/block.h"
#include "xml/char_class.h"
#include "xml/entities.h"

namespace AdvXMLParser {
namespace {

/// What one step may put: a block, and the name of an entity behind it.
constexpr std::size_t kStep = 32;

char* CopyName(char* to, char escaped) noexcept {
    const std::string_view name = EscapeName(escaped);
    std::memcpy(to, name.data(), name.size());
    return to + name.size();
}

const char* SkipWhite(const char* at, const char* end) noexcept {
    while (at != end && IsWhite(*at)) ++at;
    return at;
}

#ifdef WPK_XML_SSE2

/// What is left of a text, in pieces of which a whole block can be read from any byte on.
class Pieces {
public:
    explicit Pieces(const ByteString& text) noexcept : at_(text.data()), end_(at_ + text.size()) {
        if (text.size() >= Block::kSize) return;
        Block(at_).Store(copy_);
        UseCopy(text.size());
    }
    Pieces(const Pieces&) = delete;
    Pieces& operator=(const Pieces&) = delete;

    bool IsEmpty() const noexcept { return at_ == end_; }
    const char* At() const noexcept { return at_; }
    const char* End() const noexcept { return end_; }
    void MoveTo(const char* at) noexcept { at_ = at; }

    /// A block of what comes next; only as many of its bytes count as there are left.
    Block Next() noexcept {
        if (Left() < Block::kSize && !isCopied_) CopyRest();
        return Block(at_);
    }
    unsigned Size() const noexcept { return Left() < Block::kSize ? static_cast<unsigned>(Left()) : Block::kSize; }

private:
    std::size_t Left() const noexcept { return static_cast<std::size_t>(end_ - at_); }
    void CopyRest() noexcept {
        const std::size_t left = Left();
        std::memcpy(copy_, at_, left);
        UseCopy(left);
    }
    void UseCopy(std::size_t size) noexcept {
        at_ = copy_;
        end_ = copy_ + size;
        isCopied_ = true;
    }

    const char* at_;
    const char* end_;
    bool isCopied_ = false;
    char copy_[2 * Block::kSize];
};

Matches Escapes(const Block& block) noexcept {
    return (block == '<') | (block == '>') | (block == '&') | (block == '\'') | (block == '"');
}

#endif

}  // namespace

#ifdef WPK_XML_SSE2

void PutEscaped(OutputBuffer& out, const ByteString& text) {
    Pieces pieces(text);
    while (!pieces.IsEmpty()) {
        char* const to = out.Reserve(kStep);
        const Block block = pieces.Next();
        block.Store(to);
        const unsigned size = pieces.Size();
        const unsigned stops = Escapes(block).Mask() & ((1U << size) - 1);
        if (stops == 0) {
            out.Advance(to + size);
            pieces.MoveTo(pieces.At() + size);
            continue;
        }
        const unsigned copied = LowestBit(stops);
        out.Advance(CopyName(to + copied, pieces.At()[copied]));
        pieces.MoveTo(pieces.At() + copied + 1);
    }
}

void PutCollapsedAndEscaped(OutputBuffer& out, const ByteString& text) {
    Pieces pieces(text);
    unsigned afterWhite = 0;
    while (!pieces.IsEmpty()) {
        char* const to = out.Reserve(kStep);
        const Block block = pieces.Next();
        block.Store(to);
        const unsigned size = pieces.Size();
        // Single spaces are copied with the rest; any other white space, and what of it follows white space, is a stop.
        const Matches breaks = (block == '\t') | (block == '\n') | (block == '\r');
        const unsigned white = (breaks | (block == ' ')).Mask();
        const unsigned repeated = white & ((white << 1) | afterWhite);
        const unsigned stops = ((Escapes(block) | breaks).Mask() | repeated) & ((1U << size) - 1);
        if (stops == 0) {
            out.Advance(to + size);
            pieces.MoveTo(pieces.At() + size);
            afterWhite = white >> (size - 1) & 1;
            continue;
        }
        const unsigned copied = LowestBit(stops);
        const char* const stop = pieces.At() + copied;
        if (IsWhite(*stop)) {
            to[copied] = ' ';
            out.Advance(to + copied + ((repeated >> copied & 1) ^ 1));
            pieces.MoveTo(SkipWhite(stop, pieces.End()));
            afterWhite = 1;
        } else {
            out.Advance(CopyName(to + copied, *stop));
            pieces.MoveTo(stop + 1);
            afterWhite = 0;
        }
    }
}

#else

void PutEscaped(OutputBuffer& out, const ByteString& text) {
    for (const char c : std::string_view(text)) {
        if (Is(static_cast<unsigned char>(c), kEscaped)) {
            out.Put(EscapeName(c));
        } else {
            out.Put(c);
        }
    }
}

void PutCollapsedAndEscaped(OutputBuffer& out, const ByteString& text) {
    const char* at = text.data();
    const char* const end = at + text.size();
    while (at != end) {
        if (IsWhite(*at)) {
            out.Put(' ');
            at = SkipWhite(at, end);
        } else if (Is(static_cast<unsigned char>(*at), kEscaped)) {
            out.Put(EscapeName(*at++));
        } else {
            out.Put(*at++);
        }
    }
}

#endif

}  // namespace AdvXMLParser
