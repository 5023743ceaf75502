// Refusal: why the server does not serve a request, as it stands in the reply's status line.
// SPDX-License-Identifier: MIT
#pragma once

#include <exception>

namespace message_server {

/// Thrown wherever a request turns out to be unusable; the connection answers with it.
class Refusal : public std::exception {
public:
    /// @param reason a text that lives as long as the program.
    Refusal(int code, const char* reason) : code_(code), reason_(reason) {}

    int Code() const { return code_; }
    const char* what() const noexcept override { return reason_; }

private:
    int code_;
    const char* reason_;
};

}  // namespace message_server
