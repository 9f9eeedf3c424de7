#pragma once

#include "tolvexexport.h"

namespace Tolvex {

// Mouse buttons as the native layer presses them: one bit each.
struct MouseButton
{
    enum Value : int {
        NoButton = 0,
        Left = 1,
        Middle = 2,
        Right = 4,
        Primary = 16,
        Secondary = 32,
        FirstExtra = 64,
        SecondExtra = 128,
    };
};

// The button a number on the wire means: 1 left, 2 middle, 3 right, 4 and 5
// the extra buttons; anything else is no button.
TOLVEX_EXPORT MouseButton::Value mouseButtonByIndex(int index);

} // namespace Tolvex
