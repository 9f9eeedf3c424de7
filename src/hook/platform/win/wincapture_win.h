#pragma once

// A picture of the whole virtual desktop, or of a rectangle of it, by GDI:
// every monitor copied into one bitmap, delivered as the bytes of a Windows
// BMP file.

#include "winresult_win.h"

#include <windows.h>

#include <vector>

namespace Tolvex::Win {

struct DesktopImage
{
    // A bottom-up, 32 bits a pixel BMP file image.
    std::vector<unsigned char> bmp;
    // The point that image pixel (0, 0) maps to, as the transform's
    // translation: the virtual screen's corner for the whole desktop, the
    // negated corner for a rectangle.
    int originX = 0;
    int originY = 0;
    double scale = 1.0;
    // Logical pixels per inch over 96.
    double density = 1.0;
    Error error;
};

// The whole desktop when width or height is negative, else that rectangle.
// A width and height of 0 take the virtual desktop's size from the
// rectangle's corner.
DesktopImage desktopScreenshot(int x, int y, int width, int height);

// All monitors spliced into one image of the area, or of the virtual
// desktop without one. Throws std::runtime_error with the failing step.
std::vector<unsigned char> spliceImages(const RECT *area);

// The BMP file image of a bitmap that no DC has selected. Throws
// std::runtime_error.
std::vector<unsigned char> createBitmapFinal(HDC dc, HBITMAP bitmap, int width, int height);

// The BMP file header and the info header that follows it.
inline constexpr size_t BmpHeadersSize = 54;

} // namespace Tolvex::Win
