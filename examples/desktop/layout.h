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

/// Pixels, from the upper left corner of the window's inside.
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

/// All controls but the status bar, which finds its place itself.
using Layout = std::array<Placement, 14>;

/// @param inside the client area of the window without the status bar.
/// @param dpi pixels an inch; 96 is what all design sizes are in.
/// @param text_height of the font that the controls have, in pixels.
Layout LayOut(Size inside, int dpi, int text_height);

/// The smallest inside, without the status bar, in which all controls can be used.
Size SmallestInside(int dpi);

/// The inside that the window begins with.
Size UsualInside(int dpi);

/// A design length in pixels.
int Scaled(int length, int dpi);

}  // namespace desktop
