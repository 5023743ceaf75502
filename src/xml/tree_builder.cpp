// Building the nodes of a parsed document in its arena: the strings that are not simply a block of the input.
// SPDX-License-Identifier: MIT
#include "xml/tree_builder.h"

#include <cstring>

namespace AdvXMLParser::detail {
namespace {

/// Copies with every CR LF and lone CR made one LF, and gives the end of the copy.
char* CopyWithoutReturns(const char* data, std::size_t size, char* to) noexcept {
    const char* const end = data + size;
    for (const char* at = data; at != end; ++at) {
        const bool isReturn = *at == '\r';
        *to++ = isReturn ? '\n' : *at;
        if (isReturn && at + 1 != end && at[1] == '\n') ++at;
    }
    return to;
}

}  // namespace

ArenaBytes TreeBuilder::StoreOther(const char* data, std::size_t size, bool hasReturns, Mark mark) {
    if (!hasReturns) return StoreCopy(data, size, mark);
    // Mostly it is the end of a line and an indentation, of which all but the first byte stays.
    if (size > 1 && data[0] == '\r' && data[1] == '\n' && !std::memchr(data + 1, '\r', size - 1)) {
        return StoreBytes({data + 1, size - 1, false}, mark);
    }
    return StoreWithoutReturns(data, size, mark);
}

ArenaBytes TreeBuilder::StoreWithoutReturns(const char* data, std::size_t size, Mark mark) {
    char* const bytes = cutter_.Cut(RoundUp(size + 1), reached_);
    char* const end = CopyWithoutReturns(data, size, bytes);
    *end = '\0';
    const std::size_t left = static_cast<std::size_t>(end - bytes);
    const bool isNear = left < NodeAccess::kNearSize;
    cutter_.Trim(isNear ? bytes : bytes + RoundUp(left + 1));
    return isNear ? StoreCopy(bytes, left, mark) : NodeAccess::Borrowed(bytes, left, mark);
}

ArenaBytes TreeBuilder::StoreCopy(const char* data, std::size_t size, Mark mark) {
    if (size < NodeAccess::kNearSize) {
        char block[sizeof(ArenaBytes)];
        std::memcpy(block, data, size);
        return MakeNear(block, size, mark);
    }
    char* const bytes = cutter_.Cut(RoundUp(size + 1), reached_);
    std::memcpy(bytes, data, size);
    bytes[size] = '\0';
    return NodeAccess::Borrowed(bytes, size, mark);
}

}  // namespace AdvXMLParser::detail
