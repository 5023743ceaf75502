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

/// The input without the three bytes with which some editors mark UTF-8.
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

/// Whether the byte is inside a UTF-8 character and takes no place of its own on the screen.
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

/// What the code of a ParsingException means, in words; lives as long as the process. The two that the parser never
/// gives, 14 and 42, have theirs as well.
inline const char* ParsingErrorText(unsigned code) noexcept {
    switch (code) {
        case AdvXMLParser::kUnexpectedEnd:
            return "the document ends in the middle of a value, of an element or of a declaration";
        case AdvXMLParser::kBadCharacter:
            return "a character that no document may hold, or an end in the middle of a comment, section or "
                   "instruction";
        case AdvXMLParser::kNoEquals:
            return "an attribute's name or a keyword of the XML declaration without \"=\" after it";
        case AdvXMLParser::kValueNotQuoted:
            return "an attribute's value is missing or not in quotes";
        case AdvXMLParser::kLessThanInValue:
            return "\"<\" in an attribute's value; write \"&lt;\"";
        case AdvXMLParser::kBadReference:
            return "\"&\" that begins no reference; write \"&amp;\"";
        case AdvXMLParser::kNoHexDigit:
            return "\"&#x\" without a hexadecimal digit after it";
        case AdvXMLParser::kNoDigit:
            return "\"&#\" without a digit after it";
        case AdvXMLParser::kUnknownEntity:
            return "a reference to an entity other than lt, gt, amp, apos and quot";
        case AdvXMLParser::kNoElementName:
            return "\"<\" or \"</\" without a name after it; a \"<\" in a text is written \"&lt;\"";
        case AdvXMLParser::kEmptyTagNotClosed:
            return "\"/\" in a start tag without \">\" after it";
        case AdvXMLParser::kTagNotClosed:
            return "a tag that is not closed by \">\"";
        case AdvXMLParser::kWrongEndTag:
            return "the end tag is not that of the open element";
        case AdvXMLParser::kUnknownMarkup:
            return "\"<\" that begins no markup; write \"&lt;\"";
        case AdvXMLParser::kSectionEndInContent:
            return "\"]]>\" in a text; write \"]]&gt;\"";
        case AdvXMLParser::kNoRootElement:
            return "there is no root element";
        case AdvXMLParser::kBadVersion:
            return "the XML declaration has no valid version";
        case AdvXMLParser::kDeclarationNotClosed:
            return "the XML declaration is not closed by \"?>\"";
        case AdvXMLParser::kEncodingNotQuoted:
            return "the XML declaration's encoding is not in quotes";
        case AdvXMLParser::kBadEncoding:
            return "the XML declaration's encoding is no name of one";
        case AdvXMLParser::kStandaloneNotQuoted:
            return "the XML declaration's standalone is not in quotes";
        case AdvXMLParser::kBadStandalone:
            return "the XML declaration's standalone is neither \"yes\" nor \"no\"";
        case AdvXMLParser::kBadComment:
            return "\"--\" in a comment";
        case AdvXMLParser::kNoTarget:
            return "a processing instruction without a target";
        case AdvXMLParser::kReservedTarget:
            return "a processing instruction with the target xml, or an XML declaration that is not at the beginning";
        case AdvXMLParser::kBadDoctype:
            return "the document type declaration is malformed, or holds something that may not stand in it";
        case AdvXMLParser::kBadParameterReference:
            return "\"%\" without a name and \";\" after it";
        case AdvXMLParser::kBadPublicId:
            return "a public identifier holds a character that it may not";
        case AdvXMLParser::kBadElementDeclaration:
            return "an element declaration is malformed";
        case AdvXMLParser::kBadContentModel:
            return "a content model lacks \"|\" or its end";
        case AdvXMLParser::kBadSequence:
            return "a content model's separators differ";
        case AdvXMLParser::kNoContentParticle:
            return "a content model lacks a name or group after a separator";
        case AdvXMLParser::kBadAttributeList:
            return "an attribute-list declaration is malformed";
        case AdvXMLParser::kBadAttributeDefinition:
            return "an attribute's definition lacks its type or its default";
        case AdvXMLParser::kBadNotationType:
            return "a notation type is malformed";
        case AdvXMLParser::kBadEnumeration:
            return "an enumeration of an attribute's values is malformed";
        case AdvXMLParser::kBadFixedDefault:
            return "\"#FIXED\" without white space after it";
        case AdvXMLParser::kBadEntityDeclaration:
            return "an entity declaration is malformed";
        case AdvXMLParser::kBadUnparsedEntity:
            return "\"NDATA\" without a name after it";
        case AdvXMLParser::kBadNotationDeclaration:
            return "a notation declaration is malformed";
        case AdvXMLParser::kBadExternalId:
            return "\"SYSTEM\" or \"PUBLIC\" without its identifiers in quotes";
        case AdvXMLParser::kBadPublicNotation:
            return "a notation's public identifier is malformed";
        case AdvXMLParser::kContentAfterRoot:
            return "something other than a comment or an instruction after the root element";
        default:
            return "a fault of a kind that this version has no words for";
    }
}

/// The fault's place and one sentence on it; and, when the document's bytes are given, the line of the fault with a
/// caret under the last byte that was read:
///
///     line 2, column 8: the end tag is not that of the open element
///       </item>
///            ^
///
/// Columns are counted as an editor does, from 1 on every line, in bytes (ParsingException::column counts one more on
/// the first). Bytes that a terminal might act on are shown as question marks.
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
