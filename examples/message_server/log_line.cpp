// LogLine: what the log says of a connection.
// SPDX-License-Identifier: MIT
#include "log_line.h"

#include <algorithm>
#include <string_view>

#include "common/words.h"

namespace message_server {
namespace {

// A name may have the length of the whole request.
constexpr std::size_t kServiceShown = 64;

std::string Service(const std::string& name) {
    if (name.empty()) return "-";
    const std::string_view shown = std::string_view(name).substr(0, kServiceShown);
    return common::Spelt(shown) + (shown.size() < name.size() ? "..." : "");
}

}  // namespace

std::string Written(const LogLine& line, const std::string& time, std::chrono::milliseconds taken) {
    std::string text = time + " " + line.peer + " " + Service(line.service) + " ";
    text += line.status == 0 ? "no reply"
                             : std::to_string(line.status) + " " + line.reason + ", " + common::Bytes(line.length);
    text += ", " + std::to_string(taken.count()) + " ms";
    return text + (line.why.empty() ? "" : ": " + line.why);
}

}  // namespace message_server
