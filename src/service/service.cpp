// The single-threaded service.
// SPDX-License-Identifier: MIT
#include "service/service.h"

namespace wpk {

uint32_t Service::Start() {
    if (Started() != 0) return 0;
    return StartDesk("Service::FrontDeskFunc()");
}

void Service::Serve(const Message& request) {
    const auto* arguments = reinterpret_cast<const uint64_t*>(static_cast<uintptr_t>(request.data));
    Answer(request.threadId, ProcessRequest(request.threadId, request.code, arguments));
}

}  // namespace wpk
