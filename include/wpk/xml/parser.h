/// @file
/// From bytes to a tree.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_PARSER_H
#define WPK_XML_PARSER_H

#include <wpk/xml/nodes.h>

namespace AdvXMLParser {

/// Reads a whole document from memory. A parser has no state: one may be used for any number of documents, by any
/// number of threads at once.
class Parser {
public:
    /// All parsers are alike; copying one costs nothing.
    ///@{
    Parser() = default;
    Parser(const Parser&) = default;
    Parser& operator=(const Parser&) = default;
    virtual ~Parser();
    ///@}

    /// Reads the `size` bytes at `data` as one document. They need no terminator, are not changed, and are not needed
    /// after the call; a zero byte counts as the end of the input. Nesting may be of any depth.
    ///
    /// The result is never null and belongs to the caller, who deletes it, on any thread. The nodes of the tree share
    /// their memory, which is freed with the last of them: a single node that is taken out of the tree and kept keeps
    /// all of it (keep a Clone instead).
    ///
    /// Throws ParsingException if the bytes are not a well-formed document; a null pointer or a size of 0 or below
    /// counts as a document without a root element (code 16). Throws std::bad_alloc if memory runs out. Nothing is left
    /// behind in either case.
    Document* Parse(const void* data, int size) const;
};

}  // namespace AdvXMLParser

#endif  // WPK_XML_PARSER_H
