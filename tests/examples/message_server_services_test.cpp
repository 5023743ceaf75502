// The message server's services.
// SPDX-License-Identifier: MIT
#include "message_server/services.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "message_server/refusal.h"

namespace message_server {
namespace {

using std::chrono::milliseconds;

void NoPause(milliseconds) {
    ADD_FAILURE() << "this service does not wait";
}

Answer Ask(const std::string& service, const std::string& data) {
    return RunService({false, service, data}, NoPause);
}

std::string RefusalOf(const std::string& service, const std::string& data) {
    try {
        Ask(service, data);
    } catch (const Refusal& refusal) {
        return std::to_string(refusal.Code()) + " " + refusal.what();
    }
    return "accepted";
}

TEST(Echo, AnswersTheSameBytes) {
    const std::string bytes("a\0\r\n\xFF", 5);
    EXPECT_EQ(Ask("Echo", bytes).text, bytes);
    EXPECT_EQ(Ask("Echo", "").Length(), 0U);
}

TEST(Reverse, AnswersTheBytesLastFirst) {
    EXPECT_EQ(Ask("Reverse", std::string("a\0b", 3)).text, std::string("b\0a", 3));
    EXPECT_EQ(Ask("Reverse", "").text, "");
}

TEST(Generate, AnswersAsManyBytesAsAsked) {
    EXPECT_EQ(Ask("Generate", "0").Length(), 0U);
    EXPECT_EQ(Ask("Generate", "10241").Length(), 10241U);
    EXPECT_EQ(Ask("Generate", "4294967295").Length(), 4294967295U);
    EXPECT_EQ(Ask("Generate", "12\r\n").Length(), 12U);
}

TEST(Generate, RefusesWhatIsNoNumberOrTooMuch) {
    for (const char* message :
         {"", "\n", "ten", "-1", "+1", "1 2", " 1", "1.5", "4294967296", "99999999999999999999"}) {
        EXPECT_EQ(RefusalOf("Generate", message), "400 Bad_Message") << message;
    }
}

TEST(Sleep, WaitsAsLongAsAskedAndThenAnswers) {
    std::vector<milliseconds> waits;
    const Answer answer = RunService({false, "Sleep", "250"}, [&](milliseconds time) { waits.push_back(time); });
    EXPECT_EQ(waits, std::vector<milliseconds>{milliseconds(250)});
    EXPECT_EQ(answer.text, "Slept for 250 ms.\n");
}

TEST(Sleep, RefusesMoreThanTenMinutesAndWhatIsNoNumber) {
    EXPECT_EQ(RefusalOf("Sleep", "600001"), "400 Bad_Message");
    EXPECT_EQ(RefusalOf("Sleep", "a while"), "400 Bad_Message");
}

TEST(RunService, RefusesNamesThatNoServiceHas) {
    for (const char* name : {"", "echo", "Echo ", "Ech", "Echoes"}) {
        EXPECT_EQ(RefusalOf(name, "hello"), "500 Bad_Plugin_Name") << name;
    }
}

}  // namespace
}  // namespace message_server
