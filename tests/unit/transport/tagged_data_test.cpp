// The tagged-data body: its bytes, its keys, its limits.
// SPDX-License-Identifier: MIT
#include "transport/tagged_data.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "support/allocation_fault.h"

namespace wpk::core {
namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;
using test::AllocationFault;

int AddText(TaggedData& data, std::string_view key, std::string_view value) {
    return data.Add(key, value.data(), static_cast<uint32_t>(value.size()));
}

/// Adds the entries of a request as the exchange does.
void AddRequest(TaggedData& data, bool viaProxy, std::string_view service, std::string_view message) {
    ASSERT_EQ(AddText(data, "WPK_IsBehindProxy", viaProxy ? "YES" : "NO"), 1);
    ASSERT_EQ(AddText(data, "WPK_ServiceName", service), 1);
    ASSERT_EQ(AddText(data, "WPK_ServiceData", message), 1);
}

TEST(TaggedDataTest, RequestForEchoWithFiveBytesTakes82Bytes) {
    TaggedData data;
    AddRequest(data, /*viaProxy=*/false, "Echo", "hello");
    EXPECT_EQ(data.TotalLength(), 82U);
    ASSERT_EQ(data.Join(), 1);
    EXPECT_EQ(data.Joined(),
              "\x11\0\0\0WPK_IsBehindProxy\x02\0\0\0NO"
              "\x0f\0\0\0WPK_ServiceName\x04\0\0\0Echo"
              "\x0f\0\0\0WPK_ServiceData\x05\0\0\0hello"sv);
}

TEST(TaggedDataTest, RequestThroughAProxyTakesOneByteMore) {
    TaggedData data;
    AddRequest(data, /*viaProxy=*/true, "Echo", "hello");
    EXPECT_EQ(data.TotalLength(), 83U);
    EXPECT_EQ(data.Value(0), "YES");
}

TEST(TaggedDataTest, LengthsAreLittleEndianOver32Bits) {
    const std::string value(0x010203, 'v');
    const std::string key(0x0104, 'k');
    TaggedData data;
    ASSERT_EQ(AddText(data, key, value), 1);
    ASSERT_EQ(data.Join(), 1);
    EXPECT_EQ(data.Joined(), "\x04\x01\0\0"s + key + "\x03\x02\x01\0"s + value);
}

TEST(TaggedDataTest, EmptyKeyAndEmptyValueTakeEightZeroBytes) {
    TaggedData data;
    ASSERT_EQ(data.Add({}, nullptr, 0), 1);
    ASSERT_EQ(data.Join(), 1);
    EXPECT_EQ(data.Joined(), "\0\0\0\0\0\0\0\0"sv);
    EXPECT_EQ(data.Key(0), "");
    EXPECT_EQ(data.Value(0), "");
}

TEST(TaggedDataTest, KeysAndValuesMayHoldZeroBytes) {
    TaggedData data;
    ASSERT_EQ(AddText(data, "a\0b"sv, "\0\xff"sv), 1);
    ASSERT_EQ(AddText(data, "a\0c"sv, "x"), 1);
    EXPECT_EQ(data.Key(0), "a\0b"sv);
    EXPECT_EQ(data.Value(0), "\0\xff"sv);
    EXPECT_EQ(data.Count(), 2U);
}

TEST(TaggedDataTest, ValuesAreCopied) {
    std::string key = "key";
    std::string value = "value";
    TaggedData data;
    ASSERT_EQ(AddText(data, key, value), 1);
    key = "...";
    value = ".....";
    EXPECT_EQ(data.Key(0), "key");
    EXPECT_EQ(data.Value(0), "value");
}

TEST(TaggedDataTest, DuplicateKeyFailsAndAddsNothing) {
    TaggedData data;
    ASSERT_EQ(AddText(data, "key", "1"), 1);
    EXPECT_EQ(AddText(data, "key", "22"), 0);
    EXPECT_EQ(data.Count(), 1U);
    EXPECT_EQ(data.Value(0), "1");
    EXPECT_EQ(data.TotalLength(), 8U + 3 + 1);
}

TEST(TaggedDataTest, DuplicateKeyFailsAfterJoiningToo) {
    TaggedData data;
    ASSERT_EQ(AddText(data, "key", "1"), 1);
    ASSERT_EQ(data.Join(), 1);
    EXPECT_EQ(AddText(data, "key", "22"), 0);
    EXPECT_EQ(data.Joined().size(), 12U);
}

TEST(TaggedDataTest, KeyThatBeginsLikeAnotherIsNotADuplicate) {
    TaggedData data;
    EXPECT_EQ(AddText(data, "key", "1"), 1);
    EXPECT_EQ(AddText(data, "key2", "2"), 1);
    EXPECT_EQ(AddText(data, "ke", "3"), 1);
    EXPECT_EQ(AddText(data, "", "4"), 1);
}

TEST(TaggedDataTest, CaseSensitiveKeysThatDifferInCaseAreDifferent) {
    TaggedData data(TaggedData::Keys::kCaseSensitive);
    EXPECT_EQ(AddText(data, "key", "1"), 1);
    EXPECT_EQ(AddText(data, "KEY", "2"), 1);
}

TEST(TaggedDataTest, CaseInsensitiveKeysThatDifferInCaseAreDuplicates) {
    TaggedData data(TaggedData::Keys::kCaseInsensitive);
    EXPECT_EQ(AddText(data, "key", "1"), 1);
    EXPECT_EQ(AddText(data, "KEY", "2"), 0);
    EXPECT_EQ(AddText(data, "KEY2", "2"), 1);
    EXPECT_EQ(data.Key(0), "key");
}

TEST(TaggedDataTest, NullValueWithALengthFails) {
    TaggedData data;
    EXPECT_EQ(data.Add("key", nullptr, 1), 0);
    EXPECT_EQ(data.Count(), 0U);
}

TEST(TaggedDataTest, JoiningNothingSucceedsWithoutBytes) {
    TaggedData data;
    EXPECT_EQ(data.Join(), 1);
    EXPECT_EQ(data.Joined(), "");
    EXPECT_EQ(data.TotalLength(), 0U);
}

TEST(TaggedDataTest, JoiningAgainSucceedsAndMovesNothing) {
    TaggedData data;
    ASSERT_EQ(AddText(data, "key", "value"), 1);
    ASSERT_EQ(data.Join(), 1);
    const char* before = data.Joined().data();
    EXPECT_EQ(data.Join(), 1);
    EXPECT_EQ(data.Joined().data(), before);
}

TEST(TaggedDataTest, JoiningPointsTheEntriesIntoTheJoinedBytes) {
    TaggedData data;
    AddRequest(data, false, "Echo", "hello");
    ASSERT_EQ(data.Join(), 1);
    const char* start = data.Joined().data();
    EXPECT_EQ(data.Key(0).data(), start + 4);
    EXPECT_EQ(data.Value(0).data(), start + 4 + 17 + 4);
    EXPECT_EQ(data.Value(2).data() + data.Value(2).size(), start + 82);
}

TEST(TaggedDataTest, JoiningFreesTheMemoryOfTheEntries) {
    constexpr size_t kSize = 100000;
    TaggedData data;
    ASSERT_EQ(AddText(data, "key", std::string(kSize, 'v')), 1);
    const std::ptrdiff_t before = test::LiveBytes();
    ASSERT_EQ(data.Join(), 1);
    EXPECT_LT(test::LiveBytes() - before, static_cast<std::ptrdiff_t>(kSize / 2));
}

TEST(TaggedDataTest, EntryAddedAfterJoiningTakesPartInTheNextJoin) {
    TaggedData data;
    ASSERT_EQ(AddText(data, "a", "1"), 1);
    ASSERT_EQ(data.Join(), 1);
    ASSERT_EQ(AddText(data, "b", "2"), 1);
    EXPECT_EQ(data.Joined(), "");
    ASSERT_EQ(data.Join(), 1);
    EXPECT_EQ(data.Joined(), "\1\0\0\0a\1\0\0\0001\1\0\0\0b\1\0\0\0002"sv);
    EXPECT_EQ(data.Value(0), "1");
    EXPECT_EQ(data.Value(1), "2");
}

// The total is refused before any memory is asked for or any byte of the value is read.
TEST(TaggedDataTest, EntryThatWouldPass32BitsAloneIsRefused) {
    const char byte = 'v';
    TaggedData data;
    const auto watch = AllocationFault::AmongLarge(1 << 20);
    EXPECT_EQ(data.Add("key", &byte, 0xFFFFFFFFU - 8 - 3 + 1), 0);
    EXPECT_EQ(data.Add("key", &byte, 0xFFFFFFFFU), 0);
    EXPECT_EQ(watch.Fired(), 0U);
    EXPECT_EQ(data.TotalLength(), 0U);
}

TEST(TaggedDataTest, LargestEntryIsRefusedOnlyForLackOfMemory) {
    const char byte = 'v';
    TaggedData data;
    const auto fault = AllocationFault::AmongLarge(1 << 20);
    EXPECT_EQ(data.Add("key", &byte, 0xFFFFFFFFU - 8 - 3), 0);
    EXPECT_EQ(fault.Fired(), 1U);
}

TEST(TaggedDataTest, TotalThatWouldPass32BitsIsRefused) {
    const char byte = 'v';
    TaggedData data;
    ASSERT_EQ(AddText(data, "a", "1"), 1);  // 10 bytes
    const auto watch = AllocationFault::AmongLarge(1 << 20);
    EXPECT_EQ(data.Add("b", &byte, 0xFFFFFFFFU - 10 - 9 + 1), 0);
    EXPECT_EQ(watch.Fired(), 0U);
    EXPECT_EQ(data.Add("b", &byte, 0xFFFFFFFFU - 10 - 9), 0);
    EXPECT_EQ(watch.Fired(), 1U);
    EXPECT_EQ(data.TotalLength(), 10U);
}

#if SIZE_MAX > 0xFFFFFFFF
TEST(TaggedDataTest, KeyLongerThan32BitsIsRefusedUnread) {
    TaggedData data;
    const char byte = 'k';
    EXPECT_EQ(data.Add(std::string_view(&byte, size_t{1} << 32), nullptr, 0), 0);
}
#endif

TEST(TaggedDataTest, EveryFailedAllocationOfAddLeavesTheContainerAsItWas) {
    int faults = 0;
    for (;; ++faults) {
        TaggedData data;
        ASSERT_EQ(AddText(data, "a", "1"), 1);
        int added = 0;
        {
            const AllocationFault fault(faults);
            added = AddText(data, "b", "2");
            if (added == 0) {
                ASSERT_GT(fault.Fired(), 0U);
            } else {
                ASSERT_EQ(fault.Fired(), 0U);
            }
        }
        if (added == 1) break;
        EXPECT_EQ(data.Count(), 1U);
        EXPECT_EQ(data.TotalLength(), 10U);
        EXPECT_EQ(AddText(data, "b", "2"), 1);
    }
    EXPECT_GE(faults, 1);
}

TEST(TaggedDataTest, FailedAllocationOfJoinLeavesTheEntriesReadableAndCanBeRepeated) {
    TaggedData data;
    AddRequest(data, false, "Echo", "hello");
    {
        const AllocationFault fault;
        EXPECT_EQ(data.Join(), 0);
        EXPECT_EQ(fault.Fired(), 1U);
    }
    EXPECT_EQ(data.Joined(), "");
    EXPECT_EQ(data.Value(2), "hello");
    EXPECT_EQ(data.Join(), 1);
    EXPECT_EQ(data.Joined().size(), 82U);
}

// A large message is copied twice: into its entry and into the joined body.
TEST(TaggedDataTest, LargeValueTakesOneAllocationForItsEntryAndOneForTheJoin) {
    const std::string message(1 << 20, 'm');
    TaggedData data;
    {
        const auto afterOne = AllocationFault::AmongLarge(1 << 20, 1);
        EXPECT_EQ(AddText(data, "message", message), 1);
        EXPECT_EQ(afterOne.Fired(), 0U);
    }
    const auto afterOne = AllocationFault::AmongLarge(1 << 20, 1);
    EXPECT_EQ(data.Join(), 1);
    EXPECT_EQ(afterOne.Fired(), 0U);
}

}  // namespace
}  // namespace wpk::core
