/// @file
/// The error codes of the layer, with texts.
// SPDX-License-Identifier: MIT
#ifndef WPK_CLIENT_ERROR_H
#define WPK_CLIENT_ERROR_H

#include <wpk/client/detail/requirements.h>
#include <wpk/wpk.h>

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

/// The category of every Errc; its name is "wpk". Each module (program or DLL) of a process that uses this header has
/// one of its own: hand error codes from one module to another as numbers.
inline const std::error_category& ErrorCategory() noexcept;

/// For the standard library, which calls it by this name.
inline std::error_code make_error_code(Errc error) noexcept {
    return {static_cast<int>(error), ErrorCategory()};
}

}  // namespace client
}  // namespace wpk

namespace std {
/// An Errc converts to a std::error_code implicitly.
template <>
struct is_error_code_enum<wpk::Errc> : true_type {};
}  // namespace std

#include <wpk/client/detail/error_category.h>

#endif  // WPK_CLIENT_ERROR_H
