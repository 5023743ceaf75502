// The outcome of the request: a text for the user and an exit status for scripts, for every way it can end.
// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "common/usage.h"

namespace wpk_send {

/// The exit statuses that do not come from a WPK_ERROR.
enum ExitStatus {
    kReplied = 0,
    kFileTrouble = 1,
    kWrongUsage = common::kWrongUsage,
    kNotInitialised = 3,
    kNotSent = 4,
    kTimedOut = 5,
    kNoSuchField = 6,
};

/// A sentence that describes a WPK_ERROR.
std::string ErrorText(int error);

/// What the user can do about it; empty for a cancel, and for a code that is not known.
std::string ErrorAdvice(int error);

/// Both, with the separator between them.
std::string ErrorTextAndAdvice(int error, const char* separator);

/// What has happened and what to do, where the library could not even begin.
///@{
inline constexpr char kNotInitialisedText[] =
    "The library could not be initialised: the system is short of threads or memory. Close some programs, then start "
    "this one again.";
inline constexpr char kNotSentText[] =
    "The library could not take the message: the system is short of threads or memory. Close some programs, then send "
    "it again.";
///@}

/// The exit status for a WPK_ERROR: 10 more than the code without its sign. Codes that a later version of the library
/// may add follow the same rule.
int ExitStatusOfError(int error);

/// The list of all exit statuses, for --help.
std::string ExitStatusHelp();

}  // namespace wpk_send
