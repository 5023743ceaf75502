// A piece of the input.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_SLICE_H
#define WPK_XML_SLICE_H

#include <cstddef>
#include <string_view>

namespace AdvXMLParser::detail {

using Byte = unsigned char;

/// A piece of the input.
struct Slice {
    const char* data = nullptr;
    std::size_t size = 0;
    /// Whether there may be carriage returns in it.
    bool hasReturns = false;

    explicit operator bool() const noexcept { return size != 0; }
    operator std::string_view() const noexcept { return {data, size}; }
};

}  // namespace AdvXMLParser::detail

#endif  // WPK_XML_SLICE_H
