// Layout: the positions of the controls in a window of a given size and resolution. Arithmetic only.
// SPDX-License-Identifier: MIT
#pragma once

#include <array>

#include "control_ids.h"

namespace desktop {

/// Pixels.
struct Size {
    int width;
    int height;
};

/// Pixels, from the upper left corner of the window's client area.
struct Rectangle {
    int x;
    int y;
    int width;
    int height;
};

struct Placement {
    ControlId id;
    Rectangle place;
};

/// All controls except the status bar, which positions itself.
using Layout = std::array<Placement, 14>;

/// @param inside the client area of the window without the status bar.
/// @param dpi pixels per inch; all design sizes are for 96.
/// @param text_height the height of the controls' font, in pixels.
Layout LayOut(Size inside, int dpi, int text_height);

/// The smallest client area, without the status bar, in which all controls can be used.
Size SmallestInside(int dpi);

/// The initial client area of the window.
Size UsualInside(int dpi);

/// A design length in pixels.
int Scaled(int length, int dpi);

}  // namespace desktop
