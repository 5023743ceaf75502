// Reading the input fast, while all is well with it.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_FAST_CURSOR_H
#define WPK_XML_FAST_CURSOR_H

#include <cstddef>
#include <cstring>

#include "wpk/xml/exceptions.h"
#include "xml/entities.h"
#include "xml/scan.h"
#include "xml/slice.h"

namespace AdvXMLParser::detail {

/// Thrown by the fast cursor, which knows that something is wrong and not where.
struct NotWellFormed {};

/// A cursor that keeps nothing but its place and looks for the end of a run with whole registers. The rules of the
/// grammar are templates over this one and DiagnosingCursor, which knows line and column: a document that this one
/// rejects is read again by the other to find out what to throw. Both have the same operations and accept the same
/// documents.
class FastCursor {
public:
    using Place = const Byte*;

    FastCursor(const Byte* input, std::size_t size) noexcept
        : at_(input), start_(input), end_(EndOfDocument(input, size)) {}

    /// Copied field by field: a wide load right after narrow stores would stall on store forwarding.
    FastCursor(const FastCursor& other) noexcept
        : at_(other.at_),
          start_(other.start_),
          end_(other.end_),
          isPastEnd_(other.isPastEnd_),
          hasReturns_(other.hasReturns_) {}
    FastCursor& operator=(const FastCursor& other) noexcept {  // NOLINT(bugprone-unhandled-self-assignment): harmless
        at_ = other.at_;
        start_ = other.start_;
        end_ = other.end_;
        isPastEnd_ = other.isPastEnd_;
        hasReturns_ = other.hasReturns_;
        return *this;
    }
    ~FastCursor() = default;

    /// The next character. CR and CR LF are one LF; the end of the input is 0, as often as it is read.
    Byte Read() noexcept {
        if (at_ == end_) {
            isPastEnd_ = true;
            return 0;
        }
        const Byte c = *at_++;
        return c == '\r' ? PassReturn() : c;
    }

    /// Takes back the Read before, but none past the end.
    void Unread() noexcept {
        if (isPastEnd_) return;
        --at_;
        if (*at_ == '\n' && at_ != start_ && at_[-1] == '\r') --at_;
    }

    /// The raw byte after a '<' or '&', which is never the last one. Moves nothing.
    Byte Peek() const noexcept { return *at_; }

    /// Moves past the literal if it is there.
    template <std::size_t N>
    bool Match(const char (&literal)[N]) noexcept {
        constexpr std::size_t kSize = N - 1;
        if (static_cast<std::size_t>(end_ - at_) < kSize || std::memcmp(at_, literal, kSize) != 0) return false;
        at_ += kSize;
        return true;
    }

    /// Moves past the character if it is there. Not for line breaks.
    bool Expect(char c) noexcept {
        if (at_ == end_ || *at_ != static_cast<Byte>(c)) return false;
        ++at_;
        return true;
    }

    /// Moves past white space; whether there was any.
    bool SkipWhitespace() noexcept {
        const Byte* const from = at_;
        while (at_ != end_ && Is(*at_, kWhite)) ++at_;
        return at_ != from;
    }

    /// A name or name token; empty, without moving, when there is none.
    Slice Name() noexcept { return NameFrom(kNameStart); }
    Slice NameToken() noexcept { return NameFrom(kNameChar); }

    /// May move past the character if it is there.
    bool SkipPlain(char c) noexcept { return Expect(c); }

    /// May move past the end of an empty-element tag if it is there.
    bool SkipPlainEmptyEnd() noexcept { return Match("/>"); }

    /// After the '<' of an end tag: may move past the rest of it, if that is the name without white space.
    bool SkipPlainEnd(const Slice& name) noexcept {
        if (!BeginsWith(at_ + 1, end_, reinterpret_cast<const Byte*>(name.data), name.size)) return false;
        const Byte* const after = at_ + 1 + name.size;
        if (*after != '>') return false;
        at_ = after + 1;
        return true;
    }

    /// After the name of an attribute: may move past '=' and a value that is plain text.
    bool SkipPlainValue(Slice& text) noexcept {
        if (end_ - at_ < 3 || at_[0] != '=' || (at_[1] != '"' && at_[1] != '\'')) return false;
        const Byte* const from = at_ + 2;
        const Byte* const to = FindPlainValueStop(from, end_);
        if (to == end_ || *to != at_[1]) return false;
        text = {AsChars(from), static_cast<std::size_t>(to - from), false};
        at_ = to + 1;
        return true;
    }

    /// May move past a reference to an entity.
    bool SkipEntity(Slice& name, char& value) noexcept {
        if (end_ - at_ < 6 || *at_ != '&') return false;
        const std::size_t size = at_[3] == ';' ? 2 : at_[4] == ';' ? 3 : 4;
        name = {AsChars(at_ + 1), size, false};
        value = PredefinedEntities::Find(name);
        if (value == '\0' || at_[size + 1] != ';') return false;
        at_ += size + 2;
        return true;
    }

    /// Reads on to the first character that is no plain one of content: '<', '&', ']' or one that is not allowed.
    Byte ReadPastText() noexcept {
        return ReadPast([this] { at_ = FindTextStop(at_, end_); });
    }

    /// Likewise in an attribute's value: the quote, '<', '&' or one that is not allowed.
    Byte ReadPastValue(char quote) noexcept {
        return ReadPast([this, quote] { at_ = FindValueStop(at_, end_, quote); });
    }

    /// May move on to the next such byte over characters that are allowed in text.
    void SkipTo(char stop) noexcept { at_ = FindStop(at_, end_, stop); }

    /// A place to cut from or to go back to.
    Place Position() noexcept {
        hasReturns_ = false;
        return at_;
    }
    void Restore(Place place) noexcept {
        at_ = place;
        isPastEnd_ = false;
    }
    /// The bytes from the last Position up to here, less that number.
    Slice Cut(Place from, std::size_t less) const noexcept {
        return {AsChars(from), static_cast<std::size_t>(at_ - from) - less, hasReturns_};
    }

    [[noreturn]] static void Fail(ParsingError /*code*/) { throw NotWellFormed{}; }

private:
    static const char* AsChars(const Byte* bytes) noexcept { return reinterpret_cast<const char*>(bytes); }

    /// Where the last '>' of a document ends, if nothing but white space follows that; elsewhere there is no document,
    /// and nothing is left of it.
    static const Byte* EndOfDocument(const Byte* input, std::size_t size) noexcept {
        const Byte* const end = EndOfTags(input, size);
        if (end != input || size == 0) return end;
        const void* const zero = std::memchr(input, '\0', size);
        return !zero ? input : EndOfTags(input, static_cast<std::size_t>(static_cast<const Byte*>(zero) - input));
    }
    static const Byte* EndOfTags(const Byte* input, std::size_t size) noexcept {
        while (size != 0 && Is(input[size - 1], kWhite)) --size;
        return size != 0 && input[size - 1] == '>' ? input + size : input;
    }

    Slice NameFrom(CharClass first) noexcept {
        const Byte* const from = at_;
        if (at_ != end_ && Is(*at_, first)) at_ = SkipNameChars(at_ + 1);
        return {AsChars(from), static_cast<std::size_t>(at_ - from), false};
    }

    template <class FindEnd>
    Byte ReadPast(FindEnd findEnd) noexcept {
        for (;;) {
            findEnd();
            if (at_ == end_) {
                isPastEnd_ = true;
                return 0;
            }
            const Byte c = *at_++;
            if (c != '\r') return c;
            PassReturn();
        }
    }

    Byte PassReturn() noexcept {
        if (at_ != end_ && *at_ == '\n') ++at_;
        hasReturns_ = true;
        return '\n';
    }

    const Byte* at_;
    const Byte* start_;
    const Byte* end_;
    bool isPastEnd_ = false;
    /// Whether a carriage return has been read since the last Position.
    bool hasReturns_ = false;
};

}  // namespace AdvXMLParser::detail

#endif  // WPK_XML_FAST_CURSOR_H
