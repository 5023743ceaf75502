// The service that carries the library's outbound requests.
// SPDX-License-Identifier: MIT
#include "service/net_outbound_service.h"

#include "threadlib/pointer_word.h"
#include "transport/exchange.h"

namespace wpk::core {

namespace {

/// Takes a request out of the registry at the end of its exchange, also when that ends by an exception.
class RegisteredRequest {
public:
    RegisteredRequest(PendingRequests& pending, uint32_t handle)
        : pending_(pending), handle_(handle), records_(pending.Add(handle)) {}
    RegisteredRequest(const RegisteredRequest&) = delete;
    RegisteredRequest& operator=(const RegisteredRequest&) = delete;
    ~RegisteredRequest() {
        if (records_) pending_.Remove(handle_);
    }

    /// False when it could not be registered.
    const PendingRequest& Records() const { return records_; }

private:
    PendingRequests& pending_;
    uint32_t handle_;
    PendingRequest records_;
};

}  // namespace

uint32_t NetOutboundService::ProcessRequest(uint32_t client, uint32_t count, const uint64_t* arguments) {
    // Nobody's request: there is neither a client to answer nor an argument to read.
    if (count == 0) return 0;
    const uint64_t operand = count > 1 ? arguments[1] : 0;
    switch (arguments[0]) {
        case kCommandSend:
            return CarryRequest(client, PointerFrom<WPK_SENDSTRUCT>(operand));
        case kCommandCancel:
            return CancelRequest(client, static_cast<uint32_t>(operand));
        case kCommandAnyPending:
            return AnswerAnyPending(client);
        default:
            return Refuse(client);
    }
}

uint32_t NetOutboundService::CarryRequest(uint32_t client, WPK_SENDSTRUCT* message) {
    if (!pending_) return Refuse(client);
    const uint32_t handle = GetCurrentThreadId();
    const RegisteredRequest request(*pending_, handle);
    if (!request.Records()) return Refuse(client);
    Answer(client, handle);
    return RunExchange(message, request.Records().connection, &request.Records().cancel->semaphore, state_);
}

uint32_t NetOutboundService::CancelRequest(uint32_t client, uint32_t handle) {
    Answer(client, 1);
    return pending_ ? pending_->Cancel(handle) : 0;
}

uint32_t NetOutboundService::AnswerAnyPending(uint32_t client) {
    const uint32_t any = pending_ ? pending_->Any() : 0;
    Answer(client, any);
    return any;
}

uint32_t NetOutboundService::Refuse(uint32_t client) const {
    Answer(client, 0);
    return 0;
}

uint32_t NetOutboundService::Manager_StartUp() {
    pending_ = PendingRequests::Create();
    return pending_ != nullptr;
}

uint32_t NetOutboundService::Manager_ShutDown() {
    ThreadLib::SetName(DeskId(), "NetOutboundService::Manager_ShutDown()");
    if (!pending_) return 1;
    const RecordTable::Rows drained = pending_->Drain();
    // All stand still before the first one goes: none must see another one's end and act on it.
    for (uint32_t i = 0; i < drained.count; ++i) ThreadLib::Suspend(PendingRequests::HandleOf(drained.rows[i]));
    for (uint32_t i = 0; i < drained.count; ++i) ThreadLib::Terminate(PendingRequests::HandleOf(drained.rows[i]));
    for (uint32_t i = 0; i < drained.count; ++i) PendingRequests::Free(drained.rows[i]);
    pending_.reset();
    return 1;
}

}  // namespace wpk::core
