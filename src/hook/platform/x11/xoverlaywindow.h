#pragma once

#include "xconnection.h"

#include <cstdint>
#include <string>

namespace Tolvex {

// A window of the agent's own above all others. It is override-redirect, so
// no window manager frames, moves or focuses it, and its input shape is
// empty, so clicks go through it to what lies below.
class XOverlayWindow
{
public:
    // A translucent window needs a 32-bit visual and a compositing manager
    // to blend it; without them the window is opaque.
    XOverlayWindow(XConnection &connection, bool translucent);
    ~XOverlayWindow();
    XOverlayWindow(const XOverlayWindow &) = delete;
    XOverlayWindow &operator=(const XOverlayWindow &) = delete;

    bool isTranslucent() const { return m_translucent; }

    // A plain colour, 0xAARRGGBB; the alpha counts on a translucent window
    // only.
    void setColor(std::uint32_t argb);
    // Shows only a frame of this width along the edges (an opaque window's
    // way of leaving the inside visible); 0 shows the whole window.
    void setFrameWidth(int width);
    // A picture as the window's content, 0xAARRGGBB words, which also gives
    // the window its size.
    void setPicture(const std::uint32_t *pixels, int width, int height, int bytesPerLine);
    // Text in the server's own font: black on the colour with a black
    // border, 4 pixels of margin. Sizes the window to the text.
    void setText(const std::string &latin1, std::uint32_t rgb);

    void setGeometry(int x, int y, int width, int height);
    void move(int x, int y);
    int width() const { return m_width; }
    int height() const { return m_height; }

    void show();
    void hide();
    bool isShown() const { return m_shown; }

private:
    unsigned long pixelOf(std::uint32_t argb) const;
    void applyShape();
    void setBackgroundPixmap(XId pixmap);

    XConnection &m_connection;
    XId m_window = 0;
    XId m_colormap = 0;
    bool m_translucent = false;
    int m_depth = 0;
    void *m_visual = nullptr;
    int m_x = 0;
    int m_y = 0;
    int m_width = 1;
    int m_height = 1;
    int m_frameWidth = 0;
    bool m_shown = false;
};

} // namespace Tolvex
