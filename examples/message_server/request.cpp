// The bytes of a request: its head, and the tagged data of its body.
// SPDX-License-Identifier: MIT
#include "request.h"

#include <charconv>

#include "common/words.h"
#include "refusal.h"

namespace message_server {
namespace {

using common::EqualIgnoringCase;
using common::Trimmed;

constexpr std::string_view kLineEnd = "\r\n";
// So much of a client's text goes into the log.
constexpr std::size_t kShown = 64;

/// Takes the text before the next line end off the front. The head ends with a line end, so there always is one.
std::string_view TakeLine(std::string_view& head) {
    const std::size_t end = head.find(kLineEnd);
    const std::string_view line = head.substr(0, end);
    head.remove_prefix(end + kLineEnd.size());
    if (line.find_first_of("\r\n") != std::string_view::npos) throw Refusal(400, "Bad_Line_End");
    return line;
}

void CheckRequestLine(std::string_view line) {
    const std::size_t method_end = line.find(' ');
    const std::size_t version_start = line.rfind(' ');
    if (method_end == std::string_view::npos || method_end == 0 || version_start <= method_end + 1) {
        throw Refusal(400, "Bad_Request_Line");
    }
    const std::string_view version = line.substr(version_start + 1);
    if (version.substr(0, 5) != "HTTP/") throw Refusal(400, "Bad_Request_Line");
    // A proxy may speak the newer version to the server.
    if (version != "HTTP/1.0" && version != "HTTP/1.1") throw Refusal(505, "HTTP_Version_Not_Supported");
    if (line.substr(0, method_end) != "POST") throw Refusal(405, "Method_Not_Allowed");
}

std::uint64_t ParseLength(std::string_view digits) {
    std::uint64_t length = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), length);
    if (error == std::errc::result_out_of_range) throw Refusal(413, "Request_Too_Large");
    if (error != std::errc() || end != digits.data() + digits.size()) throw Refusal(400, "Bad_Content_Length");
    return length;
}

/// The headers that matter here; all others are the proxies' business.
struct Headers {
    std::optional<std::string_view> user_agent;
    std::optional<std::string_view> content_type;
    std::optional<std::string_view> content_length;
    bool transfer_encoding = false;

    void Add(std::string_view name, std::string_view value) {
        if (EqualIgnoringCase(name, "User-Agent")) AddOnce(user_agent, value);
        if (EqualIgnoringCase(name, "Content-Type")) AddOnce(content_type, value);
        if (EqualIgnoringCase(name, "Content-Length")) AddOnce(content_length, value);
        if (EqualIgnoringCase(name, "Transfer-Encoding")) transfer_encoding = true;
    }

private:
    // Two values that differ would leave it to chance where the body ends or who sent it.
    static void AddOnce(std::optional<std::string_view>& field, std::string_view value) {
        if (field && *field != value) throw Refusal(400, "Repeated_Header");
        field = value;
    }
};

Headers ParseHeaders(std::string_view head) {
    Headers headers;
    for (std::string_view line = TakeLine(head); !line.empty(); line = TakeLine(head)) {
        const std::size_t colon = line.find(':');
        if (colon == std::string_view::npos || colon == 0) {
            throw Refusal(400, "Bad_Header", "'" + common::Spelt(line.substr(0, kShown)) + "'");
        }
        headers.Add(Trimmed(line.substr(0, colon)), Trimmed(line.substr(colon + 1)));
    }
    return headers;
}

std::uint32_t TakeInteger(std::string_view& bytes) {
    if (bytes.size() < 4) throw Refusal(400, "Bad_Tagged_Data");
    std::uint32_t value = 0;
    for (unsigned i = 0; i < 4; ++i) {
        value |= static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i])) << (8 * i);
    }
    bytes.remove_prefix(4);
    return value;
}

std::string_view TakeText(std::string_view& bytes) {
    const std::uint32_t length = TakeInteger(bytes);
    if (length > bytes.size()) {
        throw Refusal(400, "Bad_Tagged_Data",
                      "an entry claims " + common::Bytes(length) + " where there are " + std::to_string(bytes.size()));
    }
    const std::string_view text = bytes.substr(0, length);
    bytes.remove_prefix(length);
    return text;
}

std::string_view TakeEntry(std::string_view& bytes, std::string_view key) {
    if (TakeText(bytes) != key) throw Refusal(400, "Bad_Tagged_Data", "there is no " + std::string(key));
    return TakeText(bytes);
}

}  // namespace

std::optional<std::size_t> FindHeadEnd(std::string_view bytes) {
    const std::size_t end = bytes.find("\r\n\r\n");
    if (end == std::string_view::npos) return std::nullopt;
    return end + 4;
}

std::size_t ParseHead(std::string_view head, std::size_t max_body) {
    CheckRequestLine(TakeLine(head));
    const Headers headers = ParseHeaders(head);
    if (headers.user_agent != kProtocolVersion) {
        const std::string_view shown = headers.user_agent.value_or("").substr(0, kShown);
        throw Refusal(500, "Bad_Version", "the client is '" + common::Spelt(shown) + "'");
    }
    if (headers.transfer_encoding) throw Refusal(501, "Transfer_Encoding_Not_Implemented");
    if (!headers.content_length) throw Refusal(411, "Length_Required");
    const std::uint64_t length = ParseLength(*headers.content_length);
    if (headers.content_type != "application/tagged-data") throw Refusal(415, "Unsupported_Media_Type");
    if (length > max_body) {
        throw Refusal(413, "Request_Too_Large",
                      "of " + common::Bytes(length) + "; --max-request is " + std::to_string(max_body));
    }
    return static_cast<std::size_t>(length);
}

Message ParseBody(std::string_view body) {
    Message message;
    const std::string_view behind_proxy = TakeEntry(body, "WPK_IsBehindProxy");
    if (behind_proxy != "YES" && behind_proxy != "NO") throw Refusal(400, "Bad_Tagged_Data");
    message.behind_proxy = behind_proxy == "YES";
    message.service = TakeEntry(body, "WPK_ServiceName");
    message.data = TakeEntry(body, "WPK_ServiceData");
    if (!body.empty()) throw Refusal(400, "Bad_Tagged_Data");
    return message;
}

}  // namespace message_server
