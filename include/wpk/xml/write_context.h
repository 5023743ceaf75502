/// @file
/// How a tree is written, and where to.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_WRITE_CONTEXT_H
#define WPK_XML_WRITE_CONTEXT_H

#include <cstdint>
#include <string>

namespace AdvXMLParser {

/// A flag of WriteContext: everything on one line, without indentation, the white space of every text as stored. (The
/// five special characters still become words.)
constexpr std::uint32_t WRITE_VERBATIM = 1;

/// The settings and the state of writing a tree. Set `output`, leave the rest unchanged for the usual layout (one block
/// per line, two spaces per level), and pass it to Node::Write:
///
///     std::string body;
///     WriteContext context;
///     context.output = &body;
///     document.Write(context);
///
/// Use a fresh context for every document: the fields after `output` keep the state in which the last write ended. One
/// thread at a time.
struct WriteContext {
    /// 0 or WRITE_VERBATIM; other bits are ignored.
    std::uint32_t flags = 0;
    /// Written once per level at the start of a line; zero-terminated. Null counts as empty. Not owned.
    const char* indent = "  ";
    /// The bytes are appended to this string. Not owned. If it is null, nothing is written.
    std::string* output = nullptr;
    /// The level of the block that is being written; 0 outside all blocks.
    std::int32_t depth = 0;
    /// Whether the last finished node was a block: an element, comment, processing instruction or CDATA section.
    bool afterBlock = false;
    /// Whether a line feed has just been written and nothing since.
    bool atLineStart = false;
};

}  // namespace AdvXMLParser

#endif  // WPK_XML_WRITE_CONTEXT_H
