// The registry of requests in flight.
// SPDX-License-Identifier: MIT
#include "transport/pending_requests.h"

#include <new>
#include <utility>

namespace wpk {

namespace {

/// A row: the handle, then where the request's records are.
enum PendingField : uint64_t { kHandle, kConnection, kCancel, kPendingFieldCount };

template <class T>
bool SetPointer(Record& row, uint64_t field, T* pointer) {
    return row.SetUint64(field, reinterpret_cast<uintptr_t>(pointer)) != 0;
}

template <class T>
T* GetPointer(const Record& row, uint64_t field) {
    return reinterpret_cast<T*>(static_cast<uintptr_t>(row.GetUint64(field)));
}

PendingRequest RequestOf(const Record& row) {
    return {GetPointer<Connection>(row, kConnection), GetPointer<CancelRecord>(row, kCancel)};
}

}  // namespace

std::unique_ptr<PendingRequests> PendingRequests::Create() {
    std::unique_ptr<RecordTable> table = RecordTable::Create(kPendingFieldCount);
    if (!table) return nullptr;
    return std::unique_ptr<PendingRequests>(new (std::nothrow) PendingRequests(std::move(table)));
}

PendingRequest PendingRequests::Add(uint32_t handle) {
    std::unique_ptr<Connection> connection(new (std::nothrow) Connection);
    std::unique_ptr<CancelRecord> cancel(new (std::nothrow) CancelRecord);
    if (!connection || !cancel || !cancel->semaphore) return {};
    Record row(kPendingFieldCount);
    const bool filled = row.SetUint32(kHandle, handle) && SetPointer(row, kConnection, connection.get()) &&
                        SetPointer(row, kCancel, cancel.get());
    // In place of the row that a thread under the same id leaves when the application ends it: a cancel must not find
    // that one. What such a thread held is lost.
    if (!filled || !table_->Replace(row)) return {};
    return {connection.release(), cancel.release()};
}

void PendingRequests::Remove(uint32_t handle) {
    // Once the row is out, no cancel can reach the records any more.
    Free(table_->Remove(KeyOf(handle)));
}

uint32_t PendingRequests::Cancel(uint32_t handle) {
    // Inside the table's lock, so that the records cannot go before this is done.
    return table_->Visit(KeyOf(handle), [](const Record& row) {
        const PendingRequest request = RequestOf(row);
        // Marked first: whoever the signal wakes finds the mark.
        request.connection->Cancel();
        request.cancel->semaphore.Signal();
    });
}

uint32_t PendingRequests::HandleOf(const Record& row) {
    return row.GetUint32(kHandle);
}

void PendingRequests::Free(const Record& row) {
    const PendingRequest request = RequestOf(row);
    delete request.connection;
    delete request.cancel;
}

}  // namespace wpk
