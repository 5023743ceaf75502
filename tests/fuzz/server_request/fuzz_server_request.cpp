// Fuzz target: the sample server's way from foreign bytes to an answer.
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "message_server/refusal.h"
#include "message_server/reply.h"
#include "message_server/request.h"
#include "message_server/services.h"

namespace message_server {
namespace {

constexpr size_t kMaxBody = 2000;

void Require(bool holds) {
    if (!holds) std::abort();
}

/// A copy with nothing behind it: a read past its end is seen.
class Exact {
public:
    explicit Exact(std::string_view bytes) : bytes_(new char[bytes.size()]), size_(bytes.size()) {
        std::copy(bytes.begin(), bytes.end(), bytes_.get());
    }
    std::string_view View() const { return {bytes_.get(), size_}; }

private:
    const std::unique_ptr<char[]> bytes_;
    const size_t size_;
};

/// The head's end is the same however much has come behind it, and is not there before.
void CheckHeadEnd(std::string_view bytes, std::optional<size_t> end) {
    if (!end) return;
    Require(*end >= 4 && *end <= bytes.size() && bytes.substr(*end - 4, 4) == "\r\n\r\n");
    Require(FindHeadEnd(bytes.substr(0, *end)) == end && !FindHeadEnd(bytes.substr(0, *end - 1)));
}

void CheckRefusal(const Refusal& refusal) {
    Require(refusal.Code() >= 400 && refusal.Code() <= 599);
    // The reason becomes a part of the status line, and a client looks for whole words.
    const std::string_view reason = refusal.what();
    Require(!reason.empty() && reason.find_first_of(" \t\r\n") == std::string_view::npos);
    const std::string reply = RefusalReply(refusal);
    const auto end = FindHeadEnd(reply);
    Require(end && reply.substr(*end) == reason);
}

/// A good request says so itself, in the words that the reader must have found.
void CheckAccepted(std::string_view head, const Message& message) {
    Require(head.substr(0, 5) == "POST " && head.find("WPK/1.00") != std::string_view::npos);
    Require(head.find("application/tagged-data") != std::string_view::npos);
    Require(message.service.size() + message.data.size() <= kMaxBody);
}

void RunAndCheck(Message message) {
    const std::string service = message.service;
    const std::string data = message.data;
    const Answer answer =
        RunService(std::move(message), [](std::chrono::milliseconds time) { Require(time.count() <= 600000); });
    if (service == "Echo") Require(answer.text == data && answer.alphabet_length == 0);
    if (service == "Reverse") Require(answer.text == std::string(data.rbegin(), data.rend()));
    if (service == "Generate") Require(answer.text.empty() && answer.alphabet_length <= 0xFFFFFFFF);
    const std::string head = ReplyHead(answer.Length());
    Require(FindHeadEnd(head) == head.size());
}

void Serve(std::string_view bytes) {
    const auto end = FindHeadEnd(bytes);
    CheckHeadEnd(bytes, end);
    if (!end) return;
    try {
        const Exact head(bytes.substr(0, *end));
        const size_t length = ParseHead(head.View(), kMaxBody);
        Require(length <= kMaxBody);
        if (bytes.size() - *end < length) return;
        const Exact body(bytes.substr(*end, length));
        Message message = ParseBody(body.View());
        CheckAccepted(head.View(), message);
        RunAndCheck(std::move(message));
    } catch (const Refusal& refusal) {
        CheckRefusal(refusal);
    }
}

/// The body alone, for inputs that have no head before it.
void ServeBody(std::string_view bytes) {
    try {
        const Exact body(bytes);
        RunAndCheck(ParseBody(body.View()));
    } catch (const Refusal& refusal) {
        CheckRefusal(refusal);
    }
}

}  // namespace
}  // namespace message_server

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    message_server::Serve(bytes);
    message_server::ServeBody(bytes);
    return 0;
}
