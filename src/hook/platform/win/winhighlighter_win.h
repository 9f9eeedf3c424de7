#pragma once

// The highlighter's two top-level windows: a translucent red rectangle that
// mouse input falls through, and a tooltip beside the pointer. Neither ever
// takes the focus.

#include <windows.h>

#include <string_view>

namespace Tolvex::Win {

class Highlighter
{
public:
    // Creates both windows, hidden, on the calling thread, which is the
    // thread their window procedures run on.
    Highlighter();
    ~Highlighter();
    Highlighter(const Highlighter &) = delete;
    Highlighter &operator=(const Highlighter &) = delete;

    void setGeometry(int x, int y, int width, int height);
    // An empty text hides the tooltip and leaves the rectangle.
    void setToolTip(std::wstring_view text);
    // Moves the tooltip beside the pointer.
    void updateToolTip();
    bool isVisible() const;
    void show();
    void hide();

    HWND overlay() const { return m_overlay; }
    HWND toolTip() const { return m_toolTip; }

private:
    HWND m_overlay = nullptr;
    HWND m_toolTip = nullptr;
};

// The window classes.
inline constexpr wchar_t OverlayWindowClass[] = L"Tolvex_Overlay_Window";
inline constexpr wchar_t ToolTipWindowClass[] = L"Tolvex_ToolTip_Overlay_Window";
// WS_EX_NOACTIVATE | WS_EX_LAYERED | WS_EX_TRANSPARENT | WS_EX_TOPMOST
inline constexpr DWORD OverlayExtendedStyle = 0x08080028;
inline constexpr BYTE OverlayAlpha = 127;
inline constexpr COLORREF OverlayColour = 0x0000FF;
inline constexpr COLORREF ToolTipColour = 0x97FFFF;
// The tooltip's margin around its text, on each axis.
inline constexpr int ToolTipPadding = 8;
inline constexpr int ToolTipOffset = 15;

// The tooltip's font, created once per process from the system's message
// font.
HFONT toolTipFont();

} // namespace Tolvex::Win
