#pragma once

// Synthesised mouse, keyboard and touch input, clipboard text and text sent
// to a named window, in plain Win32. Every event goes through SendInput as
// INPUT records; the functions that build the records are apart from the
// ones that send them, so that what would be sent can be read.

#include "winresult_win.h"

#include <windows.h>

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace Tolvex::Win {

// The mouse buttons by the bits the native interface gives them.
enum MouseButtonBit : int {
    LeftButton = 1,
    MiddleButton = 2,
    RightButton = 4,
    PrimaryButton = 16,
    SecondaryButton = 32,
    FirstExtraButton = 64,
    SecondExtraButton = 128,
};

// The native modifier mask.
enum ModifierBit : int {
    ShiftModifier = 1,
    CtrlModifier = 2,
    AltModifier = 4,
    MetaModifier = 16,
};

// Where records go and how the operations pause: the system's SendInput,
// Sleep and tick count, or a recorder that stands in for them.
class InputChannel
{
public:
    virtual ~InputChannel();
    // How many of the records the system took.
    virtual unsigned send(const std::vector<INPUT> &records) = 0;
    virtual void sleep(unsigned milliseconds) = 0;
    // A monotonic clock in milliseconds.
    virtual std::uint64_t milliseconds() = 0;
};

// SendInput, Sleep and GetTickCount64.
InputChannel &systemInputChannel();

// ---- Records ----

// One of the 65536 steps across the primary screen, for a pixel coordinate
// and the screen's size less one.
LONG absoluteCoordinate(int pixel, double divisor);
// A move to a desktop pixel. The divisors come from the primary screen's
// size, read once per process; the virtual desktop flag is not used, so
// points off the primary screen map beyond 0..65535.
INPUT absoluteMouseInput(int x, int y);

struct ButtonFlags
{
    DWORD flags = 0;
    DWORD mouseData = 0;
};
// The MOUSEEVENTF_ flag and mouseData that press or release a button; the
// primary and secondary buttons follow the swapped-buttons setting.
Result<ButtonFlags> mapMouseButton(int button, bool press, bool buttonsSwapped);
// The same with the system's SM_SWAPBUTTON.
Result<ButtonFlags> mapMouseButton(int button, bool press);
INPUT mouseButtonInput(ButtonFlags button);
// A wheel step of +120 or -120 by the sign of clicks.
INPUT wheelInput(int clicks);

// A key record with the given flags and no scan code.
INPUT keyInput(int virtualKey, DWORD flags);
// A key record with the scan code MapVirtualKeyA gives, the extended flag
// where isExtendedVirtualKey says so, and KEYEVENTF_KEYUP for a release.
INPUT scannedKeyInput(int virtualKey, bool release);
// A character sent as KEYEVENTF_UNICODE, without a virtual key.
INPUT unicodeInput(wchar_t character, bool release);
// The navigation keys (VK 33 to 40, 45 and 46) that need the extended flag.
bool isExtendedVirtualKey(int virtualKey);

// The records of sendKeys: a single character, or a special key's name in
// angle brackets. Modifiers the character needs are pressed before it and
// released after it, Shift, Ctrl, Alt in that order both ways. An unknown
// name, or a text of two characters, gives no records.
std::vector<INPUT> buildKeyInputs(std::wstring_view key, bool release);

// The special key table of the key notation, asked with a wide name.
int specialKeyVirtualKey(std::wstring_view name);
bool isValidSpecialKey(std::wstring_view name);

// Key codes of PC scan code set 1 by the numbering the server sends: 0x01
// to 0x58 the plain make codes, 0x60 upward the keys that have the 0xE0
// prefix, media keys, and 0xB7 to 0xC2 for F13 to F24.
struct ScanCodeRow
{
    unsigned code;
    int virtualKey;
    bool extended;
};
extern const std::array<ScanCodeRow, 125> ScanCodeTable;
// The row of a code; virtual key 0 when the table has none.
ScanCodeRow scanCodeToVirtualKey(unsigned code);

// One touch contact at a pixel: pressed (type 0) or lifted (type 2).
POINTER_TOUCH_INFO touchRecord(int type, int x, int y);

struct KeyStroke
{
    int keyCode = 0;
    int modifiers = 0;
};
// The virtual key of a character and the modifiers it needs (1 Shift,
// 2 Ctrl, 4 Alt, 32 for the keyboard layout's extra shift state). Without
// keepVirtualKey the key code becomes the character value of the key.
Result<KeyStroke> charToKeyStroke(wchar_t character, bool keepVirtualKey);
bool isModifierPressed(int modifier);

// ---- Operations ----

class Input
{
public:
    explicit Input(InputChannel &channel = systemInputChannel());

    Error pointerMove(int x, int y);
    Error pointerWarp(int x, int y);
    Result<POINT> pointerPosition();
    Error pointerButton(int button, bool press);
    Error wheelRoll(int clicks);
    Error pressReleaseModifiers(int modifiers, bool press);

    // The old drag with the left button; 1 on success, 0 on error. Then
    // lets the application see it for half a second, calling
    // processEvents between pauses of 10 ms.
    Result<int> pointerDrag(int x, int y, int dx, int dy, int modifiers,
                            const std::function<void()> &processEvents);
    Error pointerDragAndDropBegin(int x, int y, int button);
    Error pointerDragAndDropEnd(int x, int y, int button, int modifiers, bool animate);

    Error sendKeys(std::wstring_view key, bool press);
    Error typeCharacter(wchar_t character, int modifiers);
    Error keyboardPressRelease(std::wstring_view key, bool press);
    // With set 2 the native code carries the virtual key in bits 16 to 23
    // and a non-zero low byte for an extended key; otherwise the code is
    // looked up in ScanCodeTable.
    Error keyCode(unsigned code, unsigned nativeCode, int set, bool press);

    // InjectTouchInput, initialised once per process.
    Error touch(int type, int x, int y);

private:
    bool sendOne(const INPUT &record);

    InputChannel &m_channel;
};

// WM_CHAR messages to the first top-level window whose title is the given
// one, or to its top child.
Error sendTextToWindow(std::wstring_view title, std::wstring_view text);
// That window, or null.
HWND findTopLevelWindow(std::wstring_view title);

Result<std::wstring> getClipboardText();
Error setClipboardText(std::wstring_view text);

} // namespace Tolvex::Win
