// The single-threaded service.
// SPDX-License-Identifier: MIT
#include "service/service.h"

#include "threadlib/pointer_word.h"

namespace wpk {

uint32_t Service::Start() {
    if (Started() != 0) return 0;
    return StartDesk("Service::FrontDeskFunc()");
}

void Service::Serve(const Message& request) {
    const auto* arguments = PointerFrom<const uint64_t>(request.data);
    Answer(request.threadId, ProcessRequest(request.threadId, request.code, arguments));
}

}  // namespace wpk
