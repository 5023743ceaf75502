// Texts between the window (UTF-16), the library's records (ANSI code page) and messages (UTF-8).
// SPDX-License-Identifier: MIT
#include "text.h"

#include <windows.h>

namespace desktop {
namespace {

/// No value if the bytes are not valid in that code page.
std::wstring Widened(UINT code_page, DWORD flags, std::string_view text) {
    const int length = static_cast<int>(text.size());
    const int size = MultiByteToWideChar(code_page, flags, text.data(), length, nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(size), L'\0');
    MultiByteToWideChar(code_page, flags, text.data(), length, wide.data(), size);
    return wide;
}

/// @param substituted is set if a character was replaced by another one; null if the code page does not support that.
std::string Narrowed(UINT code_page, DWORD flags, std::wstring_view text, BOOL* substituted) {
    const int length = static_cast<int>(text.size());
    const int size = WideCharToMultiByte(code_page, flags, text.data(), length, nullptr, 0,
                                         /*lpDefaultChar=*/nullptr, substituted);
    std::string narrow(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(code_page, flags, text.data(), length, narrow.data(), size, /*lpDefaultChar=*/nullptr,
                        substituted);
    return narrow;
}

}  // namespace

std::wstring FromAnsi(std::string_view text) {
    return Widened(CP_ACP, /*flags=*/0, text);
}

std::optional<std::string> ToAnsi(std::wstring_view text) {
    // If the code page is UTF-8, it has every character and does not support these flags.
    if (GetACP() == CP_UTF8) return ToUtf8(text);
    BOOL substituted = FALSE;
    std::string narrow = Narrowed(CP_ACP, WC_NO_BEST_FIT_CHARS, text, &substituted);
    if (substituted != FALSE) return std::nullopt;
    return narrow;
}

std::wstring FromBytes(std::string_view bytes) {
    std::wstring text = Widened(CP_UTF8, MB_ERR_INVALID_CHARS, bytes);
    return text.empty() ? FromAnsi(bytes) : text;
}

std::string ToUtf8(std::wstring_view text) {
    return Narrowed(CP_UTF8, /*flags=*/0, text, /*substituted=*/nullptr);
}

}  // namespace desktop
