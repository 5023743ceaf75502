// The registry of requests in flight, by which a request can be found again.
// SPDX-License-Identifier: MIT
#ifndef WPK_TRANSPORT_PENDING_REQUESTS_H
#define WPK_TRANSPORT_PENDING_REQUESTS_H

#include <memory>

#include "threadlib/record_table.h"
#include "threadlib/semaphore.h"
#include "transport/connection.h"

namespace wpk::core {

/// By which a request is told that it is cancelled. The words of the record are those of the semaphore itself.
struct CancelRecord {
    Semaphore semaphore{SemaphoreKind::kSignal};
};

/// What exists for each request in flight: two records, owned by the registry.
struct PendingRequest {
    Connection* connection = nullptr;
    CancelRecord* cancel = nullptr;

    explicit operator bool() const { return connection && cancel; }
};

/// Requests in flight by handle: the id of the thread that carries one. Any thread may call any operation; none throws.
class PendingRequests {
public:
    /// Null when it cannot be made.
    static std::unique_ptr<PendingRequests> Create();
    explicit PendingRequests(std::unique_ptr<RecordTable> table) : table_(std::move(table)) {}

    /// Makes the records of a request and registers them; they are valid until Remove. False when that fails: nothing
    /// is left then.
    PendingRequest Add(uint32_t handle);

    /// Removes a request, closes its connection and frees its records.
    void Remove(uint32_t handle);

    /// Cancels a request: 1; 0 when no such request is registered.
    uint32_t Cancel(uint32_t handle);

    /// 1 when any request is registered, else 0.
    uint32_t Any() { return table_->Count() > 0; }

    /// Takes all requests out. Their records stay as they are, for their threads still use them.
    RecordTable::Rows Drain() { return table_->Drain(); }

    /// 0 for a row without it.
    static uint32_t HandleOf(const Record& row);
    /// Frees the records of a drained request, whose thread has ended, as far as the row has any.
    static void Free(const Record& row);

private:
    std::unique_ptr<RecordTable> table_;
};

}  // namespace wpk::core

#endif
