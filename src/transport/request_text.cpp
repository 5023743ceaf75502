// The text in front of a request's body: request line and header block.
// SPDX-License-Identifier: MIT
#include "transport/request_text.h"

#include <array>
#include <charconv>
#include <cstddef>
#include <initializer_list>

#include "transport/base64.h"

namespace wpk::core {
namespace {

/// A number in decimal digits.
class Decimal {
public:
    template <class Number>
    explicit Decimal(Number number) noexcept {
        const char* end = std::to_chars(digits_.data(), digits_.data() + digits_.size(), number).ptr;
        length_ = static_cast<size_t>(end - digits_.data());
    }

    std::string_view View() const noexcept { return {digits_.data(), length_}; }

private:
    /// A sign and the ten digits of the largest number of 32 bits.
    std::array<char, 11> digits_{};
    size_t length_ = 0;
};

TextBuffer Join(std::initializer_list<std::string_view> pieces) noexcept {
    size_t length = 0;
    for (const std::string_view piece : pieces) length += piece.size();
    TextBuffer text(length);
    for (const std::string_view piece : pieces) text.Append(piece);
    return text;
}

TextBuffer ProxyAuthorization(std::string_view user, std::string_view password) noexcept {
    const TextBuffer pair = Join({user, ":", password});
    const TextBuffer encoded = EncodeBase64(pair.View());
    if (!pair.IsWhole() || !encoded.IsWhole()) return TextBuffer::Missing();
    return Join({"Proxy-Authorization: Basic ", encoded.View(), "\r\n"});
}

}  // namespace

TextBuffer BuildRequestLine(std::string_view server, uint32_t port) noexcept {
    return Join({"POST http://", server, ":", Decimal(static_cast<int32_t>(port)).View(), "/ HTTP/1.0\r\n"});
}

TextBuffer BuildHeaderBlock(uint32_t bodyLength, bool viaProxy, std::string_view user,
                            std::string_view password) noexcept {
    const bool hasCredentials = !user.empty() || !password.empty();
    const TextBuffer authorization = viaProxy && hasCredentials ? ProxyAuthorization(user, password) : TextBuffer();
    if (!authorization.IsWhole()) return TextBuffer::Missing();
    // Unsigned: a body of 2 GiB and more must not announce a negative length, which no server could use.
    return Join({"User-Agent: ", kProductToken, "\r\nContent-Type: application/tagged-data\r\nContent-Length: ",
                 Decimal(bodyLength).View(), "\r\n", authorization.View()});
}

}  // namespace wpk::core
