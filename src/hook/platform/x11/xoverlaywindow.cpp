#include "xoverlaywindow.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/shape.h>

#include <bit>
#include <cstdlib>
#include <vector>

namespace Tolvex {

namespace {

// A compositing manager owns this selection while it runs.
bool compositorRunning(Display *display, int screen)
{
    const std::string name = "_NET_WM_CM_S" + std::to_string(screen);
    return XGetSelectionOwner(display, XInternAtom(display, name.c_str(), False)) != 0;
}

unsigned long scaled(unsigned value, unsigned long mask)
{
    if (!mask)
        return 0;
    const int shift = std::countr_zero(mask);
    const unsigned long maximum = mask >> shift;
    return (value * maximum / 255) << shift;
}

} // namespace

XOverlayWindow::XOverlayWindow(XConnection &connection, bool translucent) : m_connection(connection)
{
    Display *display = connection.display();
    const int screen = connection.screen();
    Visual *visual = DefaultVisual(display, screen);
    m_depth = DefaultDepth(display, screen);
    Colormap colormap = DefaultColormap(display, screen);
    XVisualInfo info{};
    if (translucent && compositorRunning(display, screen) &&
        XMatchVisualInfo(display, screen, 32, TrueColor, &info)) {
        m_translucent = true;
        visual = info.visual;
        m_depth = 32;
        colormap = XCreateColormap(display, connection.root(), visual, AllocNone);
        m_colormap = colormap;
    }
    m_visual = visual;

    XSetWindowAttributes attributes{};
    attributes.override_redirect = True;
    attributes.background_pixel = 0;
    attributes.border_pixel = 0;
    attributes.colormap = colormap;
    m_window =
        XCreateWindow(display, connection.root(), 0, 0, 1, 1, 0, m_depth, InputOutput, visual,
                      CWOverrideRedirect | CWBackPixel | CWBorderPixel | CWColormap, &attributes);
    // It takes no keyboard focus when asked, and no pointer input at all.
    XWMHints hints{};
    hints.flags = InputHint;
    hints.input = False;
    XSetWMHints(display, m_window, &hints);
    if (connection.hasShape())
        XShapeCombineRectangles(display, m_window, ShapeInput, 0, 0, nullptr, 0, ShapeSet,
                                Unsorted);
    const Atom type = XInternAtom(display, "_NET_WM_WINDOW_TYPE", False);
    const Atom tooltip = XInternAtom(display, "_NET_WM_WINDOW_TYPE_TOOLTIP", False);
    XChangeProperty(display, m_window, type, XA_ATOM, 32, PropModeReplace,
                    reinterpret_cast<const unsigned char *>(&tooltip), 1);
    connection.flush();
}

XOverlayWindow::~XOverlayWindow()
{
    Display *display = m_connection.display();
    XDestroyWindow(display, m_window);
    if (m_colormap)
        XFreeColormap(display, m_colormap);
    m_connection.flush();
}

unsigned long XOverlayWindow::pixelOf(std::uint32_t argb) const
{
    const unsigned alpha = m_translucent ? argb >> 24 : 255;
    // A 32-bit visual's pixels are premultiplied by their alpha.
    const auto channel = [&](int shift) { return ((argb >> shift) & 0xFF) * alpha / 255; };
    const auto *visual = static_cast<const Visual *>(m_visual);
    unsigned long pixel = scaled(channel(16), visual->red_mask) |
                          scaled(channel(8), visual->green_mask) |
                          scaled(channel(0), visual->blue_mask);
    if (m_translucent)
        pixel |= static_cast<unsigned long>(alpha) << 24;
    return pixel;
}

void XOverlayWindow::setColor(std::uint32_t argb)
{
    XSetWindowBackground(m_connection.display(), m_window, pixelOf(argb));
    XClearWindow(m_connection.display(), m_window);
    m_connection.flush();
}

void XOverlayWindow::setFrameWidth(int width)
{
    m_frameWidth = width;
    applyShape();
}

void XOverlayWindow::applyShape()
{
    if (!m_connection.hasShape())
        return;
    Display *display = m_connection.display();
    const int f = m_frameWidth;
    if (f <= 0 || 2 * f >= m_width || 2 * f >= m_height) {
        XShapeCombineMask(display, m_window, ShapeBounding, 0, 0, 0, ShapeSet);
    } else {
        XRectangle edges[4] = {
            {0, 0, static_cast<unsigned short>(m_width), static_cast<unsigned short>(f)},
            {0, static_cast<short>(m_height - f), static_cast<unsigned short>(m_width),
             static_cast<unsigned short>(f)},
            {0, static_cast<short>(f), static_cast<unsigned short>(f),
             static_cast<unsigned short>(m_height - 2 * f)},
            {static_cast<short>(m_width - f), static_cast<short>(f), static_cast<unsigned short>(f),
             static_cast<unsigned short>(m_height - 2 * f)},
        };
        XShapeCombineRectangles(display, m_window, ShapeBounding, 0, 0, edges, 4, ShapeSet,
                                Unsorted);
    }
    m_connection.flush();
}

void XOverlayWindow::setBackgroundPixmap(XId pixmap)
{
    Display *display = m_connection.display();
    XSetWindowBackgroundPixmap(display, m_window, pixmap);
    // The window keeps what it needs of the pixmap.
    XFreePixmap(display, pixmap);
    XClearWindow(display, m_window);
    m_connection.flush();
}

void XOverlayWindow::setPicture(const std::uint32_t *pixels, int width, int height,
                                int bytesPerLine)
{
    if (width <= 0 || height <= 0)
        return;
    Display *display = m_connection.display();
    auto *visual = static_cast<Visual *>(m_visual);
    const int pad = 32;
    XImage *image = XCreateImage(display, visual, unsigned(m_depth), ZPixmap, 0, nullptr,
                                 unsigned(width), unsigned(height), pad, 0);
    if (!image)
        return;
    image->data = static_cast<char *>(std::malloc(std::size_t(image->bytes_per_line) * height));
    if (!image->data) {
        XDestroyImage(image);
        return;
    }
    for (int y = 0; y < height; ++y) {
        const auto *line = reinterpret_cast<const std::uint32_t *>(
            reinterpret_cast<const unsigned char *>(pixels) + std::size_t(y) * bytesPerLine);
        for (int x = 0; x < width; ++x)
            XPutPixel(image, x, y, pixelOf(line[x]));
    }
    const Pixmap pixmap =
        XCreatePixmap(display, m_window, unsigned(width), unsigned(height), unsigned(m_depth));
    GC gc = XCreateGC(display, pixmap, 0, nullptr);
    XPutImage(display, pixmap, gc, image, 0, 0, 0, 0, unsigned(width), unsigned(height));
    XFreeGC(display, gc);
    XDestroyImage(image);
    setGeometry(m_x, m_y, width, height);
    setBackgroundPixmap(pixmap);
}

void XOverlayWindow::setText(const std::string &latin1, std::uint32_t rgb)
{
    Display *display = m_connection.display();
    GC gc = XCreateGC(display, m_window, 0, nullptr);
    int width = 8 * int(latin1.size());
    int ascent = 10;
    int height = 13;
    if (XFontStruct *font = XQueryFont(display, XGContextFromGC(gc))) {
        width = XTextWidth(font, latin1.data(), int(latin1.size()));
        ascent = font->ascent;
        height = font->ascent + font->descent;
        XFreeFontInfo(nullptr, font, 1);
    }
    width += 8;
    height += 8;
    const Pixmap pixmap =
        XCreatePixmap(display, m_window, unsigned(width), unsigned(height), unsigned(m_depth));
    XSetForeground(display, gc, pixelOf(0xFF000000u | rgb));
    XFillRectangle(display, pixmap, gc, 0, 0, unsigned(width), unsigned(height));
    XSetForeground(display, gc, pixelOf(0xFF000000u));
    XDrawRectangle(display, pixmap, gc, 0, 0, unsigned(width - 1), unsigned(height - 1));
    XDrawString(display, pixmap, gc, 4, 4 + ascent, latin1.data(), int(latin1.size()));
    XFreeGC(display, gc);
    setGeometry(m_x, m_y, width, height);
    setBackgroundPixmap(pixmap);
}

void XOverlayWindow::setGeometry(int x, int y, int width, int height)
{
    m_x = x;
    m_y = y;
    // X windows are at least one pixel wide and high.
    m_width = width > 0 ? width : 1;
    m_height = height > 0 ? height : 1;
    XMoveResizeWindow(m_connection.display(), m_window, x, y, unsigned(m_width),
                      unsigned(m_height));
    applyShape();
    if (m_shown)
        XRaiseWindow(m_connection.display(), m_window);
    m_connection.flush();
}

void XOverlayWindow::move(int x, int y)
{
    m_x = x;
    m_y = y;
    XMoveWindow(m_connection.display(), m_window, x, y);
    if (m_shown)
        XRaiseWindow(m_connection.display(), m_window);
    m_connection.flush();
}

void XOverlayWindow::show()
{
    XMapRaised(m_connection.display(), m_window);
    m_shown = true;
    m_connection.flush();
}

void XOverlayWindow::hide()
{
    XUnmapWindow(m_connection.display(), m_window);
    m_shown = false;
    m_connection.flush();
}

} // namespace Tolvex
