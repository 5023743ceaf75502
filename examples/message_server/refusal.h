// Refusal: why the server does not serve a request.
// SPDX-License-Identifier: MIT
#pragma once

#include <exception>
#include <string>
#include <utility>

namespace message_server {

/// Thrown wherever a request turns out to be unusable; the connection answers with it.
class Refusal : public std::exception {
public:
    /// @param reason the reason text of the reply's status line; it must live as long as the program.
    /// @param why for the server's own log; may be empty.
    Refusal(int code, const char* reason, std::string why = {}) : code_(code), reason_(reason), why_(std::move(why)) {}

    int Code() const { return code_; }
    const char* what() const noexcept override { return reason_; }
    const std::string& Why() const { return why_; }

private:
    int code_;
    const char* reason_;
    std::string why_;
};

}  // namespace message_server
