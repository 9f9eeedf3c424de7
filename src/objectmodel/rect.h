#pragma once

#include "point.h"

namespace Tolvex {

// A screen rectangle, in the coordinate space of Point<Space>. A negative
// width or height means "none".
template <int Space> struct Rect
{
    Rect() = default;
    Rect(int px, int py, int w, int h) : x(px), y(py), width(w), height(h) {}

    bool isValid() const { return width >= 0 && height >= 0; }
    bool operator==(const Rect &o) const
    {
        return x == o.x && y == o.y && width == o.width && height == o.height;
    }

    int x = 0;
    int y = 0;
    int width = -1;
    int height = -1;
    // -1, the whole desktop, wherever this system makes a rectangle.
    int screen = -1;
};

} // namespace Tolvex
