/// @file
/// Why a document was refused, in words, and where.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_HELPERS_DESCRIBE_H
#define WPK_XML_HELPERS_DESCRIBE_H

#include <wpk/xml_helpers/names.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

namespace wpk {
namespace xml {
namespace detail {

/// The input without the byte order mark that some editors put before UTF-8.
inline std::string_view WithoutMark(std::string_view bytes) noexcept {
    return bytes.substr(0, 3) == "\xEF\xBB\xBF" ? bytes.substr(3) : bytes;
}

/// How many bytes of the line had been read. On the first line the parser counts one more.
inline std::size_t BytesRead(const ParsingException& fault) noexcept {
    return fault.line == 1 && fault.column > 0 ? fault.column - 1 : fault.column;
}

/// The line of that number, from 1; empty when there are fewer. Lines end as they do for the parser.
inline std::string_view LineOf(std::string_view bytes, unsigned number) noexcept {
    for (unsigned line = 1; line < number; ++line) {
        const std::size_t end = bytes.find_first_of("\r\n");
        if (end == std::string_view::npos) return {};
        bytes.remove_prefix(end + (bytes.substr(end, 2) == "\r\n" ? 2 : 1));
    }
    return bytes.substr(0, bytes.find_first_of("\r\n"));
}

/// Whether the byte continues a UTF-8 character and takes no place on the screen.
inline bool IsContinuation(char c) noexcept {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

/// The line of the fault and below it a caret; of a long line, what is near the fault.
inline std::string Excerpt(std::string_view bytes, const ParsingException& fault) {
    constexpr std::size_t kBefore = 50;
    constexpr std::size_t kWidth = 76;
    const std::string_view line = LineOf(WithoutMark(bytes), fault.line);
    const std::size_t read = (std::min)(BytesRead(fault), line.size());
    const std::size_t at = read > 0 ? read - 1 : 0;
    std::size_t from = at > kBefore ? at - kBefore : 0;
    while (from < at && IsContinuation(line[from])) ++from;
    std::string text = from > 0 ? "..." : "";
    std::string caret(text.size(), ' ');
    std::size_t next = from;
    for (; next < line.size() && (next - from < kWidth || IsContinuation(line[next])); ++next) {
        const char c = line[next];
        const bool isControl = static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
        text += isControl && c != '\t' ? '?' : c;
        if (next < at && !IsContinuation(c)) caret += c == '\t' ? '\t' : ' ';
    }
    if (next < line.size()) text += "...";
    return text + "\n" + caret + "^";
}

}  // namespace detail

/// The meaning of a ParsingException's code in words, for a message; the text lives as long as the process. The two
/// codes that the parser never uses, 14 and 42, have a text as well, and so has any other number. Any thread; never
/// fails.
inline const char* ParsingErrorText(unsigned code) noexcept {
    switch (code) {
        case 1:
            return "the document ends in the middle of a value, of an element or of a declaration";
        case 2:
            return "a character that no document may hold, or an end in the middle of a comment, section or "
                   "instruction";
        case 3:
            return "an attribute's name or a keyword of the XML declaration without \"=\" after it";
        case 4:
            return "an attribute's value is missing or not in quotes";
        case 5:
            return "\"<\" in an attribute's value; write \"&lt;\"";
        case 6:
            return "\"&\" that begins no reference; write \"&amp;\"";
        case 7:
            return "\"&#x\" without a hexadecimal digit after it";
        case 8:
            return "\"&#\" without a digit after it";
        case 9:
            return "a reference to an entity other than lt, gt, amp, apos and quot";
        case 10:
            return "\"<\" or \"</\" without a name after it; a \"<\" in a text is written \"&lt;\"";
        case 11:
            return "\"/\" in a start tag without \">\" after it";
        case 12:
            return "a tag that is not closed by \">\"";
        case 13:
            return "the end tag is not that of the open element";
        case 14:
            return "\"<\" that begins no markup; write \"&lt;\"";
        case 15:
            return "\"]]>\" in a text; write \"]]&gt;\"";
        case 16:
            return "there is no root element";
        case 17:
            return "the XML declaration has no valid version";
        case 18:
            return "the XML declaration is not closed by \"?>\"";
        case 19:
            return "the XML declaration's encoding is not in quotes";
        case 20:
            return "the XML declaration's encoding is no name of one";
        case 21:
            return "the XML declaration's standalone is not in quotes";
        case 22:
            return "the XML declaration's standalone is neither \"yes\" nor \"no\"";
        case 23:
            return "\"--\" in a comment";
        case 24:
            return "a processing instruction without a target";
        case 25:
            return "a processing instruction with the target xml, or an XML declaration that is not at the beginning";
        case 26:
            return "the document type declaration is malformed, or holds something that may not stand in it";
        case 27:
            return "\"%\" without a name and \";\" after it";
        case 28:
            return "a public identifier holds a character that it may not";
        case 29:
            return "an element declaration is malformed";
        case 30:
            return "a content model lacks \"|\" or its end";
        case 31:
            return "a content model's separators differ";
        case 32:
            return "a content model lacks a name or group after a separator";
        case 33:
            return "an attribute-list declaration is malformed";
        case 34:
            return "an attribute's definition lacks its type or its default";
        case 35:
            return "a notation type is malformed";
        case 36:
            return "an enumeration of an attribute's values is malformed";
        case 37:
            return "\"#FIXED\" without white space after it";
        case 38:
            return "an entity declaration is malformed";
        case 39:
            return "\"NDATA\" without a name after it";
        case 40:
            return "a notation declaration is malformed";
        case 41:
            return "\"SYSTEM\" or \"PUBLIC\" without its identifiers in quotes";
        case 42:
            return "a notation's public identifier is malformed";
        case 43:
            return "something other than a comment or an instruction after the root element";
        default:
            return "a fault of a kind that this version has no words for";
    }
}

/// The place of the fault and what is wrong; if the document's bytes are given, also the line of the fault with a caret
/// under the last byte that was read:
///
///     line 2, column 8: the end tag is not that of the open element
///       </item>
///            ^
///
/// Columns are counted in bytes, from 1 on every line, as editors do (ParsingException::column counts one more on the
/// first line). Control characters, which a terminal might act on, are shown as question marks.
inline std::string Describe(const ParsingException& fault, std::string_view document = {}) {
    const std::size_t column = (std::max<std::size_t>)(1, detail::BytesRead(fault));
    std::string text = "line " + std::to_string(fault.line) + ", column " + std::to_string(column) + ": " +
                       ParsingErrorText(fault.code);
    if (!document.empty()) text += "\n" + detail::Excerpt(document, fault);
    return text;
}

}  // namespace xml
}  // namespace wpk

#endif  // WPK_XML_HELPERS_DESCRIBE_H
