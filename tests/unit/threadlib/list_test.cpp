// The list whose nodes live inside the items.
// SPDX-License-Identifier: MIT
#include "threadlib/list.h"

#include <gtest/gtest.h>

#include <string>

namespace wpk::core {
namespace {

struct Letter {
    explicit Letter(char ofLetter) : letter(ofLetter) {}

    char letter;
    ListNode<Letter> node{*this};
};

std::string TextOf(const List<Letter>& list) {
    std::string text;
    for (const auto* node = list.Head(); node; node = node->Next()) text += node->GetItem().letter;
    return text;
}

class ListTest : public ::testing::Test {
protected:
    ListTest() {
        for (Letter* letter : {&a_, &b_, &c_}) list_.Append(letter->node);
    }

    Letter a_{'a'}, b_{'b'}, c_{'c'};
    List<Letter> list_;
};

TEST_F(ListTest, KeepsTheOrderOfAppending) {
    EXPECT_EQ(TextOf(list_), "abc");
    EXPECT_EQ(list_.Count(), 3u);
}

TEST_F(ListTest, IsTakenFromTheHeadUntilItIsEmpty) {
    for (Letter* letter : {&a_, &b_, &c_}) EXPECT_EQ(list_.Take(), letter);
    EXPECT_EQ(list_.Take(), nullptr);
    EXPECT_EQ(list_.Count(), 0u);
    EXPECT_EQ(list_.Head(), nullptr);
}

TEST_F(ListTest, LosesItsHeadItsMiddleAndItsTail) {
    EXPECT_TRUE(list_.Remove(b_.node));
    EXPECT_EQ(TextOf(list_), "ac");
    EXPECT_TRUE(list_.Remove(c_.node));
    EXPECT_EQ(TextOf(list_), "a");
    EXPECT_TRUE(list_.Remove(a_.node));
    EXPECT_EQ(TextOf(list_), "");
}

TEST_F(ListTest, AppendsAfterANewTail) {
    list_.Remove(c_.node);
    Letter d('d');
    list_.Append(d.node);
    list_.Append(c_.node);
    EXPECT_EQ(TextOf(list_), "abdc");
}

TEST_F(ListTest, RemovesOnlyItsOwnNodes) {
    List<Letter> other;
    EXPECT_FALSE(other.Remove(a_.node));
    EXPECT_TRUE(list_.Remove(a_.node));
    EXPECT_FALSE(list_.Remove(a_.node));
    other.Append(a_.node);
    EXPECT_FALSE(list_.Remove(a_.node));
    EXPECT_EQ(TextOf(list_) + TextOf(other), "bca");
}

TEST_F(ListTest, IsLeftByAnItemThatIsDestroyed) {
    {
        Letter d('d');
        list_.Append(d.node);
        EXPECT_EQ(TextOf(list_), "abcd");
    }
    EXPECT_EQ(TextOf(list_), "abc");
    EXPECT_EQ(list_.Count(), 3u);
}

TEST_F(ListTest, LetsItsItemsGoAtItsEnd) {
    Letter d('d');
    {
        List<Letter> other;
        other.Append(d.node);
    }
    list_.Append(d.node);
    EXPECT_EQ(TextOf(list_), "abcd");
}

}  // namespace
}  // namespace wpk::core
