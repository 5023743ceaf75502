// What became of the request: a text for the user and an exit status for scripts, for every way it can end.
// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace wpk_send {

/// The exit statuses that no WPK_ERROR stands behind.
enum ExitStatus {
    kReplied = 0,
    kFileTrouble = 1,
    kWrongUsage = 2,
    kNotInitialised = 3,
    kNotSent = 4,
    kTimedOut = 5,
    kNoSuchField = 6,
};

/// A sentence on a WPK_ERROR.
std::string ErrorText(int error);

/// The exit status for a WPK_ERROR: 10 more than the code without its sign. Codes that a later version of the library
/// may add follow the same rule.
int ExitStatusOfError(int error);

/// The list of all exit statuses, for --help.
std::string ExitStatusHelp();

}  // namespace wpk_send
