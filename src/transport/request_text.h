// The text in front of a request's body: request line and header block.
// SPDX-License-Identifier: MIT
#ifndef WPK_TRANSPORT_REQUEST_TEXT_H
#define WPK_TRANSPORT_REQUEST_TEXT_H

#include <cstdint>
#include <string_view>

#include "transport/text_buffer.h"

namespace wpk::core {

/// What this library calls itself, and what a server must call itself for its reply to be accepted.
inline constexpr std::string_view kProductToken = "WPK/1.00";

/// "POST http://SERVER:PORT/ HTTP/1.0" and CR LF. The server's own name and port stand here also when the request goes
/// to a proxy. A port of 2^31 or more prints as the negative number of the same 32 bits. Not whole if memory runs out.
TextBuffer BuildRequestLine(std::string_view server, uint32_t port) noexcept;

/// The header lines, each ended by CR LF, without the empty line that ends the head. Proxy credentials are sent only
/// through a proxy, and only when there are any. Not whole if memory runs out.
TextBuffer BuildHeaderBlock(uint32_t bodyLength, bool viaProxy, std::string_view user,
                            std::string_view password) noexcept;

}  // namespace wpk::core

#endif
