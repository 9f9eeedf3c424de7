#pragma once

// The baseline of desktop pictures: XShmGetImage of the whole root window
// into one shared memory segment, nothing else. Free of Qt, so that Xlib's
// macros stay here.

#include <memory>

namespace TolvexBench {

class BareShmGrab
{
public:
    // On $DISPLAY; isOpen() tells whether it could attach a segment.
    BareShmGrab();
    ~BareShmGrab();
    bool isOpen() const;
    int width() const;
    int height() const;
    // One picture of the root; false when the server refused.
    bool grab();
    // The first pixel, to keep the compiler from dropping the picture.
    unsigned firstPixel() const;
    // The picture's memory: 32 bits a pixel on a 24-bit display.
    const unsigned char *pixels() const;
    int bytesPerLine() const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace TolvexBench
