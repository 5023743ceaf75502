/// @file
/// The texts of error codes. Nothing here is for applications; included at the end of wpk/client/error.h alone.
// SPDX-License-Identifier: MIT
#ifndef WPK_CLIENT_DETAIL_ERROR_CATEGORY_H
#define WPK_CLIENT_DETAIL_ERROR_CATEGORY_H

#include <wpk/error_text.h>

#include <string>
#include <system_error>

namespace wpk {
inline namespace client {

namespace detail {

class Category final : public std::error_category {
public:
    const char* name() const noexcept override { return "wpk"; }

    std::string message(int value) const override {
        switch (static_cast<Errc>(value)) {
            case Errc::kBadRequest:
            case Errc::kNoNetwork:
            case Errc::kConnect:
            case Errc::kCancelled:
            case Errc::kBadVersion:
            case Errc::kNoService:
            case Errc::kExchange:
            case Errc::kProxyCredentials:
                return Phrase(WPK_ErrorText(value));
            case Errc::kAlreadyInitialised:
                return "the library has been initialised in this process before; keep one Client and share it";
            case Errc::kNotInitialised:
                return "the library could not be initialised";
            case Errc::kNotTaken:
                return "the library could not take the request";
            case Errc::kNotConvertible:
                return "a text holds a character that the ANSI code page does not have";
            case Errc::kZeroInText:
                return "a text holds a zero character";
            case Errc::kMessageTooLong:
                return "the message is too long: with the name of its service, 4294967221 bytes are the most";
            case Errc::kCredentialsTooLong:
                return "a user name or password for the proxy is longer than 255 bytes";
            case Errc::kNoFunction:
                return "a function that is needed is missing";
            case Errc::kFunctionThrew:
                return "a function that the application gave has thrown an exception";
            case Errc::kTimedOut:
                return "the time limit was reached";
            case Errc::kBadAddress:
                return "that is no address of a server or proxy";
        }
        return "unknown error " + std::to_string(value);
    }

    std::error_condition default_error_condition(int value) const noexcept override {
        switch (static_cast<Errc>(value)) {
            case Errc::kNoNetwork:
                return std::errc::network_unreachable;
            case Errc::kConnect:
                return std::errc::host_unreachable;
            case Errc::kCancelled:
                return std::errc::operation_canceled;
            case Errc::kProxyCredentials:
                return std::errc::permission_denied;
            case Errc::kTimedOut:
                return std::errc::timed_out;
            default:
                return {value, *this};
        }
    }

private:
    /// The sentence as part of another: without its capital and its full stop.
    static std::string Phrase(std::string sentence) {
        sentence.front() = static_cast<char>(sentence.front() + ('a' - 'A'));
        sentence.pop_back();
        return sentence;
    }
};

}  // namespace detail

inline const std::error_category& ErrorCategory() noexcept {
    // Never destroyed: requests may end while the process does.
    static const std::error_category& category = *new detail::Category;
    return category;
}

namespace detail {

[[noreturn]] inline void Throw(Errc error) {
    throw std::system_error(make_error_code(error));
}

/// The reason stands in front of the error's text in what().
[[noreturn]] inline void Throw(Errc error, const std::string& reason) {
    throw std::system_error(make_error_code(error), reason);
}

}  // namespace detail

}  // namespace client
}  // namespace wpk

#endif  // WPK_CLIENT_DETAIL_ERROR_CATEGORY_H
