/// @file
/// How a Client is set up.
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

/// How the library judges whether the network is there. WPK_CONNECTION_TYPE says more.
enum class Connection {
    /// Never: every request ends with Errc::kNoNetwork.
    kNever = WPK_CONNECTION_NEVER,
    /// While a modem connection is up. docs/dial_up.md says what an application with sockets of its own must do.
    kDialUp = WPK_CONNECTION_DIAL_UP,
    /// Always (LAN).
    kPermanent = WPK_CONNECTION_PERMANENT,
    /// Dial-up where the system has remote access, else permanent.
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
    /// Used from the first request on; empty: none, until the proxy asks.
    Credentials credentials;
};

/// The three functions of wpk.dll. An application that links the import library never needs this; one that loads the
/// DLL itself, with LoadLibrary, fills all three with what GetProcAddress gives. Tests of an application's own code
/// give functions of their own: docs/testing_your_code.md.
struct Functions {
    /// What GetProcAddress gives for "WPK_Init", "WPK_Send" and "WPK_Cancel". Required, all three.
    ///@{
    decltype(&WPK_Init) init = nullptr;
    decltype(&WPK_Send) send = nullptr;
    decltype(&WPK_Cancel) cancel = nullptr;
    ///@}

    /// Those of the DLL that the program is linked with.
    static Functions Linked() noexcept { return {&WPK_Init, &WPK_Send, &WPK_Cancel}; }
};

/// What a Client is made from. Every field has a default; a program that sends over a LAN without a proxy fills
/// `server` and `port`, or nothing. A function left empty is not called. The functions are called on threads of the
/// library's; an exception that one throws goes no further than described.
struct Options {
    /// How it is known whether the network is there.
    Connection connection = Connection::kPermanent;
    /// The proxy for every request; none: directly.
    std::optional<Proxy> proxy;

    /// Where messages go that name no server and no port of their own. The server may be left out where every message
    /// names one.
    ///@{
    AnsiText server;
    unsigned int port = 80;
    ///@}

    /// How long a request may take that has no limit of its own, from Send to its final notification, the time in its
    /// functions included; 0: as long as it takes. Once the limit is reached, the request is cancelled, and ends as a
    /// cancelled one does (Request::Cancel says when), with Errc::kTimedOut. A request that was cancelled earlier ends
    /// as that; one whose reply or failure comes nevertheless ends with that. Limits are kept beyond the end of the
    /// Client, until its last request has ended.
    std::chrono::milliseconds time_limit{0};

    /// Told when the network comes (true) or goes (false); for which connections, docs/dial_up.md says. One call at a
    /// time, possibly before the Client's constructor is back. It may send and cancel, and destroy the Client; it must
    /// not wait for another such call, nor for a thread that destroys the Client. After ~Client is back it is not
    /// running and is not called any more. What it throws goes to `on_exception`.
    std::function<void(bool connected)> on_connection;

    /// The proxy wants credentials and has refused these, which were sent (empty: none were). Return others to have the
    /// request sent again with them, and all later requests as well; or nothing, and the request ends with
    /// Errc::kProxyCredentials. It is asked as often as the proxy refuses, on the thread of the request and for several
    /// requests at the same time. Each text may have up to 255 bytes; with a longer one the request ends with
    /// Errc::kFunctionThrew and its outcome holds Errc::kCredentialsTooLong as the exception. What it throws ends the
    /// request in the same way. It is kept, and may be called, until the last request that the Client has sent has
    /// ended, also beyond the end of the Client.
    std::function<std::optional<Credentials>(const Credentials& refused)> on_credentials;

    /// Gets what a function has thrown for which nobody else is waiting: one that got an outcome, or `on_connection`.
    /// On that function's thread, several at the same time. Without it such exceptions are dropped; those that it
    /// throws itself are dropped as well. Kept as long as `on_credentials`.
    std::function<void(std::exception_ptr)> on_exception;

    /// The module instance of the application; the library keeps it and does not use it.
    void* instance = nullptr;
};

}  // namespace client
}  // namespace wpk

#endif  // WPK_CLIENT_OPTIONS_H
