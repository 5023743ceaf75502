// The keyboard: keys as a user presses them, for whatever program has the focus.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_EXAMPLES_WINDOW_DRIVER_KEYBOARD_H
#define WPK_TESTS_EXAMPLES_WINDOW_DRIVER_KEYBOARD_H

#include <string>

namespace window_driver {

/// @param keys names of keys, held down together: "Enter", "Ctrl+Enter", "Alt+S".
/// @throws std::runtime_error for a name that is none
void PressKeys(const std::wstring& keys);

void TypeText(const std::wstring& text);

}  // namespace window_driver

#endif  // WPK_TESTS_EXAMPLES_WINDOW_DRIVER_KEYBOARD_H
