// Owners of handles.
// SPDX-License-Identifier: MIT
#include "threadlib/handle.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace wpk::core {
namespace {

/// Numbers for handles; closing one is noted, and fails.
struct NumberKind {
    using Value = int;
    static Value Invalid() { return -1; }
    static void Close(Value value) {
        closed.push_back(value);
        SetLastError(ERROR_INVALID_HANDLE);
    }
    static inline std::vector<int> closed;
};
using Owner = Unique<NumberKind>;
using Numbers = std::vector<int>;

class HandleTest : public ::testing::Test {
protected:
    HandleTest() { NumberKind::closed.clear(); }

    static const Numbers& Closed() { return NumberKind::closed; }
};

TEST_F(HandleTest, AnOwnerOfNothingClosesNothing) {
    {
        const Owner owner;
        EXPECT_FALSE(owner);
        EXPECT_EQ(owner.Get(), -1);
    }
    EXPECT_EQ(Closed(), Numbers());
}

TEST_F(HandleTest, ZeroIsAHandleWhereNoneIsMinusOne) {
    { EXPECT_TRUE(Owner(0)); }
    EXPECT_EQ(Closed(), Numbers{0});
}

TEST_F(HandleTest, IsClosedOnceByItsLastOwner) {
    {
        Owner first(7);
        const Owner second(std::move(first));
        EXPECT_FALSE(first);  // NOLINT(bugprone-use-after-move): promised to own nothing
        EXPECT_EQ(second.Get(), 7);
        EXPECT_EQ(Closed(), Numbers());
    }
    EXPECT_EQ(Closed(), Numbers{7});
}

TEST_F(HandleTest, AssignmentClosesWhatTheOwnerHeld) {
    Owner owner(1);
    owner = Owner(2);
    EXPECT_EQ(owner.Get(), 2);
    EXPECT_EQ(Closed(), Numbers{1});
}

TEST_F(HandleTest, AssignmentFromItselfChangesNothing) {
    Owner owner(1);
    Owner& same = owner;
    owner = std::move(same);
    EXPECT_EQ(owner.Get(), 1);
    EXPECT_EQ(Closed(), Numbers());
}

TEST_F(HandleTest, AReleasedHandleIsTheCallers) {
    {
        Owner owner(3);
        EXPECT_EQ(owner.Release(), 3);
        EXPECT_FALSE(owner);
    }
    EXPECT_EQ(Closed(), Numbers());
}

TEST_F(HandleTest, ResetClosesTheOldHandleAndTakesTheNewOne) {
    Owner owner(1);
    owner.Reset(2);
    EXPECT_EQ(owner.Get(), 2);
    owner.Reset();
    EXPECT_FALSE(owner);
    EXPECT_EQ(Closed(), (Numbers{1, 2}));
}

TEST_F(HandleTest, ClosingKeepsTheLastError) {
    SetLastError(ERROR_ACCESS_DENIED);
    { const Owner owner(1); }
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(Closed(), Numbers{1});
}

TEST_F(HandleTest, EveryKindKnowsItsOwnValueForNoHandle) {
    EXPECT_EQ(UniqueHandle().Get(), nullptr);
    EXPECT_EQ(UniqueFile().Get(), INVALID_HANDLE_VALUE);
    EXPECT_EQ(UniqueView().Get(), nullptr);
    EXPECT_EQ(UniqueEventSource().Get(), nullptr);
    EXPECT_EQ(UniqueSocket().Get(), INVALID_SOCKET);
}

}  // namespace
}  // namespace wpk::core
