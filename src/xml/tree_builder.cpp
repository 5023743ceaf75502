// Building the nodes of a parsed document in its pool: the longer strings.
// SPDX-License-Identifier: MIT
#include "xml/tree_builder.h"

namespace AdvXMLParser {

PooledBytes TreeBuilder::KeepLong(const char* data, std::size_t size) {
    char* const bytes = cutter_.Cut(RoundUp(size + 1), reached_);
    std::memcpy(bytes, data, size);
    bytes[size] = '\0';
    return {bytes, size, false};
}

PooledBytes TreeBuilder::KeepWithoutReturns(const char* data, std::size_t size) {
    char* const bytes = cutter_.Cut(RoundUp(size + 1), reached_);
    char* to = bytes;
    const char* const end = data + size;
    for (const char* at = data; at != end; ++at) {
        const bool isReturn = *at == '\r';
        *to++ = isReturn ? '\n' : *at;
        if (isReturn && at + 1 != end && at[1] == '\n') ++at;
    }
    *to = '\0';
    cutter_.Trim(bytes + RoundUp(static_cast<std::size_t>(to - bytes) + 1));
    return {bytes, static_cast<std::size_t>(to - bytes), false};
}

}  // namespace AdvXMLParser
