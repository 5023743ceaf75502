// The indexed record table.
// SPDX-License-Identifier: MIT
#include "threadlib/record_table.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "support/field_at.h"
#include "support/lib_thread.h"
#include "unit/threadlib/bytes.h"

namespace wpk::core {
namespace {

using test::Bytes;
using test::RowOf;
using test::TextOf;

TEST(RecordTableTest, BucketIsTheWeightedSumOfTheBytes) {
    EXPECT_EQ(RecordTable::BucketOf(Bytes("")), 0u);
    EXPECT_EQ(RecordTable::BucketOf(Bytes("\1\2\3")), 1u * 1 + 2 * 2 + 3 * 3);
    EXPECT_EQ(RecordTable::BucketOf(Bytes("\xFF\xFF\xFF\xFF")), (255u * (1 + 2 + 3 + 4)) % 1999);
}

TEST(RecordTableTest, FindGivesACopyOfTheRow) {
    const auto table = RecordTable::Create(2);
    EXPECT_EQ(table->Insert(RowOf({"key", "value"})), 1u);
    const Record found = table->Find(Bytes("key"));
    ASSERT_EQ(found.FieldCount(), 2u);
    EXPECT_EQ(TextOf(found.Get(1)), "value");
    EXPECT_EQ(table->Count(), 1u);
}

TEST(RecordTableTest, FindAndRemoveWithoutAMatchGiveAnEmptyRecord) {
    const auto table = RecordTable::Create(1);
    table->Insert(RowOf({"ab"}));
    for (const char* key : {"a", "abc", "AB", "", "ba"}) {
        EXPECT_EQ(table->Find(Bytes(key)).FieldCount(), 0u) << key;
        EXPECT_EQ(table->Remove(Bytes(key)).FieldCount(), 0u) << key;
    }
    EXPECT_EQ(table->Count(), 1u);
}

TEST(RecordTableTest, OfTwoRowsWithEqualKeysTheFirstInsertedIsFoundAndRemoved) {
    const auto table = RecordTable::Create(2);
    table->Insert(RowOf({"key", "first"}));
    table->Insert(RowOf({"key", "second"}));
    EXPECT_EQ(TextOf(table->Find(Bytes("key")).Get(1)), "first");
    EXPECT_EQ(TextOf(table->Remove(Bytes("key")).Get(1)), "first");
    EXPECT_EQ(TextOf(table->Find(Bytes("key")).Get(1)), "second");
}

TEST(RecordTableTest, KeysOfOneBucketAreToldApart) {
    const auto table = RecordTable::Create(1);
    table->Insert(RowOf({std::string("\2\0", 2)}));
    table->Insert(RowOf({std::string("\0\1", 2)}));
    ASSERT_EQ(RecordTable::BucketOf(Bytes(std::string("\2\0", 2))),
              RecordTable::BucketOf(Bytes(std::string("\0\1", 2))));
    EXPECT_EQ(TextOf(table->Find(Bytes(std::string("\0\1", 2))).Get(0)), std::string("\0\1", 2));
}

TEST(RecordTableTest, ReplaceTakesThePlaceOfEveryRowWithThatKey) {
    const auto table = RecordTable::Create(2);
    table->Insert(RowOf({"key", "left behind"}));
    table->Insert(RowOf({"key", "left behind too"}));
    table->Insert(RowOf({"other", "stays"}));
    EXPECT_EQ(table->Replace(RowOf({"key", "new"})), 1u);
    EXPECT_EQ(TextOf(table->Find(Bytes("key")).Get(1)), "new");
    EXPECT_EQ(table->Count(), 2u);
}

TEST(RecordTableTest, ATableWithoutIndexesFindsNothing) {
    const auto table = RecordTable::Create(0);
    EXPECT_EQ(table->Insert(RowOf({"key"})), 1u);
    EXPECT_EQ(table->Find(Bytes("key")).FieldCount(), 0u);
    EXPECT_EQ(table->Remove(Bytes("key")).FieldCount(), 0u);
    EXPECT_EQ(table->Count(), 1u);
    EXPECT_EQ(table->Drain().count, 0u);
}

TEST(RecordTableTest, ARowMayHaveFewerFieldsThanThereAreIndexes) {
    const auto table = RecordTable::Create(4);
    EXPECT_EQ(table->Insert(RowOf({"key"})), 1u);
    EXPECT_EQ(table->Remove(Bytes("key")).FieldCount(), 1u);
    EXPECT_EQ(table->Count(), 0u);
}

TEST(RecordTableTest, DrainGivesAllRowsInOrderAndCountGoesOnReportingThem) {
    const auto table = RecordTable::Create(1);
    for (const char* key : {"c", "a", "b"}) table->Insert(RowOf({key}));
    const RecordTable::Rows drained = table->Drain();
    ASSERT_EQ(drained.count, 3u);
    EXPECT_EQ(TextOf(drained.rows[0].Get(0)), "c");
    EXPECT_EQ(TextOf(drained.rows[1].Get(0)), "a");
    EXPECT_EQ(TextOf(drained.rows[2].Get(0)), "b");
    EXPECT_EQ(table->Count(), 3u);
    EXPECT_EQ(table->Find(Bytes("a")).FieldCount(), 0u);
}

TEST(RecordTableTest, KeepsItsFieldsInOrder) {
    using test::FieldAt;
    const auto table = RecordTable::Create(3);
    table->Insert(RowOf({"key"}));
    table->Insert(RowOf({"another"}));
    constexpr size_t kRows = 4, kBuckets = 8, kIndexes = 16, kList = 24, kReaders = 48, kCountLock = 56;
    EXPECT_EQ(FieldAt<uint32_t>(table.get(), 0), 3u);
    EXPECT_EQ(FieldAt<uint32_t>(table.get(), kRows), 2u);
    EXPECT_EQ(FieldAt<uint32_t>(table.get(), kBuckets), 1999u);
    auto* const* indexes = FieldAt<void* const*>(table.get(), kIndexes);
    for (int i = 0; i < 3; ++i) EXPECT_NE(indexes[i], nullptr);
    EXPECT_NE(FieldAt<void*>(table.get(), kList), nullptr);
    EXPECT_NE(FieldAt<void*>(table.get(), kList + 8), FieldAt<void*>(table.get(), kList)) << "head and tail";
    EXPECT_EQ(FieldAt<uint32_t>(table.get(), kList + 16), 2u);
    EXPECT_EQ(FieldAt<uint32_t>(table.get(), kReaders), 0u);
    EXPECT_NE(FieldAt<void*>(table.get(), kCountLock), nullptr) << "a lock begins with its handle";
}

TEST(RecordTableTest, DrainOfAnEmptyTableGivesNothing) {
    EXPECT_EQ(RecordTable::Create(1)->Drain().count, 0u);
}

TEST(RecordTableTest, VisitSeesTheRowUnderTheKey) {
    const auto table = RecordTable::Create(1);
    table->Insert(RowOf({"key", "value"}));
    std::string seen;
    EXPECT_TRUE(table->Visit(Bytes("key"), [&](const Record& row) { seen = TextOf(row.Get(1)); }));
    EXPECT_EQ(seen, "value");
    EXPECT_FALSE(table->Visit(Bytes("none"), [&](const Record&) { seen = "visited"; }));
    EXPECT_EQ(seen, "value");
}

using RecordTableThreads = test::ThreadLayer;

TEST_F(RecordTableThreads, ReadersAndWritersAtOnceSeeWholeRows) {
    const auto table = RecordTable::Create(2);
    std::atomic<uint32_t> torn{0};
    std::vector<std::unique_ptr<test::LibThread>> threads;
    for (uint32_t t = 0; t < 8; ++t) {
        threads.push_back(std::make_unique<test::LibThread>([&, t] {
            for (uint32_t i = 0; i < 100; ++i) {
                Record row(2);
                row.SetUint32(0, t);
                row.SetUint64(1, uint64_t{t} * 1000 + i);
                table->Replace(row);
                const Record found = table->Find(KeyOf((t + i) % 8));
                if (found.FieldCount() != 0 && found.GetUint64(1) / 1000 != found.GetUint32(0)) ++torn;
                if (i % 3 == 0) table->Remove(KeyOf(t));
            }
            return 0u;
        }));
    }
    for (auto& thread : threads) thread->Resume();
    threads.clear();
    EXPECT_EQ(torn, 0u);
    EXPECT_EQ(table->Count(), 0u) << "the last round of each removes its row";
}

}  // namespace
}  // namespace wpk::core
