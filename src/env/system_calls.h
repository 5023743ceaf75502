// The platform calls that system information is gathered with, as a table.
// SPDX-License-Identifier: MIT
#ifndef WPK_ENV_SYSTEM_CALLS_H
#define WPK_ENV_SYSTEM_CALLS_H

#include "threadlib/platform.h"

namespace wpk::core {

/// Filled with the system's own functions; tests put a machine of their own in their place.
struct SystemCalls {
    decltype(&::GetVersion) getVersion = &::GetVersion;
    decltype(&::GetTempPathA) getTempPath = &::GetTempPathA;
    decltype(&::GetWindowsDirectoryA) getWindowsDirectory = &::GetWindowsDirectoryA;
    decltype(&::GetSystemDirectoryA) getSystemDirectory = &::GetSystemDirectoryA;
    decltype(&::GetUserNameA) getUserName = &::GetUserNameA;
    decltype(&::RegCreateKeyA) regCreateKey = &::RegCreateKeyA;
    decltype(&::RegQueryValueExA) regQueryValueEx = &::RegQueryValueExA;
    decltype(&::RegCloseKey) regCloseKey = &::RegCloseKey;
};

}  // namespace wpk::core

#endif
