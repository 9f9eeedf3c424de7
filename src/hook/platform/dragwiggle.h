#pragma once

// The pointer steps walked around a drag's start and end, so that the
// application sees movement at both ends. Free of Qt, so that the Win32 and
// X11 backends walk the same steps.

#include <array>

namespace Tolvex::DragWiggle {

struct Step
{
    int dx;
    int dy;
};

inline constexpr std::array<Step, 10> Steps{{
    {0, -1},
    {1, 0},
    {0, 1},
    {0, 1},
    {-1, 0},
    {-1, 0},
    {0, -1},
    {0, -1},
    {1, 0},
    {0, 1},
}};

} // namespace Tolvex::DragWiggle
