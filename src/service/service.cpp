// The single-threaded service.
// SPDX-License-Identifier: MIT
#include "service/service.h"

#include "threadlib/pointer_word.h"

namespace wpk::core {

uint32_t Service::Start() {
    if (Started() != 0) return 0;
    return StartDesk("Service::FrontDeskFunc()");
}

void Service::Serve(const Message& post) {
    const auto* arguments = PointerFrom<const uint64_t>(post.data);
    Answer(post.threadId, ProcessRequest(post.threadId, post.code, arguments));
}

}  // namespace wpk::core
