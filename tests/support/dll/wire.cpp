// The bytes on the wire, written down a second time: plainly, for the tests to compare with.
// SPDX-License-Identifier: MIT
#include "support/dll/wire.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>

namespace wpk::harness {
namespace {

const char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
const char kAuthorization[] = "Proxy-Authorization: Basic ";
const char kHeadEnd[] = "\r\n\r\n";

std::string LittleEndian(size_t value) {
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<char>(value >> shift & 0xFF));
    return bytes;
}

std::string Entry(const std::string& key, const std::string& value) {
    return LittleEndian(key.size()) + key + LittleEndian(value.size()) + value;
}

unsigned int ReadLittleEndian(const std::string& bytes, size_t at) {
    unsigned int value = 0;
    for (size_t i = 0; i < 4 && at + i < bytes.size(); ++i) {
        value |= static_cast<unsigned int>(static_cast<unsigned char>(bytes[at + i])) << (8 * i);
    }
    return value;
}

std::string DecodeBase64(const std::string& text) {
    std::string bytes;
    unsigned int bits = 0;
    int count = 0;
    for (const char c : text) {
        const char* place = c == '\0' ? nullptr : std::strchr(kAlphabet, c);
        if (!place) continue;
        bits = bits << 6 | static_cast<unsigned int>(place - kAlphabet);
        count += 6;
        if (count < 8) continue;
        count -= 8;
        bytes.push_back(static_cast<char>(bits >> count & 0xFF));
    }
    return bytes;
}

}  // namespace

std::string ExpectedRequest::Body() const {
    return Entry("WPK_IsBehindProxy", viaProxy ? "YES" : "NO") + Entry("WPK_ServiceName", service) +
           Entry("WPK_ServiceData", data);
}

std::string ExpectedRequest::Head() const {
    std::string head = "POST http://" + server + ":" + std::to_string(port) + "/ HTTP/1.0\r\n";
    head += "User-Agent: WPK/1.00\r\n";
    head += "Content-Type: application/tagged-data\r\n";
    head += "Content-Length: " + std::to_string(Body().size()) + "\r\n";
    if (!authorization.empty()) head += kAuthorization + authorization + "\r\n";
    return head + "\r\n";
}

size_t RequestLength(const std::string& arrived) {
    const size_t end = arrived.find(kHeadEnd);
    if (end == std::string::npos) return arrived.size() + 1;
    // Proxies between the library and a peer may write the name in another case.
    std::string head = arrived.substr(0, end);
    std::transform(head.begin(), head.end(), head.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    const char key[] = "\ncontent-length:";
    const size_t length = head.find(key);
    const size_t body =
        length == std::string::npos ? 0 : std::strtoul(head.c_str() + length + sizeof key - 1, nullptr, 10);
    return end + sizeof kHeadEnd - 1 + body;
}

std::string MessageOf(const std::string& request) {
    const char key[] = "WPK_ServiceData";
    const size_t place = request.find(key);
    if (place == std::string::npos) return {};
    const size_t value = place + sizeof key - 1;
    return request.substr(value + 4, ReadLittleEndian(request, value));
}

std::string Base64Folded(const std::string& text) {
    std::string out;
    for (size_t i = 0; i < text.size(); i += 3) {
        if (i != 0 && i % 57 == 0) out += "\r\n";
        unsigned int group = 0;
        for (size_t k = 0; k < 3; ++k) {
            group = group << 8 | (i + k < text.size() ? static_cast<unsigned char>(text[i + k]) : 0u);
        }
        for (size_t k = 0; k < 4; ++k) out += k <= text.size() - i ? kAlphabet[group >> (18 - 6 * k) & 63] : '=';
    }
    return out;
}

std::string CredentialsOf(const std::string& request) {
    const size_t place = request.find(kAuthorization);
    if (place == std::string::npos) return {};
    const size_t value = place + sizeof kAuthorization - 1;
    return DecodeBase64(request.substr(value, request.find(kHeadEnd, value) - value));
}

std::string OkHead(unsigned long long length) {
    return RawReply("HTTP/1.0 200 OK", {"Server: WPK/1.00", "Content-Length: " + std::to_string(length)});
}

std::string Ok(const std::string& body) {
    return OkHead(body.size()) + body;
}

std::string RawReply(const std::string& status, const std::vector<std::string>& headers, const std::string& body) {
    std::string reply = status + "\r\n";
    for (const std::string& header : headers) reply += header + "\r\n";
    return reply + "\r\n" + body;
}

}  // namespace wpk::harness
