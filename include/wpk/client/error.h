/// @file
/// What can go wrong, as error codes with texts.
// SPDX-License-Identifier: MIT
#ifndef WPK_CLIENT_ERROR_H
#define WPK_CLIENT_ERROR_H

#include <wpk/client/detail/requirements.h>
#include <wpk/wpk.h>

#include <system_error>
#include <type_traits>

namespace wpk {
inline namespace client {

/// Why a request failed, or why a call was refused. Below zero: the values of WPK_ERROR, how the library has ended a
/// request. Above zero: what this layer says itself; all but kTimedOut and kFunctionThrew are thrown as
/// std::system_error, and no request exists then. Compares with std::error_code:
/// `outcome.error() == Errc::kCancelled`.
enum class Errc : int {
    /// The request names no server, or a proxy is wanted but not named. This layer refuses both itself: kBadAddress.
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
    /// The exchange broke: a bad reply, an unknown status, a lost connection, or too little memory or disk space.
    kExchange = WPK_ERROR_EXCHANGE,
    /// The proxy wants credentials, and no (other) ones were supplied. Also equal to std::errc::permission_denied.
    kProxyCredentials = WPK_ERROR_PROXY_CREDENTIALS,

    /// A Client: the library has been initialised in this process before, and takes no second settings.
    kAlreadyInitialised = 1,
    /// A Client: the library could not be initialised. It may be tried again.
    kNotInitialised = 2,
    /// Send: the library could not take the request, as there was no thread for it.
    kNotTaken = 3,
    /// A text holds a character that the ANSI code page does not have.
    kNotConvertible = 4,
    /// A text holds a zero character, at which it would be cut off.
    kZeroInText = 5,
    /// Send: the body and the name of its service are together too long for a request; Message::body says how long.
    kMessageTooLong = 6,
    /// A user name or a password that answers a proxy's question is longer than 255 bytes.
    kCredentialsTooLong = 7,
    /// Send: the function that is to get the outcome is empty. A Client: one of Functions is missing.
    kNoFunction = 8,
    /// An outcome: the request's progress function or the credentials function has thrown; see Outcome::exception.
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
/// An Errc turns into a std::error_code by itself.
template <>
struct is_error_code_enum<wpk::Errc> : true_type {};
}  // namespace std

#include <wpk/client/detail/error_category.h>

#endif  // WPK_CLIENT_ERROR_H
