// Records of byte buffers.
// SPDX-License-Identifier: MIT
#include "threadlib/record.h"

#include <gtest/gtest.h>

#include <string>

#include "unit/threadlib/bytes.h"

namespace wpk::core {
namespace {

using test::Bytes;
using test::RowOf;
using test::TextOf;

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

}  // namespace
}  // namespace wpk::core
