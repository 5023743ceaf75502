/// @file
/// A message, and what comes back: progress, an outcome, a reply.
// SPDX-License-Identifier: MIT
#ifndef WPK_CLIENT_MESSAGE_H
#define WPK_CLIENT_MESSAGE_H

#include <wpk/client/error.h>
#include <wpk/client/ansi_text.h>

#include <chrono>
#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace wpk {
inline namespace client {

class Progress;

namespace detail {
class Exchange;
}

/// One message. Plain values that Send takes over: nothing of it need be kept, and a large body is not copied when the
/// message is moved in.
struct Message {
    Message() = default;
    /// A message to a service of the Client's default server.
    Message(AnsiText to_service, std::string bytes = {}) : service(std::move(to_service)), body(std::move(bytes)) {}

    /// The service on the server that is to handle the message.
    AnsiText service;
    /// Any bytes, up to 4,294,967,221 of them less the length of the service's name (one more without a proxy).
    std::string body;
    /// Host name or dotted IPv4 address; empty: the Client's default.
    AnsiText server;
    /// 1 to 65535; 0: the Client's default.
    unsigned int port = 0;
    /// How long the request may take, as Options::time_limit, which it overrides. None: the Client's; 0: no limit. One
    /// below zero, such as what is left of a time that is over, is reached at once.
    std::optional<std::chrono::milliseconds> time_limit;
    /// Called once for every piece of the reply that has been received, on the thread that carries the request, one
    /// call after the other. It is destroyed before the outcome is told. If it throws, the request is cancelled, it is
    /// not called again, and the outcome is Errc::kFunctionThrew.
    std::function<void(const Progress&)> on_progress;
};

/// A whole reply, with bytes of its own.
struct Reply {
    /// Any bytes; empty when the server has sent none.
    std::string body;
};

/// How far a reply has come. Valid only during the call of the function that gets it, on its thread.
class Progress {
public:
    /// For the layer itself.
    Progress(std::string_view arrived, unsigned int total, detail::Exchange& exchange) noexcept
        : arrived_(arrived), total_(total), exchange_(exchange) {}
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Bytes received so far, from 1 to total().
    unsigned int received() const noexcept { return static_cast<unsigned int>(arrived_.size()); }
    /// Bytes that the server has announced.
    unsigned int total() const noexcept { return total_; }
    /// What has been received. Copy what you keep.
    std::string_view body() const noexcept { return arrived_; }
    /// Asks for the end of this request, like Request::Cancel.
    void Cancel() const noexcept;

private:
    std::string_view arrived_;
    unsigned int total_;
    detail::Exchange& exchange_;
};

/// How a request has ended. Valid only during the call of the function that gets it, on its thread.
class Outcome {
public:
    /// A reply; a failure. (Made by the layer, and by tests of functions that take one.)
    ///@{
    explicit Outcome(std::string_view body) noexcept : body_(body) {}
    explicit Outcome(std::error_code error, std::exception_ptr exception = nullptr) noexcept
        : error_(error), exception_(std::move(exception)) {}
    ///@}
    Outcome(const Outcome&) = delete;
    Outcome& operator=(const Outcome&) = delete;

    /// True: there is a reply.
    explicit operator bool() const noexcept { return !error_; }
    /// An Errc; no error when there is a reply.
    const std::error_code& error() const noexcept { return error_; }
    /// The reply, where the library has received it, not copied: a large one is a file mapped into memory, which goes
    /// when the call is back. Empty after a failure.
    std::string_view body() const noexcept { return body_; }
    /// What a function of the application has thrown: with Errc::kFunctionThrew, else null.
    const std::exception_ptr& exception() const noexcept { return exception_; }

private:
    std::error_code error_;
    std::string_view body_;
    std::exception_ptr exception_;
};

}  // namespace client
}  // namespace wpk

#endif  // WPK_CLIENT_MESSAGE_H
