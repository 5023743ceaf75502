// The report of an exception that escapes a thread.
// SPDX-License-Identifier: MIT
#include "threadlib/exception_report.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>

namespace wpk::core {
namespace {

TEST(EscapedExceptionTextTest, NamesTheThreadAndIsCutOffWhereItIsFull) {
    const std::string beginning = "ThreadLib::Thread Exception::";
    EXPECT_EQ(EscapedExceptionText("").text, beginning);
    EXPECT_EQ(EscapedExceptionText("Service::FrontDeskFunc()").text, beginning + "Service::FrontDeskFunc()");
    const size_t room = sizeof(EscapedExceptionText::text) - 1 - beginning.size();
    for (const size_t length : {room - 1, room, room + 1, size_t{5000}}) {
        const std::string name(length, 'n');
        EXPECT_EQ(EscapedExceptionText(name.c_str()).text, beginning + name.substr(0, room));
    }
}

}  // namespace
}  // namespace wpk::core
