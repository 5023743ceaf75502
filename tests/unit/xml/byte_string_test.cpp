// Byte strings.
// SPDX-License-Identifier: MIT
#include <cstddef>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>

#include <gtest/gtest.h>

#include "support/xml.h"

using namespace AdvXMLParser;

namespace {

std::string OfSize(size_t size) {
    std::string text;
    for (size_t i = 0; i < size; ++i) text += static_cast<char>('a' + i % 26);
    return text;
}

TEST(ByteStrings, AreSmall) {
    EXPECT_EQ(sizeof(ByteString), 16U);
}

TEST(ByteStrings, HoldAnyLengthAndEndWithAZero) {
    for (size_t size = 0; size < 70; ++size) {
        const std::string text = OfSize(size);
        const ByteString bytes(text);
        EXPECT_EQ(bytes.size(), size);
        EXPECT_EQ(bytes.length(), size);
        EXPECT_EQ(bytes.empty(), size == 0);
        EXPECT_EQ(bytes, text);
        EXPECT_STREQ(bytes.c_str(), text.c_str());
        EXPECT_EQ(bytes.data(), bytes.c_str());
    }
}

TEST(ByteStrings, HoldAnyByte) {
    const std::string text("a\0\xFF\r\n", 5);
    const ByteString bytes(text);
    EXPECT_EQ(bytes.size(), 5U);
    EXPECT_EQ(bytes[2], '\xFF');
    EXPECT_EQ(bytes, text);
}

TEST(ByteStrings, ConvertBothWays) {
    ByteString bytes;
    bytes = "literal";
    bytes = std::string("string");
    bytes = std::string_view("a view");
    const std::string_view view = bytes;
    const std::string string = bytes;
    const std::string constructed(bytes);
    EXPECT_EQ(view, "a view");
    EXPECT_EQ(string, "a view");
    EXPECT_EQ(constructed, "a view");
    std::string sum = "it is ";
    sum += bytes;
    EXPECT_EQ(sum, "it is a view");
    std::ostringstream out;
    out << bytes;
    EXPECT_EQ(out.str(), "a view");
}

TEST(ByteStrings, CompareWithAnyString) {
    const ByteString a("a");
    const ByteString b("b");
    EXPECT_TRUE(a == "a" && "a" == a && a == std::string("a") && std::string("a") == a);
    EXPECT_TRUE(a != b && a != "b" && "b" != a && a < b && a == ByteString("a"));
    EXPECT_TRUE(a == std::string_view("a"));
}

TEST(ByteStrings, AssignAndCopyAcrossForms) {
    for (const size_t from : {0U, 1U, 15U, 16U, 40U}) {
        for (const size_t to : {0U, 1U, 15U, 16U, 40U}) {
            ByteString a(OfSize(from));
            ByteString b(OfSize(to));
            a = b;
            EXPECT_EQ(a, OfSize(to));
            a = OfSize(from);
            b = std::move(a);
            EXPECT_EQ(b, OfSize(from));
            EXPECT_EQ(a, "");  // NOLINT(bugprone-use-after-move): promised to be empty
            const ByteString c(b);
            const ByteString d(std::move(b));
            EXPECT_EQ(c, d);
        }
    }
}

TEST(ByteStrings, AssignmentFromThemselvesHolds) {
    for (const size_t size : {3U, 40U}) {
        ByteString bytes(OfSize(size));
        const ByteString& same = bytes;
        bytes = same;
        EXPECT_EQ(bytes, OfSize(size));
        bytes = std::string_view(bytes).substr(1);
        EXPECT_EQ(bytes, OfSize(size).substr(1));
        bytes.append(bytes);
        EXPECT_EQ(bytes, OfSize(size).substr(1) + OfSize(size).substr(1));
    }
}

TEST(ByteStrings, GrowByAppending) {
    ByteString bytes;
    std::string expected;
    for (size_t size = 0; size < 40; ++size) {
        bytes += OfSize(size);
        expected += OfSize(size);
        EXPECT_EQ(bytes, expected);
        EXPECT_STREQ(bytes.c_str(), expected.c_str());
    }
    bytes.clear();
    EXPECT_TRUE(bytes.empty());
}

TEST(ByteStrings, OfADocumentEndWithAZeroHoweverLongAndWithoutTheirReturns) {
    for (size_t size = 1; size < 100; ++size) {
        const std::string text = OfSize(size) + '\n';
        const auto document = xml_tests::Parse("<e>" + OfSize(size) + "\r\n<b/>behind it</e>");
        const auto& kept = static_cast<const Text&>(*document->root->children[0]).text;
        EXPECT_EQ(kept, text);
        EXPECT_STREQ(kept.c_str(), text.c_str());
    }
}

}  // namespace
