/// @file
/// The settings of a Client.
// SPDX-License-Identifier: MIT
#ifndef WPK_CLIENT_OPTIONS_H
#define WPK_CLIENT_OPTIONS_H

#include <wpk/client/ansi_text.h>
#include <wpk/wpk.h>

#include <chrono>
#include <exception>
#include <functional>
#include <optional>

namespace wpk {
inline namespace client {

/// How the library decides whether there is a network. WPK_CONNECTION_TYPE says more.
enum class Connection {
    /// Never: every request ends with Errc::kNoNetwork.
    kNever = WPK_CONNECTION_NEVER,
    /// While a modem connection is up. docs/dial_up.md says what an application must do that uses sockets itself.
    kDialUp = WPK_CONNECTION_DIAL_UP,
    /// Always (LAN).
    kPermanent = WPK_CONNECTION_PERMANENT,
    /// Dial-up if the system has remote access, which nearly every Windows has; else permanent.
    kAutomatic = WPK_CONNECTION_AUTOMATIC
};

/// A name and a password for the proxy's Basic authentication.
struct Credentials {
    /// Either may be empty; both empty means none.
    ///@{
    AnsiText user;
    AnsiText password;
    ///@}
};

/// The HTTP proxy that every request goes through.
struct Proxy {
    /// Host name or dotted IPv4 address. Required.
    AnsiText server;
    /// Its TCP port, 1 to 65535.
    unsigned int port = 80;
    /// Used from the first request on. Empty: none until the proxy asks for them.
    Credentials credentials;
};

/// The three functions of wpk.dll. An application that links the import library never needs this. One that loads the
/// DLL itself with LoadLibrary sets all three to the results of GetProcAddress. Tests of an application's code use
/// their own functions: docs/testing_your_code.md.
struct Functions {
    /// The addresses of "WPK_Init", "WPK_Send" and "WPK_Cancel". All three are required.
    ///@{
    decltype(&WPK_Init) init = nullptr;
    decltype(&WPK_Send) send = nullptr;
    decltype(&WPK_Cancel) cancel = nullptr;
    ///@}

    /// The functions of the DLL that the program is linked with.
    static Functions Linked() noexcept { return {&WPK_Init, &WPK_Send, &WPK_Cancel}; }
};

/// The settings of a Client. Every field has a default; a program that sends over a LAN without a proxy sets `server`
/// and `port`, or nothing. An empty function is not called. Functions are called on the library's threads; an exception
/// from one is handled as described there.
struct Options {
    /// How the library decides whether there is a network.
    Connection connection = Connection::kPermanent;
    /// The proxy for every request. None: directly to the server.
    std::optional<Proxy> proxy;

    /// The server and port for messages that do not set their own. The server may be empty if every message names one.
    ///@{
    AnsiText server;
    unsigned int port = 80;
    ///@}

    /// How long a request may take if its message sets no limit: from Send to its final notification, including the
    /// time in its functions. In milliseconds; 0: no limit. When the limit is reached, the request is cancelled and
    /// ends like a cancelled one (Request::Cancel says when), but with Errc::kTimedOut. A request that was cancelled
    /// before its limit ends with Errc::kCancelled. If a reply or another failure still arrives, that is the outcome.
    /// Limits remain in force after the Client is destroyed, until its last request has ended.
    std::chrono::milliseconds time_limit{0};

    /// Called when the network comes (true) or goes (false); docs/dial_up.md says for which connections. One call at a
    /// time, possibly before the Client's constructor returns. It may send, cancel, and destroy the Client. It must not
    /// wait for another such call, nor for a thread that destroys the Client. After ~Client has returned, it is neither
    /// running nor called again. An exception from it goes to `on_exception`.
    std::function<void(bool connected)> on_connection;

    /// Called when the proxy requires credentials; `refused` is what was sent (empty: nothing). Return other
    /// credentials to send the request again with them, and to use them for all later requests; or return nothing, and
    /// the request ends with Errc::kProxyCredentials. Called each time the proxy refuses, on the request's thread,
    /// possibly for several requests at the same time. Each text may have up to 255 bytes; a longer one ends the
    /// request with Errc::kFunctionThrew, and the outcome's exception is Errc::kCredentialsTooLong. An exception from
    /// the function ends the request in the same way. It is kept, and may be called, until the Client's last request
    /// has ended, even after the Client is destroyed.
    std::function<std::optional<Credentials>(const Credentials& refused)> on_credentials;

    /// Gets exceptions that have no other receiver: those from outcome functions and from `on_connection`. Called on
    /// that function's thread, possibly on several at the same time. If it is empty, such exceptions are dropped; so is
    /// an exception from this function itself. Kept as long as `on_credentials`.
    std::function<void(std::exception_ptr)> on_exception;

    /// The module instance of the application; the library keeps it and does not use it.
    void* instance = nullptr;
};

}  // namespace client
}  // namespace wpk

#endif  // WPK_CLIENT_OPTIONS_H
