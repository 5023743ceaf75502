// Reading the input character by character, with line and column.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_DIAGNOSING_CURSOR_H
#define WPK_XML_DIAGNOSING_CURSOR_H

#include <cstddef>
#include <string_view>

#include <wpk/xml/exceptions.h>

#include "xml/char_class.h"
#include "xml/slice.h"

namespace AdvXMLParser::detail {

/// The cursor that says where a document is wrong. Its operations are those of FastCursor.
///
/// Line and column depend on how the input was read and not on the place alone, and callers rely on every bit of it:
/// the column starts at 1 on the first line and at 0 on the others; taking back a lone CR does not take back its line,
/// so that the line counts twice when it is read again; what is read past the end cannot be taken back.
class DiagnosingCursor {
public:
    struct Place {
        std::size_t position;
        unsigned line;
        unsigned column;
    };

    DiagnosingCursor(const Byte* input, std::size_t size) noexcept : input_(input), size_(size) {}

    Byte Read() noexcept;
    void Unread() noexcept;
    Byte Peek() const noexcept;
    bool Match(std::string_view literal) noexcept;
    bool Expect(char c) noexcept;
    bool SkipWhitespace() noexcept;
    Slice Name() noexcept;
    Slice NameToken() noexcept;
    Byte ReadPastText() noexcept;
    Byte ReadPastValue(char quote) noexcept;
    /// Those that may do nothing.
    bool SkipPlain(char /*c*/) noexcept { return false; }
    bool SkipPlainEmptyEnd() noexcept { return false; }
    bool SkipPlainEnd(const Slice& /*name*/) noexcept { return false; }
    bool SkipPlainValue(Slice& /*text*/) noexcept { return false; }
    bool SkipEntity(Slice& /*name*/, char& /*value*/) noexcept { return false; }
    void SkipTo(char /*stop*/) noexcept {}

    Place Position() const noexcept { return place_; }
    void Restore(const Place& place) noexcept { place_ = place; }
    Slice Cut(const Place& from, std::size_t less) const noexcept;

    [[noreturn]] void Fail(ParsingError code) const;

private:
    Slice CharsOfName(CharClass first) noexcept;

    const Byte* input_;
    std::size_t size_;
    /// The position is `size_` + 1 once something has been read past the end.
    Place place_{0, 1, 1};
    unsigned previousColumn_ = 0;
};

}  // namespace AdvXMLParser::detail

#endif  // WPK_XML_DIAGNOSING_CURSOR_H
