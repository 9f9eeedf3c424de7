#include "xconnection.h"

#include <X11/Xlib.h>
#include <X11/extensions/XShm.h>
#include <X11/extensions/XTest.h>
#include <X11/extensions/Xrandr.h>
#include <X11/extensions/shape.h>

#include <map>
#include <mutex>

namespace Tolvex {

namespace {

// The error handler is one per process. Ours is installed once and stays:
// errors of our connections are counted here, all others go on to the
// handler that was there before (the toolkit's, or Xlib's own).
struct ErrorRecord
{
    unsigned long count = 0;
    std::string lastText;
};

std::mutex s_errorsMutex;
std::map<Display *, ErrorRecord> s_errors;
XErrorHandler s_previousHandler = nullptr;

int handleError(Display *display, XErrorEvent *event)
{
    {
        std::lock_guard<std::mutex> lock(s_errorsMutex);
        const auto it = s_errors.find(display);
        if (it != s_errors.end()) {
            char text[256] = {};
            XGetErrorText(display, event->error_code, text, sizeof text);
            it->second.count++;
            it->second.lastText = std::string(text) + " (request " +
                                  std::to_string(int(event->request_code)) + "." +
                                  std::to_string(int(event->minor_code)) + ")";
            return 0;
        }
    }
    return s_previousHandler ? s_previousHandler(display, event) : 0;
}

void registerDisplay(Display *display)
{
    static std::once_flag installed;
    std::call_once(installed, [] { s_previousHandler = XSetErrorHandler(handleError); });
    std::lock_guard<std::mutex> lock(s_errorsMutex);
    s_errors[display] = ErrorRecord();
}

void unregisterDisplay(Display *display)
{
    std::lock_guard<std::mutex> lock(s_errorsMutex);
    s_errors.erase(display);
}

} // namespace

std::unique_ptr<XConnection> XConnection::open(const char *name, std::string *error,
                                               bool synchronous)
{
    const bool useEnvironment = !name || !*name;
    Display *display = XOpenDisplay(useEnvironment ? nullptr : name);
    if (!display) {
        const char *shown = useEnvironment ? XDisplayName(nullptr) : name;
        if (error)
            *error = std::string("Cannot open X display '") + (shown ? shown : "") + "'";
        return nullptr;
    }
    return std::make_unique<XConnection>(display, true, synchronous);
}

XConnection::XConnection(Display *display, bool owned, bool synchronous)
    : m_display(display), m_owned(owned)
{
    registerDisplay(display);
    if (synchronous)
        XSynchronize(display, True);
    m_screen = DefaultScreen(display);
    m_root = RootWindow(display, m_screen);
    int eventBase = 0;
    int errorBase = 0;
    int major = 0;
    int minor = 0;
    m_hasXTest = XTestQueryExtension(display, &eventBase, &errorBase, &major, &minor);
    m_hasShm = XShmQueryExtension(display);
    m_hasRandr = XRRQueryExtension(display, &m_randrEventBase, &errorBase);
    m_hasShape = XShapeQueryExtension(display, &eventBase, &errorBase);
    // The test input device must not be frozen by another client's grab.
    if (m_hasXTest)
        XTestGrabControl(display, True);
    // The screen's size is followed through events, on a connection whose
    // events are ours to read.
    if (m_hasRandr && m_owned)
        XRRSelectInput(display, m_root, RRScreenChangeNotifyMask);
}

XConnection::~XConnection()
{
    if (m_owned) {
        XCloseDisplay(m_display);
    } else {
        XSync(m_display, False);
    }
    unregisterDisplay(m_display);
}

std::string XConnection::displayName() const
{
    const char *name = DisplayString(m_display);
    return name ? name : std::string();
}

void XConnection::flush()
{
    XFlush(m_display);
}

void XConnection::sync()
{
    XSync(m_display, False);
}

void XConnection::processEvents()
{
    // MappingNotify comes to every client without asking.
    while (XPending(m_display) > 0) {
        XEvent event;
        XNextEvent(m_display, &event);
        if (event.type == MappingNotify) {
            XRefreshKeyboardMapping(&event.xmapping);
            if (event.xmapping.request != MappingPointer)
                m_keymapChanged = true;
        } else if (m_hasRandr && event.type == m_randrEventBase + RRScreenChangeNotify) {
            // Updates the size that DisplayWidth and DisplayHeight give.
            XRRUpdateConfiguration(&event);
        }
    }
}

bool XConnection::takeKeymapChanged()
{
    if (!m_owned)
        return true;
    processEvents();
    const bool changed = m_keymapChanged;
    m_keymapChanged = false;
    return changed;
}

std::pair<int, int> XConnection::rootSize()
{
    if (m_owned) {
        processEvents();
        return {DisplayWidth(m_display, m_screen), DisplayHeight(m_display, m_screen)};
    }
    Window root = 0;
    int x = 0;
    int y = 0;
    unsigned width = 0;
    unsigned height = 0;
    unsigned border = 0;
    unsigned depth = 0;
    XGetGeometry(m_display, m_root, &root, &x, &y, &width, &height, &border, &depth);
    return {int(width), int(height)};
}

unsigned long XConnection::errorCount() const
{
    std::lock_guard<std::mutex> lock(s_errorsMutex);
    const auto it = s_errors.find(m_display);
    return it == s_errors.end() ? 0 : it->second.count;
}

std::string XConnection::lastErrorText() const
{
    std::lock_guard<std::mutex> lock(s_errorsMutex);
    const auto it = s_errors.find(m_display);
    return it == s_errors.end() ? std::string() : it->second.lastText;
}

XErrorTrap::XErrorTrap(XConnection &connection) : m_connection(connection)
{
    // Errors of earlier requests are not this trap's.
    connection.sync();
    m_before = connection.errorCount();
}

bool XErrorTrap::failed()
{
    m_connection.sync();
    return m_connection.errorCount() != m_before;
}

std::string XErrorTrap::text() const
{
    return m_connection.lastErrorText();
}

} // namespace Tolvex
