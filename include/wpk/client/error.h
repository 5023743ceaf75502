/// @file
/// The error codes of the layer, with texts.
// SPDX-License-Identifier: MIT
#ifndef WPK_CLIENT_ERROR_H
#define WPK_CLIENT_ERROR_H

#include <wpk/client/requirements.h>
#include <wpk/wpk.h>

#include <string>
#include <system_error>
#include <type_traits>

namespace wpk {
inline namespace client {

/// Why a request failed, or why a call was refused.
///
/// Below zero: the values of WPK_ERROR, with which the library ends a request. Above zero: errors of this layer. All of
/// these except kTimedOut and kFunctionThrew are thrown as std::system_error, and no request exists then. Compares with
/// std::error_code:
///
///     if (outcome.error() == wpk::Errc::kCancelled) return;
///
/// The text of a code is `std::error_code::message()`, or what() of the exception.
enum class Errc : int {
    /// The request is unusable: the server or the proxy is not named. This layer refuses both itself, with kBadAddress.
    kBadRequest = WPK_ERROR_BAD_REQUEST,
    /// There is no network connection. Also equal to std::errc::network_unreachable.
    kNoNetwork = WPK_ERROR_NO_NETWORK,
    /// The server (or the proxy) could not be reached within 30 seconds. Also equal to std::errc::host_unreachable.
    kConnect = WPK_ERROR_CONNECT,
    /// The request was cancelled. Also equal to std::errc::operation_canceled.
    kCancelled = WPK_ERROR_CANCELLED,
    /// The server speaks another version of the protocol, or is no server of this kind.
    kBadVersion = WPK_ERROR_BAD_VERSION,
    /// The server has no service of that name.
    kNoService = WPK_ERROR_NO_SERVICE,
    /// The exchange with the server broke, or the server refused the message: a bad reply, an unknown status, a lost
    /// connection, or too little memory or disk space.
    kExchange = WPK_ERROR_EXCHANGE,
    /// The proxy wants a user name and a password, and got none that it accepts. Also equal to
    /// std::errc::permission_denied.
    kProxyCredentials = WPK_ERROR_PROXY_CREDENTIALS,

    /// A Client: the library has been initialised in this process before, and takes its settings only once.
    kAlreadyInitialised = 1,
    /// A Client: the library could not be initialised. You may try again.
    kNotInitialised = 2,
    /// Send: the library could not take the request because there was no thread or memory for it.
    kNotTaken = 3,
    /// A text contains a character that the ANSI code page lacks.
    kNotConvertible = 4,
    /// A text contains a zero character, at which it would be cut off.
    kZeroInText = 5,
    /// Send: body and service name together are too long for a request; Message::body gives the limit.
    kMessageTooLong = 6,
    /// A user name or password returned by Options::on_credentials is longer than 255 bytes.
    kCredentialsTooLong = 7,
    /// Send: the outcome function is empty. A Client: one of the three Functions is missing.
    kNoFunction = 8,
    /// An outcome: the request's progress function or the credentials function threw; see Outcome::exception.
    kFunctionThrew = 9,
    /// An outcome: the time limit was reached, and the request has been cancelled. Also equal to std::errc::timed_out.
    kTimedOut = 10,
    /// The name of a server or proxy is empty or contains a control character, a blank, "/" or ":", or a port is not
    /// one of 1 to 65535; the exception's what() says which. Nothing has been sent.
    kBadAddress = 11
};

namespace detail {

class Category final : public std::error_category {
public:
    const char* name() const noexcept override { return "wpk"; }

    std::string message(int value) const override {
        switch (static_cast<Errc>(value)) {
            case Errc::kBadRequest:
                return "the request names no server, or a proxy is wanted but not named";
            case Errc::kNoNetwork:
                return "there is no network connection";
            case Errc::kConnect:
                return "the server (or the proxy) could not be reached";
            case Errc::kCancelled:
                return "the request was cancelled";
            case Errc::kBadVersion:
                return "the server speaks another version of the protocol, or is no server of this kind";
            case Errc::kNoService:
                return "the server has no service of that name";
            case Errc::kExchange:
                return "the exchange with the server broke";
            case Errc::kProxyCredentials:
                return "the proxy wants credentials";
            case Errc::kAlreadyInitialised:
                return "the library has been initialised in this process before; keep one Client and share it";
            case Errc::kNotInitialised:
                return "the library could not be initialised";
            case Errc::kNotTaken:
                return "the library could not take the request";
            case Errc::kNotConvertible:
                return "a text holds a character that the ANSI code page does not have";
            case Errc::kZeroInText:
                return "a text holds a zero character";
            case Errc::kMessageTooLong:
                return "the message is too long: with the name of its service, 4294967221 bytes are the most";
            case Errc::kCredentialsTooLong:
                return "a user name or password for the proxy is longer than 255 bytes";
            case Errc::kNoFunction:
                return "a function that is needed is missing";
            case Errc::kFunctionThrew:
                return "a function that the application gave has thrown an exception";
            case Errc::kTimedOut:
                return "the time limit was reached";
            case Errc::kBadAddress:
                return "that is no address of a server or proxy";
        }
        return "unknown error " + std::to_string(value);
    }

    std::error_condition default_error_condition(int value) const noexcept override {
        switch (static_cast<Errc>(value)) {
            case Errc::kNoNetwork:
                return std::errc::network_unreachable;
            case Errc::kConnect:
                return std::errc::host_unreachable;
            case Errc::kCancelled:
                return std::errc::operation_canceled;
            case Errc::kProxyCredentials:
                return std::errc::permission_denied;
            case Errc::kTimedOut:
                return std::errc::timed_out;
            default:
                return {value, *this};
        }
    }
};

}  // namespace detail

/// The category of every Errc; its name is "wpk". Each module (program or DLL) of a process that uses this header has
/// one of its own: hand error codes from one module to another as numbers.
inline const std::error_category& ErrorCategory() noexcept {
    // Never destroyed: requests may end while the process does.
    static const std::error_category& category = *new detail::Category;
    return category;
}

/// For the standard library, which calls it by this name.
inline std::error_code make_error_code(Errc error) noexcept {
    return {static_cast<int>(error), ErrorCategory()};
}

namespace detail {

[[noreturn]] inline void Throw(Errc error) {
    throw std::system_error(make_error_code(error));
}

/// The reason stands in front of the error's text in what().
[[noreturn]] inline void Throw(Errc error, const std::string& reason) {
    throw std::system_error(make_error_code(error), reason);
}

}  // namespace detail

}  // namespace client
}  // namespace wpk

namespace std {
/// An Errc converts to a std::error_code implicitly.
template <>
struct is_error_code_enum<wpk::Errc> : true_type {};
}  // namespace std

#endif  // WPK_CLIENT_ERROR_H
