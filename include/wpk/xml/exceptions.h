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
/// parser reports the same fault as a ParsingException with code 9.
class InvalidRefException : public Exception {
public:
    /// Copies the name.
    explicit InvalidRefException(std::string_view entityName) : name(entityName) {}
    /// As Exception::what.
    const char* what() const noexcept override;

    /// The unknown name.
    std::string name;
};

/// The input is not a document that the parser takes.
class ParsingException : public Exception {
public:
    /// For the parser. The fields below explain the numbers.
    ParsingException(unsigned faultCode, unsigned faultLine, unsigned faultColumn) noexcept
        : code(faultCode), line(faultLine), column(faultColumn) {}
    /// As Exception::what.
    const char* what() const noexcept override;

    /// What is wrong, 1 to 43; docs/xml.md lists the codes.
    unsigned code;
    /// The line on which reading stopped, from 1.
    unsigned line;
    /// The number of characters read on that line; on the first line one more.
    unsigned column;
};

}  // namespace AdvXMLParser

#endif  // WPK_XML_EXCEPTIONS_H
