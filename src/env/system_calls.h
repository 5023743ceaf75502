// The platform calls used to gather system information, as a table.
// SPDX-License-Identifier: MIT
#ifndef WPK_ENV_SYSTEM_CALLS_H
#define WPK_ENV_SYSTEM_CALLS_H

#include "threadlib/platform.h"

namespace wpk::core {

/// Filled with the system's functions; tests replace them with a fake machine.
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
