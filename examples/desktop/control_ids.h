// The numbers of the window's controls.
// SPDX-License-Identifier: MIT
#pragma once

namespace desktop {

/// Send and Cancel have the numbers that Enter and Esc send (IDOK and IDCANCEL), wherever the focus is.
enum ControlId : int {
    kSend = 1,
    kCancel = 2,
    kServerLabel = 101,
    kServer,
    kPortLabel,
    kPort,
    kServiceLabel,
    kService,
    kMessageLabel,
    kMessage,
    kProgress,
    kReplyLabel,
    kReplyText,
    kReplyTree,
    kStatus,
};

}  // namespace desktop
