// The console client's command line.
// SPDX-License-Identifier: MIT
#include "wpk_send/options.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

#include "common/usage.h"

namespace wpk_send {
namespace {

Options Parse(std::initializer_list<const char*> arguments) {
    std::vector<const char*> argv = {"wpk_send"};
    argv.insert(argv.end(), arguments);
    return ParseOptions(static_cast<int>(argv.size()), argv.data());
}

/// "right", "wrong" or "help".
std::string Judge(std::initializer_list<const char*> arguments) {
    try {
        Parse(arguments);
    } catch (const common::Usage& usage) {
        EXPECT_STRNE(usage.what(), "");
        return usage.AskedFor() ? "help" : "wrong";
    }
    return "right";
}

TEST(SendOptions, OfAServiceAloneAreTheDefaults) {
    const Options options = Parse({"Echo"});
    EXPECT_EQ(options.service, "Echo");
    EXPECT_EQ(options.server, "127.0.0.1");
    EXPECT_EQ(options.port, 80);
    EXPECT_FALSE(options.message.has_value());
    EXPECT_EQ(options.connection_type, 2);
    EXPECT_EQ(options.proxy_host, "");
    EXPECT_FALSE(options.timeout_seconds.has_value());
}

TEST(SendOptions, MessageMayBeGivenAndMayBeEmpty) {
    EXPECT_EQ(Parse({"Echo", "hello there"}).message, "hello there");
    EXPECT_EQ(Parse({"Echo", ""}).message, "");
}

TEST(SendOptions, ConnectionTypesHaveNamesAndNumbers) {
    const struct {
        const char* text;
        int type;
    } cases[] = {{"never", 0}, {"dial-up", 1}, {"permanent", 2}, {"automatic", 3}, {"Never", 0},
                 {"0", 0},     {"1", 1},       {"2", 2},         {"3", 3}};
    for (const auto& [text, type] : cases)
        EXPECT_EQ(Parse({"--connection", text, "Echo"}).connection_type, type) << text;
    for (const char* text : {"4", "-1", "sometimes", ""}) {
        EXPECT_EQ(Judge({"--connection", text, "Echo"}), "wrong") << text;
    }
}

TEST(SendOptions, ProxyIsAHostWithOrWithoutAPort) {
    const Options options =
        Parse({"--proxy", "proxy.example:3128", "--proxy-user", "u", "--proxy-password", "p", "Echo"});
    EXPECT_EQ(options.proxy_host, "proxy.example");
    EXPECT_EQ(options.proxy_port, 3128);
    EXPECT_EQ(options.proxy_user, "u");
    EXPECT_EQ(options.proxy_password, "p");
    EXPECT_EQ(Parse({"--proxy", "proxy.example", "Echo"}).proxy_port, 80);
}

TEST(SendOptions, ProxyWithoutHostOrWithoutNumberIsWrong) {
    for (const char* proxy : {":80", "host:", "host:0", "host:65536", "host:http", "host:80x", "host:-1"}) {
        EXPECT_EQ(Judge({"--proxy", proxy, "Echo"}), "wrong") << proxy;
    }
}

TEST(SendOptions, ThatContradictEachOtherAreWrong) {
    EXPECT_EQ(Judge({"--watch", "Echo"}), "wrong");
    EXPECT_EQ(Judge({"--quiet", "--verbose", "Echo"}), "wrong");
    EXPECT_EQ(Judge({"--quiet", "--progress", "Echo"}), "wrong");
    EXPECT_EQ(Judge({"--proxy-user", "u", "Echo"}), "wrong");
}

TEST(SendOptions, WithoutServiceOrWithOneTooManyAreWrong) {
    EXPECT_EQ(Judge({}), "wrong");
    EXPECT_EQ(Judge({"Echo", "hello", "again"}), "wrong");
    EXPECT_EQ(Judge({"--no-such-option", "Echo"}), "wrong");
    EXPECT_EQ(Judge({"--input", "no such file", "Echo"}), "wrong");
}

TEST(SendOptions, PortsAndTimesHaveTheirRanges) {
    EXPECT_EQ(Parse({"--port", "65535", "Echo"}).port, 65535);
    for (const char* port : {"0", "65536", "-1", "http"}) EXPECT_EQ(Judge({"--port", port, "Echo"}), "wrong") << port;
    EXPECT_EQ(Parse({"--timeout", "86400", "Echo"}).timeout_seconds, 86400U);
    for (const char* time : {"0", "86401", "-1"}) EXPECT_EQ(Judge({"--timeout", time, "Echo"}), "wrong") << time;
}

std::string Complaint(std::initializer_list<const char*> arguments) {
    try {
        Parse(arguments);
    } catch (const common::Usage& usage) {
        return usage.what();
    }
    return "none";
}

TEST(SendOptions, ThatAreWrongAreNamedAndSoIsWhatWouldBeRight) {
    const struct {
        std::initializer_list<const char*> arguments;
        const char* complaint;
    } cases[] = {
        {{"--port", "65536", "Echo"}, "wpk_send: --port: '65536' is no number from 1 to 65535\n"},
        {{"--port", "99999999999999999999", "Echo"}, "--port: '99999999999999999999' is no number from 1 to 65535\n"},
        {{"--timeout", "0", "Echo"}, "wpk_send: --timeout: '0' is no number from 1 to 86400\n"},
        {{"--proxy", "host:65536", "Echo"}, "wpk_send: --proxy: no port number from 1 to 65535 in 'host:65536'\n"},
        {{"--connection", "often", "Echo"},
         "wpk_send: --connection: 'often' is none of never, dial-up, permanent, automatic and 0 to 3\n"},
        {{}, "wpk_send: SERVICE is required\n"},
    };
    for (const auto& [arguments, complaint] : cases) {
        const std::string text = Complaint(arguments);
        EXPECT_NE(text.find(complaint), std::string::npos) << text;
        EXPECT_NE(text.find("\n(wpk_send --help explains the command line.)\n"), std::string::npos) << text;
    }
}

TEST(SendOptions, HelpIsAskedForAndNamesTheExitStatuses) {
    EXPECT_EQ(Judge({"--help"}), "help");
    try {
        Parse({"--help"});
        FAIL();
    } catch (const common::Usage& usage) {
        EXPECT_NE(std::string(usage.what()).find("Exit status:"), std::string::npos);
        EXPECT_NE(std::string(usage.what()).find("--proxy-password"), std::string::npos);
    }
}

TEST(SendOptions, HelpHasAWordForEachValueAndNothingOfTheParserS) {
    const std::string help = Complaint({"--help"});
    EXPECT_NE(help.find("usage: wpk_send [OPTION ...] [SERVICE] [MESSAGE]\n"), std::string::npos) << help;
    EXPECT_NE(help.find("-p,--port PORT"), std::string::npos) << help;
    EXPECT_NE(help.find("Its port (usual: 80)\n"), std::string::npos) << help;
    for (const char* notation : {"UINT", "INT", "TEXT", "Excludes", "Needs", "->", "REQUIRED", " in ["}) {
        EXPECT_EQ(help.find(notation), std::string::npos) << notation;
    }
}

TEST(SendOptions, WatchingNeedsNoService) {
    EXPECT_TRUE(Parse({"--watch"}).watch);
}

}  // namespace
}  // namespace wpk_send
