#include "xwindows.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>

#include <cstring>
#include <vector>

namespace Tolvex {

namespace {

std::vector<Window> childrenTopFirst(Display *display, Window window)
{
    Window root = 0;
    Window parent = 0;
    Window *children = nullptr;
    unsigned count = 0;
    std::vector<Window> result;
    if (!XQueryTree(display, window, &root, &parent, &children, &count))
        return result;
    // XQueryTree lists the bottom of the stack first.
    for (unsigned i = count; i > 0; --i)
        result.push_back(children[i - 1]);
    if (children)
        XFree(children);
    return result;
}

bool titleIs(Display *display, Window window, const std::string &title)
{
    const Atom netWmName = XInternAtom(display, "_NET_WM_NAME", False);
    const Atom utf8 = XInternAtom(display, "UTF8_STRING", False);
    for (const auto &[property, type] :
         {std::pair{netWmName, utf8}, {XA_WM_NAME, AnyPropertyType}}) {
        Atom actualType = 0;
        int format = 0;
        unsigned long count = 0;
        unsigned long rest = 0;
        unsigned char *data = nullptr;
        if (XGetWindowProperty(display, window, property, 0, 4096, False, type, &actualType,
                               &format, &count, &rest, &data) != Success)
            continue;
        const bool found = data && format == 8;
        const bool equal =
            found && count == title.size() && std::memcmp(data, title.data(), count) == 0;
        if (data)
            XFree(data);
        if (found)
            return equal;
    }
    return false;
}

long windowPid(Display *display, Window window)
{
    const Atom pidAtom = XInternAtom(display, "_NET_WM_PID", False);
    Atom actualType = 0;
    int format = 0;
    unsigned long count = 0;
    unsigned long rest = 0;
    unsigned char *data = nullptr;
    long pid = 0;
    if (XGetWindowProperty(display, window, pidAtom, 0, 1, False, XA_CARDINAL, &actualType, &format,
                           &count, &rest, &data) == Success &&
        data && format == 32 && count == 1)
        pid = *reinterpret_cast<long *>(data);
    if (data)
        XFree(data);
    return pid;
}

} // namespace

XId findWindowByTitle(XConnection &connection, const std::string &utf8Title)
{
    // Windows may vanish while they are looked at; the errors that gives are
    // counted on the connection and change nothing here.
    Display *display = connection.display();
    for (Window window : childrenTopFirst(display, connection.root())) {
        if (titleIs(display, window, utf8Title))
            return window;
        for (Window child : childrenTopFirst(display, window))
            if (titleIs(display, child, utf8Title))
                return child;
    }
    return 0;
}

bool sendSyntheticKey(XConnection &connection, XId window, int keycode, unsigned state, bool press)
{
    Display *display = connection.display();
    XKeyEvent event{};
    event.type = press ? KeyPress : KeyRelease;
    event.display = display;
    event.window = window;
    event.root = connection.root();
    event.subwindow = 0;
    event.time = CurrentTime;
    event.x = event.y = event.x_root = event.y_root = 1;
    event.state = state;
    event.keycode = unsigned(keycode);
    event.same_screen = True;
    XErrorTrap trap(connection);
    const Status sent = XSendEvent(display, window, True, press ? KeyPressMask : KeyReleaseMask,
                                   reinterpret_cast<XEvent *>(&event));
    return sent && !trap.failed();
}

unsigned modifierMaskOfKeycode(XConnection &connection, int keycode)
{
    XModifierKeymap *map = XGetModifierMapping(connection.display());
    if (!map)
        return 0;
    unsigned mask = 0;
    for (int modifier = 0; modifier < 8; ++modifier)
        for (int i = 0; i < map->max_keypermod; ++i)
            if (map->modifiermap[modifier * map->max_keypermod + i] == keycode)
                mask |= 1u << modifier;
    XFreeModifiermap(map);
    return mask;
}

unsigned shiftModifierMask()
{
    return ShiftMask;
}

XId internAtom(XConnection &connection, const char *name)
{
    return XInternAtom(connection.display(), name, False);
}

XId selectionOwner(XConnection &connection, const char *selection)
{
    return XGetSelectionOwner(connection.display(), internAtom(connection, selection));
}

void touchProperty(XConnection &connection, XId window, XId atom)
{
    // Appending nothing is still a change.
    XChangeProperty(connection.display(), window, atom, XA_INTEGER, 32, PropModeAppend, nullptr, 0);
}

bool windowBelongsToProcess(XConnection &connection, XId window, long pid)
{
    Display *display = connection.display();
    while (window && window != connection.root()) {
        if (windowPid(display, window) == pid)
            return true;
        Window root = 0;
        Window parent = 0;
        Window *children = nullptr;
        unsigned count = 0;
        if (!XQueryTree(display, window, &root, &parent, &children, &count))
            return false;
        if (children)
            XFree(children);
        window = parent;
    }
    return false;
}

bool focusBelongsToProcess(XConnection &connection, long pid)
{
    Display *display = connection.display();
    Window focus = 0;
    int revert = 0;
    XGetInputFocus(display, &focus, &revert);
    if (focus == PointerRoot) {
        Window root = 0;
        int x = 0;
        int y = 0;
        int windowX = 0;
        int windowY = 0;
        unsigned mask = 0;
        XQueryPointer(display, connection.root(), &root, &focus, &x, &y, &windowX, &windowY, &mask);
    }
    return windowBelongsToProcess(connection, focus, pid);
}

} // namespace Tolvex
