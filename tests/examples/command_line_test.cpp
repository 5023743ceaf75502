// What the command lines of all programs have in common.
// SPDX-License-Identifier: MIT
#include "common/command_line.h"

#include <gtest/gtest.h>
#include <wpk/wpk.h>

#include <functional>
#include <string>
#include <vector>

#include "common/address.h"
#include "desktop/options.h"
#include "message_server/options.h"
#include "wpk_send/options.h"
#include "wpk_trace/options.h"

namespace {

struct Program {
    const char* name;
    std::function<void(int, const char* const*)> parse;
};

std::vector<Program> Programs() {
    return {
        {"desktop", desktop::ParseOptions},
        {"message_server", message_server::ParseOptions},
        {"wpk_send", wpk_send::ParseOptions},
        {"wpk_trace", wpk_trace::ParseOptions},
    };
}

/// What the program says in place of doing its work.
common::Usage Answer(const Program& program, const char* argument) {
    const char* const argv[] = {program.name, argument};
    try {
        program.parse(2, argv);
    } catch (const common::Usage& usage) {
        return usage;
    }
    return {"nothing", false};
}

TEST(CommandLineTest, OfEachProgramTellsTheVersion) {
    for (const Program& program : Programs()) {
        const common::Usage answer = Answer(program, "--version");
        EXPECT_EQ(std::string(answer.what()), std::string(program.name) + " " WPK_VERSION_STRING "\n");
        EXPECT_EQ(answer.ExitStatus(), 0);
    }
}

TEST(CommandLineTest, OfEachProgramExplainsItselfInTheSameStyle) {
    for (const Program& program : Programs()) {
        const common::Usage answer = Answer(program, "--help");
        const std::string help = answer.what();
        EXPECT_NE(help.find("\nusage: " + std::string(program.name) + " [OPTION ...]"), std::string::npos) << help;
        EXPECT_NE(help.find("Exit status:"), std::string::npos) << help;
        EXPECT_EQ(help.find("INT"), std::string::npos) << help;
        EXPECT_EQ(answer.ExitStatus(), 0);
    }
}

TEST(CommandLineTest, OfEachProgramEndsWithTwoWhenItIsWrong) {
    for (const Program& program : Programs()) {
        const common::Usage answer = Answer(program, "--no-such-option");
        EXPECT_EQ(std::string(answer.what()).find(std::string(program.name) + ": "), 0U) << answer.what();
        EXPECT_NE(std::string(answer.what()).find(" --help explains"), std::string::npos) << answer.what();
        EXPECT_EQ(answer.ExitStatus(), 2);
    }
}

TEST(NumberBetween, TakesDecimalNumbersOfItsRangeAlone) {
    const CLI::Validator number = common::NumberBetween(1, 65535);
    const struct {
        std::string text;
        const char* becomes;
    } good[] = {{"1", "1"}, {"65535", "65535"}, {"0080", "80"}};
    for (auto [text, becomes] : good) {
        EXPECT_EQ(number(text), "");
        EXPECT_EQ(text, becomes);
    }
    for (std::string text :
         {"", "0", "65536", "-1", "+1", "0x50", "80x", " 80", "80 ", "1.5", "99999999999999999999"}) {
        EXPECT_EQ(number(text), "'" + text + "' is no number from 1 to 65535");
    }
}

TEST(Addresses, ThatOthersReachAreAllButTheLoop) {
    EXPECT_FALSE(common::IsOpenToOthers("127.0.0.1"));
    EXPECT_FALSE(common::IsOpenToOthers("127.1.2.3"));
    EXPECT_TRUE(common::IsOpenToOthers("0.0.0.0"));
    EXPECT_TRUE(common::IsOpenToOthers("192.168.1.27"));
}

}  // namespace
