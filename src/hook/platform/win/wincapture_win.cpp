#include "wincapture_win.h"

#include "user32module_win.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string>
#include <utility>

namespace Tolvex::Win {

namespace {

// SRCCOPY | CAPTUREBLT: layered windows are part of the picture.
constexpr DWORD MonitorCopy = 0x40CC0020;

// The screen's DC, released on every way out.
class ScreenDC
{
public:
    ScreenDC() : m_dc(GetDC(nullptr)) {}
    ~ScreenDC()
    {
        if (m_dc)
            ReleaseDC(nullptr, m_dc);
    }
    ScreenDC(const ScreenDC &) = delete;
    ScreenDC &operator=(const ScreenDC &) = delete;
    operator HDC() const { return m_dc; }

private:
    HDC m_dc;
};

class MemoryDC
{
public:
    explicit MemoryDC(HDC dc) : m_dc(dc) {}
    ~MemoryDC()
    {
        if (m_dc)
            DeleteDC(m_dc);
    }
    MemoryDC(const MemoryDC &) = delete;
    MemoryDC &operator=(const MemoryDC &) = delete;
    operator HDC() const { return m_dc; }
    HDC release() { return std::exchange(m_dc, nullptr); }

private:
    HDC m_dc;
};

class Bitmap
{
public:
    explicit Bitmap(HBITMAP bitmap) : m_bitmap(bitmap) {}
    ~Bitmap()
    {
        if (m_bitmap)
            DeleteObject(m_bitmap);
    }
    Bitmap(const Bitmap &) = delete;
    Bitmap &operator=(const Bitmap &) = delete;
    operator HBITMAP() const { return m_bitmap; }
    HBITMAP release() { return std::exchange(m_bitmap, nullptr); }
    void reset(HBITMAP bitmap)
    {
        if (m_bitmap)
            DeleteObject(m_bitmap);
        m_bitmap = bitmap;
    }

private:
    HBITMAP m_bitmap;
};

bool selected(HGDIOBJ previous)
{
    return previous && previous != HGDI_ERROR;
}

// One monitor's picture: a memory DC with its bitmap selected, and the
// monitor's rectangle as the enumeration gave it.
struct MonitorCapture
{
    HDC dc;
    HBITMAP bitmap;
    RECT rect;
};

// Owns the monitors' DCs and bitmaps and deletes them at the end.
class CDisplayHandlesPool
{
public:
    CDisplayHandlesPool() = default;
    ~CDisplayHandlesPool()
    {
        for (const MonitorCapture &capture : m_captures) {
            DeleteDC(capture.dc);
            DeleteObject(capture.bitmap);
        }
    }
    CDisplayHandlesPool(const CDisplayHandlesPool &) = delete;
    CDisplayHandlesPool &operator=(const CDisplayHandlesPool &) = delete;

    void add(const MonitorCapture &capture) { m_captures.push_back(capture); }
    const std::vector<MonitorCapture> &captures() const { return m_captures; }

private:
    std::vector<MonitorCapture> m_captures;
};

struct EnumerationState
{
    CDisplayHandlesPool *pool;
    // What stopped the walk; an exception may not pass through the system.
    std::string error;
};

MonitorCapture captureMonitor(HDC monitor, const RECT &rect)
{
    const int width = GetDeviceCaps(monitor, HORZRES);
    const int height = GetDeviceCaps(monitor, VERTRES);
    // Declared before the DC so that the DC, which may hold the bitmap, goes
    // first.
    Bitmap bitmap(nullptr);
    MemoryDC dc(CreateCompatibleDC(monitor));
    if (!dc)
        throw std::runtime_error("CaptureDesktop: CreateCompatibleDC failed");
    bitmap.reset(CreateCompatibleBitmap(monitor, width, height));
    if (!bitmap)
        throw std::runtime_error("CaptureDesktop: CreateCompatibleBitmap failed");
    if (!selected(SelectObject(dc, bitmap)))
        throw std::runtime_error("CaptureDesktop: SelectObject failed");
    if (!BitBlt(dc, 0, 0, width, height, monitor, rect.left, rect.top, MonitorCopy))
        throw std::runtime_error("CaptureDesktop: BitBlt failed");
    return {dc.release(), bitmap.release(), rect};
}

BOOL CALLBACK CaptureDesktop(HMONITOR, HDC monitor, LPRECT rect, LPARAM parameter)
{
    auto *state = reinterpret_cast<EnumerationState *>(parameter);
    try {
        state->pool->add(captureMonitor(monitor, *rect));
        return TRUE;
    } catch (const std::runtime_error &e) {
        state->error = e.what();
        return FALSE;
    }
}

void putLittleEndian(std::vector<unsigned char> &buffer, size_t at, DWORD value, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        buffer[at + size_t(i)] = static_cast<unsigned char>(value >> (8 * i));
}

} // namespace

std::vector<unsigned char> createBitmapFinal(HDC dc, HBITMAP bitmap, int width, int height)
{
    // The info header with room for a palette behind it.
    std::vector<unsigned char> info(sizeof(BITMAPINFOHEADER) + 256 * sizeof(RGBQUAD));
    auto *header = reinterpret_cast<BITMAPINFOHEADER *>(info.data());
    auto *bitmapInfo = reinterpret_cast<BITMAPINFO *>(info.data());
    header->biSize = sizeof(BITMAPINFOHEADER);
    header->biWidth = width;
    header->biHeight = height;
    header->biPlanes = 1;
    header->biBitCount = 32;
    if (!GetDIBits(dc, bitmap, 0, UINT(height), nullptr, bitmapInfo, DIB_RGB_COLORS))
        throw std::runtime_error("CreateBitmapFinal: GetDIBits failed");

    DWORD colours = 0;
    if (header->biClrUsed)
        colours = header->biClrUsed;
    else if (header->biCompression == BI_BITFIELDS)
        colours = 3;
    else if (header->biBitCount < 9)
        colours = DWORD(1) << header->biBitCount;
    colours = std::min<DWORD>(colours, 256);
    // BI_RGB bitmaps may leave the size to the reader.
    if (header->biSizeImage == 0)
        header->biSizeImage = DWORD((header->biWidth * header->biBitCount + 31) / 32 * 4) *
                              DWORD(header->biHeight < 0 ? -header->biHeight : header->biHeight);

    const DWORD offset = DWORD(BmpHeadersSize) + colours * 4;
    std::vector<unsigned char> bmp(header->biSizeImage + offset);
    bmp[0] = 'B';
    bmp[1] = 'M';
    // The size field holds the bits alone; no reader of this image uses it.
    putLittleEndian(bmp, 2, header->biSizeImage, 4);
    putLittleEndian(bmp, 6, 0, 4);
    putLittleEndian(bmp, 10, offset, 4);
    if (!GetDIBits(dc, bitmap, 0, UINT(height), bmp.data() + offset, bitmapInfo, DIB_RGB_COLORS))
        throw std::runtime_error("CreateBitmapFinal: GetDIBits failed");
    std::memcpy(bmp.data() + 14, info.data(), sizeof(BITMAPINFOHEADER) + colours * 4);
    return bmp;
}

std::vector<unsigned char> spliceImages(const RECT *area)
{
    int width = 0;
    int height = 0;
    int offsetX = 0;
    int offsetY = 0;
    if (area) {
        width = area->right - area->left;
        height = area->bottom - area->top;
        offsetX = area->left - GetSystemMetrics(SM_XVIRTUALSCREEN);
        offsetY = area->top - GetSystemMetrics(SM_YVIRTUALSCREEN);
    }

    CDisplayHandlesPool pool;
    {
        ScreenDC screen;
        if (!screen)
            throw std::runtime_error("CDisplayHandlesPool: GetDC failed");
        EnumerationState state{&pool, {}};
        const BOOL walked =
            EnumDisplayMonitors(screen, nullptr, CaptureDesktop, reinterpret_cast<LPARAM>(&state));
        if (!state.error.empty())
            throw std::runtime_error(state.error);
        if (!walked)
            throw std::runtime_error("CDisplayHandlesPool: EnumDisplayMonitors failed");
    }

    ScreenDC screen;
    if (width == 0 && height == 0) {
        width = GetSystemMetrics(SM_CXVIRTUALSCREEN);
        height = GetSystemMetrics(SM_CYVIRTUALSCREEN);
    }
    Bitmap bitmap(nullptr);
    MemoryDC target(CreateCompatibleDC(screen));
    if (!target)
        throw std::runtime_error("SpliceImages: CreateCompatibleDC failed");
    bitmap.reset(CreateCompatibleBitmap(screen, width, height));
    if (!bitmap)
        throw std::runtime_error("SpliceImages: CreateCompatibleBitmap failed");
    const HGDIOBJ previous = SelectObject(target, bitmap);
    if (!selected(previous))
        throw std::runtime_error("SpliceImages: SelectObject failed");

    // The monitor furthest up and left, but never right of or below the
    // primary screen's corner.
    LONG minLeft = 0;
    LONG minTop = 0;
    for (const MonitorCapture &capture : pool.captures()) {
        minLeft = std::min(minLeft, capture.rect.left);
        minTop = std::min(minTop, capture.rect.top);
    }
    const LONG baseX = offsetX + minLeft;
    const LONG baseY = offsetY + minTop;
    for (const MonitorCapture &capture : pool.captures()) {
        const RECT &r = capture.rect;
        if (!BitBlt(target, r.left - baseX, r.top - baseY, r.right - r.left, r.bottom - r.top,
                    capture.dc, 0, 0, SRCCOPY))
            throw std::runtime_error("SpliceImages: BitBlt failed");
    }
    // GetDIBits wants a bitmap that no DC holds.
    SelectObject(target, previous);
    return createBitmapFinal(screen, bitmap, width, height);
}

DesktopImage desktopScreenshot(int x, int y, int width, int height)
{
    DPIAwarenessOverride guard;
    DesktopImage shot;
    shot.originX = GetSystemMetrics(SM_XVIRTUALSCREEN);
    shot.originY = GetSystemMetrics(SM_YVIRTUALSCREEN);
    RECT area{};
    const bool hasArea = width > -1 && height > -1;
    if (hasArea) {
        area = RECT{x, y, x + width, y + height};
        shot.originX = -x;
        shot.originY = -y;
    }
    try {
        shot.bmp = spliceImages(hasArea ? &area : nullptr);
    } catch (const std::runtime_error &e) {
        shot.error =
            std::string("WinNativeInterface::desktopScreenshot: Failed to take screenshot: ") +
            e.what();
        return shot;
    }
    ScreenDC screen;
    shot.density = screen ? GetDeviceCaps(screen, LOGPIXELSX) / 96.0 : 1.0;
    return shot;
}

} // namespace Tolvex::Win
