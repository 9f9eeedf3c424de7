#include "bmpimage.h"
#include "wincapture_win.h"
#include "winhighlighter_win.h"
#include "wintest.h"

#include <string>

using namespace Tolvex::Win;

namespace {

std::wstring className(HWND window)
{
    wchar_t name[256] = {};
    GetClassNameW(window, name, 256);
    return name;
}

RECT windowRect(HWND window)
{
    RECT rect{};
    GetWindowRect(window, &rect);
    return rect;
}

SIZE textExtent(HWND window, const std::wstring &text)
{
    SIZE size{};
    HDC dc = GetDC(window);
    const HGDIOBJ previous = SelectObject(dc, toolTipFont());
    GetTextExtentPoint32W(dc, text.c_str(), int(text.size()), &size);
    SelectObject(dc, previous);
    ReleaseDC(window, dc);
    return size;
}

void pumpMessages()
{
    for (int round = 0; round < 20; ++round) {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
            DispatchMessageW(&message);
        Sleep(10);
    }
}

} // namespace

WIN_TEST(overlayIsALayeredClickThroughPopup)
{
    Highlighter highlighter;
    const HWND overlay = highlighter.overlay();
    CHECK(overlay != nullptr);
    CHECK(className(overlay) == L"Tolvex_Overlay_Window");
    const LONG_PTR extended = GetWindowLongPtrW(overlay, GWL_EXSTYLE);
    CHECK_EQ(extended & LONG_PTR(0x08080028), LONG_PTR(0x08080028));
    CHECK(GetWindowLongPtrW(overlay, GWL_STYLE) & WS_POPUP);
    BYTE alpha = 0;
    DWORD flags = 0;
    CHECK(GetLayeredWindowAttributes(overlay, nullptr, &alpha, &flags));
    CHECK_EQ(int(alpha), 127);
    CHECK_EQ(flags, DWORD(LWA_ALPHA));
    CHECK(!highlighter.isVisible());
}

WIN_TEST(toolTipHasNoCaptionAndADropShadow)
{
    Highlighter highlighter;
    const HWND toolTip = highlighter.toolTip();
    CHECK(toolTip != nullptr);
    CHECK(className(toolTip) == L"Tolvex_ToolTip_Overlay_Window");
    CHECK_EQ(GetWindowLongPtrW(toolTip, GWL_STYLE) & LONG_PTR(WS_CAPTION), LONG_PTR(0));
    CHECK(GetWindowLongPtrW(toolTip, GWL_EXSTYLE) & WS_EX_NOACTIVATE);
    CHECK(GetClassLongPtrW(toolTip, GCL_STYLE) & CS_DROPSHADOW);
}

WIN_TEST(geometryPlacesTheOverlay)
{
    Highlighter highlighter;
    highlighter.setGeometry(10, 20, 100, 50);
    const RECT rect = windowRect(highlighter.overlay());
    CHECK_EQ(rect.left, 10L);
    CHECK_EQ(rect.top, 20L);
    CHECK_EQ(rect.right, 110L);
    CHECK_EQ(rect.bottom, 70L);
}

WIN_TEST(showPutsTheToolTipBesideThePointer)
{
    Highlighter highlighter;
    SetCursorPos(200, 150);
    highlighter.show();
    CHECK(highlighter.isVisible());
    const RECT rect = windowRect(highlighter.toolTip());
    CHECK_EQ(rect.left, 215L);
    CHECK_EQ(rect.top, 165L);
    highlighter.hide();
    CHECK(!highlighter.isVisible());
}

WIN_TEST(toolTipIsSizedToItsTextAndEmptyTextHidesOnlyIt)
{
    Highlighter highlighter;
    highlighter.show();
    const std::wstring text = L"QWidget \"okButton\"";
    highlighter.setToolTip(text);
    const HWND toolTip = highlighter.toolTip();
    CHECK(IsWindowVisible(toolTip));
    const SIZE extent = textExtent(toolTip, text);
    CHECK(extent.cx > 0);
    const RECT rect = windowRect(toolTip);
    CHECK_EQ(rect.right - rect.left, extent.cx + 8);
    CHECK_EQ(rect.bottom - rect.top, extent.cy + 8);
    wchar_t title[64] = {};
    GetWindowTextW(toolTip, title, 64);
    CHECK(text == title);

    highlighter.setToolTip(L"");
    CHECK(!IsWindowVisible(toolTip));
    CHECK(highlighter.isVisible());
    highlighter.hide();
    CHECK(!IsWindowVisible(toolTip));
}

WIN_TEST(toolTipPaintsPaleYellow)
{
    Highlighter highlighter;
    SetCursorPos(300, 300);
    highlighter.show();
    highlighter.setToolTip(L"MMMMMMMMMMMMMMMMMMMM");
    UpdateWindow(highlighter.toolTip());
    pumpMessages();
    const RECT rect = windowRect(highlighter.toolTip());
    // Inside the border, below the text.
    const DesktopImage shot = desktopScreenshot(rect.right - 3, rect.bottom - 3, 1, 1);
    CHECK_EQ(shot.error, std::string());
    CHECK_EQ(BmpImage(shot.bmp).bgr(0, 0), bgrOf(ToolTipColour));
}

WIN_TEST(secondHighlighterGetsWindowsOfItsOwn)
{
    Highlighter first;
    Highlighter second;
    CHECK(second.overlay() != nullptr);
    CHECK(second.toolTip() != nullptr);
    CHECK(first.overlay() != second.overlay());
}
