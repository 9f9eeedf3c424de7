#pragma once

namespace Tolvex {

// A screen point. Point<1> is in native screen coordinates, Point<2> in
// logical ones; the parameter keeps the two from being mixed up. The screen
// is -1, the whole desktop, wherever this system makes a point.
template <int Space> struct Point
{
    Point() = default;
    Point(int px, int py) : x(px), y(py), valid(true) {}

    bool isValid() const { return valid; }
    bool operator==(const Point &o) const { return x == o.x && y == o.y && valid == o.valid; }

    int x = 0;
    int y = 0;
    bool valid = false;
    int screen = -1;
};

} // namespace Tolvex
