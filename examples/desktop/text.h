// Texts between the window (UTF-16), the library's records (ANSI code page) and messages (UTF-8).
// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace desktop {

/// For texts from the library's records and from the command line.
std::wstring FromAnsi(std::string_view text);

/// For the names in the library's records. No value if the code page lacks a character: a name or a password
/// with a "?" in its place would be another one.
std::optional<std::string> ToAnsi(std::wstring_view text);

/// For the bytes of a reply, whose encoding is unknown: UTF-8 if they are valid UTF-8, else the ANSI code page.
std::wstring FromBytes(std::string_view bytes);

/// For the bytes of a message.
std::string ToUtf8(std::wstring_view text);

}  // namespace desktop
