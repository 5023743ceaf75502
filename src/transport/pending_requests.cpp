// The registry of requests in flight.
// SPDX-License-Identifier: MIT
#include "transport/pending_requests.h"

#include <new>
#include <utility>

#include "threadlib/pointer_word.h"

namespace wpk::core {

namespace {

/// A row: the handle, then where the request's records are.
enum PendingField : uint64_t { kHandle, kConnection, kCancel, kPendingFieldCount };

PendingRequest RequestOf(const Record& row) {
    return {PointerFrom<Connection>(row.GetUint64(kConnection)), PointerFrom<CancelRecord>(row.GetUint64(kCancel))};
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
    const bool filled = row.SetUint32(kHandle, handle) && row.SetUint64(kConnection, WordOf(connection.get())) &&
                        row.SetUint64(kCancel, WordOf(cancel.get()));
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

}  // namespace wpk::core
