/// @file
/// From bytes to a tree.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_PARSER_H
#define WPK_XML_PARSER_H

#include <wpk/xml/nodes.h>

namespace AdvXMLParser {

/// Reads a whole document from memory. A parser holds nothing between two calls: one may be used for any number of
/// documents, by any number of threads.
class Parser {
public:
    /// Parsers are all alike, and copying one costs nothing.
    ///@{
    Parser() = default;
    Parser(const Parser&) = default;
    Parser& operator=(const Parser&) = default;
    virtual ~Parser();
    ///@}

    /// Reads the `size` bytes at `data` as one document. They need no terminator, are only read, and are not needed any
    /// more once the call is back; a zero byte counts as the end of the input. Nesting may be of any depth.
    ///
    /// The result is never null and belongs to the caller, who deletes it, on whatever thread. The nodes of the tree
    /// share their memory, which is given back when the last of them dies: a node taken out of the tree and kept alone
    /// keeps all of it (keep a Clone of it instead).
    ///
    /// Throws ParsingException for anything that is no document; a null pointer, a size of 0 or below is one without a
    /// root element (code 16). Throws std::bad_alloc when memory runs out. Nothing is left behind in either case.
    Document* Parse(const void* data, int size) const;
};

}  // namespace AdvXMLParser

#endif  // WPK_XML_PARSER_H
