// What an exchange must come to, worked out from its script in the plainest way.
// SPDX-License-Identifier: MIT
#include "fuzz/exchange/model.h"

#include <algorithm>
#include <cstdlib>
#include <optional>

namespace wpk::fuzz {
namespace {

using Kind = Event::Kind;

constexpr uint32_t kHeadTimeoutMs = 60000;
constexpr size_t kConnectLooks = 122;
constexpr size_t kLongestLine = 2047;
constexpr size_t kFieldText = 255;

enum class Outcome { kKeepReading, kAccepted, kProxyRefused, kNoService, kWrongServer, kUnexpected };

/// Thrown where an attempt ends.
struct Broken {};

std::string Lower(std::string text) {
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return text;
}

std::string Trim(const std::string& text) {
    const size_t first = text.find_first_not_of(" \t");
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::string Base64(const std::string& bytes) {
    const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string bits;
    for (const char c : bytes) {
        for (int bit = 7; bit >= 0; --bit) bits += (static_cast<unsigned char>(c) >> bit & 1) != 0 ? '1' : '0';
    }
    while (bits.size() % 6 != 0) bits += '0';
    std::string text;
    for (size_t at = 0; at < bits.size(); at += 6) text += alphabet[std::stoul(bits.substr(at, 6), nullptr, 2)];
    while (text.size() % 4 != 0) text += '=';
    for (size_t at = 76; at < text.size(); at += 78) text.insert(at, "\r\n");
    return text;
}

std::string Tagged(const std::string& text) {
    std::string bytes;
    for (unsigned shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(text.size() >> shift);
    return bytes + text;
}

std::string RequestOf(const Script& script, const Login& login) {
    const std::string body = Tagged("WPK_IsBehindProxy") + Tagged(script.viaProxy ? "YES" : "NO") +
                             Tagged("WPK_ServiceName") + Tagged("Echo") + Tagged("WPK_ServiceData") +
                             Tagged(script.message);
    std::string head = "POST http://127.0.0.1:8080/ HTTP/1.0\r\nUser-Agent: WPK/1.00\r\n";
    head += "Content-Type: application/tagged-data\r\nContent-Length: " + std::to_string(body.size()) + "\r\n";
    if (script.viaProxy && !(login.user + login.password).empty()) {
        head += "Proxy-Authorization: Basic " + Base64(login.user + ":" + login.password) + "\r\n";
    }
    return head + "\r\n" + body;
}

/// One attempt on a connection that has come about.
class Attempt {
public:
    Attempt(const Script& script, size_t connection, bool& cancelled)
        : script_(script), reply_(script.ReplyOf(connection)), cancelled_(cancelled) {}

    Outcome outcome = Outcome::kUnexpected;
    std::string sent;
    std::string body;

    /// True when the reply is complete and one to be delivered.
    bool Run(const std::string& request) {
        try {
            Send(request);
            ReadHead();
            // What is refused without a length has no body.
            if (outcome != Outcome::kAccepted && !length_) return false;
            for (uint64_t n = 0; n < *length_; ++n) body += NextByte(/*in_head=*/false);
            return outcome == Outcome::kAccepted;
        } catch (const Broken&) {
            return false;
        }
    }

private:
    [[noreturn]] void Cancel() {
        cancelled_ = true;
        throw Broken();
    }

    /// A body that is complete with what has come already is still delivered.
    void LateCancel(bool inHead) {
        if (inHead || at_ == reply_.size()) Cancel();
        cancelled_ = true;
        event_ = script_.receives.size();
    }

    void Send(const std::string& request) {
        size_t end = 0;
        for (const Event& event : script_.sends) {
            if (event.kind == Kind::kPiece) end += event.amount;
            if (end >= request.size()) break;
            sent = request.substr(0, end);
            if (event.kind == Kind::kCancel) Cancel();
            if (event.kind == Kind::kClose || event.kind == Kind::kReset) throw Broken();
        }
        sent = request;
    }

    /// The next byte of the reply, once everything has passed that comes before it.
    char NextByte(bool inHead) {
        uint32_t waited = 0;
        while (event_ < script_.receives.size()) {
            const Event& event = script_.receives[event_];
            // A piece that goes beyond the reply's end never does.
            if (event.kind == Kind::kPiece && inPiece_ < event.amount) break;
            if (event.kind == Kind::kPause) waited += event.amount;
            if (inHead && waited >= kHeadTimeoutMs) throw Broken();
            if (event.kind == Kind::kCancel) Cancel();
            if (event.kind == Kind::kLateCancel) LateCancel(inHead);
            if (event.kind == Kind::kClose || event.kind == Kind::kReset) throw Broken();
            ++event_;
            inPiece_ = 0;
        }
        if (at_ == reply_.size()) {
            // In the head the time-out comes first.
            if (script_.staysOpen && !inHead) Cancel();
            throw Broken();
        }
        ++inPiece_;
        return reply_[at_++];
    }

    std::string ReadLine() {
        std::string line;
        for (;;) {
            const char c = NextByte(/*in_head=*/true);
            if (c == '\r') break;
            if (line.size() == kLongestLine) throw Broken();
            line += c;
        }
        if (NextByte(/*in_head=*/true) != '\n') throw Broken();
        return line;
    }

    void ReadHead() {
        do {
            outcome = Outcome::kUnexpected;
            outcome = JudgeStatus(ReadLine());
        } while (outcome == Outcome::kKeepReading);
        for (std::string line = ReadLine(); !line.empty(); line = ReadLine()) ReadHeader(line);
        if (outcome != Outcome::kAccepted) return;
        if (Lower(server_) != "wpk/1.00") outcome = Outcome::kWrongServer;
        if (length_) return;
        outcome = Outcome::kUnexpected;
        throw Broken();
    }

    static Outcome JudgeStatus(const std::string& line) {
        const size_t first = line.find(' ');
        const size_t second = first == std::string::npos ? first : line.find(' ', first + 1);
        if (second == std::string::npos || Lower(line.substr(0, first)) <= "http") throw Broken();
        const std::string reason = Lower(Trim(line.substr(second + 1)));
        const std::string number = Trim(line.substr(first + 1, second - first - 1));
        const long long code = std::strtoll(number.c_str(), nullptr, 10);
        if (code == 0) throw Broken();
        if (code == 100) return Outcome::kKeepReading;
        if (code == 200) return Outcome::kAccepted;
        if (code == 407) return Outcome::kProxyRefused;
        if (code == 500 && reason == "bad_plugin_name") return Outcome::kNoService;
        if (code == 500 && reason == "bad_version") return Outcome::kWrongServer;
        return Outcome::kUnexpected;
    }

    void ReadHeader(const std::string& line) {
        const size_t colon = line.find(':');
        if (colon == std::string::npos) throw Broken();
        const std::string name = Lower(Trim(line.substr(0, colon)));
        const std::string value = Trim(line.substr(colon + 1));
        if (name == "server") server_ = value;
        if (name == "content-length") ReadLength(value);
    }

    void ReadLength(const std::string& value) {
        char* end = nullptr;
        const long long number = std::strtoll(value.c_str(), &end, 10);
        if (end == value.c_str()) return;
        const bool fits = number >= INT32_MIN && number <= UINT32_MAX;
        const auto length = static_cast<uint32_t>(number);
        length_ = fits && length != UINT32_MAX ? std::optional(length) : std::nullopt;
    }

    const Script& script_;
    const std::string& reply_;
    bool& cancelled_;
    size_t event_ = 0;
    size_t inPiece_ = 0;
    size_t at_ = 0;
    std::optional<uint32_t> length_;
    std::string server_;
};

int CodeOf(Outcome outcome) {
    if (outcome == Outcome::kWrongServer) return -5;
    if (outcome == Outcome::kNoService) return -6;
    return outcome == Outcome::kProxyRefused ? -8 : -7;
}

/// 0 when a connection comes about.
int ConnectError(const Script& script, bool& cancelled) {
    const std::string& looks = script.connects;
    if (looks.substr(0, 1) == "i") return 0;
    if (looks.substr(0, 1) == "r") return -3;
    for (size_t look = 0; look < kConnectLooks; ++look) {
        if (look == looks.size()) return 0;
        if (looks[look] == '!') return -3;
        if (looks[look] != 'x') continue;
        cancelled = true;
        return -4;
    }
    return -3;
}

}  // namespace

Expectation Expect(const Script& script) {
    Expectation expected;
    expected.login = script.login;
    bool cancelled = false;
    for (;;) {
        if (cancelled) {
            // After a cancel a question may still come, but no other connection is made.
            expected.error = -4;
            return expected;
        }
        expected.error = ConnectError(script, cancelled);
        if (expected.error != 0) return expected;

        Attempt attempt(script, expected.requests.size(), cancelled);
        const bool delivered = attempt.Run(RequestOf(script, expected.login));
        expected.requests.push_back(attempt.sent);
        expected.accepted = attempt.outcome == Outcome::kAccepted;
        expected.body = attempt.body;
        if (delivered) return expected;
        expected.error = cancelled ? -4 : CodeOf(attempt.outcome);
        if (attempt.outcome != Outcome::kProxyRefused || !script.viaProxy) return expected;

        const size_t question = expected.questions.size();
        expected.questions.push_back(
            {expected.login.user.substr(0, kFieldText), expected.login.password.substr(0, kFieldText)});
        if (script.cancelsInQuestion) {
            cancelled = true;
            expected.error = -4;
        }
        if (question == script.answers.size()) return expected;
        expected.login = script.answers[question];
    }
}

}  // namespace wpk::fuzz
