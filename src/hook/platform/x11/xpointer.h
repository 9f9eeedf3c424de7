#pragma once

#include "xconnection.h"

#include <string>

namespace Tolvex {

// The pointer through XTest. Buttons are physical X buttons (1 left,
// 2 middle, 3 right, 4 and 5 the wheel, 8 and 9 the extra buttons): the
// server applies the pointer mapping to them as to a real mouse.
bool fakePointerMotion(XConnection &connection, int x, int y);
bool fakePointerButton(XConnection &connection, int button, bool press);
// The physical button that the pointer mapping turns into the logical one
// (1 the primary, 3 the secondary button); the same number when none does.
int physicalPointerButton(XConnection &connection, int logical);
// Moves the pointer straight there, without motion on the way.
bool warpPointer(XConnection &connection, int x, int y, std::string *error);
// False when the pointer is on another screen.
bool queryPointer(XConnection &connection, int *x, int *y);

} // namespace Tolvex
