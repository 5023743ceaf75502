// The sentences for failed requests are the same in every language.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <wpk/error_text.h>
#include <wpk/wpk.h>

#include <fstream>
#include <iterator>
#include <string>

namespace {

std::string Script() {
    std::ifstream file(WPK_SCRIPT, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

TEST(Sentences, OfTheScriptAreThoseOfTheHeader) {
    const std::string script = Script();
    for (int error = -1; error >= -8; --error) {
        const std::string line = "[" + std::to_string(error) + "]: '" + WPK_ErrorText(error) + "',";
        EXPECT_NE(script.find(line), std::string::npos) << line;
    }
    EXPECT_NE(script.find(std::string("'") + WPK_ErrorText(-99) + "'"), std::string::npos);
}

TEST(Sentences, AndTheVersionOfTheScriptAreOurs) {
    EXPECT_NE(Script().find("const VERSION = '" WPK_VERSION_STRING "';"), std::string::npos);
}

}  // namespace
