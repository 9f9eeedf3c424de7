#include "xdamagewatch.h"

#include <X11/Xlib.h>
#include <X11/extensions/Xdamage.h>
#include <X11/extensions/Xrandr.h>

namespace Tolvex {

std::unique_ptr<XDamageWatch> XDamageWatch::open(const std::string &displayName, std::string *error)
{
    std::unique_ptr<XDamageWatch> watch(new XDamageWatch);
    watch->m_connection = XConnection::open(displayName.c_str(), error);
    if (!watch->m_connection)
        return nullptr;
    Display *display = watch->m_connection->display();
    int errorBase = 0;
    if (!XDamageQueryExtension(display, &watch->m_eventBase, &errorBase)) {
        *error = "The X server has no DAMAGE extension";
        return nullptr;
    }
    int major = 1;
    int minor = 1;
    XDamageQueryVersion(display, &major, &minor);
    XErrorTrap trap(*watch->m_connection);
    // Each change as its own rectangle: the union the other levels report
    // would often be the whole screen.
    watch->m_damage =
        XDamageCreate(display, watch->m_connection->root(), XDamageReportRawRectangles);
    watch->m_connection->sync();
    if (trap.failed() || !watch->m_damage) {
        *error = "Watching the screen for changes failed: " + trap.text();
        return nullptr;
    }
    watch->m_capture = std::make_unique<XCapture>(*watch->m_connection);
    return watch;
}

XDamageWatch::~XDamageWatch()
{
    if (m_damage && m_connection) {
        XDamageDestroy(m_connection->display(), m_damage);
        m_connection->flush();
    }
}

int XDamageWatch::fileDescriptor() const
{
    return ConnectionNumber(m_connection->display());
}

bool XDamageWatch::hasQueuedEvents() const
{
    return XEventsQueued(m_connection->display(), QueuedAlready) > 0;
}

void XDamageWatch::takeDamage(std::vector<XRectangleArea> *areas)
{
    Display *display = m_connection->display();
    while (XPending(display) > 0) {
        XEvent event;
        XNextEvent(display, &event);
        if (event.type == m_eventBase + XDamageNotify) {
            const auto &damage = reinterpret_cast<const XDamageNotifyEvent &>(event);
            areas->push_back({damage.area.x, damage.area.y, damage.area.width, damage.area.height});
        } else {
            // A change of the screen's size: the next rootSize() sees it.
            XRRUpdateConfiguration(&event);
        }
    }
}

} // namespace Tolvex
