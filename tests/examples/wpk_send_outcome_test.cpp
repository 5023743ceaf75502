// The console client's words and exit statuses.
// SPDX-License-Identifier: MIT
#include "wpk_send/outcome.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace wpk_send {
namespace {

TEST(ExitStatus, IsAnotherForEachOutcome) {
    std::set<int> statuses = {kReplied, kFileTrouble, kWrongUsage, kNotInitialised, kNotSent, kTimedOut, kNoSuchField};
    EXPECT_EQ(statuses.size(), 7U);
    for (int error = -1; error >= -8; --error) {
        EXPECT_TRUE(statuses.insert(ExitStatusOfError(error)).second) << error;
    }
    EXPECT_EQ(ExitStatusOfError(-1), 11);
    EXPECT_EQ(ExitStatusOfError(-8), 18);
}

TEST(OutcomeText, IsAnotherForEachCode) {
    std::set<std::string> texts;
    for (int error = -1; error >= -8; --error) {
        EXPECT_EQ(ErrorText(error).find("unknown"), std::string::npos) << error;
        EXPECT_TRUE(texts.insert(ErrorText(error)).second) << error;
    }
}

TEST(ErrorAdvice, IsAnotherForEachCodeButACancel) {
    std::set<std::string> texts;
    for (int error = -1; error >= -8; --error) EXPECT_TRUE(texts.insert(ErrorAdvice(error)).second) << error;
    EXPECT_EQ(ErrorAdvice(-4), "");
}

TEST(ErrorTextAndAdvice, StandTogetherWhereThereIsAdvice) {
    EXPECT_EQ(ErrorTextAndAdvice(-2, " "), ErrorText(-2) + " " + ErrorAdvice(-2));
    EXPECT_EQ(ErrorTextAndAdvice(-4, " "), ErrorText(-4));
}

TEST(OutcomeText, OfAnUnknownCodeNamesIt) {
    EXPECT_EQ(ErrorText(-9), "The request failed with the unknown code -9.");
    EXPECT_EQ(ErrorAdvice(-9), "");
}

TEST(ExitStatusHelp, ListsEveryStatusOnALineOfItsOwn) {
    const std::string help = ExitStatusHelp();
    for (const char* status :
         {"  0", "  1", "  2", "  3", "  4", "  5", "  6", " 11", " 12", " 13", " 14", " 15", " 16", " 17", " 18"}) {
        EXPECT_NE(help.find("\n" + std::string(status) + "  "), std::string::npos) << status;
    }
}

}  // namespace
}  // namespace wpk_send
