// The console client's look into XML replies.
// SPDX-License-Identifier: MIT
#include "wpk_send/xml_field.h"

#include <gtest/gtest.h>

#include <string>

namespace wpk_send {
namespace {

std::string Field(const std::string& reply, const std::string& name) {
    return FieldText(reply.data(), reply.size(), name);
}

std::string FieldFault(const std::string& reply, const std::string& name) {
    try {
        return "found " + Field(reply, name);
    } catch (const NoField& fault) {
        return fault.what();
    }
}

TEST(FieldText, IsTheTextOfTheFirstElementOfThatName) {
    const std::string reply = "<reply>\n  <a>one</a>\n  <b> two <c>three</c></b>\n  <a>four</a>\n  <e/>\n</reply>";
    EXPECT_EQ(Field(reply, "a"), "one");
    EXPECT_EQ(Field(reply, "b"), "two three");
    EXPECT_EQ(Field(reply, "e"), "");
}

TEST(FieldText, OfAMissingElementIsAFault) {
    EXPECT_EQ(FieldFault("<reply><a><b/></a></reply>", "b"), "The reply has no field 'b'.");
    EXPECT_EQ(FieldFault("<reply/>", "reply"), "The reply has no field 'reply'.");
}

TEST(FieldText, OfWhatIsNoXmlSaysWhereItIsWrong) {
    EXPECT_EQ(FieldFault("<a></b>", "a"), "The reply is no XML: fault 13 at line 1, column 7.");
    EXPECT_EQ(FieldFault("", "a").substr(0, 20), "The reply is no XML:");
}

TEST(FieldText, OfNoReplyAtAllIsAFault) {
    EXPECT_THROW(FieldText(nullptr, 0, "a"), NoField);
}

}  // namespace
}  // namespace wpk_send
