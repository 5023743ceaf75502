// The reply to a request: its head as bytes, and a body that may be made while it is sent.
// SPDX-License-Identifier: MIT
#include "reply.h"

#include "request.h"

namespace message_server {
namespace {

// The client takes a reply for a server's of this protocol only when it says so.
std::string Head(int code, const std::string& reason, std::uint64_t length) {
    return "HTTP/1.0 " + std::to_string(code) + " " + reason + "\r\nServer: " + std::string(kProtocolVersion) +
           "\r\nContent-Length: " + std::to_string(length) + "\r\n\r\n";
}

}  // namespace

std::string ReplyHead(std::uint64_t length) {
    return Head(200, "OK", length);
}

std::string RefusalReply(const Refusal& refusal) {
    const std::string reason = refusal.what();
    return Head(refusal.Code(), reason, reason.size()) + reason;
}

void FillWithAlphabet(std::uint64_t offset, char* into, std::size_t length) {
    for (std::size_t i = 0; i < length; ++i) into[i] = static_cast<char>('a' + (offset + i) % 26);
}

}  // namespace message_server
