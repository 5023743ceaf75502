// The way of a call of the interface to the outbound service.
// SPDX-License-Identifier: MIT
#include "library/call.h"

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

}  // namespace

uint32_t Call(GlobalObject& global, uint64_t command, uint64_t operand) {
    if (!IsInitialised(global)) return 0;
    return global.netOutbound.Post(command, operand);
}

}  // namespace wpk
