// The service that carries the library's outbound requests.
// SPDX-License-Identifier: MIT
#ifndef WPK_SERVICE_NET_OUTBOUND_SERVICE_H
#define WPK_SERVICE_NET_OUTBOUND_SERVICE_H

#include <memory>

#include "service/mservice.h"
#include "transport/pending_requests.h"
#include "transport/state.h"
#include "wpk/wpk.h"

namespace wpk::core {

enum NetCommand : uint64_t {
    /// Operand: the send record's address. Answered with the request's handle as soon as a worker has taken it, else 0.
    kCommandSend = 101,
    /// Operand: a handle. Answered 1 at once; the cancel follows.
    kCommandCancel = 102,
    /// Answered 1 when any request is pending, else 0.
    kCommandAnyPending = 103,
};

class NetOutboundService : public MService {
public:
    /// `state` must outlive the service.
    explicit NetOutboundService(TransportState& state) : MService("NetOutboundService"), state_(state) {}

protected:
    uint32_t ProcessRequest(uint32_t client, uint32_t count, const uint64_t* arguments) override;
    uint32_t Manager_StartUp() override;
    /// Suspends the threads of all pending requests, then ends them.
    uint32_t Manager_ShutDown() override;

private:
    uint32_t CarryRequest(uint32_t client, WPK_SENDSTRUCT* message);
    uint32_t CancelRequest(uint32_t client, uint32_t handle);
    uint32_t AnswerAnyPending(uint32_t client);
    uint32_t Refuse(uint32_t client) const;

    /// Null while the service is not started.
    std::unique_ptr<PendingRequests> pending_;
    TransportState& state_;
};

}  // namespace wpk::core

#endif
