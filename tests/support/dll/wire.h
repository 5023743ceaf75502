// The bytes on the wire, written down a second time: plainly, for the tests to compare with.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_SUPPORT_DLL_WIRE_H
#define WPK_TESTS_SUPPORT_DLL_WIRE_H

#include <string>
#include <vector>

#include "support/pattern.h"

namespace wpk::harness {

struct ExpectedRequest {
    std::string server = "127.0.0.1";
    unsigned short port = 0;
    std::string service = "Echo";
    std::string data = "hello";
    bool viaProxy = false;
    /// Everything between "Proxy-Authorization: Basic " and the end of that header; empty: no such header.
    std::string authorization;

    std::string Head() const;
    std::string Body() const;
    std::string Bytes() const { return Head() + Body(); }
};

/// How long a request is of which these bytes have arrived: one more than there are while the head is incomplete.
size_t RequestLength(const std::string& arrived);

/// The value of the third entry of a request's body: the application's message.
std::string MessageOf(const std::string& request);

/// Standard base64 with a line break after every 76 characters that are followed by more.
std::string Base64Folded(const std::string& text);

/// The user and password of a request's proxy authorisation, as "user:password"; empty when there is none.
std::string CredentialsOf(const std::string& request);

/// A reply with status 200, the right server text, and the body's length.
std::string Ok(const std::string& body);
std::string OkHead(unsigned long long length);

/// A reply of any status line and header lines (without line ends), then the body.
std::string RawReply(const std::string& status, const std::vector<std::string>& headers, const std::string& body = "");

using test::Pattern;

}  // namespace wpk::harness

#endif  // WPK_TESTS_SUPPORT_DLL_WIRE_H
