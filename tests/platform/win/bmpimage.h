#pragma once

// Reads back the fields of the BMP file images that the capture writes.

#include <windows.h>

#include <cstdint>
#include <vector>

struct BmpImage
{
    explicit BmpImage(const std::vector<unsigned char> &data) : bytes(data) {}

    std::uint32_t u32(size_t at) const
    {
        if (at + 4 > bytes.size())
            return 0;
        return std::uint32_t(bytes[at]) | std::uint32_t(bytes[at + 1]) << 8 |
               std::uint32_t(bytes[at + 2]) << 16 | std::uint32_t(bytes[at + 3]) << 24;
    }
    std::uint16_t u16(size_t at) const
    {
        if (at + 2 > bytes.size())
            return 0;
        return std::uint16_t(bytes[at] | bytes[at + 1] << 8);
    }

    bool isBmp() const { return bytes.size() >= 54 && bytes[0] == 'B' && bytes[1] == 'M'; }
    std::uint32_t sizeField() const { return u32(2); }
    std::uint32_t bitsOffset() const { return u32(10); }
    std::int32_t width() const { return std::int32_t(u32(18)); }
    std::int32_t height() const { return std::int32_t(u32(22)); }
    std::uint16_t bitCount() const { return u16(28); }
    std::uint32_t compression() const { return u32(30); }

    // Blue, green and red of a pixel counted from the top left; the rows are
    // stored bottom up.
    std::uint32_t bgr(int x, int y) const
    {
        const size_t row = size_t(height() - 1 - y);
        const size_t at = bitsOffset() + (row * size_t(width()) + size_t(x)) * 4;
        if (at + 3 > bytes.size())
            return 0xFFFFFFFF;
        return std::uint32_t(bytes[at]) << 16 | std::uint32_t(bytes[at + 1]) << 8 |
               std::uint32_t(bytes[at + 2]);
    }

    const std::vector<unsigned char> &bytes;
};

// The same order as bgr() reads: blue high, red low.
inline std::uint32_t bgrOf(COLORREF colour)
{
    return std::uint32_t(GetBValue(colour)) << 16 | std::uint32_t(GetGValue(colour)) << 8 |
           GetRValue(colour);
}
