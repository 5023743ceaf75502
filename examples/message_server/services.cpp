// The services that messages can be sent to.
// SPDX-License-Identifier: MIT
#include "services.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>

#include "lookup.h"
#include "refusal.h"

namespace message_server {
namespace {

// The length of a reply is a 32-bit number on the client's side.
constexpr std::uint64_t kMaxGenerate = 0xFFFFFFFF;
// A sleeping request holds one of the server's connections.
constexpr std::uint64_t kMaxSleepMs = std::uint64_t{10} * 60 * 1000;

/// The decimal number that the message consists of. White space after it is let pass: a number that comes out of a
/// file or a pipe usually ends with a line end.
std::uint64_t ParseNumber(std::string_view text, std::uint64_t max) {
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r' || text.back() == ' ')) text.remove_suffix(1);
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || number > max) {
        throw Refusal(400, "Bad_Message", "the message is no number from 0 to " + std::to_string(max));
    }
    return number;
}

Answer Echo(std::string& data, const Pause&) {
    return {std::move(data)};
}

Answer LookUp(std::string& data, const Pause&) {
    return {Lookup(data)};
}

Answer Reverse(std::string& data, const Pause&) {
    std::reverse(data.begin(), data.end());
    return {std::move(data)};
}

Answer Generate(std::string& data, const Pause&) {
    return {"", ParseNumber(data, kMaxGenerate)};
}

Answer Sleep(std::string& data, const Pause& pause) {
    const std::uint64_t milliseconds = ParseNumber(data, kMaxSleepMs);
    pause(std::chrono::milliseconds(milliseconds));
    return {"Slept for " + std::to_string(milliseconds) + " ms.\n"};
}

/// A service may take the message's bytes over.
using Service = Answer (*)(std::string& data, const Pause& pause);

const std::map<std::string, Service>& Services() {
    static const std::map<std::string, Service> services = {
        {"Echo", Echo}, {"Generate", Generate}, {"Lookup", LookUp}, {"Reverse", Reverse}, {"Sleep", Sleep},
    };
    return services;
}

}  // namespace

Answer RunService(Message&& message, const Pause& pause) {
    const auto service = Services().find(message.service);
    // The client knows this reason text: it reports that the server has no such service.
    if (service == Services().end()) throw Refusal(500, "Bad_Plugin_Name", "there is no such service");
    return service->second(message.data, pause);
}

}  // namespace message_server
