// A picture of a window as it stands on the screen.
// SPDX-License-Identifier: MIT
#pragma once

#include <windows.h>

#include <string>

namespace window_driver {

/// Writes a PNG file. @throws std::runtime_error where that fails
void SaveScreenshot(HWND window, const std::wstring& file);

}  // namespace window_driver
