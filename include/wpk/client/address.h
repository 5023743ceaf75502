/// @file
/// The address of a server or a proxy, and the checks of addresses.
// SPDX-License-Identifier: MIT
#ifndef WPK_CLIENT_ADDRESS_H
#define WPK_CLIENT_ADDRESS_H

#include <wpk/client/ansi_text.h>
#include <wpk/client/error.h>

#include <charconv>
#include <string>
#include <string_view>
#include <system_error>

namespace wpk {
inline namespace client {

/// A server's name and port. Not checked by itself: Send and the Client check what they are given.
struct Address {
    /// Host name or dotted IPv4 address.
    AnsiText server;
    /// TCP port, 1 to 65535.
    unsigned int port = 80;
};

namespace detail {

/// What the name contains that is not allowed: through a proxy it would become another address, or header lines. Null
/// if there is nothing of that kind.
inline const char* UnusableIn(std::string_view name) noexcept {
    for (const char c : name) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7F) return "a control character";
        if (c == ' ') return "a blank";
        if (c == '/') return "a slash";
        if (c == ':') return "a colon";
    }
    return nullptr;
}

// These throw Errc::kBadAddress with the reason, in which `whose` is "server" or "proxy". The reason does not contain
// the name: it may come from outside, and the reason may go into a log.

inline void CheckName(const std::string& whose, std::string_view name) {
    if (name.empty()) Throw(Errc::kBadAddress, "the " + whose + "'s name is empty");
    if (const char* const unusable = UnusableIn(name)) {
        Throw(Errc::kBadAddress, "the " + whose + "'s name contains " + unusable);
    }
}

inline void CheckPort(const std::string& whose, unsigned int port) {
    constexpr unsigned int kLastPort = 65535;
    if (port == 0 || port > kLastPort) {
        Throw(Errc::kBadAddress, "the " + whose + "'s port is " + std::to_string(port) + ", not one of 1 to 65535");
    }
}

inline void CheckAddress(const std::string& whose, std::string_view name, unsigned int port) {
    CheckName(whose, name);
    CheckPort(whose, port);
}

/// Throws Errc::kBadAddress if there is anything but digits.
inline unsigned int ParsePort(std::string_view digits) {
    unsigned int port = 0;
    const char* const end = digits.data() + digits.size();
    const auto [rest, error] = std::from_chars(digits.data(), end, port);
    if (error != std::errc() || rest != end) Throw(Errc::kBadAddress, "the server's port is not a number");
    return port;
}

}  // namespace detail

/// Splits an address that a user has typed: "server.example:8080", "127.0.0.1:80", or only a name, which gets
/// `default_port`. Nothing is looked up or connected.
///
///     const wpk::Address address = wpk::ParseAddress(typed);
///     options.server = address.server;
///     options.port = address.port;
///
/// Throws std::system_error: Errc::kBadAddress if the name is empty or contains a control character, a blank, "/" or
/// ":", or if the port is not a number from 1 to 65535; what() says which. Any thread.
inline Address ParseAddress(const AnsiText& text, unsigned int default_port = 80) {
    const std::string_view whole = text.str();
    const std::size_t colon = whole.rfind(':');
    const std::string_view name = whole.substr(0, colon);
    const unsigned int port =
        colon == std::string_view::npos ? default_port : detail::ParsePort(whole.substr(colon + 1));
    detail::CheckAddress("server", name, port);
    return {name, port};
}

}  // namespace client
}  // namespace wpk

#endif  // WPK_CLIENT_ADDRESS_H
