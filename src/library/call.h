// The way of a call of the interface to the outbound service.
// SPDX-License-Identifier: MIT
#ifndef WPK_LIBRARY_CALL_H
#define WPK_LIBRARY_CALL_H

#include <cstdint>

#include "env/global_object.h"

namespace wpk::core {

/// Posts a command with its operand to the outbound service and returns the answer; 0 before the library is
/// initialised. From any thread: one that the thread layer does not know is registered for the length of the call. The
/// call waits for an initialisation that is under way, which must therefore never wait for a thread that may call.
uint32_t Call(GlobalObject& global, uint64_t command, uint64_t operand);

}  // namespace wpk::core

#endif
