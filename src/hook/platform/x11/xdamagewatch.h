#pragma once

// What changed on the screen, from the X server's DAMAGE extension: a
// connection of its own watches the root window and reports each damaged
// rectangle; its socket tells when there is something to read, so an idle
// screen costs nothing. The pixels of what changed come from an XCapture on
// the same connection.

#include "xcapture.h"
#include "xconnection.h"

#include <memory>
#include <string>
#include <vector>

namespace Tolvex {

class XDamageWatch
{
public:
    // Null with the reason when the server cannot be reached or has no
    // DAMAGE extension.
    static std::unique_ptr<XDamageWatch> open(const std::string &displayName, std::string *error);
    ~XDamageWatch();
    XDamageWatch(const XDamageWatch &) = delete;
    XDamageWatch &operator=(const XDamageWatch &) = delete;

    // Readable when events wait.
    int fileDescriptor() const;
    // Appends the rectangles damaged since the last call; reads only what
    // has arrived, never waits.
    void takeDamage(std::vector<XRectangleArea> *areas);
    // Whether events were read from the socket and wait in the queue.
    bool hasQueuedEvents() const;
    // The root window's size now, after any change of the screen's size.
    std::pair<int, int> rootSize() { return m_connection->rootSize(); }
    XCapture &capture() { return *m_capture; }

private:
    XDamageWatch() = default;

    std::unique_ptr<XConnection> m_connection;
    std::unique_ptr<XCapture> m_capture;
    XId m_damage = 0;
    int m_eventBase = 0;
};

} // namespace Tolvex
