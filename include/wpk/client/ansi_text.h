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

/// A server name, a service name, a user name: every text of this layer. It owns its bytes, so temporaries may be
/// given.
///
/// Narrow texts are taken as they stand. Wide texts are converted to the ANSI code page, exactly: a character that the
/// code page does not have is an error, and never becomes another one or a question mark.
///
/// The constructors throw std::system_error: Errc::kNotConvertible, Errc::kZeroInText (a zero character inside);
/// std::length_error for a wide text of more than 2,147,483,647 characters; std::bad_alloc. One thread at a time;
/// const calls together.
class AnsiText {
public:
    /// Empty.
    AnsiText() = default;
    /// A copy of the bytes, as they stand.
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

    /// Leave the text out instead.
    AnsiText(std::nullptr_t) = delete;

    /// The bytes, in the ANSI code page. Valid as long as this object is, and unchanged.
    ///@{
    const std::string& str() const noexcept { return text_; }
    const char* c_str() const noexcept { return text_.c_str(); }
    ///@}
    /// Whether there are none.
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
