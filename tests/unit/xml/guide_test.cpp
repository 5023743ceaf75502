// The samples of docs/xml.md: they compile as they stand there, and do what the page says.
// SPDX-License-Identifier: MIT
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include <wpk/xml.h>

using namespace AdvXMLParser;

namespace {

TEST(XmlPage, BuildsAndWritesAsItShows) {
#include "xml/building.inc"
#include "xml/writing.inc"
    const std::string shown =
#include "xml/writing.out"
        ;
    EXPECT_EQ(body, shown);
}

TEST(XmlPage, ParsesAndLooksUpAsItShows) {
#include "xml/parsing.inc"
#include "xml/looking_up.inc"
    EXPECT_EQ(state, "in transit");
    EXPECT_EQ(none, "");
    EXPECT_FALSE(isThere);
    EXPECT_EQ(items, "ab");
    EXPECT_EQ(code, "7");
}

TEST(XmlPage, ReportsErrorsAsItShows) {
    std::string message;
#include "xml/errors.inc"
    EXPECT_EQ(message, "code 13 at line 2, column 3");
}

}  // namespace
