// The text in front of a request's body: request line and header block.
// SPDX-License-Identifier: MIT
#include "transport/request_text.h"

#include "transport/base64.h"

namespace wpk {
namespace {

std::string ProxyAuthorization(std::string_view user, std::string_view password) {
    std::string pair(user);
    pair += ':';
    pair += password;
    return "Proxy-Authorization: Basic " + EncodeBase64(pair) + "\r\n";
}

}  // namespace

std::string BuildRequestLine(std::string_view server, uint32_t port) {
    std::string line = "POST http://";
    line += server;
    line += ':';
    line += std::to_string(static_cast<int32_t>(port));
    line += "/ HTTP/1.0\r\n";
    return line;
}

std::string BuildHeaderBlock(uint32_t bodyLength, bool viaProxy, std::string_view user, std::string_view password) {
    std::string block = "User-Agent: ";
    block += kProductToken;
    block += "\r\nContent-Type: application/tagged-data\r\n";
    // Unsigned: a body of 2 GiB and more must not announce a negative length, which no server could use.
    block += "Content-Length: " + std::to_string(bodyLength) + "\r\n";
    const bool hasCredentials = !user.empty() || !password.empty();
    if (viaProxy && hasCredentials) block += ProxyAuthorization(user, password);
    return block;
}

}  // namespace wpk
