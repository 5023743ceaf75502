/// @file
/// What the XML library throws.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_EXCEPTIONS_H
#define WPK_XML_EXCEPTIONS_H

#include <exception>
#include <string>
#include <string_view>

namespace AdvXMLParser {

/// The base of the library's own exceptions. Besides them it throws std::bad_alloc if memory runs out, and
/// std::length_error if a string or list would exceed the largest size of its type.
///
///     try {
///         Parser().Parse("<a></b>", 7);
///     } catch (const ParsingException& fault) {
///         // fault.code 13, fault.line 1, fault.column 7
///     }
class Exception : public std::exception {
public:
    /// The kind of fault, in English; lives as long as the process.
    const char* what() const noexcept override;
};

/// A reference to an entity that is none of lt, gt, amp, apos, quot. Thrown where an EntityRef is built or cloned; the
/// parser reports the same fault as a ParsingException with code kUnknownEntity.
class InvalidRefException : public Exception {
public:
    /// Copies the name.
    explicit InvalidRefException(std::string_view entityName) : name(entityName) {}
    /// As Exception::what.
    const char* what() const noexcept override;

    /// The unknown name.
    std::string name;
};

/// What is wrong with a document: the values of ParsingException::code.
enum ParsingError : unsigned {
    /// The input, or a zero byte, ends an attribute value, content, a literal or a content model too early.
    kUnexpectedEnd = 1,
    /// A control character, as a byte or by a character reference; the end of the input in a comment, section or
    /// instruction.
    kBadCharacter = 2,
    /// A keyword or attribute name without "=".
    kNoEquals = 3,
    /// An attribute value that is missing or has no quotes.
    kValueNotQuoted = 4,
    /// "<" in an attribute value.
    kLessThanInValue = 5,
    /// "&" that begins no reference, or a reference without ";".
    kBadReference = 6,
    /// "&#x" without a hexadecimal digit.
    kNoHexDigit = 7,
    /// "&#" without a decimal digit.
    kNoDigit = 8,
    /// A reference to an entity other than lt, gt, amp, apos and quot.
    kUnknownEntity = 9,
    /// "<" or "</" without a name.
    kNoElementName = 10,
    /// "/" in a start tag without ">".
    kEmptyTagNotClosed = 11,
    /// A start or end tag without ">".
    kTagNotClosed = 12,
    /// An end tag of another element than the open one.
    kWrongEndTag = 13,
    /// Reserved: is not thrown.
    kUnknownMarkup = 14,
    /// "]]>" in content.
    kSectionEndInContent = 15,
    /// No root element; also for a null pointer or no bytes.
    kNoRootElement = 16,
    /// The XML declaration has no valid version.
    kBadVersion = 17,
    /// The XML declaration is not closed by "?>".
    kDeclarationNotClosed = 18,
    /// The encoding in the XML declaration has no quotes.
    kEncodingNotQuoted = 19,
    /// The encoding is empty or malformed, or is not closed by the same quote.
    kBadEncoding = 20,
    /// The value of standalone in the XML declaration has no quotes.
    kStandaloneNotQuoted = 21,
    /// The value of standalone is neither yes nor no, or is not closed by the same quote.
    kBadStandalone = 22,
    /// "--" in a comment.
    kBadComment = 23,
    /// A processing instruction without a target.
    kNoTarget = 24,
    /// A processing instruction with the target xml, in upper or lower case.
    kReservedTarget = 25,
    /// The document type declaration has no name or no end, or its internal subset holds something unknown.
    kBadDoctype = 26,
    /// "%" without a name and ";".
    kBadParameterReference = 27,
    /// A character in a public identifier that none may contain.
    kBadPublicId = 28,
    /// An element declaration without a name, a content model or ">".
    kBadElementDeclaration = 29,
    /// A content model: "|" or the end is missing in mixed content, or a "|" group changes its separator.
    kBadContentModel = 30,
    /// A content model: a group whose separator is not "|" changes it.
    kBadSequence = 31,
    /// A content model: nothing after a separator.
    kNoContentParticle = 32,
    /// An attribute-list declaration without a name or ">".
    kBadAttributeList = 33,
    /// An attribute definition without a type or default value.
    kBadAttributeDefinition = 34,
    /// A notation type without "(", a name or ")".
    kBadNotationType = 35,
    /// An enumeration without a name token or ")".
    kBadEnumeration = 36,
    /// "#FIXED" without white space after it.
    kBadFixedDefault = 37,
    /// An entity declaration without a name, value, identifier or ">".
    kBadEntityDeclaration = 38,
    /// "NDATA" without a name.
    kBadUnparsedEntity = 39,
    /// A notation declaration without a name, identifier or ">".
    kBadNotationDeclaration = 40,
    /// "SYSTEM" or "PUBLIC" without its literals.
    kBadExternalId = 41,
    /// Reserved: is not thrown.
    kBadPublicNotation = 42,
    /// Something other than comments, instructions and white space after the root element.
    kContentAfterRoot = 43
};

/// The input is not a document that the parser takes.
class ParsingException : public Exception {
public:
    /// For the parser. The fields below explain the numbers.
    ParsingException(unsigned faultCode, unsigned faultLine, unsigned faultColumn) noexcept
        : code(faultCode), line(faultLine), column(faultColumn) {}
    /// As Exception::what.
    const char* what() const noexcept override;

    /// What is wrong: a ParsingError.
    unsigned code;
    /// The line on which reading stopped, from 1.
    unsigned line;
    /// The number of characters read on that line; on the first line one more.
    unsigned column;
};

}  // namespace AdvXMLParser

#endif  // WPK_XML_EXCEPTIONS_H
