// The front door: the exported functions.
// SPDX-License-Identifier: MIT
#include "wpk/wpk.h"

#include "library/call.h"
#include "library/instance.h"
#include "library/start_up.h"

int WPK_Init(const WPK_INITSTRUCT* settings) {
    return settings ? wpk::Initialise(wpk::theGlobalObject, *settings) : 0;
}

unsigned int WPK_Send(WPK_SENDSTRUCT* message) {
    return message ? wpk::Call(wpk::theGlobalObject, wpk::kCommandSend, reinterpret_cast<uintptr_t>(message)) : 0;
}

int WPK_Cancel(unsigned int handle) {
    if (handle == 0) return 0;
    return static_cast<int>(wpk::Call(wpk::theGlobalObject, wpk::kCommandCancel, handle));
}
