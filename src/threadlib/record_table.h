// A shared table of records, found by their first field.
// SPDX-License-Identifier: MIT
#ifndef WPK_THREADLIB_RECORD_TABLE_H
#define WPK_THREADLIB_RECORD_TABLE_H

#include <cstdint>
#include <memory>

#include "threadlib/list.h"
#include "threadlib/readers_writer_lock.h"
#include "threadlib/record.h"

namespace wpk::core {

/// Rows under hashed indexes of their leading fields. Every index is kept up to date, look-ups go through the first
/// one. Any thread may call any operation; none throws.
class RecordTable {
public:
    static constexpr uint32_t kBucketCount = 1999;

    /// The rows that Drain has taken out, in insertion order.
    struct Rows {
        std::unique_ptr<Record[]> rows;
        uint32_t count = 0;
    };

    /// The table with its first `indexCount` fields indexed; null when it cannot be made.
    static std::unique_ptr<RecordTable> Create(uint32_t indexCount);
    RecordTable(const RecordTable&) = delete;
    RecordTable& operator=(const RecordTable&) = delete;
    ~RecordTable();

    /// Stores a copy: 1, or 0 if memory runs out. Rows with equal first fields stay in the order of their insertion.
    uint32_t Insert(const Record& record) { return Store(record, /*replace=*/false); }

    /// As Insert, in place of all rows with an equal first field. For keys that the system hands out again, such as
    /// thread ids: a row that somebody has left behind must not stand before the new one.
    uint32_t Replace(const Record& record) { return Store(record, /*replace=*/true); }

    /// A copy of the first row whose field 0 equals the key; an empty record when there is none.
    Record Find(const ByteBuffer& key);

    /// Calls `visit(const Record&)` with that row, under the table's shared lock: the row stays until it returns, and
    /// it must not call the table. False when there is no such row.
    template <class Visitor>
    bool Visit(const ByteBuffer& key, Visitor visit) {
        if (indexCount_ == 0) return false;
        const SharedScope reading(lock_);
        const Record* record = FirstRecord(key);
        if (!record) return false;
        visit(*record);
        return true;
    }

    /// Takes out the first row whose field 0 equals the key and returns it; an empty record when there is none.
    Record Remove(const ByteBuffer& key);

    /// Takes out all rows. Count goes on reporting the old number: a drained table is about to be destroyed.
    Rows Drain();

    uint32_t Count();

    /// The bucket of a field: the sum of its bytes, each times its place counted from 1.
    static uint32_t BucketOf(const ByteBuffer& field);

private:
    struct Row;
    using Bucket = List<Row>;

    explicit RecordTable(uint32_t indexCount);
    bool Complete() const;
    uint32_t Store(const Record& record, bool replace);
    Bucket& BucketAt(uint32_t index, const ByteBuffer& field) const;
    Row* FirstMatch(const ByteBuffer& key) const;
    const Record* FirstRecord(const ByteBuffer& key) const;
    void Unlink(Row& row);

    uint32_t indexCount_;
    uint32_t rowCount_ = 0;
    const uint32_t bucketCount_ = kBucketCount;
    /// The buckets of each index.
    std::unique_ptr<std::unique_ptr<Bucket[]>[]> indexes_;
    List<Row> rows_;
    ReadersWriterLock lock_;
};

}  // namespace wpk::core

#endif
