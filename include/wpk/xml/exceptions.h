/// @file
/// What the XML library throws.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_EXCEPTIONS_H
#define WPK_XML_EXCEPTIONS_H

#include <exception>
#include <string>
#include <string_view>

namespace AdvXMLParser {

/// The base of everything the library throws on its own account. (Exhausted memory is std::bad_alloc, a text or list
/// that outgrows its type std::length_error.)
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

    /// The name that was not found.
    std::string name;
};

/// The input is not a document that the parser takes.
class ParsingException : public Exception {
public:
    /// For the parser; the fields below say what the numbers are.
    ParsingException(unsigned faultCode, unsigned faultLine, unsigned faultColumn) noexcept
        : code(faultCode), line(faultLine), column(faultColumn) {}
    /// As Exception::what.
    const char* what() const noexcept override;

    /// What is wrong, 1 to 43; docs/xml.md lists the codes.
    unsigned code;
    /// Where the reader stood, from 1.
    unsigned line;
    /// Characters read on that line; one more on the first line.
    unsigned column;
};

}  // namespace AdvXMLParser

#endif  // WPK_XML_EXCEPTIONS_H
