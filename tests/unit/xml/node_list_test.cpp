// Lists of nodes.
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstddef>
#include <deque>
#include <random>
#include <stdexcept>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/xml.h"

using namespace AdvXMLParser;

namespace {

TEST(NodeLists, AreSmall) {
    EXPECT_EQ(sizeof(NodeList<Node>), 16U);
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
            Node* node = new Text(document->root, "t");
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
    for (const size_t size : {0U, 1U, 2U, 9U}) {
        Element element(nullptr, "e");
        NodeList<Node> list;
        for (size_t i = 0; i < size; ++i) list.push_back(&element);
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
