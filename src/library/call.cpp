// The way of a call of the interface to the outbound service.
// SPDX-License-Identifier: MIT
#include "library/call.h"

#include "threadlib/threadlib.h"

namespace wpk {

namespace {

/// Waits for an initialisation that is under way. Once the library is initialised it stays so, and nothing is left
/// that the gate could keep a call apart from: then its locks are spared.
bool IsInitialised(GlobalObject& global) {
    if (global.initialised != 0) return true;
    if (!global.gate) return false;
    const SharedScope inside(global.gate);
    return global.initialised != 0;
}

class AttachedScope {
public:
    AttachedScope() : attached_(ThreadLib::Attach() != 0) {}
    AttachedScope(const AttachedScope&) = delete;
    AttachedScope& operator=(const AttachedScope&) = delete;
    ~AttachedScope() {
        if (attached_) ThreadLib::Detach();
    }

private:
    bool attached_;
};

}  // namespace

uint32_t Call(GlobalObject& global, uint64_t command, uint64_t operand) {
    if (!IsInitialised(global)) return 0;
    const AttachedScope attached;
    return global.netOutbound.Post(command, operand);
}

}  // namespace wpk
