/// @file
/// From bytes to an owned document, with errors that can be shown.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_HELPERS_PARSE_H
#define WPK_XML_HELPERS_PARSE_H

#include <wpk/xml_helpers/describe.h>
#include <wpk/xml_helpers/names.h>

#include <cstddef>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace wpk {
namespace xml {

/// A ParsingException that can be shown: what() gives its place and meaning, after the file's name if there is one.
class DocumentError : public ParsingException {
public:
    /// The fault, the bytes that contain it, and their name; an empty `source` is left out of what().
    DocumentError(const ParsingException& fault, std::string_view document, const std::string& source)
        : ParsingException(fault),
          excerpt(detail::Excerpt(document, fault)),
          message_((source.empty() ? source : source + ": ") + Describe(fault)) {}
    /// For example "order.xml: line 2, column 8: the end tag is not that of the open element"; lives as long as the
    /// exception.
    const char* what() const noexcept override { return message_.c_str(); }

    /// The line of the fault and, on a second line, a caret under the place; without a line feed at the end.
    std::string excerpt;

private:
    std::string message_;
};

namespace detail {

inline std::unique_ptr<Document> ParseNamed(std::string_view bytes, const std::string& source) {
    const std::string_view content = WithoutMark(bytes);
    if (content.size() > static_cast<std::size_t>((std::numeric_limits<int>::max)())) {
        throw std::length_error("wpk::xml: a document has less than 2 GiB");
    }
    try {
        return std::unique_ptr<Document>(
            AdvXMLParser::Parser().Parse(content.data(), static_cast<int>(content.size())));
    } catch (const ParsingException& fault) {
        throw DocumentError(fault, content, source);
    }
}

inline int DigitOf(char c) noexcept {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return 99;
}

/// A character reference at the start of the text: its character and its length. The length is 0 where there is none
/// for a character above 127.
struct WideReference {
    explicit WideReference(std::string_view text) noexcept {
        const bool isHexadecimal = text.substr(0, 3) == "&#x";
        const int base = isHexadecimal ? 16 : 10;
        std::size_t at = isHexadecimal ? 3 : 2;
        constexpr unsigned kLast = 0x10FFFF;
        for (; at < text.size() && DigitOf(text[at]) < base && character <= kLast; ++at) {
            character = character * static_cast<unsigned>(base) + static_cast<unsigned>(DigitOf(text[at]));
        }
        const bool isSurrogate = character >= 0xD800 && character <= 0xDFFF;
        const bool isWide = character > 127 && character <= kLast && !isSurrogate;
        if (isWide && at < text.size() && text[at] == ';') length = at + 1;
    }

    unsigned character = 0;
    std::size_t length = 0;
};

/// For characters above 127.
inline void AppendUtf8(std::string& bytes, unsigned character) {
    const auto continuation = [&](unsigned shift) { bytes += static_cast<char>(0x80 | ((character >> shift) & 0x3F)); };
    if (character < 0x800) {
        bytes += static_cast<char>(0xC0 | (character >> 6));
    } else if (character < 0x10000) {
        bytes += static_cast<char>(0xE0 | (character >> 12));
        continuation(6);
    } else {
        bytes += static_cast<char>(0xF0 | (character >> 18));
        continuation(12);
        continuation(6);
    }
    continuation(0);
}

/// How long the comment, section or instruction is that begins here: all of the rest when it has no end. 0 where none
/// begins.
inline std::size_t LengthOfUnread(std::string_view text) noexcept {
    constexpr std::pair<std::string_view, std::string_view> kKinds[] = {
        {"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}};
    for (const auto& [begin, end] : kKinds) {
        if (text.substr(0, begin.size()) != begin) continue;
        const std::size_t at = text.find(end, begin.size());
        return at == std::string_view::npos ? text.size() : at + end.size();
    }
    return 0;
}

}  // namespace detail

/// Reads a whole document; a UTF-8 byte order mark at its beginning is skipped. The bytes are not needed after the
/// call. As with Parser, a zero byte counts as the end. The result is never null. Throws DocumentError;
/// std::length_error for 2 GiB or more.
///
///     const std::unique_ptr<Document> reply = Parse("<reply><state>ok</state></reply>");
inline std::unique_ptr<Document> Parse(std::string_view bytes) {
    return detail::ParseNamed(bytes, {});
}

/// A copy of a UTF-8 document in which references to characters above 127, decimal or hexadecimal, are replaced by the
/// characters themselves. The parser keeps only the low eight bits of a reference, so call this first if the sender may
/// write such references:
///
///     const std::unique_ptr<Document> reply = Parse(ReferencesToUtf8(bytes));
///
/// Comments, CDATA sections and processing instructions are not changed, and neither is a reference to a number that is
/// not a character: a surrogate, or above 10FFFF. Line numbers of errors stay the same; columns are those of the copy.
inline std::string ReferencesToUtf8(std::string_view document) {
    std::string bytes;
    bytes.reserve(document.size());
    while (!document.empty()) {
        std::size_t length = detail::LengthOfUnread(document);
        const detail::WideReference reference(document.substr(0, 2) == "&#" ? document : std::string_view());
        if (reference.length > 0) {
            detail::AppendUtf8(bytes, reference.character);
            length = reference.length;
        } else {
            // What begins nothing special goes as it is, up to the next character that may.
            if (length == 0) length = (std::min)(document.find_first_of("<&", 1), document.size());
            bytes.append(document.substr(0, length));
        }
        document.remove_prefix(length);
    }
    return bytes;
}

}  // namespace xml
}  // namespace wpk

#endif  // WPK_XML_HELPERS_PARSE_H
