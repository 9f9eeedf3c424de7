#include "winhighlighter_win.h"

#include "user32module_win.h"

#include <string>

namespace Tolvex::Win {

namespace {

// The module this code is in, which owns the window classes.
HINSTANCE ownModule()
{
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                           GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&ownModule), &module);
    return module;
}

HFONT createToolTipFont()
{
    NONCLIENTMETRICSA metrics{};
    // The size of the structure with iPaddedBorderWidth.
    metrics.cbSize = 344;
    SystemParametersInfoA(SPI_GETNONCLIENTMETRICS, metrics.cbSize, &metrics, 0);
    return CreateFontIndirectA(&metrics.lfMessageFont);
}

LRESULT CALLBACK toolTipProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case WM_ERASEBKGND:
        // The paint covers everything.
        return 0;
    case WM_PAINT: {
        static const HBRUSH brush = CreateSolidBrush(ToolTipColour);
        wchar_t text[1024];
        const int length = GetWindowTextW(window, text, 1024);
        RECT client{};
        GetClientRect(window, &client);
        PAINTSTRUCT paint{};
        HDC dc = BeginPaint(window, &paint);
        const HGDIOBJ previousBrush = SelectObject(dc, brush);
        Rectangle(dc, client.left, client.top, client.right, client.bottom);
        SetTextColor(dc, RGB(0, 0, 0));
        const HGDIOBJ previousFont = SelectObject(dc, toolTipFont());
        SetBkMode(dc, TRANSPARENT);
        TextOutW(dc, 4, 4, text, length);
        SelectObject(dc, previousFont);
        SelectObject(dc, previousBrush);
        EndPaint(window, &paint);
        return 1;
    }
    default:
        return DefWindowProcW(window, message, wParam, lParam);
    }
}

// Registered once per process; the classes outlive any one highlighter.
void registerClasses(HINSTANCE module)
{
    static const bool registered = [module] {
        WNDCLASSEXW overlay{};
        overlay.cbSize = sizeof(overlay);
        overlay.lpfnWndProc = DefWindowProcW;
        overlay.hInstance = module;
        overlay.hbrBackground = CreateSolidBrush(OverlayColour);
        overlay.lpszClassName = OverlayWindowClass;
        RegisterClassExW(&overlay);

        WNDCLASSEXW toolTip{};
        toolTip.cbSize = sizeof(toolTip);
        toolTip.style = CS_DROPSHADOW;
        toolTip.lpfnWndProc = toolTipProcedure;
        toolTip.hInstance = module;
        toolTip.lpszClassName = ToolTipWindowClass;
        RegisterClassExW(&toolTip);
        return true;
    }();
    (void)registered;
}

using SetLayeredWindowAttributesFn = BOOL(WINAPI *)(HWND, COLORREF, BYTE, DWORD);

void makeTranslucent(HWND window)
{
    HMODULE user32 = GetModuleHandleW(L"user32.dll");
    if (!user32)
        return;
    const auto setAttributes = reinterpret_cast<SetLayeredWindowAttributesFn>(
        reinterpret_cast<void (*)()>(GetProcAddress(user32, "SetLayeredWindowAttributes")));
    if (setAttributes)
        setAttributes(window, 0, OverlayAlpha, LWA_ALPHA);
}

} // namespace

HFONT toolTipFont()
{
    static const HFONT font = createToolTipFont();
    return font;
}

Highlighter::Highlighter()
{
    DPIAwarenessOverride guard;
    const HINSTANCE module = ownModule();
    registerClasses(module);
    m_overlay = CreateWindowExW(OverlayExtendedStyle, OverlayWindowClass, L"", WS_POPUP, 0, 0, 0, 0,
                                nullptr, nullptr, module, nullptr);
    if (m_overlay)
        makeTranslucent(m_overlay);
    m_toolTip = CreateWindowExW(WS_EX_NOACTIVATE, ToolTipWindowClass, L"", 0, 0, 0, 0, 0, nullptr,
                                nullptr, module, nullptr);
    // The system gives an overlapped window a caption; the tooltip has none.
    if (m_toolTip)
        SetWindowLongPtrA(m_toolTip, GWL_STYLE, 0);
}

Highlighter::~Highlighter()
{
    if (m_toolTip)
        DestroyWindow(m_toolTip);
    if (m_overlay)
        DestroyWindow(m_overlay);
}

void Highlighter::setGeometry(int x, int y, int width, int height)
{
    DPIAwarenessOverride guard;
    SetWindowPos(m_overlay, HWND_TOPMOST, x, y, width, height, SWP_NOACTIVATE);
}

void Highlighter::setToolTip(std::wstring_view text)
{
    if (text.empty()) {
        ShowWindow(m_toolTip, SW_HIDE);
        return;
    }
    DPIAwarenessOverride guard;
    const std::wstring terminated(text);
    SIZE size{};
    if (HDC dc = GetDC(m_toolTip)) {
        const HGDIOBJ previous = SelectObject(dc, toolTipFont());
        GetTextExtentPoint32W(dc, terminated.c_str(), int(terminated.size()), &size);
        SelectObject(dc, previous);
        ReleaseDC(m_toolTip, dc);
    }
    SetWindowPos(m_toolTip, HWND_TOPMOST, 0, 0, size.cx + ToolTipPadding, size.cy + ToolTipPadding,
                 SWP_NOMOVE | SWP_NOACTIVATE);
    SetWindowTextW(m_toolTip, terminated.c_str());
    InvalidateRect(m_toolTip, nullptr, FALSE);
    ShowWindow(m_toolTip, SW_SHOWNA);
}

void Highlighter::updateToolTip()
{
    DPIAwarenessOverride guard;
    POINT cursor{};
    if (!GetCursorPos(&cursor))
        return;
    SetWindowPos(m_toolTip, HWND_TOPMOST, cursor.x + ToolTipOffset, cursor.y + ToolTipOffset, 0, 0,
                 SWP_NOSIZE | SWP_NOACTIVATE);
}

bool Highlighter::isVisible() const
{
    return IsWindowVisible(m_overlay);
}

void Highlighter::show()
{
    ShowWindow(m_overlay, SW_SHOWNA);
    updateToolTip();
}

void Highlighter::hide()
{
    ShowWindow(m_overlay, SW_HIDE);
    ShowWindow(m_toolTip, SW_HIDE);
}

} // namespace Tolvex::Win
