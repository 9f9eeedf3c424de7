#include "wininput_win.h"

#include "dragwiggle.h"
#include "specialkeys.h"
#include "user32module_win.h"
#include "winerror_win.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace Tolvex::Win {

namespace {

class SystemInputChannel final : public InputChannel
{
public:
    unsigned send(const std::vector<INPUT> &records) override
    {
        if (records.empty())
            return 0;
        return SendInput(UINT(records.size()), const_cast<INPUT *>(records.data()),
                         int(sizeof(INPUT)));
    }
    void sleep(unsigned milliseconds) override { Sleep(milliseconds); }
    std::uint64_t milliseconds() override { return GetTickCount64(); }
};

struct Divisors
{
    double x;
    double y;
};

Divisors screenDivisors()
{
    // A one-pixel screen would divide by zero.
    const auto divisor = [](int metric) {
        return double(std::max(GetSystemMetrics(metric) - 1, 1));
    };
    return {divisor(SM_CXSCREEN), divisor(SM_CYSCREEN)};
}

struct ModifierKey
{
    int bit;
    int virtualKey;
    const char *name;
};

// pressReleaseModifiers presses Alt as VK_LMENU.
constexpr std::array<ModifierKey, 3> NativeModifierKeys{{
    {ShiftModifier, VK_SHIFT, "Shift"},
    {CtrlModifier, VK_CONTROL, "Ctrl"},
    {AltModifier, VK_LMENU, "Alt"},
}};

// The modifier bits of VkKeyScanW's result and the table's names for them.
struct ScanModifier
{
    int bit;
    const char *name;
};
constexpr std::array<ScanModifier, 3> ScanModifiers{{
    {0x100, "Shift"},
    {0x200, "Ctrl"},
    {0x400, "Alt"},
}};

// A drag and drop holds modifiers in this order, Alt as VK_MENU.
constexpr std::array<ModifierKey, 3> DropModifierKeys{{
    {CtrlModifier, VK_CONTROL, "Ctrl"},
    {ShiftModifier, VK_SHIFT, "Shift"},
    {AltModifier, VK_MENU, "Alt"},
}};

constexpr int DragPace = 10;
constexpr int GlidePace = 20;
constexpr int DropPause = 100;

INPUT mouseInput(LONG dx, LONG dy, DWORD mouseData, DWORD flags)
{
    INPUT record{};
    record.type = INPUT_MOUSE;
    record.mi.dx = dx;
    record.mi.dy = dy;
    record.mi.mouseData = mouseData;
    record.mi.dwFlags = flags;
    return record;
}

} // namespace

InputChannel::~InputChannel() = default;

InputChannel &systemInputChannel()
{
    static SystemInputChannel channel;
    return channel;
}

// ---- Records ----

LONG absoluteCoordinate(int pixel, double divisor)
{
    const double steps = double(pixel) / divisor * 65535.0;
    constexpr double low = double(std::numeric_limits<LONG>::min());
    constexpr double high = double(std::numeric_limits<LONG>::max());
    return LONG(std::clamp(steps, low, high));
}

INPUT absoluteMouseInput(int x, int y)
{
    static const Divisors divisors = screenDivisors();
    return mouseInput(absoluteCoordinate(x, divisors.x), absoluteCoordinate(y, divisors.y), 0,
                      MOUSEEVENTF_MOVE | MOUSEEVENTF_ABSOLUTE);
}

Result<ButtonFlags> mapMouseButton(int button, bool press, bool buttonsSwapped)
{
    if (button == PrimaryButton)
        button = buttonsSwapped ? RightButton : LeftButton;
    else if (button == SecondaryButton)
        button = buttonsSwapped ? LeftButton : RightButton;
    switch (button) {
    case LeftButton:
        return {{DWORD(press ? MOUSEEVENTF_LEFTDOWN : MOUSEEVENTF_LEFTUP), 0}, {}};
    case MiddleButton:
        return {{DWORD(press ? MOUSEEVENTF_MIDDLEDOWN : MOUSEEVENTF_MIDDLEUP), 0}, {}};
    case RightButton:
        return {{DWORD(press ? MOUSEEVENTF_RIGHTDOWN : MOUSEEVENTF_RIGHTUP), 0}, {}};
    case FirstExtraButton:
        return {{DWORD(press ? MOUSEEVENTF_XDOWN : MOUSEEVENTF_XUP), XBUTTON1}, {}};
    case SecondExtraButton:
        return {{DWORD(press ? MOUSEEVENTF_XDOWN : MOUSEEVENTF_XUP), XBUTTON2}, {}};
    default:
        return {{}, "Unsupported mouse button value: " + std::to_string(button)};
    }
}

Result<ButtonFlags> mapMouseButton(int button, bool press)
{
    return mapMouseButton(button, press, GetSystemMetrics(SM_SWAPBUTTON) != 0);
}

INPUT mouseButtonInput(ButtonFlags button)
{
    return mouseInput(0, 0, button.mouseData, button.flags);
}

INPUT wheelInput(int clicks)
{
    return mouseInput(0, 0, DWORD(clicks > 0 ? WHEEL_DELTA : -WHEEL_DELTA), MOUSEEVENTF_WHEEL);
}

INPUT keyInput(int virtualKey, DWORD flags)
{
    INPUT record{};
    record.type = INPUT_KEYBOARD;
    record.ki.wVk = WORD(virtualKey);
    record.ki.dwFlags = flags;
    return record;
}

INPUT scannedKeyInput(int virtualKey, bool release)
{
    DWORD flags = release ? KEYEVENTF_KEYUP : 0;
    if (isExtendedVirtualKey(virtualKey))
        flags |= KEYEVENTF_EXTENDEDKEY;
    INPUT record = keyInput(virtualKey, flags);
    record.ki.wScan = WORD(MapVirtualKeyA(UINT(virtualKey), MAPVK_VK_TO_VSC));
    return record;
}

INPUT unicodeInput(wchar_t character, bool release)
{
    INPUT record = keyInput(0, KEYEVENTF_UNICODE | (release ? KEYEVENTF_KEYUP : 0));
    record.ki.wScan = WORD(character);
    return record;
}

bool isExtendedVirtualKey(int virtualKey)
{
    return (virtualKey >= VK_PRIOR && virtualKey <= VK_DOWN) ||
           (virtualKey >= VK_INSERT && virtualKey <= VK_DELETE);
}

std::vector<INPUT> buildKeyInputs(std::wstring_view key, bool release)
{
    std::vector<INPUT> records;
    if (key.size() == 1) {
        wchar_t character = key[0];
        // The plus key under a held Ctrl goes without the Shift that
        // VkKeyScanW asks for on most layouts.
        if (character == L'+' && GetKeyState(VK_CONTROL) < 0) {
            records.push_back(scannedKeyInput(LOBYTE(VkKeyScanW(character)), release));
            return records;
        }
        if (character == L'\n')
            character = L'\r';
        const SHORT scan = VkKeyScanW(character);
        if (scan == -1) {
            records.push_back(unicodeInput(character, release));
            return records;
        }
        const int virtualKey = LOBYTE(scan);
        if (release)
            records.push_back(scannedKeyInput(virtualKey, true));
        for (const ScanModifier &modifier : ScanModifiers)
            if (scan & modifier.bit)
                records.push_back(
                    scannedKeyInput(SpecialKeyTable::virtualKey(modifier.name), release));
        if (!release)
            records.push_back(scannedKeyInput(virtualKey, false));
        return records;
    }
    if (key.size() < 3 || key.front() != L'<' || key.back() != L'>')
        return records;
    const int virtualKey = specialKeyVirtualKey(key.substr(1, key.size() - 2));
    if (virtualKey != -1)
        records.push_back(scannedKeyInput(virtualKey, release));
    return records;
}

int specialKeyVirtualKey(std::wstring_view name)
{
    return SpecialKeyTable::virtualKey(toLatin1(name));
}

bool isValidSpecialKey(std::wstring_view name)
{
    return specialKeyVirtualKey(name) != -1;
}

const std::array<ScanCodeRow, 125> ScanCodeTable{{
    {0x01, VK_ESCAPE, false},
    {0x02, '1', false},
    {0x03, '2', false},
    {0x04, '3', false},
    {0x05, '4', false},
    {0x06, '5', false},
    {0x07, '6', false},
    {0x08, '7', false},
    {0x09, '8', false},
    {0x0A, '9', false},
    {0x0B, '0', false},
    {0x0C, VK_OEM_MINUS, false},
    {0x0D, VK_OEM_PLUS, false},
    {0x0E, VK_BACK, false},
    {0x0F, VK_TAB, false},
    {0x10, 'Q', false},
    {0x11, 'W', false},
    {0x12, 'E', false},
    {0x13, 'R', false},
    {0x14, 'T', false},
    {0x15, 'Y', false},
    {0x16, 'U', false},
    {0x17, 'I', false},
    {0x18, 'O', false},
    {0x19, 'P', false},
    {0x1A, VK_OEM_4, false},
    {0x1B, VK_OEM_6, false},
    {0x1C, VK_RETURN, false},
    {0x1D, VK_CONTROL, false},
    {0x1E, 'A', false},
    {0x1F, 'S', false},
    {0x20, 'D', false},
    {0x21, 'F', false},
    {0x22, 'G', false},
    {0x23, 'H', false},
    {0x24, 'J', false},
    {0x25, 'K', false},
    {0x26, 'L', false},
    {0x27, VK_OEM_1, false},
    {0x28, VK_OEM_7, false},
    {0x29, VK_OEM_3, false},
    {0x2A, VK_SHIFT, false},
    {0x2B, VK_OEM_5, false},
    {0x2C, 'Z', false},
    {0x2D, 'X', false},
    {0x2E, 'C', false},
    {0x2F, 'V', false},
    {0x30, 'B', false},
    {0x31, 'N', false},
    {0x32, 'M', false},
    {0x33, VK_OEM_COMMA, false},
    {0x34, VK_OEM_PERIOD, false},
    {0x35, VK_OEM_2, false},
    // The right Shift has no extended form; its own virtual key gives its
    // own scan code.
    {0x36, VK_RSHIFT, false},
    {0x37, VK_MULTIPLY, false},
    {0x38, VK_MENU, false},
    {0x39, VK_SPACE, false},
    {0x3A, VK_CAPITAL, false},
    {0x3B, VK_F1, false},
    {0x3C, VK_F2, false},
    {0x3D, VK_F3, false},
    {0x3E, VK_F4, false},
    {0x3F, VK_F5, false},
    {0x40, VK_F6, false},
    {0x41, VK_F7, false},
    {0x42, VK_F8, false},
    {0x43, VK_F9, false},
    {0x44, VK_F10, false},
    {0x45, VK_NUMLOCK, true},
    {0x46, VK_SCROLL, false},
    {0x47, VK_NUMPAD7, false},
    {0x48, VK_NUMPAD8, false},
    {0x49, VK_NUMPAD9, false},
    {0x4A, VK_SUBTRACT, false},
    {0x4B, VK_NUMPAD4, false},
    {0x4C, VK_NUMPAD5, false},
    {0x4D, VK_NUMPAD6, false},
    {0x4E, VK_ADD, false},
    {0x4F, VK_NUMPAD1, false},
    {0x50, VK_NUMPAD2, false},
    {0x51, VK_NUMPAD3, false},
    {0x52, VK_NUMPAD0, false},
    {0x53, VK_DECIMAL, false},
    {0x56, VK_OEM_102, false},
    {0x57, VK_F11, false},
    {0x58, VK_F12, false},
    // The keys behind the 0xE0 prefix.
    {0x60, VK_RETURN, true},
    {0x61, VK_CONTROL, true},
    {0x62, VK_DIVIDE, true},
    {0x64, VK_MENU, true},
    {0x66, VK_HOME, true},
    {0x67, VK_UP, true},
    {0x68, VK_PRIOR, true},
    {0x69, VK_LEFT, true},
    {0x6A, VK_RIGHT, true},
    {0x6B, VK_END, true},
    {0x6C, VK_DOWN, true},
    {0x6D, VK_NEXT, true},
    {0x6E, VK_INSERT, true},
    {0x6F, VK_DELETE, true},
    {0x71, VK_VOLUME_MUTE, false},
    {0x72, VK_VOLUME_DOWN, false},
    {0x73, VK_VOLUME_UP, false},
    {0x7D, VK_LWIN, true},
    {0x7E, VK_RWIN, true},
    {0x7F, VK_APPS, true},
    {0x9B, VK_LAUNCH_MAIL, false},
    {0xA3, VK_MEDIA_NEXT_TRACK, false},
    {0xA4, VK_MEDIA_PLAY_PAUSE, false},
    {0xA5, VK_MEDIA_PREV_TRACK, false},
    {0xA6, VK_MEDIA_STOP, false},
    {0xAC, VK_BROWSER_HOME, false},
    {0xB7, VK_F13, false},
    {0xB8, VK_F14, false},
    {0xB9, VK_F15, false},
    {0xBA, VK_F16, false},
    {0xBB, VK_F17, false},
    {0xBC, VK_F18, false},
    {0xBD, VK_F19, false},
    {0xBE, VK_F20, false},
    {0xBF, VK_F21, false},
    {0xC0, VK_F22, false},
    {0xC1, VK_F23, false},
    {0xC2, VK_F24, false},
    {0xE2, VK_LAUNCH_MEDIA_SELECT, false},
}};

ScanCodeRow scanCodeToVirtualKey(unsigned code)
{
    // No code from 249 on has a key.
    if (code < 249)
        for (const ScanCodeRow &row : ScanCodeTable)
            if (row.code == code)
                return row;
    return {code, 0, false};
}

POINTER_TOUCH_INFO touchRecord(int type, int x, int y)
{
    POINTER_TOUCH_INFO info{};
    info.pointerInfo.pointerType = PT_TOUCH;
    info.pointerInfo.pointerId = 0;
    info.pointerInfo.ptPixelLocation = POINT{x, y};
    info.pointerInfo.pointerFlags =
        type == 0 ? POINTER_FLAG_DOWN | POINTER_FLAG_INRANGE | POINTER_FLAG_INCONTACT
                  : POINTER_FLAG_UP;
    info.touchMask = TOUCH_MASK_CONTACTAREA | TOUCH_MASK_ORIENTATION | TOUCH_MASK_PRESSURE;
    info.rcContact = RECT{x - 2, y - 2, x + 2, y + 2};
    info.orientation = 90;
    info.pressure = 768;
    return info;
}

Result<KeyStroke> charToKeyStroke(wchar_t character, bool keepVirtualKey)
{
    const SHORT scan = VkKeyScanW(character);
    if (scan == -1)
        return {{},
                "The character code " + std::to_string(unsigned(character)) +
                    " not found in the current key map"};
    KeyStroke stroke;
    if (scan & 0x100)
        stroke.modifiers |= ShiftModifier;
    if (scan & 0x200)
        stroke.modifiers |= CtrlModifier;
    if (scan & 0x400)
        stroke.modifiers |= AltModifier;
    if (scan & 0x800)
        stroke.modifiers |= 32;
    stroke.keyCode = LOBYTE(scan);
    if (!keepVirtualKey) {
        const UINT value = MapVirtualKeyA(UINT(stroke.keyCode), MAPVK_VK_TO_CHAR);
        if (value != 0)
            stroke.keyCode = int(value);
    }
    return {stroke, {}};
}

bool isModifierPressed(int modifier)
{
    switch (modifier) {
    case ShiftModifier:
        return GetKeyState(VK_SHIFT) < 0;
    case CtrlModifier:
        return GetKeyState(VK_CONTROL) < 0;
    case AltModifier:
        return GetKeyState(VK_MENU) < 0;
    case MetaModifier:
        return GetKeyState(VK_LWIN) < 0 || GetKeyState(VK_RWIN) < 0;
    default:
        return false;
    }
}

// ---- Operations ----

Input::Input(InputChannel &channel) : m_channel(channel) {}

bool Input::sendOne(const INPUT &record)
{
    return m_channel.send({record}) == 1;
}

Error Input::pointerMove(int x, int y)
{
    DPIAwarenessOverride guard;
    if (!sendOne(absoluteMouseInput(x, y)))
        return "Failed sending fake pointer move";
    return {};
}

Error Input::pointerWarp(int x, int y)
{
    DPIAwarenessOverride guard;
    if (!SetCursorPos(x, y))
        return "Could not warp mouse pointer: " + lastErrorString();
    return {};
}

Result<POINT> Input::pointerPosition()
{
    DPIAwarenessOverride guard;
    POINT position{};
    if (!GetCursorPos(&position))
        return {{}, "Failed retrieving pointer position: " + lastErrorString()};
    return {position, {}};
}

Error Input::pointerButton(int button, bool press)
{
    const Result<ButtonFlags> flags = mapMouseButton(button, press);
    if (!flags.ok())
        return flags.error;
    if (!sendOne(mouseButtonInput(flags.value)))
        return "Failed sending fake pointer press";
    return {};
}

Error Input::wheelRoll(int clicks)
{
    const INPUT step = wheelInput(clicks);
    for (int i = 0; i < std::abs(clicks); ++i) {
        if (!sendOne(step))
            return "Failed sending fake wheel motion";
        m_channel.sleep(10);
    }
    return {};
}

Error Input::pressReleaseModifiers(int modifiers, bool press)
{
    // Released in the order they were pressed. The texts say "press" for a
    // release too.
    for (const ModifierKey &key : NativeModifierKeys) {
        if (!(modifiers & key.bit))
            continue;
        if (!sendOne(keyInput(key.virtualKey, press ? 0 : KEYEVENTF_KEYUP)))
            return std::string("Failed sending a native ") + key.name + " key press event";
    }
    return {};
}

Result<int> Input::pointerDrag(int x, int y, int dx, int dy, int modifiers,
                               const std::function<void()> &processEvents)
{
    DPIAwarenessOverride guard;
    const bool ctrl = modifiers & CtrlModifier;
    if (m_channel.send({absoluteMouseInput(x, y), mouseButtonInput({MOUSEEVENTF_LEFTDOWN, 0})}) !=
        2)
        return {0, "Failed sending fake mouse down event"};
    if (ctrl && !sendOne(keyInput(VK_CONTROL, 0)))
        return {0, "Failed sending fake CTRL down event"};
    if (!sendOne(absoluteMouseInput(x + dx, y + dy)))
        return {0, "Failed sending fake mouse move event"};
    if (ctrl && !sendOne(keyInput(VK_CONTROL, KEYEVENTF_KEYUP)))
        return {0, "Failed sending fake CTRL up event"};
    if (!sendOne(mouseButtonInput({MOUSEEVENTF_LEFTUP, 0})))
        return {0, "Failed sending fake mouse up event"};
    // The application reacts to the drop in its own event loop.
    const std::uint64_t start = m_channel.milliseconds();
    while (m_channel.milliseconds() - start < 500) {
        if (processEvents)
            processEvents();
        m_channel.sleep(10);
    }
    return {1, {}};
}

Error Input::pointerDragAndDropBegin(int x, int y, int button)
{
    DPIAwarenessOverride guard;
    const int dragX = std::max(GetSystemMetrics(SM_CXDRAG), 6);
    const int dragY = std::max(GetSystemMetrics(SM_CYDRAG), 6);
    const Result<ButtonFlags> down = mapMouseButton(button, true);
    if (!down.ok())
        return down.error;
    if (m_channel.send({absoluteMouseInput(x, y), mouseButtonInput(down.value)}) != 2)
        return "Failed sending fake mouse button event";
    // A small circle, then one the size of the drag threshold: the pointer
    // ends near the start with the threshold clearly passed, which is what
    // makes the application start a drag.
    int px = x;
    int py = y;
    for (const DragWiggle::Step &step : DragWiggle::Steps) {
        px += step.dx;
        py += step.dy;
        m_channel.sleep(DragPace);
        sendOne(absoluteMouseInput(px, py));
    }
    for (const DragWiggle::Step &step : DragWiggle::Steps) {
        px += step.dx * dragX;
        py += step.dy * dragY;
        m_channel.sleep(DragPace);
        sendOne(absoluteMouseInput(px, py));
    }
    m_channel.sleep(DragPace);
    return {};
}

Error Input::pointerDragAndDropEnd(int x, int y, int button, int modifiers, bool animate)
{
    DPIAwarenessOverride guard;
    const Result<ButtonFlags> up = mapMouseButton(button, false);
    if (!up.ok())
        return up.error;
    // Without animation the pointer is where the caller left it.
    if (!animate) {
        sendOne(mouseButtonInput(up.value));
        return {};
    }
    POINT cursor{};
    if (GetCursorPos(&cursor)) {
        const double distanceX = double(x) - cursor.x;
        const double distanceY = double(y) - cursor.y;
        if (distanceX * distanceX + distanceY * distanceY >= 65) {
            // Slow at both ends, as a hand moves.
            for (int i = -15; i <= 15; ++i) {
                const double s = std::sin(i * 3.14159 * 0.03125);
                const double f = (s + 1) * 0.5;
                m_channel.sleep(GlidePace);
                sendOne(absoluteMouseInput(int(cursor.x + distanceX * f),
                                           int(cursor.y + distanceY * f)));
            }
        }
    }
    m_channel.sleep(DropPause);
    if (!sendOne(absoluteMouseInput(x, y)))
        return "Failed sending fake mouse move event";
    int px = x;
    int py = y;
    for (auto step = DragWiggle::Steps.rbegin(); step != DragWiggle::Steps.rend(); ++step) {
        px += step->dx;
        py += step->dy;
        m_channel.sleep(DragPace);
        if (!sendOne(absoluteMouseInput(px, py)))
            return "Failed sending fake mouse move event";
    }
    // A key that did not go down is not released later.
    std::array<bool, DropModifierKeys.size()> held{};
    for (size_t i = 0; i < DropModifierKeys.size(); ++i)
        if (modifiers & DropModifierKeys[i].bit)
            held[i] = sendOne(keyInput(DropModifierKeys[i].virtualKey, 0));
    m_channel.sleep(DropPause);
    if (!sendOne(mouseButtonInput(up.value)))
        return "Failed sending fake mouse button event";
    m_channel.sleep(DropPause);
    for (size_t i = 0; i < DropModifierKeys.size(); ++i)
        if (held[i])
            sendOne(keyInput(DropModifierKeys[i].virtualKey, KEYEVENTF_KEYUP));
    return {};
}

Error Input::sendKeys(std::wstring_view key, bool press)
{
    const std::vector<INPUT> records = buildKeyInputs(key, !press);
    if (records.empty())
        return {};
    if (m_channel.send(records) != records.size()) {
        const std::string reason = lastErrorString();
        return "Could not send native event SendKeys(" + toUtf8(key) + "): " + reason;
    }
    return {};
}

Error Input::typeCharacter(wchar_t character, int modifiers)
{
    pressReleaseModifiers(modifiers, true);
    int virtualKey = 0;
    switch (character) {
    case 8:
        virtualKey = VK_BACK;
        break;
    case 9:
        virtualKey = VK_TAB;
        break;
    case 10:
        virtualKey = VK_RETURN;
        break;
    case 127:
        virtualKey = VK_DELETE;
        break;
    default:
        // Under Ctrl or Alt the application wants a key, not a character.
        if (modifiers & (CtrlModifier | AltModifier))
            virtualKey = character;
    }
    if (virtualKey) {
        sendOne(keyInput(virtualKey, 0));
        sendOne(keyInput(virtualKey, KEYEVENTF_KEYUP));
    } else {
        sendOne(unicodeInput(character, false));
        sendOne(unicodeInput(character, true));
    }
    return pressReleaseModifiers(modifiers, false);
}

Error Input::keyboardPressRelease(std::wstring_view key, bool press)
{
    if (key.empty())
        return "The specified text is empty";
    INPUT record;
    if (key.size() == 1) {
        const wchar_t character = key[0];
        if (character < 32 || character > 126) {
            record = unicodeInput(character, !press);
        } else {
            const int virtualKey = LOBYTE(VkKeyScanA(char(character)));
            record = keyInput(virtualKey, press ? 0 : KEYEVENTF_KEYUP);
            record.ki.wScan = WORD(MapVirtualKeyA(UINT(virtualKey), MAPVK_VK_TO_VSC));
        }
    } else {
        // An unknown name goes on as virtual key -1.
        record = scannedKeyInput(specialKeyVirtualKey(key), !press);
    }
    if (!sendOne(record))
        return "Failed sending simulated key event";
    return {};
}

Error Input::keyCode(unsigned code, unsigned nativeCode, int set, bool press)
{
    int virtualKey = 0;
    bool extended = false;
    if (set == 2) {
        virtualKey = int((nativeCode >> 16) & 0xFF);
        extended = (nativeCode & 0xFF) != 0;
    } else {
        const ScanCodeRow row = scanCodeToVirtualKey(code);
        if (row.virtualKey == 0)
            return "Code not supported on current platform";
        virtualKey = row.virtualKey;
        extended = row.extended;
    }
    INPUT record = keyInput(virtualKey,
                            (extended ? KEYEVENTF_EXTENDEDKEY : 0) | (press ? 0 : KEYEVENTF_KEYUP));
    record.ki.wScan = WORD(MapVirtualKeyA(UINT(virtualKey), MAPVK_VK_TO_VSC));
    if (!sendOne(record))
        return "Failed sending fake key event";
    return {};
}

Error Input::touch(int type, int x, int y)
{
    if (type != 0 && type != 2)
        return "Touch type not supported";
    if (!Library::User32.initializeTouchInjection || !Library::User32.injectTouchInput)
        return "Cannot execute touch action, touch injection API not available";
    static std::atomic<bool> initialised{false};
    if (!initialised) {
        // One contact, no visual feedback.
        if (!Library::User32.initializeTouchInjection(1, TOUCH_FEEDBACK_NONE))
            return "Cannot execute touch action, InitializeTouchInjection() call failed with "
                   "error code " +
                   std::to_string(GetLastError());
        initialised = true;
    }
    const POINTER_TOUCH_INFO contact = touchRecord(type, x, y);
    if (!Library::User32.injectTouchInput(1, &contact))
        return "Cannot execute touch action, InjectTouchInput() call failed with error code " +
               std::to_string(GetLastError());
    return {};
}

// ---- Windows and clipboard ----

namespace {

struct WindowSearch
{
    std::string title;
    HWND found = nullptr;
};

BOOL CALLBACK matchWindowTitle(HWND window, LPARAM parameter)
{
    auto *search = reinterpret_cast<WindowSearch *>(parameter);
    // One byte more than the title: a longer text must not be cut to fit.
    std::string text(search->title.size() + 2, '\0');
    const int length = GetWindowTextA(window, text.data(), int(text.size()));
    if (length == int(search->title.size()) &&
        std::memcmp(text.data(), search->title.data(), search->title.size()) == 0) {
        search->found = window;
        return FALSE;
    }
    return TRUE;
}

} // namespace

HWND findTopLevelWindow(std::wstring_view title)
{
    WindowSearch search{toLatin1(title)};
    EnumWindows(matchWindowTitle, reinterpret_cast<LPARAM>(&search));
    return search.found;
}

Error sendTextToWindow(std::wstring_view title, std::wstring_view text)
{
    HWND window = findTopLevelWindow(title);
    if (!window)
        return "Could not find a window with the name '" + toUtf8(title) + "'";
    if (HWND top = GetTopWindow(window))
        window = top;
    for (const wchar_t unit : text)
        SendMessageA(window, WM_CHAR, WPARAM(unit), 0);
    return {};
}

Result<std::wstring> getClipboardText()
{
    if (!OpenClipboard(nullptr))
        return {{}, "Opening the clipboard failed: " + lastErrorString()};
    HANDLE data = GetClipboardData(CF_UNICODETEXT);
    if (!data) {
        CloseClipboard();
        return {};
    }
    const auto *text = static_cast<const wchar_t *>(GlobalLock(data));
    if (!text) {
        const std::string reason = lastErrorString();
        CloseClipboard();
        return {{}, "Fetching clipboard text failed: " + reason};
    }
    std::wstring value(text);
    GlobalUnlock(data);
    CloseClipboard();
    return {value, {}};
}

Error setClipboardText(std::wstring_view text)
{
    const SIZE_T bytes = (text.size() + 1) * sizeof(wchar_t);
    // GMEM_MOVEABLE | GMEM_DDESHARE
    HGLOBAL memory = GlobalAlloc(8194, bytes);
    void *target = memory ? GlobalLock(memory) : nullptr;
    if (!target) {
        const std::string reason = lastErrorString();
        if (memory)
            GlobalFree(memory);
        return "Global allocation failed: " + reason;
    }
    std::memcpy(target, text.data(), text.size() * sizeof(wchar_t));
    static_cast<wchar_t *>(target)[text.size()] = L'\0';
    GlobalUnlock(memory);

    // The reason is read before the clean-up calls overwrite it.
    const auto fail = [memory](const char *what, bool opened) {
        const std::string reason = lastErrorString();
        GlobalFree(memory);
        if (opened)
            CloseClipboard();
        return what + reason;
    };
    if (!OpenClipboard(nullptr))
        return fail("Opening the clipboard failed: ", false);
    if (!EmptyClipboard())
        return fail("Removing previous clipboard contents failed: ", true);
    // From here the system owns the memory.
    if (!SetClipboardData(CF_UNICODETEXT, memory))
        return fail("Writing to clipboard failed: ", true);
    CloseClipboard();
    return {};
}

} // namespace Tolvex::Win
