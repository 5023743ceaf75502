// The samples of docs/xml_helpers.md: they compile as they stand there, and do what the page says.
// SPDX-License-Identifier: MIT
#include "xml_helpers/task.inc"

#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "support/own_folder.h"

namespace {

const char* const kBefore =
#include "xml_helpers/before.out"
    ;
const char* const kAfter =
#include "xml_helpers/after.out"
    ;
const char* const kRefused =
#include "xml_helpers/refused.out"
    ;
const char* const kExcerpt =
#include "xml_helpers/excerpt.out"
    ;

/// The page names the file without a folder.
class XmlHelpersPage : public testing::Test {
    const wpk::test::OwnCurrentFolder folder_;
};

TEST_F(XmlHelpersPage, TaskMakesOfTheFileWhatItShows) {
    std::ofstream("order.xml", std::ios::binary) << kBefore;
    EXPECT_EQ(UpdateOrder("order.xml"), 0);
    std::ifstream file("order.xml", std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), kAfter);
}

TEST_F(XmlHelpersPage, TaskSaysWhereTheErrorIs) {
    std::string text = kBefore;
    text.replace(text.find("</price>"), 8, "</prize>");
    std::ofstream("order.xml", std::ios::binary) << text;
    testing::internal::CaptureStderr();
    EXPECT_EQ(UpdateOrder("order.xml"), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), std::string(kRefused) + "\n");
}

TEST_F(XmlHelpersPage, NothingIsNeverWrittenTo) {
#include "xml_helpers/nothing.inc"
    EXPECT_EQ(count, 7);
    EXPECT_FALSE(isSet);
    EXPECT_FALSE(isAdded);
    EXPECT_EQ(ToString(*order->root), "<order/>");
}

TEST_F(XmlHelpersPage, ErrorsSayWhatItShows) {
    std::string message;
    std::string excerpt;
#include "xml_helpers/errors.inc"
    EXPECT_EQ(message, "line 2, column 15: the end tag is not that of the open element");
    EXPECT_EQ(excerpt, kExcerpt);
}

}  // namespace
