/// @file
/// How and where a tree is written.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_WRITE_CONTEXT_H
#define WPK_XML_WRITE_CONTEXT_H

#include <cstdint>
#include <string>

namespace AdvXMLParser {

/// Flag of WriteContext: one line, every text exactly as stored, no indentation.
constexpr std::uint32_t WRITE_VERBATIM = 1;

/// The state that is handed down a tree while it is written. Set `output`, leave the rest as it is for the usual layout
/// (one block a line, two spaces a level), and pass it to Node::Write:
///
///     std::string body;
///     WriteContext context;
///     context.output = &body;
///     document.Write(context);
///
/// Use a fresh context for every document: the fields below `output` keep where the last one ended.
struct WriteContext {
    /// 0 or WRITE_VERBATIM; other bits mean nothing.
    std::uint32_t flags = 0;
    /// What is written once per level at the start of a line; zero-terminated. Null counts as empty.
    const char* indent = "  ";
    /// Where the bytes go: they are appended, what is there stays. Not owned. While it is null nothing is written.
    std::string* output = nullptr;
    /// The level of the block that is being written; 0 outside of all.
    std::int32_t depth = 0;
    /// The last node that was finished was a block: an element, comment, processing instruction or CDATA section.
    bool afterBlock = false;
    /// A line feed has just been written and nothing since.
    bool atLineStart = false;
};

}  // namespace AdvXMLParser

#endif  // WPK_XML_WRITE_CONTEXT_H
