// wpk_trace: what its command line asks for.
// SPDX-License-Identifier: MIT
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "common/usage.h"
#include "wpk_trace/options.h"

namespace wpk_trace {
namespace {

Options Parsed(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "wpk_trace");
    return ParseOptions(static_cast<int>(arguments.size()), arguments.data());
}

TEST(TraceOptions, HideCredentialsAndListenOnLoopbackUnlessToldOtherwise) {
    const Options options = Parsed({"--listen", "8081", "--to", "server.example:8080"});
    EXPECT_EQ(options.port, 8081);
    EXPECT_EQ(options.address, "127.0.0.1");
    EXPECT_EQ(options.target_host, "server.example");
    EXPECT_EQ(options.target_port, 8080);
    EXPECT_FALSE(options.shown.credentials);
}

TEST(TraceOptions, TakeWhatTheyAreTold) {
    const Options options =
        Parsed({"-l", "0", "-t", "proxy", "--address", "0.0.0.0", "--body", "7", "--show-credentials"});
    EXPECT_EQ(options.port, 0);
    EXPECT_EQ(options.address, "0.0.0.0");
    EXPECT_EQ(options.target_port, 80);
    EXPECT_EQ(options.shown.body, 7U);
    EXPECT_TRUE(options.shown.credentials);
}

TEST(TraceOptions, RefuseWhatIsNoAddress) {
    for (const char* target : {"", ":80", "host:", "host:0", "host:65536", "host:http", "host:80x", "host:-1"}) {
        EXPECT_THROW(Parsed({"--listen", "0", "--to", target}), common::Usage) << target;
    }
    EXPECT_THROW(Parsed({"--listen", "65536", "--to", "host"}), common::Usage);
    EXPECT_THROW(Parsed({"--listen", "0", "--to", "host", "--address", "localhost"}), common::Usage);
    EXPECT_THROW(Parsed({"--listen", "0"}), common::Usage);
    EXPECT_THROW(Parsed({"--to", "host"}), common::Usage);
}

TEST(TraceOptions, ExplainThemselves) {
    try {
        Parsed({"--help"});
        FAIL();
    } catch (const common::Usage& usage) {
        EXPECT_TRUE(usage.AskedFor());
        EXPECT_NE(std::string(usage.what()).find("--show-credentials"), std::string::npos);
    }
}

}  // namespace
}  // namespace wpk_trace
