// What the parser and its nodes throw.
// SPDX-License-Identifier: MIT
#include <type_traits>

#include <gtest/gtest.h>

#include "support/xml.h"

using namespace AdvXMLParser;

namespace {

TEST(Exceptions, DeriveFromTheBase) {
    static_assert(std::is_base_of<Exception, ParsingException>::value, "");
    static_assert(std::is_base_of<Exception, InvalidRefException>::value, "");
    static_assert(std::is_polymorphic<Exception>::value, "");
    const ParsingException fault(13, 2, 7);
    const ParsingException copy = fault;
    EXPECT_EQ(copy.code, 13U);
    EXPECT_EQ(copy.line, 2U);
    EXPECT_EQ(copy.column, 7U);
    EXPECT_STRNE(copy.what(), "");
    EXPECT_STRNE(InvalidRefException("x").what(), "");
    EXPECT_STRNE(Exception().what(), "");
}

}  // namespace
