/// @file
/// Conversion of values to texts and back. Not for direct use: SetText, TextOr and the others use it.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_HELPERS_VALUES_H
#define WPK_XML_HELPERS_VALUES_H

#include <array>
#include <charconv>
#include <cstddef>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <utility>

namespace wpk {
namespace xml {
namespace detail {

/// A wide character is neither a number nor a byte of a document.
template <class T>
inline constexpr bool kIsNumber =
    std::is_arithmetic_v<T> && !std::is_same_v<T, bool> && !std::is_same_v<T, char> && !std::is_same_v<T, wchar_t> &&
    !std::is_same_v<T, char16_t> && !std::is_same_v<T, char32_t>;
template <class T>
inline constexpr bool kIsScalar = kIsNumber<T> || std::is_same_v<T, bool> || std::is_same_v<T, char>;
template <class T>
inline constexpr bool kIsText = std::is_convertible_v<const T&, std::string_view> && !std::is_same_v<T, std::nullptr_t>;

/// What a value of that type is read as: itself, or a std::string for everything that is a text.
template <class T>
struct Read {
    static_assert(kIsScalar<T> || kIsText<T>, "a value is a number, a bool, a char or a text");
    using Type = std::conditional_t<kIsScalar<T>, T, std::string>;
};

/// A value as it is written. The longest number is a long double's: room for its 21 digits, signs and exponent.
class Written {
public:
    template <class T>
    explicit Written(const T& value) {
        static_assert(kIsScalar<T> || kIsText<T>, "a value is a number, a bool, a char or a text");
        if constexpr (std::is_same_v<T, bool>) {
            text_ = value ? "true" : "false";
        } else if constexpr (std::is_same_v<T, char>) {
            digits_[0] = value;
            text_ = {digits_.data(), 1};
        } else if constexpr (kIsNumber<T>) {
            const char* const end = std::to_chars(digits_.data(), digits_.data() + digits_.size(), value).ptr;
            text_ = {digits_.data(), static_cast<std::size_t>(end - digits_.data())};
        } else if constexpr (std::is_same_v<std::decay_t<T>, const char*> || std::is_same_v<std::decay_t<T>, char*>) {
            const char* const characters = value;
            if (characters) text_ = characters;
        } else {
            text_ = value;
        }
    }
    Written(const Written&) = delete;
    Written& operator=(const Written&) = delete;

    std::string_view Text() const noexcept { return text_; }

private:
    std::array<char, 64> digits_;
    std::string_view text_;
};

inline std::string_view Trimmed(std::string_view text) noexcept {
    constexpr const char* kWhiteSpace = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kWhiteSpace);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kWhiteSpace) - first + 1);
}

/// Whether the whole text is a value of the type, which `value` then is.
template <class T>
bool ReadValue(std::string_view text, T& value) noexcept {
    if constexpr (std::is_same_v<T, char>) {
        if (text.size() == 1) value = text[0];
        return text.size() == 1;
    } else {
        text = Trimmed(text);
        if constexpr (std::is_same_v<T, bool>) {
            value = text == "true" || text == "1";
            return value || text == "false" || text == "0";
        } else {
            // A plus sign is good style in other languages; std::from_chars knows none.
            if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
            T read{};
            const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), read);
            if (error != std::errc() || end != text.data() + text.size()) return false;
            value = read;
            return true;
        }
    }
}

template <class T>
typename Read<T>::Type Fallback(const T& fallback) {
    if constexpr (kIsScalar<T>) {
        return fallback;
    } else {
        return std::string(Written(fallback).Text());
    }
}

/// The text as a value of that type, or the fallback.
template <class T>
typename Read<T>::Type ValueOr(std::string&& text, const T& fallback) {
    if constexpr (kIsScalar<T>) {
        T value{};
        return ReadValue(text, value) ? value : fallback;
    } else {
        static_cast<void>(fallback);
        return std::move(text);
    }
}

}  // namespace detail
}  // namespace xml
}  // namespace wpk

#endif  // WPK_XML_HELPERS_VALUES_H
