// The way of a call of the interface to the outbound service.
// SPDX-License-Identifier: MIT
#include "library/call.h"

#include "threadlib/threadlib.h"

namespace wpk::core {

namespace {

/// Registers the calling thread with the thread layer for the length of a scope, unless it is registered already. If
/// that fails, the thread is unknown to the layer, and its posts are refused.
class Attachment {
public:
    Attachment() : attached_(ThreadLib::Attach() != 0) {}
    Attachment(const Attachment&) = delete;
    Attachment& operator=(const Attachment&) = delete;
    ~Attachment() {
        if (attached_) ThreadLib::Detach();
    }

private:
    const bool attached_;
};

}  // namespace

uint32_t Call(GlobalObject& global, uint64_t command, uint64_t operand) {
    // A gate whose locks could not be made keeps nobody apart; such a library is never initialised.
    if (!global.gate) return 0;
    const SharedScope inside(global.gate);
    if (global.initialised == 0) return 0;
    const Attachment attachment;
    return global.netOutbound.Post(command, operand);
}

}  // namespace wpk::core
