// Reply: what the window shows of a reply.
// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "outline.h"

namespace desktop {

struct Reply {
    unsigned length = 0;               ///< of the whole reply, in bytes
    std::vector<OutlineLine> outline;  ///< empty: the reply is no XML
    std::wstring text;                 ///< the reply's beginning, when it is no XML
};

/// Reads the bytes while the library keeps them, on its thread: the window's thread never waits for a large document,
/// and of the bytes nothing is needed afterwards.
/// @throws std::bad_alloc
Reply ReadReply(const void* data, unsigned length);

}  // namespace desktop
