#pragma once

// What the tests ask of the X server behind the plug-in's back, on a
// connection of their own. Free of Qt, so that Xlib's macros stay here.

#include <string>
#include <vector>

namespace XTestDisplay {

// The connection of the tests to $DISPLAY (or another display by name).
struct Connection;
Connection *open(const char *name = nullptr);
void close(Connection *connection);
Connection &main();

bool pointerPosition(int *x, int *y);
// Every keysym of every keycode, as XGetKeyboardMapping gives them.
std::vector<unsigned long> keyboardMapping();
// The keycodes without any keysym.
int emptyKeycodeCount();

// Swaps the first and third buttons for as long as it lives.
class SwappedButtons
{
public:
    SwappedButtons();
    ~SwappedButtons();
    bool isSwapped() const;

private:
    std::vector<unsigned char> m_original;
};

// XRandR monitors defined by the tests: the first takes the screen's output
// (so that it replaces the monitor the server made for it), the others
// none. Deleted again at the end.
class Monitors
{
public:
    struct Area
    {
        int x, y, width, height;
    };
    explicit Monitors(const std::vector<Area> &areas);
    ~Monitors();
    // The active monitors as the server lists them now.
    static std::vector<Area> current();

private:
    std::vector<unsigned long> m_names;
};

// The window that owns the CLIPBOARD selection, 0 for none.
unsigned long clipboardOwner();

// A plain window of one colour on a display, override-redirect, mapped.
unsigned long createColourWindow(Connection &connection, int x, int y, int width, int height,
                                 unsigned rgb);
// The pixel at a root position, 0xRRGGBB.
unsigned rootPixel(Connection &connection, int x, int y);
// Whether a compositing manager runs on the display's first screen.
bool compositorRunning(Connection &connection);

} // namespace XTestDisplay
