#include "mousebutton.h"

namespace Tolvex {

MouseButton::Value mouseButtonByIndex(int index)
{
    switch (index) {
    case 1:
        return MouseButton::Left;
    case 2:
        return MouseButton::Middle;
    case 3:
        return MouseButton::Right;
    case 4:
        return MouseButton::FirstExtra;
    case 5:
        return MouseButton::SecondExtra;
    default:
        return MouseButton::NoButton;
    }
}

} // namespace Tolvex
