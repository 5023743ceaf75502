// From bytes to a tree.
// SPDX-License-Identifier: MIT
#include <wpk/xml/parser.h>

#include "xml/document_rules.h"

namespace AdvXMLParser {

using namespace detail;

namespace {

Document* ReadFast(const Byte* input, std::size_t size) {
    try {
        return ReadDocument<FastCursor>(input, size);
    } catch (const NotWellFormed&) {
        return nullptr;
    }
}

}  // namespace

Parser::~Parser() = default;

Document* Parser::Parse(const void* data, int size) const {
    static constexpr Byte kNothing[1] = {0};
    const bool isEmpty = !data || size <= 0;
    const Byte* const input = isEmpty ? kNothing : static_cast<const Byte*>(data);
    const std::size_t count = isEmpty ? 0 : static_cast<std::size_t>(size);
    if (Document* const document = ReadFast(input, count)) return document;
    // What is wrong is found out by reading once more, slowly.
    return ReadDocument<DiagnosingCursor>(input, count);
}

}  // namespace AdvXMLParser
