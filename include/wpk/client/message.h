/// @file
/// A message, and its results: progress, an outcome, a reply.
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

/// One message: plain values. Send copies or moves them, so nothing need be kept; a large body is not copied if the
/// message is moved. One thread at a time.
///
///     wpk::Message message("Echo", std::move(bytes));
///     message.time_limit = std::chrono::seconds(5);
///     auto reply = client.Send(std::move(message));
struct Message {
    Message() = default;
    /// A message to a service on the Client's default server.
    Message(AnsiText to_service, std::string bytes = {}) : service(std::move(to_service)), body(std::move(bytes)) {}

    /// The service on the server that is to handle the message.
    AnsiText service;
    /// The bytes to send, any values. At most 4,294,967,221 bytes minus the length of the service's name (one more
    /// without a proxy). May be empty.
    std::string body;
    /// Host name or dotted IPv4 address. Empty: the Client's default.
    AnsiText server;
    /// TCP port, 1 to 65535. 0: the Client's default.
    unsigned int port = 0;
    /// How long the request may take; overrides Options::time_limit, which says what is counted. Without a value: the
    /// Client's limit. 0: no limit. A negative limit, such as the rest of a time that has passed, is reached at once.
    std::optional<std::chrono::milliseconds> time_limit;
    /// Called once for each received piece of the reply, on the request's thread, one call after the other, with no
    /// lock held. Optional. Destroyed before the outcome is delivered. If it throws, the request is cancelled, the
    /// function is not called again, and the outcome is Errc::kFunctionThrew.
    std::function<void(const Progress&)> on_progress;
};

/// A whole reply, with its own copy of the bytes.
struct Reply {
    /// Any bytes; empty if the server sent none.
    std::string body;
};

/// How much of a reply has been received. Valid only during the call of the function that gets it, on that thread.
class Progress {
public:
    /// For the layer itself.
    Progress(std::string_view arrived, unsigned int total, detail::Exchange& exchange) noexcept
        : arrived_(arrived), total_(total), exchange_(exchange) {}
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// The number of bytes received so far, 1 to total().
    unsigned int received() const noexcept { return static_cast<unsigned int>(arrived_.size()); }
    /// The number of bytes that the server has announced.
    unsigned int total() const noexcept { return total_; }
    /// The bytes received so far, from the start of the reply. Not copied: copy what you keep.
    std::string_view body() const noexcept { return arrived_; }
    /// Asks for the end of this request, like Request::Cancel.
    void Cancel() const noexcept;

private:
    std::string_view arrived_;
    unsigned int total_;
    detail::Exchange& exchange_;
};

/// How a request ended: with a reply, or with an error. Valid only during the call of the function that gets it, on
/// that thread.
///
///     if (outcome) Use(outcome.body());
///     else Show(outcome.error().message());
class Outcome {
public:
    /// A reply; a failure. For the layer, and for tests of functions that take an outcome. The bytes are not copied.
    ///@{
    explicit Outcome(std::string_view body) noexcept : body_(body) {}
    explicit Outcome(std::error_code error, std::exception_ptr exception = nullptr) noexcept
        : error_(error), exception_(std::move(exception)) {}
    ///@}
    Outcome(const Outcome&) = delete;
    Outcome& operator=(const Outcome&) = delete;

    /// True: there is a reply.
    explicit operator bool() const noexcept { return !error_; }
    /// An Errc; no error if there is a reply.
    const std::error_code& error() const noexcept { return error_; }
    /// The reply, not copied: a large one is a file mapped into memory, which is unmapped after the call. Empty after a
    /// failure.
    std::string_view body() const noexcept { return body_; }
    /// The exception from one of the application's functions if error() is Errc::kFunctionThrew, else null.
    const std::exception_ptr& exception() const noexcept { return exception_; }

private:
    std::error_code error_;
    std::string_view body_;
    std::exception_ptr exception_;
};

}  // namespace client
}  // namespace wpk

#endif  // WPK_CLIENT_MESSAGE_H
