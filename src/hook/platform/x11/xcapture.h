#pragma once

#include "xconnection.h"

#include <memory>
#include <string>
#include <vector>

namespace Tolvex {

struct XRectangleArea
{
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

// Pixels of the screen, 32 bits each, laid out as 0xAARRGGBB words in the
// machine's byte order with the top byte left as the server gave it. The
// memory may be shared with the X server: release (on any thread, exactly
// once) hands it back.
struct CapturedPixels
{
    unsigned char *data = nullptr;
    int width = 0;
    int height = 0;
    int bytesPerLine = 0;
    void (*release)(void *context) = nullptr;
    void *context = nullptr;
};

// Pictures of the root window: through shared memory segments that the
// server writes into (MIT-SHM) and that the pictures keep until they are
// released, or through a plain GetImage where the server cannot share
// memory with this process.
class XCapture
{
public:
    explicit XCapture(XConnection &connection);
    ~XCapture();
    XCapture(const XCapture &) = delete;
    XCapture &operator=(const XCapture &) = delete;

    // The root window's size.
    XRectangleArea rootArea();
    // The monitors as XRandR reports them; the root window when it reports
    // none.
    std::vector<XRectangleArea> monitors();

    // The whole desktop: the bounding box of all monitors, black where no
    // monitor shows the root window. The box comes back in area.
    bool grabDesktop(CapturedPixels *pixels, XRectangleArea *area, std::string *error);
    // An area inside the root window.
    bool grab(const XRectangleArea &area, CapturedPixels *pixels, std::string *error);

private:
    struct Pool;
    struct Segment;
    struct Format;

    Segment *segmentFor(std::size_t bytes);
    bool grabShared(const XRectangleArea &area, CapturedPixels *pixels, std::string *error);
    bool grabPlain(const XRectangleArea &area, CapturedPixels *pixels, std::string *error);

    XConnection &m_connection;
    std::shared_ptr<Pool> m_pool;
    std::unique_ptr<Format> m_format;
    bool m_useShm = false;
};

} // namespace Tolvex
