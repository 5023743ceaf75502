// A picture of a window as it stands on the screen.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_EXAMPLES_WINDOW_DRIVER_SCREENSHOT_H
#define WPK_TESTS_EXAMPLES_WINDOW_DRIVER_SCREENSHOT_H

#include <windows.h>

#include <string>

namespace window_driver {

/// Writes a PNG file. @throws std::runtime_error where that fails
void SaveScreenshot(HWND window, const std::wstring& file);

}  // namespace window_driver

#endif  // WPK_TESTS_EXAMPLES_WINDOW_DRIVER_SCREENSHOT_H
