// The exported functions.
// SPDX-License-Identifier: MIT
#include "wpk/wpk.h"

#include "library/call.h"
#include "library/instance.h"
#include "library/process_end.h"
#include "library/start_up.h"
#include "threadlib/pointer_word.h"

// While the process is taken down, nobody is left who could answer a call: it would wait for ever.

int WPK_Init(const WPK_INITSTRUCT* settings) {
    if (!settings || wpk::IsProcessEnding()) return 0;
    return wpk::Initialise(wpk::theGlobalObject, *settings);
}

unsigned int WPK_Send(WPK_SENDSTRUCT* message) {
    if (!message || wpk::IsProcessEnding()) return 0;
    return wpk::Call(wpk::theGlobalObject, wpk::kCommandSend, wpk::WordOf(message));
}

int WPK_Cancel(unsigned int handle) {
    if (handle == 0 || wpk::IsProcessEnding()) return 0;
    return static_cast<int>(wpk::Call(wpk::theGlobalObject, wpk::kCommandCancel, handle));
}
