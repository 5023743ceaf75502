// Addresses: what cannot be one is refused before anything is sent.
// SPDX-License-Identifier: MIT
#include "client/fixture.h"
#include "client/scripted_library.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace wpk::client_test {
namespace {

/// Why it is refused: what stands in front of the error's own text. "taken" when it is not.
template <class Call>
std::string ReasonOf(Call call) {
    try {
        call();
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code(), Errc::kBadAddress);
        const std::string text = error.what();
        return text.substr(0, text.find(": " + error.code().message()));
    }
    return "taken";
}

struct NameCase {
    const char* name;
    const char* reason;
};

constexpr NameCase kNames[] = {
    {"server.example", "taken"},
    {"127.0.0.1", "taken"},
    {"under_score-hyphen", "taken"},
    {"b\xFC"
     "cher.example",
     "taken"},
    {"two words", "the server's name contains a blank"},
    {" server.example", "the server's name contains a blank"},
    {"a\r\nHost: b", "the server's name contains a control character"},
    {"a\tb", "the server's name contains a control character"},
    {"a\x7F", "the server's name contains a control character"},
    {"server.example/path", "the server's name contains a slash"},
    {"server.example:80", "the server's name contains a colon"},
    {"http://server.example", "the server's name contains a colon"},
    {"::1", "the server's name contains a colon"},
};

struct PortCase {
    unsigned int port;
    const char* reason;
};

constexpr PortCase kPorts[] = {
    {1, "taken"},
    {65535, "taken"},
    {65536, "the server's port is 65536, not one of 1 to 65535"},
    {4294967295, "the server's port is 4294967295, not one of 1 to 65535"},
};

/// A Client whose library ends each request at once, and counts them.
class Counting {
public:
    Counting() : client_(Options(), Prepared().TheFunctions()) {}
    std::string ReasonOfSending(Message message) {
        return ReasonOf([&] { client_.Send(std::move(message), [](const Outcome&) {}); });
    }
    int sent() const { return sent_; }

private:
    ScriptedLibrary& Prepared() {
        library_.onSend = [this](WPK_SENDSTRUCT* message) {
            ++sent_;
            harness::Thread([&] { TellReply(*message, "done"); }).Join();
            return 8u;
        };
        return library_;
    }

    ScriptedLibrary library_;
    int sent_ = 0;
    Client client_;
};

TEST(AddressTest, OfAMessageIsCheckedBeforeItIsSent) {
    Counting scene;
    int taken = 0;
    for (const NameCase& one : kNames) {
        Message message("Echo", "hello");
        message.server = one.name;
        EXPECT_EQ(scene.ReasonOfSending(std::move(message)), one.reason) << one.name;
        if (std::string(one.reason) == "taken") ++taken;
    }
    for (const PortCase& one : kPorts) {
        Message message("Echo", "hello");
        message.server = "server.example";
        message.port = one.port;
        EXPECT_EQ(scene.ReasonOfSending(std::move(message)), one.reason) << one.port;
        if (std::string(one.reason) == "taken") ++taken;
    }
    EXPECT_EQ(scene.sent(), taken);
}

TEST(AddressTest, OfNobodyIsRefused) {
    Counting scene;
    EXPECT_EQ(scene.ReasonOfSending({"Echo", "hello"}), "the server's name is empty");
    EXPECT_EQ(scene.sent(), 0);
}

TEST(AddressTest, ThatIsRefusedGivesTheMessagesFunctionsBack) {
    Counting scene;
    const auto captured = std::make_shared<int>();
    Message message("Echo", "hello");
    message.on_progress = [captured](const Progress&) {};
    EXPECT_NE(scene.ReasonOfSending(std::move(message)), "taken");
    EXPECT_EQ(captured.use_count(), 1);
}

std::string ReasonOfAClient(Options options) {
    ScriptedLibrary library;
    const std::string reason = ReasonOf([&] { const Client client(std::move(options), library.TheFunctions()); });
    EXPECT_EQ(library.settings.lpfnCallback != nullptr, reason == "taken") << "initialised when it should not be";
    return reason;
}

TEST(AddressTest, OfAClientIsCheckedBeforeTheLibraryIsInitialised) {
    for (const NameCase& one : kNames) {
        Options options;
        options.server = one.name;
        EXPECT_EQ(ReasonOfAClient(std::move(options)), one.reason) << one.name;
    }
    for (const PortCase& one : kPorts) {
        Options options;
        options.server = "server.example";
        options.port = one.port;
        EXPECT_EQ(ReasonOfAClient(std::move(options)), one.reason) << one.port;
    }
    Options options;
    options.port = 0;
    EXPECT_EQ(ReasonOfAClient(std::move(options)), "the server's port is 0, not one of 1 to 65535");
}

TEST(AddressTest, OfAProxyIsCheckedBeforeTheLibraryIsInitialised) {
    for (const NameCase& one : kNames) {
        Options options;
        options.proxy = Proxy{one.name, 3128, {}};
        std::string reason = one.reason;
        if (const size_t server = reason.find("server"); server != std::string::npos)
            reason.replace(server, 6, "proxy");
        EXPECT_EQ(ReasonOfAClient(std::move(options)), reason) << one.name;
    }
    Options options;
    options.proxy = Proxy();
    EXPECT_EQ(ReasonOfAClient(std::move(options)), "the proxy's name is empty");
    options.proxy = Proxy{"proxy.example", 0, {}};
    EXPECT_EQ(ReasonOfAClient(std::move(options)), "the proxy's port is 0, not one of 1 to 65535");
    options.proxy = Proxy{"proxy.example", 65536, {}};
    EXPECT_EQ(ReasonOfAClient(std::move(options)), "the proxy's port is 65536, not one of 1 to 65535");
}

TEST(ParseAddress, OfNameAndPortGivesBoth) {
    const Address address = ParseAddress("server.example:8080");
    EXPECT_EQ(address.server.str(), "server.example");
    EXPECT_EQ(address.port, 8080u);
    EXPECT_EQ(ParseAddress(L"127.0.0.1:65535").port, 65535u);
}

TEST(ParseAddress, OfANameAloneGivesTheDefaultPort) {
    EXPECT_EQ(ParseAddress("server.example").server.str(), "server.example");
    EXPECT_EQ(ParseAddress("server.example").port, 80u);
    EXPECT_EQ(ParseAddress("server.example", 8080).port, 8080u);
}

TEST(ParseAddress, OfAnythingElseSaysWhy) {
    struct {
        const char* text;
        const char* reason;
    } const cases[] = {
        {"", "the server's name is empty"},
        {":80", "the server's name is empty"},
        {"server.example:", "the server's port is not a number"},
        {"server.example:http", "the server's port is not a number"},
        {"server.example:80 ", "the server's port is not a number"},
        {"server.example:+80", "the server's port is not a number"},
        {"server.example:-80", "the server's port is not a number"},
        {"server.example:99999999999", "the server's port is not a number"},
        {"server.example:0", "the server's port is 0, not one of 1 to 65535"},
        {"server.example:65536", "the server's port is 65536, not one of 1 to 65535"},
        {"server example:80", "the server's name contains a blank"},
        {"http://server.example:80", "the server's name contains a colon"},
        {"[::1]:80", "the server's name contains a colon"},
    };
    for (const auto& one : cases) EXPECT_EQ(ReasonOf([&] { ParseAddress(one.text); }), one.reason) << one.text;
}

}  // namespace
}  // namespace wpk::client_test
