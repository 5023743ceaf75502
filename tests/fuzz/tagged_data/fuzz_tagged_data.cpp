// Fuzz target: tagged data, from the client's writer and to the sample server's reader of it.
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "message_server/refusal.h"
#include "message_server/request.h"
#include "transport/tagged_data.h"

namespace wpk::core {
namespace {

using Entries = std::vector<std::pair<std::string, std::string>>;

constexpr size_t kMostEntries = 64;

void Require(bool holds) {
    if (!holds) std::abort();
}

std::string Integer(size_t value) {
    std::string bytes;
    for (unsigned shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(value >> shift);
    return bytes;
}

std::string Encoded(const Entries& entries) {
    std::string bytes;
    for (const auto& [key, value] : entries) bytes += Integer(key.size()) + key + Integer(value.size()) + value;
    return bytes;
}

std::string Folded(std::string text) {
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return text;
}

bool Has(const Entries& entries, const std::string& key, bool ignore_case) {
    for (const auto& entry : entries) {
        if (ignore_case ? Folded(entry.first) == Folded(key) : entry.first == key) return true;
    }
    return false;
}

std::string TakeLine(std::string_view& text) {
    const size_t end = text.find('\n');
    const std::string line(text.substr(0, end));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return line;
}

/// Lines "key=value" become entries, lines "!" join what is there; the first line "i" makes keys ignore their case.
void CheckWriter(std::string_view lines) {
    const bool ignore_case = TakeLine(lines) == "i";
    TaggedData data(ignore_case ? TaggedData::Keys::kCaseInsensitive : TaggedData::Keys::kCaseSensitive);
    Entries expected;
    while (!lines.empty() && expected.size() < kMostEntries) {
        const std::string line = TakeLine(lines);
        if (line == "!") Require(data.Join() == 1);
        const std::string key = line.substr(0, line.find('='));
        const std::string value = line.substr(std::min(key.size() + 1, line.size()));
        const bool fresh = !Has(expected, key, ignore_case);
        if (fresh) expected.emplace_back(key, value);
        Require(data.Add(key, value.data(), static_cast<uint32_t>(value.size())) == (fresh ? 1 : 0));
    }
    const std::string encoded = Encoded(expected);
    Require(data.Count() == expected.size() && data.TotalLength() == encoded.size());
    Require(data.Join() == 1 && data.Joined() == encoded);
    for (size_t i = 0; i < expected.size(); ++i) {
        Require(data.Key(i) == expected[i].first && data.Value(i) == expected[i].second);
    }
}

std::string Write(const message_server::Message& message) {
    TaggedData data;
    const std::string_view proxy = message.behind_proxy ? "YES" : "NO";
    Require(data.Add("WPK_IsBehindProxy", proxy.data(), static_cast<uint32_t>(proxy.size())) == 1);
    Require(data.Add("WPK_ServiceName", message.service.data(), static_cast<uint32_t>(message.service.size())) == 1);
    Require(data.Add("WPK_ServiceData", message.data.data(), static_cast<uint32_t>(message.data.size())) == 1);
    Require(data.Join() == 1);
    return std::string(data.Joined());
}

std::optional<message_server::Message> Read(std::string_view bytes) {
    try {
        return message_server::ParseBody(bytes);
    } catch (const message_server::Refusal&) {
        return std::nullopt;
    }
}

/// What the reader takes, the writer writes again, byte for byte.
void CheckReader(std::string_view bytes) {
    const auto message = Read(bytes);
    if (message) Require(Write(*message) == bytes);
}

/// What the writer writes, the reader takes: any service, any message.
void CheckRoundTrip(std::string_view bytes) {
    message_server::Message message;
    message.service = TakeLine(bytes);
    message.data = bytes;
    message.behind_proxy = bytes.size() % 2 == 0;
    const std::string written = Write(message);
    const auto read = Read(written);
    Require(read && read->service == message.service && read->data == message.data);
    Require(read->behind_proxy == message.behind_proxy);
    // Cut off anywhere, it is refused.
    Require(!Read(std::string_view(written).substr(0, bytes.size() % written.size())));
}

}  // namespace
}  // namespace wpk::core

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    wpk::core::CheckWriter(bytes);
    wpk::core::CheckReader(bytes);
    wpk::core::CheckRoundTrip(bytes);
    return 0;
}
