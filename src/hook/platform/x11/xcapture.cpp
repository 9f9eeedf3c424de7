#include "xcapture.h"

#include <X11/Xlib-xcb.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XShm.h>
#include <X11/extensions/Xrandr.h>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <xcb/randr.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <mutex>

namespace Tolvex {

// A shared memory segment the server writes pictures into. It is lent to
// one picture at a time and comes back when that picture is released, which
// may happen on any thread; only the capture's own thread talks to the
// server about it.
struct XCapture::Segment
{
    XShmSegmentInfo info{};
    std::size_t size = 0;
    bool lent = false;
    // Beyond the pool's keep, a segment is dropped when it comes back.
    bool transient = false;
    bool dead = false;
};

struct XCapture::Pool
{
    std::mutex mutex;
    std::vector<Segment *> segments;
    // Set when the capture is gone: the server has let go of every segment,
    // and whatever comes back is unmapped at once.
    bool closed = false;

    void giveBack(Segment *segment)
    {
        std::lock_guard<std::mutex> lock(mutex);
        segment->lent = false;
        if (closed) {
            shmdt(segment->info.shmaddr);
            segments.erase(std::find(segments.begin(), segments.end(), segment));
            delete segment;
        } else if (segment->transient) {
            segment->dead = true;
        }
    }
};

namespace {

// Segments kept for reuse; pictures held beyond that get segments of their own.
constexpr std::size_t SegmentsKept = 3;

struct PixelFormat
{
    int depth = 0;
    int bitsPerPixel = 0;
    int scanlinePad = 32;
    Visual *visual = nullptr;
    // Whether the server's pixels are already 32-bit xRGB words of this
    // machine's byte order.
    bool direct = false;
};

PixelFormat pixelFormat(Display *display, int screen)
{
    PixelFormat format;
    format.depth = DefaultDepth(display, screen);
    format.visual = DefaultVisual(display, screen);
    format.bitsPerPixel = format.depth > 16 ? 32 : format.depth > 8 ? 16 : 8;
    int count = 0;
    if (XPixmapFormatValues *formats = XListPixmapFormats(display, &count)) {
        for (int i = 0; i < count; ++i) {
            if (formats[i].depth == format.depth) {
                format.bitsPerPixel = formats[i].bits_per_pixel;
                format.scanlinePad = formats[i].scanline_pad;
            }
        }
        XFree(formats);
    }
    const bool littleEndian = std::endian::native == std::endian::little;
    format.direct = format.bitsPerPixel == 32 && format.visual->red_mask == 0xFF0000 &&
                    format.visual->green_mask == 0xFF00 && format.visual->blue_mask == 0xFF &&
                    (ImageByteOrder(display) == LSBFirst) == littleEndian;
    return format;
}

int bytesPerLine(const PixelFormat &format, int width)
{
    const int bits = width * format.bitsPerPixel;
    const int pad = format.scanlinePad;
    return (bits + pad - 1) / pad * pad / 8;
}

// An image header around memory of our own, for XShmGetImage.
XImage imageHeader(Display *display, const PixelFormat &format, int width, int height, char *data,
                   XShmSegmentInfo *info)
{
    XImage image{};
    image.width = width;
    image.height = height;
    image.format = ZPixmap;
    image.data = data;
    image.byte_order = ImageByteOrder(display);
    image.bitmap_unit = BitmapUnit(display);
    image.bitmap_bit_order = BitmapBitOrder(display);
    image.bitmap_pad = format.scanlinePad;
    image.depth = format.depth;
    image.bytes_per_line = bytesPerLine(format, width);
    image.bits_per_pixel = format.bitsPerPixel;
    image.red_mask = format.visual->red_mask;
    image.green_mask = format.visual->green_mask;
    image.blue_mask = format.visual->blue_mask;
    image.obdata = reinterpret_cast<char *>(info);
    XInitImage(&image);
    return image;
}

int channel(unsigned long pixel, unsigned long mask)
{
    if (!mask)
        return 0;
    const int shift = std::countr_zero(mask);
    const unsigned long maximum = mask >> shift;
    return int(((pixel & mask) >> shift) * 255 / maximum);
}

// Pixels of another layout, converted one by one into fresh memory.
bool convertPixels(XImage *image, CapturedPixels *pixels)
{
    const int width = image->width;
    const int height = image->height;
    auto *data = static_cast<std::uint32_t *>(std::malloc(std::size_t(width) * height * 4));
    if (!data)
        return false;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const unsigned long pixel = XGetPixel(image, x, y);
            data[std::size_t(y) * width + x] =
                0xFF000000u | std::uint32_t(channel(pixel, image->red_mask)) << 16 |
                std::uint32_t(channel(pixel, image->green_mask)) << 8 |
                std::uint32_t(channel(pixel, image->blue_mask));
        }
    }
    pixels->data = reinterpret_cast<unsigned char *>(data);
    pixels->width = width;
    pixels->height = height;
    pixels->bytesPerLine = width * 4;
    pixels->release = std::free;
    pixels->context = data;
    return true;
}

void destroyImage(void *image)
{
    XDestroyImage(static_cast<XImage *>(image));
}

// Paints black what lies in the box but on no monitor.
void blackenUncovered(CapturedPixels *pixels, const XRectangleArea &box,
                      const std::vector<XRectangleArea> &monitors)
{
    std::vector<std::pair<int, int>> spans;
    for (int row = 0; row < box.height; ++row) {
        const int y = box.y + row;
        spans.clear();
        for (const XRectangleArea &m : monitors)
            if (y >= m.y && y < m.y + m.height)
                spans.emplace_back(std::max(m.x, box.x),
                                   std::min(m.x + m.width, box.x + box.width));
        std::sort(spans.begin(), spans.end());
        int x = box.x;
        auto *line = reinterpret_cast<std::uint32_t *>(pixels->data +
                                                       std::size_t(row) * pixels->bytesPerLine);
        for (const auto &[from, to] : spans) {
            if (from > x)
                std::fill(line + (x - box.x), line + (from - box.x), 0xFF000000u);
            x = std::max(x, to);
        }
        if (x < box.x + box.width)
            std::fill(line + (x - box.x), line + box.width, 0xFF000000u);
    }
}

} // namespace

struct XCapture::Format : PixelFormat
{
};

XCapture::XCapture(XConnection &connection)
    : m_connection(connection), m_pool(std::make_shared<Pool>()),
      m_format(std::make_unique<Format>()), m_useShm(connection.hasShm())
{
    static_cast<PixelFormat &>(*m_format) = pixelFormat(connection.display(), connection.screen());
}

XCapture::~XCapture()
{
    std::lock_guard<std::mutex> lock(m_pool->mutex);
    for (auto it = m_pool->segments.begin(); it != m_pool->segments.end();) {
        Segment *segment = *it;
        XShmDetach(m_connection.display(), &segment->info);
        if (segment->lent) {
            ++it;
            continue;
        }
        shmdt(segment->info.shmaddr);
        delete segment;
        it = m_pool->segments.erase(it);
    }
    m_pool->closed = true;
    m_connection.sync();
}

XRectangleArea XCapture::rootArea()
{
    const auto [width, height] = m_connection.rootSize();
    return XRectangleArea{0, 0, width, height};
}

std::vector<XRectangleArea> XCapture::monitors()
{
    std::vector<XRectangleArea> result;
    if (m_connection.hasRandr()) {
        int count = 0;
        if (XRRMonitorInfo *list =
                XRRGetMonitors(m_connection.display(), m_connection.root(), True, &count)) {
            for (int i = 0; i < count; ++i)
                result.push_back({list[i].x, list[i].y, list[i].width, list[i].height});
            XRRFreeMonitors(list);
        }
    }
    if (result.empty())
        result.push_back(rootArea());
    return result;
}

XCapture::Segment *XCapture::segmentFor(std::size_t bytes)
{
    Display *display = m_connection.display();
    std::size_t kept = 0;
    {
        std::lock_guard<std::mutex> lock(m_pool->mutex);
        // Segments that came back dropped are let go of here, on the thread
        // that may talk to the server.
        for (auto it = m_pool->segments.begin(); it != m_pool->segments.end();) {
            Segment *segment = *it;
            if (!segment->dead) {
                ++it;
                continue;
            }
            XShmDetach(display, &segment->info);
            shmdt(segment->info.shmaddr);
            delete segment;
            it = m_pool->segments.erase(it);
        }
        Segment *best = nullptr;
        for (Segment *segment : m_pool->segments) {
            if (!segment->transient)
                ++kept;
            if (!segment->lent && !segment->transient && segment->size >= bytes &&
                (!best || segment->size < best->size))
                best = segment;
        }
        if (best) {
            best->lent = true;
            return best;
        }
    }
    auto *segment = new Segment;
    segment->size = bytes;
    segment->info.shmid = shmget(IPC_PRIVATE, bytes, IPC_CREAT | 0600);
    if (segment->info.shmid < 0) {
        delete segment;
        return nullptr;
    }
    segment->info.shmaddr = static_cast<char *>(shmat(segment->info.shmid, nullptr, 0));
    segment->info.readOnly = False;
    XErrorTrap trap(m_connection);
    const bool attached = segment->info.shmaddr != reinterpret_cast<char *>(-1) &&
                          XShmAttach(display, &segment->info);
    const bool failed = trap.failed();
    // Marked for removal now: it goes away once both sides have let go.
    shmctl(segment->info.shmid, IPC_RMID, nullptr);
    if (!attached || failed) {
        if (segment->info.shmaddr != reinterpret_cast<char *>(-1))
            shmdt(segment->info.shmaddr);
        delete segment;
        return nullptr;
    }
    segment->lent = true;
    segment->transient = kept >= SegmentsKept;
    std::lock_guard<std::mutex> lock(m_pool->mutex);
    m_pool->segments.push_back(segment);
    return segment;
}

bool XCapture::grab(const XRectangleArea &area, CapturedPixels *pixels, std::string *error)
{
    if (m_useShm) {
        if (grabShared(area, pixels, error))
            return true;
        if (!error->empty())
            return false;
        // No segment to be had: a server that cannot share memory with this
        // process (a remote one). From then on the plain way is taken.
        m_useShm = false;
    }
    return grabPlain(area, pixels, error);
}

bool XCapture::grabShared(const XRectangleArea &area, CapturedPixels *pixels, std::string *error)
{
    Display *display = m_connection.display();
    const PixelFormat &format = *m_format;
    const std::size_t bytes = std::size_t(bytesPerLine(format, area.width)) * area.height;
    Segment *segment = segmentFor(bytes);
    if (!segment)
        return false;
    XImage image = imageHeader(display, format, area.width, area.height, segment->info.shmaddr,
                               &segment->info);
    if (!XShmGetImage(display, m_connection.root(), &image, area.x, area.y, AllPlanes)) {
        m_pool->giveBack(segment);
        *error = "XShmGetImage failed: " + m_connection.lastErrorText();
        return false;
    }
    if (!format.direct) {
        const bool converted = convertPixels(&image, pixels);
        m_pool->giveBack(segment);
        if (!converted)
            *error = "Out of memory converting the pixels";
        return converted;
    }
    pixels->data = reinterpret_cast<unsigned char *>(segment->info.shmaddr);
    pixels->width = area.width;
    pixels->height = area.height;
    pixels->bytesPerLine = image.bytes_per_line;
    // The picture holds the pool, so a segment can come back after the
    // capture is gone.
    struct Lease
    {
        std::shared_ptr<Pool> pool;
        Segment *segment;
    };
    pixels->context = new Lease{m_pool, segment};
    pixels->release = [](void *context) {
        auto *lease = static_cast<Lease *>(context);
        lease->pool->giveBack(lease->segment);
        delete lease;
    };
    return true;
}

bool XCapture::grabPlain(const XRectangleArea &area, CapturedPixels *pixels, std::string *error)
{
    XErrorTrap trap(m_connection);
    XImage *image = XGetImage(m_connection.display(), m_connection.root(), area.x, area.y,
                              unsigned(area.width), unsigned(area.height), AllPlanes, ZPixmap);
    if (!image || trap.failed()) {
        if (image)
            XDestroyImage(image);
        *error = "XGetImage failed: " + trap.text();
        return false;
    }
    if (!m_format->direct) {
        const bool converted = convertPixels(image, pixels);
        XDestroyImage(image);
        if (!converted)
            *error = "Out of memory converting the pixels";
        return converted;
    }
    pixels->data = reinterpret_cast<unsigned char *>(image->data);
    pixels->width = image->width;
    pixels->height = image->height;
    pixels->bytesPerLine = image->bytes_per_line;
    pixels->release = destroyImage;
    pixels->context = image;
    return true;
}

bool XCapture::grabDesktop(CapturedPixels *pixels, XRectangleArea *area, std::string *error)
{
    // The monitors are asked for before the picture and read after it, so
    // that both answers come in one round trip.
    xcb_connection_t *xcb = XGetXCBConnection(m_connection.display());
    const bool askMonitors = m_connection.hasRandr();
    xcb_randr_get_monitors_cookie_t cookie{};
    if (askMonitors)
        cookie = xcb_randr_get_monitors(xcb, xcb_window_t(m_connection.root()), 1);
    const XRectangleArea root = rootArea();
    const bool grabbed = grab(root, pixels, error);

    std::vector<XRectangleArea> monitors;
    if (askMonitors) {
        if (xcb_randr_get_monitors_reply_t *reply =
                xcb_randr_get_monitors_reply(xcb, cookie, nullptr)) {
            xcb_randr_monitor_info_iterator_t it = xcb_randr_get_monitors_monitors_iterator(reply);
            for (; it.rem; xcb_randr_monitor_info_next(&it))
                monitors.push_back({it.data->x, it.data->y, it.data->width, it.data->height});
            std::free(reply);
        }
    }
    if (!grabbed)
        return false;
    if (monitors.empty())
        monitors.push_back(root);

    XRectangleArea box = monitors.front();
    for (const XRectangleArea &m : monitors) {
        const int right = std::max(box.x + box.width, m.x + m.width);
        const int bottom = std::max(box.y + box.height, m.y + m.height);
        box.x = std::min(box.x, m.x);
        box.y = std::min(box.y, m.y);
        box.width = right - box.x;
        box.height = bottom - box.y;
    }
    // Monitors reach no further than the root window shows.
    const int right = std::min(box.x + box.width, root.width);
    const int bottom = std::min(box.y + box.height, root.height);
    box.x = std::max(box.x, 0);
    box.y = std::max(box.y, 0);
    box.width = std::max(right - box.x, 1);
    box.height = std::max(bottom - box.y, 1);

    // The box is a view into the root's picture, no copy.
    pixels->data += std::size_t(box.y) * pixels->bytesPerLine + std::size_t(box.x) * 4;
    pixels->width = box.width;
    pixels->height = box.height;
    blackenUncovered(pixels, box, monitors);
    *area = box;
    return true;
}

} // namespace Tolvex
