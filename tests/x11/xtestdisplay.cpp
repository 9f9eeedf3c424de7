#include "xtestdisplay.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/Xrandr.h>

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace XTestDisplay {

struct Connection
{
    Display *display = nullptr;
};

Connection *open(const char *name)
{
    Display *display = XOpenDisplay(name);
    if (!display)
        return nullptr;
    return new Connection{display};
}

void close(Connection *connection)
{
    if (!connection)
        return;
    XCloseDisplay(connection->display);
    delete connection;
}

Connection &main()
{
    static Connection *const connection = [] {
        Connection *c = open();
        if (!c) {
            std::fprintf(stderr, "Cannot open the X display of the tests\n");
            std::abort();
        }
        return c;
    }();
    return *connection;
}

namespace {

Display *dpy()
{
    return main().display;
}

} // namespace

bool pointerPosition(int *x, int *y)
{
    Window root = 0;
    Window child = 0;
    int wx = 0;
    int wy = 0;
    unsigned mask = 0;
    return XQueryPointer(dpy(), DefaultRootWindow(dpy()), &root, &child, x, y, &wx, &wy, &mask);
}

std::vector<unsigned long> keyboardMapping()
{
    int min = 0;
    int max = 0;
    XDisplayKeycodes(dpy(), &min, &max);
    int width = 0;
    KeySym *syms = XGetKeyboardMapping(dpy(), KeyCode(min), max - min + 1, &width);
    std::vector<unsigned long> mapping(syms, syms + (max - min + 1) * width);
    XFree(syms);
    mapping.insert(mapping.begin(), static_cast<unsigned long>(width));
    return mapping;
}

int emptyKeycodeCount()
{
    const std::vector<unsigned long> mapping = keyboardMapping();
    const unsigned long width = mapping.front();
    int empty = 0;
    for (std::size_t row = 1; row + width <= mapping.size(); row += width) {
        bool none = true;
        for (unsigned long column = 0; column < width; ++column)
            none = none && mapping[row + column] == NoSymbol;
        empty += none;
    }
    return empty;
}

SwappedButtons::SwappedButtons()
{
    unsigned char map[256] = {};
    const int count = XGetPointerMapping(dpy(), map, sizeof map);
    m_original.assign(map, map + count);
    std::vector<unsigned char> swapped = m_original;
    std::swap(swapped[0], swapped[2]);
    XSetPointerMapping(dpy(), swapped.data(), int(swapped.size()));
    XSync(dpy(), False);
}

SwappedButtons::~SwappedButtons()
{
    XSetPointerMapping(dpy(), m_original.data(), int(m_original.size()));
    XSync(dpy(), False);
}

bool SwappedButtons::isSwapped() const
{
    unsigned char map[256] = {};
    XGetPointerMapping(dpy(), map, sizeof map);
    return map[0] == 3 && map[2] == 1;
}

Monitors::Monitors(const std::vector<Area> &areas)
{
    Window root = DefaultRootWindow(dpy());
    XRRScreenResources *resources = XRRGetScreenResources(dpy(), root);
    for (std::size_t i = 0; i < areas.size(); ++i) {
        const bool first = i == 0 && resources && resources->noutput > 0;
        XRRMonitorInfo *monitor = XRRAllocateMonitor(dpy(), first ? 1 : 0);
        const std::string name = "TOLVEXTEST" + std::to_string(i);
        monitor->name = XInternAtom(dpy(), name.c_str(), False);
        monitor->x = areas[i].x;
        monitor->y = areas[i].y;
        monitor->width = areas[i].width;
        monitor->height = areas[i].height;
        monitor->mwidth = areas[i].width / 4;
        monitor->mheight = areas[i].height / 4;
        monitor->primary = first;
        if (first)
            monitor->outputs[0] = resources->outputs[0];
        XRRSetMonitor(dpy(), root, monitor);
        m_names.push_back(monitor->name);
        XFree(monitor);
    }
    if (resources)
        XRRFreeScreenResources(resources);
    XSync(dpy(), False);
}

Monitors::~Monitors()
{
    for (unsigned long name : m_names)
        XRRDeleteMonitor(dpy(), DefaultRootWindow(dpy()), name);
    XSync(dpy(), False);
}

std::vector<Monitors::Area> Monitors::current()
{
    std::vector<Area> areas;
    int count = 0;
    XRRMonitorInfo *list = XRRGetMonitors(dpy(), DefaultRootWindow(dpy()), True, &count);
    for (int i = 0; i < count; ++i)
        areas.push_back({list[i].x, list[i].y, list[i].width, list[i].height});
    if (list)
        XRRFreeMonitors(list);
    return areas;
}

unsigned long clipboardOwner()
{
    return XGetSelectionOwner(dpy(), XInternAtom(dpy(), "CLIPBOARD", False));
}

unsigned long createColourWindow(Connection &connection, int x, int y, int width, int height,
                                 unsigned rgb)
{
    Display *display = connection.display;
    XSetWindowAttributes attributes{};
    attributes.override_redirect = True;
    attributes.background_pixel = rgb;
    const Window window = XCreateWindow(
        display, DefaultRootWindow(display), x, y, unsigned(width), unsigned(height), 0,
        CopyFromParent, InputOutput, CopyFromParent, CWOverrideRedirect | CWBackPixel, &attributes);
    XMapRaised(display, window);
    XSync(display, False);
    return window;
}

unsigned rootPixel(Connection &connection, int x, int y)
{
    Display *display = connection.display;
    XImage *image = XGetImage(display, DefaultRootWindow(display), x, y, 1, 1, AllPlanes, ZPixmap);
    if (!image)
        return 0xFFFFFFFF;
    const unsigned pixel = unsigned(XGetPixel(image, 0, 0) & 0xFFFFFF);
    XDestroyImage(image);
    return pixel;
}

bool compositorRunning(Connection &connection)
{
    Display *display = connection.display;
    return XGetSelectionOwner(display, XInternAtom(display, "_NET_WM_CM_S0", False)) != 0;
}

} // namespace XTestDisplay
