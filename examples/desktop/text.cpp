// Texts between the window (UTF-16), the library's records (ANSI code page) and messages (UTF-8).
// SPDX-License-Identifier: MIT
#include "text.h"

#include <windows.h>

namespace desktop {
namespace {

/// Nothing when the bytes are not of that code page.
std::wstring Widened(UINT code_page, DWORD flags, std::string_view text) {
    const int length = static_cast<int>(text.size());
    const int size = MultiByteToWideChar(code_page, flags, text.data(), length, nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(size), L'\0');
    MultiByteToWideChar(code_page, flags, text.data(), length, wide.data(), size);
    return wide;
}

std::string Narrowed(UINT code_page, std::wstring_view text) {
    const int length = static_cast<int>(text.size());
    const int size = WideCharToMultiByte(code_page, /*dwFlags=*/0, text.data(), length, nullptr, 0,
                                         /*lpDefaultChar=*/nullptr, /*lpUsedDefaultChar=*/nullptr);
    std::string narrow(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(code_page, /*dwFlags=*/0, text.data(), length, narrow.data(), size,
                        /*lpDefaultChar=*/nullptr, /*lpUsedDefaultChar=*/nullptr);
    return narrow;
}

}  // namespace

std::wstring FromAnsi(std::string_view text) {
    return Widened(CP_ACP, /*flags=*/0, text);
}

std::string ToAnsi(std::wstring_view text) {
    return Narrowed(CP_ACP, text);
}

std::wstring FromBytes(std::string_view bytes) {
    std::wstring text = Widened(CP_UTF8, MB_ERR_INVALID_CHARS, bytes);
    return text.empty() ? FromAnsi(bytes) : text;
}

std::string ToUtf8(std::wstring_view text) {
    return Narrowed(CP_UTF8, text);
}

}  // namespace desktop
