/// @file
/// A text in the ANSI code page, made from narrow or wide characters.
// SPDX-License-Identifier: MIT
#ifndef WPK_CLIENT_ANSI_TEXT_H
#define WPK_CLIENT_ANSI_TEXT_H

#include <wpk/client/error.h>
#include <wpk/client/detail/platform.h>

#include <cstddef>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace wpk {
inline namespace client {

/// Any text of this layer: a server name, a service name, a user name. It owns its bytes, so it may be made from
/// temporaries.
///
///     message.server = "server.example";           // narrow
///     message.service = std::wstring(L"Echo");     // wide
///
/// Narrow texts are copied unchanged: they must be in the ANSI code page. Wide texts are converted to it exactly: a
/// character that the code page lacks is an error and never becomes another character or a question mark.
///
/// The constructors throw std::system_error: Errc::kNotConvertible, or Errc::kZeroInText for a zero character inside;
/// std::length_error for a wide text of more than 2,147,483,647 characters; std::bad_alloc. Threads: const calls on any
/// number of threads at once, other calls one thread at a time.
class AnsiText {
public:
    /// Empty.
    AnsiText() = default;
    /// A copy of the bytes, unchanged.
    ///@{
    AnsiText(std::string text) : text_(std::move(text)) { Check(); }
    AnsiText(std::string_view text) : AnsiText(std::string(text)) {}
    ///@}
    /// Zero-terminated; a null pointer is an empty text.
    AnsiText(const char* text) : text_(text ? text : "") {}

    /// Converted to the ANSI code page.
    ///@{
    AnsiText(std::wstring_view text) : text_(Convert(text)) { Check(); }
    AnsiText(const std::wstring& text) : AnsiText(std::wstring_view(text)) {}
    ///@}
    /// Zero-terminated; a null pointer is an empty text.
    AnsiText(const wchar_t* text) : text_(Convert(text ? std::wstring_view(text) : std::wstring_view())) {}

    /// Does not compile: leave the text out instead.
    AnsiText(std::nullptr_t) = delete;

    /// The bytes, in the ANSI code page, zero-terminated. Valid until this object is changed or destroyed.
    ///@{
    const std::string& str() const noexcept { return text_; }
    const char* c_str() const noexcept { return text_.c_str(); }
    ///@}
    /// Whether the text has no bytes.
    bool empty() const noexcept { return text_.empty(); }

private:
    static std::string Convert(std::wstring_view wide) {
        if (wide.size() > static_cast<std::size_t>((std::numeric_limits<int>::max)())) {
            throw std::length_error("wpk::AnsiText");
        }
        std::string bytes;
        if (!detail::WideToAnsi(wide, bytes)) detail::Throw(Errc::kNotConvertible);
        return bytes;
    }

    void Check() const {
        if (text_.find('\0') != std::string::npos) detail::Throw(Errc::kZeroInText);
    }

    std::string text_;
};

}  // namespace client
}  // namespace wpk

#endif  // WPK_CLIENT_ANSI_TEXT_H
