#include "xpointer.h"

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>

namespace Tolvex {

bool fakePointerMotion(XConnection &connection, int x, int y)
{
    // Screen -1: the screen the pointer is on.
    return connection.hasXTest() &&
           XTestFakeMotionEvent(connection.display(), -1, x, y, CurrentTime);
}

bool fakePointerButton(XConnection &connection, int button, bool press)
{
    return connection.hasXTest() && XTestFakeButtonEvent(connection.display(), unsigned(button),
                                                         press ? True : False, CurrentTime);
}

int physicalPointerButton(XConnection &connection, int logical)
{
    unsigned char map[256] = {};
    const int count = XGetPointerMapping(connection.display(), map, sizeof map);
    for (int physical = 1; physical <= count; ++physical)
        if (map[physical - 1] == logical)
            return physical;
    return logical;
}

bool warpPointer(XConnection &connection, int x, int y, std::string *error)
{
    XErrorTrap trap(connection);
    XWarpPointer(connection.display(), 0, connection.root(), 0, 0, 0, 0, x, y);
    if (trap.failed()) {
        *error = trap.text();
        return false;
    }
    return true;
}

bool queryPointer(XConnection &connection, int *x, int *y)
{
    Window root = 0;
    Window child = 0;
    int windowX = 0;
    int windowY = 0;
    unsigned mask = 0;
    return XQueryPointer(connection.display(), connection.root(), &root, &child, x, y, &windowX,
                         &windowY, &mask);
}

} // namespace Tolvex
