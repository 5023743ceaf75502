// A shared table of records.
// SPDX-License-Identifier: MIT
#include "threadlib/record_table.h"

#include <algorithm>
#include <new>
#include <optional>
#include <utility>

namespace wpk::core {

struct RecordTable::Row {
    Row(const Record& source, uint32_t indexCount)
        : record(source), inIndex(new (std::nothrow) std::optional<ListNode<Row>>[indexCount]) {
        for (uint32_t i = 0; inIndex && i < indexCount; ++i) inIndex[i].emplace(*this);
    }

    bool IsWholeCopyOf(const Record& source) const {
        if (!inIndex || record.FieldCount() != source.FieldCount()) return false;
        for (uint64_t k = 0; k < source.FieldCount(); ++k) {
            if (record.Field(k).Length() != source.Field(k).Length()) return false;
        }
        return true;
    }

    Record record;
    std::unique_ptr<std::optional<ListNode<Row>>[]> inIndex;
    ListNode<Row> inRows{*this};
};

std::unique_ptr<RecordTable> RecordTable::Create(uint32_t indexCount) {
    std::unique_ptr<RecordTable> table(new (std::nothrow) RecordTable(indexCount));
    return table && table->Complete() ? std::move(table) : nullptr;
}

RecordTable::RecordTable(uint32_t indexCount)
    : indexCount_(indexCount), indexes_(new (std::nothrow) std::unique_ptr<Bucket[]>[indexCount]) {
    for (uint32_t i = 0; indexes_ && i < indexCount; ++i) indexes_[i].reset(new (std::nothrow) Bucket[bucketCount_]);
}

bool RecordTable::Complete() const {
    if (!indexes_ || !lock_) return false;
    return std::all_of(indexes_.get(), indexes_.get() + indexCount_,
                       [](const auto& index) { return index != nullptr; });
}

RecordTable::~RecordTable() {
    while (Row* row = rows_.Take()) delete row;
}

uint32_t RecordTable::Store(const Record& record, bool replace) {
    std::unique_ptr<Row> row(new (std::nothrow) Row(record, indexCount_));
    if (!row || !row->IsWholeCopyOf(record)) return 0;

    const ExclusiveScope writing(lock_);
    if (replace && indexCount_ > 0) {
        while (Row* old = FirstMatch(record.Field(0))) Unlink(*old);
    }
    for (uint32_t i = 0; i < indexCount_; ++i) BucketAt(i, record.Field(i)).Append(*row->inIndex[i]);
    rows_.Append(row.release()->inRows);
    ++rowCount_;
    return 1;
}

Record RecordTable::Find(const ByteBuffer& key) {
    Record found;
    Visit(key, [&found](const Record& row) { found = row; });
    return found;
}

Record RecordTable::Remove(const ByteBuffer& key) {
    if (indexCount_ == 0) return {};
    const ExclusiveScope writing(lock_);
    Row* row = FirstMatch(key);
    if (!row) return {};
    Record removed = std::move(row->record);
    Unlink(*row);
    return removed;
}

RecordTable::Rows RecordTable::Drain() {
    const ExclusiveScope writing(lock_);
    Rows drained;
    if (rowCount_ == 0) return drained;
    drained.rows.reset(new (std::nothrow) Record[rowCount_]);
    if (!drained.rows) return drained;
    while (Row* row = rows_.Take()) {
        if (indexCount_ > 0) drained.rows[drained.count++] = std::move(row->record);
        delete row;
    }
    return drained;
}

uint32_t RecordTable::Count() {
    const SharedScope reading(lock_);
    return rowCount_;
}

uint32_t RecordTable::BucketOf(const ByteBuffer& field) {
    uint32_t sum = 0;
    for (uint32_t i = 0; i < field.Length(); ++i) sum += field.Data()[i] * (i + 1);
    return sum % kBucketCount;
}

RecordTable::Bucket& RecordTable::BucketAt(uint32_t index, const ByteBuffer& field) const {
    return indexes_[index][BucketOf(field)];
}

RecordTable::Row* RecordTable::FirstMatch(const ByteBuffer& key) const {
    for (auto* node = BucketAt(0, key).Head(); node; node = node->Next()) {
        const ByteBuffer& field = node->GetItem().record.Field(0);
        if (field.Length() == key.Length() && field == key) return &node->GetItem();
    }
    return nullptr;
}

const Record* RecordTable::FirstRecord(const ByteBuffer& key) const {
    const Row* row = FirstMatch(key);
    return row ? &row->record : nullptr;
}

/// Frees the row; its nodes take themselves out of every list.
void RecordTable::Unlink(Row& row) {
    delete &row;
    --rowCount_;
}

}  // namespace wpk::core
