// Base64 text of bytes.
// SPDX-License-Identifier: MIT
#ifndef WPK_TRANSPORT_BASE64_H
#define WPK_TRANSPORT_BASE64_H

#include <string_view>

#include "transport/text_buffer.h"

namespace wpk::core {

/// Standard alphabet, the last group filled up with "=". No line of the text is longer than 76 characters: CR LF stands
/// between lines, never after the last one, where it would make the empty line that ends a head. So up to 57 bytes give
/// one line. Not whole if memory runs out.
TextBuffer EncodeBase64(std::string_view bytes) noexcept;

}  // namespace wpk::core

#endif
