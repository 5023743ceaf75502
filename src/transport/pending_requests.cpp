// The registry of requests in flight.
// SPDX-License-Identifier: MIT
#include "transport/pending_requests.h"

#include <new>
#include <utility>

namespace wpk {

namespace {

/// A row: the handle, then where the request's records are.
constexpr uint32_t kFieldCount = 2;
constexpr uint64_t kHandleField = 0;
constexpr uint64_t kRecordsField = 1;

PendingRequest* RecordsOf(const Record& row) {
    return reinterpret_cast<PendingRequest*>(static_cast<uintptr_t>(row.GetUint64(kRecordsField)));
}

}  // namespace

std::unique_ptr<PendingRequests> PendingRequests::Create() {
    std::unique_ptr<RecordTable> table = RecordTable::Create(kFieldCount);
    if (!table) return nullptr;
    return std::unique_ptr<PendingRequests>(new (std::nothrow) PendingRequests(std::move(table)));
}

PendingRequest* PendingRequests::Add(uint32_t handle) {
    std::unique_ptr<PendingRequest> request(new (std::nothrow) PendingRequest);
    if (!request) return nullptr;
    Record row(kFieldCount);
    if (!row.SetUint32(kHandleField, handle)) return nullptr;
    row.SetUint64(kRecordsField, reinterpret_cast<uintptr_t>(request.get()));
    if (!row.GetUint64(kRecordsField) || !table_->Replace(row)) return nullptr;
    return request.release();
}

void PendingRequests::Remove(uint32_t handle) {
    // Once the row is out, no cancel can reach the records any more.
    Free(table_->Remove(KeyOf(handle)));
}

uint32_t PendingRequests::Cancel(uint32_t handle) {
    // Inside the table's lock, so that the records cannot go before this is done.
    return table_->Visit(KeyOf(handle), [](const Record& row) {
        PendingRequest* request = RecordsOf(row);
        request->connection.Cancel();
        request->cancelSignal.Set();
    });
}

uint32_t PendingRequests::HandleOf(const Record& row) {
    return row.GetUint32(kHandleField);
}

void PendingRequests::Free(const Record& row) {
    delete RecordsOf(row);
}

}  // namespace wpk
