// Byte strings and node lists.
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <deque>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/xml.h"

using namespace AdvXMLParser;

namespace {

std::string OfSize(std::size_t size) {
    std::string text;
    for (std::size_t i = 0; i < size; ++i) text += static_cast<char>('a' + i % 26);
    return text;
}

TEST(ByteStrings, AreSmall) {
    EXPECT_EQ(sizeof(ByteString), 16U);
    EXPECT_EQ(sizeof(NodeList<Node>), 16U);
}

TEST(ByteStrings, HoldAnyLengthAndEndWithAZero) {
    for (std::size_t size = 0; size < 70; ++size) {
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
    for (const std::size_t from : {0U, 1U, 15U, 16U, 40U}) {
        for (const std::size_t to : {0U, 1U, 15U, 16U, 40U}) {
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
    for (const std::size_t size : {3U, 40U}) {
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
    for (std::size_t size = 0; size < 40; ++size) {
        bytes += OfSize(size);
        expected += OfSize(size);
        EXPECT_EQ(bytes, expected);
        EXPECT_STREQ(bytes.c_str(), expected.c_str());
    }
    bytes.clear();
    EXPECT_TRUE(bytes.empty());
}

TEST(NodeLists, BehaveLikeAVectorOfPointers) {
    Text nodes[10] = {{nullptr, "0"}, {nullptr, "1"}, {nullptr, "2"}, {nullptr, "3"}, {nullptr, "4"},
                      {nullptr, "5"}, {nullptr, "6"}, {nullptr, "7"}, {nullptr, "8"}, {nullptr, "9"}};
    NodeList<Node> list;
    std::vector<Node*> model;
    const auto isLikeModel = [&] { return std::equal(list.begin(), list.end(), model.begin(), model.end()); };
    for (Text& node : nodes) {
        list.push_back(&node);
        model.push_back(&node);
        EXPECT_TRUE(isLikeModel());
    }
    list.erase(list.begin() + 3);
    model.erase(model.begin() + 3);
    EXPECT_TRUE(isLikeModel());
    list.insert(list.begin() + 1, &nodes[3]);
    model.insert(model.begin() + 1, &nodes[3]);
    EXPECT_TRUE(isLikeModel());
    list.pop_back();
    model.pop_back();
    EXPECT_TRUE(isLikeModel());
    EXPECT_EQ(list.front(), &nodes[0]);
    EXPECT_EQ(list.back(), &nodes[8]);
    EXPECT_EQ(list.at(1), &nodes[3]);
    EXPECT_THROW(list.at(9), std::out_of_range);
}

TEST(NodeLists, TakeAndLoseEntriesAtEitherEndLikeADeque) {
    const auto document = xml_tests::Parse("<r><a/><b/><c/><d/><e/></r>");
    NodeList<Node>& list = document->root->children;
    std::deque<Node*> model(list.begin(), list.end());
    std::mt19937 random(7);
    for (int step = 0; step < 20000; ++step) {
        // Growing and shrinking in turn, through empty, so that the memory is got, used up and given back often.
        const bool grows = random() % 100 < (step / 500 % 2 == 0 ? 35U : 65U);
        if (grows || model.empty()) {
            Node* const node = new Text(document->root, "t");
            list.push_back(node);
            model.push_back(node);
        } else if (random() % 4 == 0) {
            delete model.back();
            list.erase(list.end() - 1);
            model.pop_back();
        } else {
            delete model.front();
            const auto next = list.erase(list.begin());
            EXPECT_EQ(next, list.begin());
            model.pop_front();
        }
        ASSERT_EQ(list.size(), model.size());
        ASSERT_TRUE(std::equal(list.begin(), list.end(), model.begin()));
    }
    const NodeList<Node> copy(list);
    EXPECT_TRUE(std::equal(copy.begin(), copy.end(), model.begin(), model.end()));
}

TEST(NodeLists, CopyAndMove) {
    for (const std::size_t size : {0U, 1U, 2U, 9U}) {
        Element element(nullptr, "e");
        NodeList<Node> list;
        for (std::size_t i = 0; i < size; ++i) list.push_back(&element);
        const NodeList<Node> copy(list);
        NodeList<Node> moved(std::move(list));
        EXPECT_TRUE(list.empty());  // NOLINT(bugprone-use-after-move): promised to be empty
        EXPECT_EQ(copy.size(), size);
        EXPECT_EQ(moved.size(), size);
        moved.push_back(&element);
        list = moved;
        EXPECT_EQ(list.size(), size + 1);
        moved.clear();
        EXPECT_TRUE(moved.empty());
    }
}

TEST(ByteStrings, OfADocumentEndWithAZeroHoweverLongAndWithoutTheirReturns) {
    for (std::size_t size = 1; size < 100; ++size) {
        const std::string text = OfSize(size) + '\n';
        const auto document = xml_tests::Parse("<e>" + OfSize(size) + "\r\n<b/>behind it</e>");
        const auto& kept = static_cast<const Text&>(*document->root->children[0]).text;
        EXPECT_EQ(kept, text);
        EXPECT_STREQ(kept.c_str(), text.c_str());
    }
}

TEST(NodeLists, OfOneEntryNeedNoMemoryOfTheirOwn) {
    Element element(nullptr, "e");
    NodeList<Node> list;
    list.push_back(&element);
    EXPECT_EQ(static_cast<void*>(list.begin()), static_cast<void*>(&list));
    EXPECT_EQ(list[0], &element);
    NodeList<Node> other;
    other = std::move(list);
    EXPECT_EQ(other[0], &element);
}

}  // namespace
