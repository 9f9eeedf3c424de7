#include "xkeytables.h"

#include <X11/XF86keysym.h>
#include <X11/keysym.h>
#include <xkbcommon/xkbcommon.h>

#include <utility>

namespace Tolvex {

namespace {

struct VirtualKeyRow
{
    int virtualKey;
    XId keysym;         // the key of the main block, or the only one
    XId numPadKeysym;   // the twin without the extended flag, 0 for none
    XId extendedKeysym; // the right-hand twin with the extended flag, 0 for none
};

// Windows virtual keys and the keysyms of the same keys. The printable
// keys of the OEM range are those of a US keyboard, as the values name them.
constexpr VirtualKeyRow VirtualKeys[] = {
    {0x08, XK_BackSpace, 0, 0},
    {0x09, XK_Tab, 0, 0},
    {0x0C, XK_Clear, 0, 0},
    {0x0D, XK_Return, 0, XK_KP_Enter},
    {0x10, XK_Shift_L, 0, XK_Shift_R},
    {0x11, XK_Control_L, 0, XK_Control_R},
    {0x12, XK_Alt_L, 0, XK_Alt_R},
    {0x13, XK_Pause, 0, 0},
    {0x14, XK_Caps_Lock, 0, 0},
    {0x1B, XK_Escape, 0, 0},
    {0x20, XK_space, 0, 0},
    {0x21, XK_Prior, XK_KP_Prior, 0},
    {0x22, XK_Next, XK_KP_Next, 0},
    {0x23, XK_End, XK_KP_End, 0},
    {0x24, XK_Home, XK_KP_Home, 0},
    {0x25, XK_Left, XK_KP_Left, 0},
    {0x26, XK_Up, XK_KP_Up, 0},
    {0x27, XK_Right, XK_KP_Right, 0},
    {0x28, XK_Down, XK_KP_Down, 0},
    {0x2C, XK_Print, 0, 0},
    {0x2D, XK_Insert, XK_KP_Insert, 0},
    {0x2E, XK_Delete, XK_KP_Delete, 0},
    {0x30, XK_0, 0, 0},
    {0x31, XK_1, 0, 0},
    {0x32, XK_2, 0, 0},
    {0x33, XK_3, 0, 0},
    {0x34, XK_4, 0, 0},
    {0x35, XK_5, 0, 0},
    {0x36, XK_6, 0, 0},
    {0x37, XK_7, 0, 0},
    {0x38, XK_8, 0, 0},
    {0x39, XK_9, 0, 0},
    {0x41, XK_a, 0, 0},
    {0x42, XK_b, 0, 0},
    {0x43, XK_c, 0, 0},
    {0x44, XK_d, 0, 0},
    {0x45, XK_e, 0, 0},
    {0x46, XK_f, 0, 0},
    {0x47, XK_g, 0, 0},
    {0x48, XK_h, 0, 0},
    {0x49, XK_i, 0, 0},
    {0x4A, XK_j, 0, 0},
    {0x4B, XK_k, 0, 0},
    {0x4C, XK_l, 0, 0},
    {0x4D, XK_m, 0, 0},
    {0x4E, XK_n, 0, 0},
    {0x4F, XK_o, 0, 0},
    {0x50, XK_p, 0, 0},
    {0x51, XK_q, 0, 0},
    {0x52, XK_r, 0, 0},
    {0x53, XK_s, 0, 0},
    {0x54, XK_t, 0, 0},
    {0x55, XK_u, 0, 0},
    {0x56, XK_v, 0, 0},
    {0x57, XK_w, 0, 0},
    {0x58, XK_x, 0, 0},
    {0x59, XK_y, 0, 0},
    {0x5A, XK_z, 0, 0},
    {0x5B, XK_Super_L, 0, 0},
    {0x5C, XK_Super_R, 0, 0},
    {0x5D, XK_Menu, 0, 0},
    {0x60, XK_KP_0, 0, 0},
    {0x61, XK_KP_1, 0, 0},
    {0x62, XK_KP_2, 0, 0},
    {0x63, XK_KP_3, 0, 0},
    {0x64, XK_KP_4, 0, 0},
    {0x65, XK_KP_5, 0, 0},
    {0x66, XK_KP_6, 0, 0},
    {0x67, XK_KP_7, 0, 0},
    {0x68, XK_KP_8, 0, 0},
    {0x69, XK_KP_9, 0, 0},
    {0x6A, XK_KP_Multiply, 0, 0},
    {0x6B, XK_KP_Add, 0, 0},
    {0x6C, XK_KP_Separator, 0, 0},
    {0x6D, XK_KP_Subtract, 0, 0},
    {0x6E, XK_KP_Decimal, 0, 0},
    {0x6F, XK_KP_Divide, 0, 0},
    {0x90, XK_Num_Lock, 0, 0},
    {0x91, XK_Scroll_Lock, 0, 0},
    {0xA0, XK_Shift_L, 0, 0},
    {0xA1, XK_Shift_R, 0, 0},
    {0xA2, XK_Control_L, 0, 0},
    {0xA3, XK_Control_R, 0, 0},
    {0xA4, XK_Alt_L, 0, 0},
    {0xA5, XK_Alt_R, 0, 0},
    {0xA6, XF86XK_Back, 0, 0},
    {0xA7, XF86XK_Forward, 0, 0},
    {0xA8, XF86XK_Refresh, 0, 0},
    {0xA9, XF86XK_Stop, 0, 0},
    {0xAA, XF86XK_Search, 0, 0},
    {0xAB, XF86XK_Favorites, 0, 0},
    {0xAC, XF86XK_HomePage, 0, 0},
    {0xAD, XF86XK_AudioMute, 0, 0},
    {0xAE, XF86XK_AudioLowerVolume, 0, 0},
    {0xAF, XF86XK_AudioRaiseVolume, 0, 0},
    {0xB0, XF86XK_AudioNext, 0, 0},
    {0xB1, XF86XK_AudioPrev, 0, 0},
    {0xB2, XF86XK_AudioStop, 0, 0},
    {0xB3, XF86XK_AudioPlay, 0, 0},
    {0xB4, XF86XK_Mail, 0, 0},
    {0xB5, XF86XK_AudioMedia, 0, 0},
    {0xBA, XK_semicolon, 0, 0},
    {0xBB, XK_equal, 0, 0},
    {0xBC, XK_comma, 0, 0},
    {0xBD, XK_minus, 0, 0},
    {0xBE, XK_period, 0, 0},
    {0xBF, XK_slash, 0, 0},
    {0xC0, XK_grave, 0, 0},
};

// The rest of the OEM keys, beyond the function keys that sit in between.
constexpr std::pair<int, XId> OemKeys[] = {
    {0xDB, XK_bracketleft}, {0xDC, XK_backslash}, {0xDD, XK_bracketright},
    {0xDE, XK_apostrophe},  {0xE2, XK_less},
};

// The 0xE0-prefixed keys and media keys that have a row; the plain make
// codes 0x01 to 0x58 and F13 to F24 (0xB7 to 0xC2) are ranges.
constexpr unsigned PrefixedScanCodes[] = {
    0x60, 0x61, 0x62, 0x64, 0x66, 0x67, 0x68, 0x69, 0x6A, 0x6B, 0x6C, 0x6D, 0x6E,
    0x6F, 0x71, 0x72, 0x73, 0x7D, 0x7E, 0x7F, 0xA3, 0xA4, 0xA5, 0xA6, 0xAC,
};

// X keycodes are the input layer's key numbers plus this.
constexpr int KeycodeOffset = 8;

} // namespace

XId keysymForVirtualKey(int virtualKey, bool extended)
{
    if (virtualKey >= 0x70 && virtualKey <= 0x87)
        return XK_F1 + XId(virtualKey - 0x70);
    for (const VirtualKeyRow &row : VirtualKeys) {
        if (row.virtualKey != virtualKey)
            continue;
        if (!extended && row.numPadKeysym)
            return row.numPadKeysym;
        if (extended && row.extendedKeysym)
            return row.extendedKeysym;
        return row.keysym;
    }
    for (const auto &[key, keysym] : OemKeys)
        if (key == virtualKey)
            return keysym;
    return 0;
}

int virtualKeyForKeysym(XId keysym)
{
    if (keysym >= XK_F1 && keysym <= XK_F24)
        return 0x70 + int(keysym - XK_F1);
    for (const VirtualKeyRow &row : VirtualKeys)
        if (row.keysym == keysym || row.numPadKeysym == keysym || row.extendedKeysym == keysym)
            return row.virtualKey;
    for (const auto &[key, sym] : OemKeys)
        if (sym == keysym)
            return key;
    return 0;
}

XId keysymForCharacter(char32_t character)
{
    switch (character) {
    case U'\n':
    case U'\r':
        return XK_Return;
    case U'\t':
        return XK_Tab;
    case U'\b':
        return XK_BackSpace;
    case 0x1B:
        return XK_Escape;
    case 0x7F:
        return XK_Delete;
    default:
        break;
    }
    if ((character >= 0x20 && character <= 0x7E) || (character >= 0xA0 && character <= 0xFF))
        return character;
    return 0x01000000 | character;
}

char32_t characterForKeysym(XId keysym)
{
    return xkb_keysym_to_utf32(xkb_keysym_t(keysym));
}

int keycodeForScanCode(unsigned code)
{
    bool known = (code >= 0x01 && code <= 0x58) || (code >= 0xB7 && code <= 0xC2);
    for (unsigned prefixed : PrefixedScanCodes)
        known = known || prefixed == code;
    return known ? int(code) + KeycodeOffset : 0;
}

const std::vector<ExtraKey> &extraKeyTable()
{
    static const std::vector<ExtraKey> keys{
        {"VolumeMute", 0x71}, {"VolumeDown", 0x72},     {"VolumeUp", 0x73},
        {"MediaNext", 0xA3},  {"MediaPlayPause", 0xA4}, {"MediaPrevious", 0xA5},
        {"MediaStop", 0xA6},  {"BrowserHome", 0xAC},
    };
    return keys;
}

} // namespace Tolvex
