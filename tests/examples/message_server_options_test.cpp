// message_server: what its command line asks for.
// SPDX-License-Identifier: MIT
#include "message_server/options.h"

#include <gtest/gtest.h>

#include <chrono>
#include <vector>

#include "common/usage.h"

namespace message_server {
namespace {

Options Parsed(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "message_server");
    return ParseOptions(static_cast<int>(arguments.size()), arguments.data());
}

TEST(ServerOptions, AreForOneMachineUnlessToldOtherwise) {
    const Options options = Parsed({});
    EXPECT_EQ(options.address, "127.0.0.1");
    EXPECT_EQ(options.port, 80);
    EXPECT_FALSE(options.log);
    EXPECT_EQ(options.limits.timeout, std::chrono::seconds(30));
    EXPECT_EQ(options.limits.slowest_rate, 1024U * 1024);
}

TEST(ServerOptions, TakeWhatTheyAreTold) {
    const Options options = Parsed({"--port", "0", "--listen", "0.0.0.0", "--max-request", "4294967295", "--max-head",
                                    "100", "--connections", "7", "--timeout", "2", "--slowest", "3", "--log"});
    EXPECT_EQ(options.port, 0);
    EXPECT_EQ(options.address, "0.0.0.0");
    EXPECT_EQ(options.limits.max_request, 4294967295U);
    EXPECT_EQ(options.limits.max_head, 100U);
    EXPECT_EQ(options.connections, 7U);
    EXPECT_EQ(options.limits.timeout, std::chrono::seconds(2));
    EXPECT_EQ(options.limits.slowest_rate, 3U * 1024);
    EXPECT_TRUE(options.log);
}

TEST(ServerOptions, RefuseWhatIsOutOfRange) {
    const std::vector<const char*> cases[] = {
        {"--port", "65536"},     {"--listen", "localhost"},
        {"--max-request", "-1"}, {"--max-head", "0"},
        {"--connections", "0"},  {"--connections", "1025"},
        {"--timeout", "0"},      {"--timeout", "3601"},
        {"--slowest", "a lot"},  {"8080"},
    };
    for (const auto& arguments : cases) EXPECT_THROW(Parsed(arguments), common::Usage) << arguments[0];
}

}  // namespace
}  // namespace message_server
