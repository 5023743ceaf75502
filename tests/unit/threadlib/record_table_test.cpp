// Byte buffers, records and the indexed record table.
// SPDX-License-Identifier: MIT
#include "threadlib/record_table.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/field_at.h"
#include "support/lib_thread.h"

namespace wpk::core {
namespace {

ByteBuffer Bytes(const std::string& text) {
    return {text.data(), static_cast<uint32_t>(text.size())};
}

Record RowOf(const std::vector<std::string>& fields) {
    Record record(fields.size());
    for (size_t k = 0; k < fields.size(); ++k) record.Set(k, Bytes(fields[k]));
    return record;
}

std::string TextOf(const ByteBuffer& bytes) {
    return {reinterpret_cast<const char*>(bytes.Data()), bytes.Length()};
}

TEST(ByteBufferTest, CopiesOwnTheirBytes) {
    std::string source = "abc";
    const ByteBuffer buffer = Bytes(source);
    const ByteBuffer copy = buffer;
    source[0] = 'X';
    EXPECT_EQ(TextOf(copy), "abc");
    EXPECT_NE(copy.Data(), buffer.Data());
}

TEST(ByteBufferTest, ShortAndLongOnesAreCopiedMovedAndReplacedAlike) {
    for (size_t length : {0u, 1u, 7u, 8u, 9u, 100u}) {
        const std::string text(length, 'x');
        ByteBuffer buffer = Bytes(text);
        ByteBuffer copy = buffer;
        EXPECT_EQ(TextOf(copy), text);
        const ByteBuffer moved = std::move(buffer);
        EXPECT_EQ(TextOf(moved), text);
        EXPECT_EQ(buffer.Length(), 0u);  // NOLINT(bugprone-use-after-move): a moved-from buffer is empty
        for (const std::string& other : {std::string("y"), std::string(20, 'y')}) {
            copy = Bytes(other);
            EXPECT_EQ(TextOf(copy), other);
            copy = moved;
            EXPECT_EQ(TextOf(copy), text);
        }
    }
}

TEST(ByteBufferTest, EqualWhenNoByteOfTheFirstOnesLengthDiffers) {
    EXPECT_TRUE(Bytes("ab") == Bytes("ab"));
    EXPECT_TRUE(Bytes("ab") == Bytes("abc")) << "only the first one's length counts";
    EXPECT_FALSE(Bytes("abc") == Bytes("ab"));
    EXPECT_FALSE(Bytes("ab") == Bytes("aB"));
    EXPECT_TRUE(Bytes("") == Bytes("x"));
}

TEST(RecordTest, FieldsBeyondTheCountReadAsEmptyAndZero) {
    const Record record = RowOf({"a", "b"});
    EXPECT_EQ(record.Get(2).Length(), 0u);
    EXPECT_EQ(record.GetUint32(2), 0u);
    EXPECT_EQ(record.GetUint64(99), 0u);
}

TEST(RecordTest, SettingFieldFiveOfFourReturnsZeroAndChangesNothing) {
    Record record = RowOf({"a", "b", "c", "d"});
    EXPECT_EQ(record.Set(5, Bytes("x")), 0u);
    EXPECT_EQ(record.Set(4, Bytes("x")), 0u);
    EXPECT_EQ(record.SetUint32(5, 1), 0u);
    EXPECT_EQ(record.FieldCount(), 4u);
    for (uint64_t k = 0; k < 4; ++k) EXPECT_EQ(TextOf(record.Get(k)), std::string(1, static_cast<char>('a' + k)));
}

TEST(RecordTest, IntegersAreLittleEndianFieldsOfFourAndEightBytes) {
    Record record(2);
    EXPECT_EQ(record.SetUint32(0, 0x01020304), 1u);
    EXPECT_EQ(record.SetUint64(1, 0x0102030405060708), 1u);
    EXPECT_EQ(TextOf(record.Get(0)), std::string("\4\3\2\1", 4));
    EXPECT_EQ(record.Get(1).Length(), 8u);
    EXPECT_EQ(record.GetUint32(0), 0x01020304u);
    EXPECT_EQ(record.GetUint64(1), 0x0102030405060708u);
    EXPECT_EQ(record.GetUint64(0), 0x01020304u) << "missing bytes read as 0";
    EXPECT_EQ(record.GetUint32(1), 0x05060708u) << "bytes in excess are left out";
}

TEST(RecordTest, CopiesAreDeep) {
    Record record = RowOf({"a"});
    const Record copy = record;
    record.Set(0, Bytes("changed"));
    EXPECT_EQ(TextOf(copy.Get(0)), "a");
}

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
