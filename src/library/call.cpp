// How a call of the interface reaches the outbound service.
// SPDX-License-Identifier: MIT
#include "library/call.h"

#include "threadlib/threadlib.h"

namespace wpk::core {

namespace {

/// Registers the calling thread with the thread layer for the duration of a scope, unless it is registered already. If
/// that fails, the layer does not know the thread and refuses its posts.
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
    // A gate whose locks could not be created excludes nobody; such a library is never initialised.
    if (!global.gate) return 0;
    const SharedScope inside(global.gate);
    if (global.initialised == 0) return 0;
    const Attachment attachment;
    return global.netOutbound.Post(command, operand);
}

}  // namespace wpk::core
