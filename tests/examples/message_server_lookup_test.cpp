// The message server's service that speaks XML.
// SPDX-License-Identifier: MIT
#include "message_server/lookup.h"

#include <gtest/gtest.h>

#include <string>

#include "message_server/services.h"

namespace message_server {
namespace {

const std::string kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

TEST(Lookup, OfAKnownNameAnswersItsFields) {
    EXPECT_EQ(Lookup("<request><name>iron</name></request>"),
              kDeclaration +
                  "<reply>\n  <found>yes</found>\n  <name>iron</name>\n  <symbol>Fe</symbol>\n  "
                  "<number>26</number>\n</reply>");
}

TEST(Lookup, LetsWhiteSpaceAroundTheNamePass) {
    EXPECT_NE(Lookup("<?xml version=\"1.0\"?>\n<request>\n  <name> gold\n </name>\n</request>\n").find("Au"),
              std::string::npos);
}

TEST(Lookup, OfAnUnknownOrMissingNameAnswersNotFound) {
    for (const char* request : {"<request><name>phlogiston</name></request>", "<request><name/></request>",
                                "<request/>", "<request><name>IRON</name></request>"}) {
        EXPECT_EQ(Lookup(request), kDeclaration + "<reply>\n  <found>no</found>\n</reply>") << request;
    }
}

TEST(Lookup, OfWhatIsNoDocumentAnswersWhereItIsWrong) {
    EXPECT_EQ(Lookup("<a></b>"), kDeclaration +
                                     "<reply>\n  <error>\n    <code>13</code>\n    <line>1</line>\n    "
                                     "<column>7</column>\n  </error>\n</reply>");
    EXPECT_NE(Lookup("").find("<error>"), std::string::npos);
    EXPECT_NE(Lookup("iron").find("<error>"), std::string::npos);
}

TEST(Lookup, IsAService) {
    const Answer answer = RunService({false, "Lookup", "<request><name>tin</name></request>"}, {});
    EXPECT_NE(answer.text.find("<symbol>Sn</symbol>"), std::string::npos);
}

}  // namespace
}  // namespace message_server
