// Reply: the part of a reply that the window shows.
// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "outline.h"

namespace desktop {

struct Reply {
    unsigned length = 0;               ///< of the whole reply, in bytes
    std::vector<OutlineLine> outline;  ///< empty: the reply is not XML
    std::wstring text;                 ///< the reply's beginning, if it is not XML
};

/// Reads the bytes while the library keeps them, on its thread: the window's thread never waits for a large document,
/// and the bytes are not needed afterwards.
/// @throws std::bad_alloc
Reply ReadReply(const void* data, unsigned length);

}  // namespace desktop
