#include "bmpimage.h"
#include "wincapture_win.h"
#include "wintest.h"

#include <stdexcept>
#include <string>

using namespace Tolvex::Win;

namespace {

// Lets the system deliver what is queued for this thread's windows.
void pumpMessages()
{
    for (int round = 0; round < 20; ++round) {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            TranslateMessage(&message);
            DispatchMessageW(&message);
        }
        Sleep(10);
    }
}

// A window that is one colour all over, at a place on the desktop.
class ColourWindow
{
public:
    ColourWindow(COLORREF colour, int x, int y, int width, int height)
        : m_brush(CreateSolidBrush(colour))
    {
        static const ATOM registered = [] {
            WNDCLASSW windowClass{};
            windowClass.lpfnWndProc = DefWindowProcW;
            windowClass.hInstance = GetModuleHandleW(nullptr);
            windowClass.lpszClassName = L"TolvexTestColour";
            return RegisterClassW(&windowClass);
        }();
        (void)registered;
        m_window = CreateWindowExW(WS_EX_TOPMOST, L"TolvexTestColour", L"", WS_POPUP, x, y, width,
                                   height, nullptr, nullptr, GetModuleHandleW(nullptr), nullptr);
        SetClassLongPtrW(m_window, GCLP_HBRBACKGROUND, LONG_PTR(m_brush));
        ShowWindow(m_window, SW_SHOWNOACTIVATE);
        UpdateWindow(m_window);
        pumpMessages();
    }
    ~ColourWindow()
    {
        DestroyWindow(m_window);
        DeleteObject(m_brush);
    }

private:
    HBRUSH m_brush;
    HWND m_window;
};

} // namespace

WIN_TEST(bitmapBecomesABottomUpBmpWithThePixels)
{
    HDC screen = GetDC(nullptr);
    HDC dc = CreateCompatibleDC(screen);
    HBITMAP bitmap = CreateCompatibleBitmap(screen, 3, 2);
    const HGDIOBJ previous = SelectObject(dc, bitmap);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 3; ++x)
            SetPixel(dc, x, y, RGB(10 * x, 100 + y, 200));
    SetPixel(dc, 0, 0, RGB(255, 0, 0));
    SelectObject(dc, previous);

    const std::vector<unsigned char> bytes = createBitmapFinal(screen, bitmap, 3, 2);
    const BmpImage bmp(bytes);
    CHECK(bmp.isBmp());
    CHECK_EQ(bytes.size(), size_t(54 + 3 * 2 * 4));
    // The size field holds the bits alone.
    CHECK_EQ(bmp.sizeField(), 24u);
    CHECK_EQ(bmp.u32(6), 0u);
    CHECK_EQ(bmp.bitsOffset(), 54u);
    CHECK_EQ(bmp.u32(14), 40u);
    CHECK_EQ(bmp.width(), 3);
    CHECK_EQ(bmp.height(), 2);
    CHECK_EQ(bmp.u16(26), 1u);
    CHECK_EQ(bmp.bitCount(), 32u);
    CHECK_EQ(bmp.compression(), 0u);
    // The top row is stored last.
    CHECK_EQ(bytes[54 + 12 + 2], 255);
    CHECK_EQ(bmp.bgr(0, 0), bgrOf(RGB(255, 0, 0)));
    CHECK_EQ(bmp.bgr(2, 1), bgrOf(RGB(20, 101, 200)));

    DeleteObject(bitmap);
    DeleteDC(dc);
    ReleaseDC(nullptr, screen);
}

WIN_TEST(invalidBitmapIsAnError)
{
    HDC screen = GetDC(nullptr);
    std::string error;
    try {
        createBitmapFinal(screen, nullptr, 4, 4);
    } catch (const std::runtime_error &e) {
        error = e.what();
    }
    ReleaseDC(nullptr, screen);
    CHECK_EQ(error, std::string("CreateBitmapFinal: GetDIBits failed"));
}

WIN_TEST(wholeDesktopHasTheVirtualScreensSizeAndCorner)
{
    const DesktopImage shot = desktopScreenshot(0, 0, -1, -1);
    CHECK_EQ(shot.error, std::string());
    const BmpImage bmp(shot.bmp);
    CHECK(bmp.isBmp());
    CHECK_EQ(bmp.width(), GetSystemMetrics(SM_CXVIRTUALSCREEN));
    CHECK_EQ(bmp.height(), GetSystemMetrics(SM_CYVIRTUALSCREEN));
    CHECK_EQ(bmp.bitCount(), 32u);
    CHECK_EQ(shot.bmp.size(), size_t(54) + size_t(bmp.width()) * size_t(bmp.height()) * 4);
    CHECK_EQ(shot.originX, GetSystemMetrics(SM_XVIRTUALSCREEN));
    CHECK_EQ(shot.originY, GetSystemMetrics(SM_YVIRTUALSCREEN));
    CHECK_EQ(shot.scale, 1.0);
    HDC screen = GetDC(nullptr);
    CHECK_EQ(shot.density, GetDeviceCaps(screen, LOGPIXELSX) / 96.0);
    ReleaseDC(nullptr, screen);
}

WIN_TEST(rectangleOfNoSizeTakesTheVirtualSizeFromItsCorner)
{
    const DesktopImage shot = desktopScreenshot(10, 20, 0, 0);
    CHECK_EQ(shot.error, std::string());
    const BmpImage bmp(shot.bmp);
    CHECK_EQ(bmp.width(), GetSystemMetrics(SM_CXVIRTUALSCREEN));
    CHECK_EQ(bmp.height(), GetSystemMetrics(SM_CYVIRTUALSCREEN));
    CHECK_EQ(shot.originX, -10);
    CHECK_EQ(shot.originY, -20);
}

WIN_TEST(rectangleShowsWhatIsThere)
{
    const COLORREF colour = RGB(10, 200, 30);
    ColourWindow window(colour, 50, 60, 40, 30);
    const DesktopImage shot = desktopScreenshot(60, 70, 16, 8);
    CHECK_EQ(shot.error, std::string());
    CHECK_EQ(shot.originX, -60);
    CHECK_EQ(shot.originY, -70);
    const BmpImage bmp(shot.bmp);
    CHECK_EQ(bmp.width(), 16);
    CHECK_EQ(bmp.height(), 8);
    CHECK_EQ(bmp.bgr(0, 0), bgrOf(colour));
    CHECK_EQ(bmp.bgr(15, 7), bgrOf(colour));

    // The window's corner, seen from a rectangle that starts above and left
    // of it.
    const DesktopImage corner = desktopScreenshot(40, 50, 20, 20);
    const BmpImage cornerBmp(corner.bmp);
    CHECK_EQ(cornerBmp.bgr(10, 10), bgrOf(colour));
    CHECK_EQ(cornerBmp.bgr(19, 19), bgrOf(colour));
    CHECK(cornerBmp.bgr(9, 9) != bgrOf(colour));
}

WIN_TEST(impossibleRectangleReportsTheFailingStep)
{
    const DesktopImage shot = desktopScreenshot(0, 0, 1 << 20, 1 << 20);
    CHECK_EQ(shot.error, std::string("WinNativeInterface::desktopScreenshot: Failed to take "
                                     "screenshot: SpliceImages: CreateCompatibleBitmap failed"));
    CHECK(shot.bmp.empty());
}
