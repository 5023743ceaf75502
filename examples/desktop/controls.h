// The controls of the window: their kinds, appearance and keys.
// SPDX-License-Identifier: MIT
#pragma once

#include <windows.h>

#include <string>

#include "layout.h"

namespace desktop {

/// Creates all controls as children of the window, in tab order, without a font or position yet.
void CreateControls(HWND window);

/// The size that a window of this style needs for a client area of that size, status bar included.
Size WindowSize(HWND window, Size inside, int dpi);

/// The font of the system's messages in this resolution, for all controls of a window.
class MessageFont {
public:
    MessageFont() = default;
    ~MessageFont() { Delete(); }
    MessageFont(const MessageFont&) = delete;
    MessageFont& operator=(const MessageFont&) = delete;

    void Apply(HWND window, int dpi);

    /// The height of a line, in pixels.
    int Height() const { return height_; }

private:
    void Delete() const {
        if (font_ != nullptr) DeleteObject(font_);
    }

    HFONT font_ = nullptr;
    int height_ = 0;
};

/// Moves all controls at once to their positions in the window's current size.
void ArrangeControls(HWND window, int dpi, const MessageFont& font);

std::wstring ControlText(HWND window, ControlId id);

}  // namespace desktop
