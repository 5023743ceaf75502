// The model's cursor: reads the input one byte at a time and counts lines and columns.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_XML_MODEL_CURSOR_H
#define WPK_TESTS_XML_MODEL_CURSOR_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace xml_model {

/// What a failed parse reports.
struct Fault {
    uint32_t code;
    uint32_t line;
    uint32_t column;
};

/// A byte of the input as the rules see it; 0 stands for the end of the input as well as for a NUL.
using Byte = unsigned char;

bool IsWhitespace(Byte byte);
bool IsNameStart(Byte byte);
bool IsNameCharacter(Byte byte);
bool IsAllowedInText(Byte byte);

/// A place to come back to. The column before the last byte is not part of it.
struct Place {
    size_t position;
    uint32_t line;
    uint32_t column;
};

class Cursor {
public:
    explicit Cursor(std::string_view input) : input_(input) {}

    Byte Read();
    void Unread();

    Place Save() const { return {position_, line_, column_}; }
    void Restore(const Place& place);

    bool Match(std::string_view literal);
    bool Expect(char character);
    bool SkipWhitespace();
    /// Reads either quote character; 0 when there is none.
    Byte ReadQuote();
    /// A name; empty when there is none.
    std::string ReadName();
    /// One or more name characters.
    bool SkipNameToken();
    /// Whitespace, the keyword and an equals sign; throws 3 for a keyword without the sign.
    bool MatchKeywordWithEquals(std::string_view keyword);
    bool MatchEquals();

    size_t Position() const { return position_; }
    /// Whether a longer input could have been read differently.
    bool HasTouchedEnd() const { return hasTouchedEnd_; }
    /// The input from `from` up to the cursor without the last `delimiter` bytes, every line break as one LF.
    std::string Cut(size_t from, size_t delimiter = 0) const;

    [[noreturn]] void Fail(uint32_t code) const { throw Fault{code, line_, column_}; }

private:
    std::string_view input_;
    size_t position_ = 0;
    uint32_t line_ = 1;
    uint32_t column_ = 1;
    uint32_t previousColumn_ = 0;
    bool hasTouchedEnd_ = false;
};

}  // namespace xml_model

#endif  // WPK_TESTS_XML_MODEL_CURSOR_H
