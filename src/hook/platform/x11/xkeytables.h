#pragma once

// How the Windows key values that the agent speaks (virtual keys, PC scan
// codes) and characters become X keysyms and keycodes.

#include "xconnection.h"

#include <vector>

namespace Tolvex {

// The keysym of a Windows virtual key. The extended flag tells the keys of
// the main block from their numeric pad twins (VK 0x21 to 0x28, 0x2D, 0x2E,
// 0x0D) and the right Ctrl and Alt from the left ones. 0 when there is none.
XId keysymForVirtualKey(int virtualKey, bool extended);

// The Windows virtual key of a key's keysym, 0 when it has none.
int virtualKeyForKeysym(XId keysym);

// The keysym that types a character: the Latin-1 keysyms stand for
// themselves, every other character has its Unicode keysym; line feed,
// carriage return, tab, backspace, escape and delete are the keys of those
// names.
XId keysymForCharacter(char32_t character);

// The character a keysym types, 0 when it types none.
char32_t characterForKeysym(XId keysym);

// The X keycode of a PC scan code of set 1 in the numbering the agent uses:
// 0x01 to 0x58 the plain make codes, 0x60 and up the 0xE0-prefixed keys, the
// media keys and F13 to F24 at 0xB7 to 0xC2. That numbering is the Linux
// input layer's, and the X servers of today (evdev, libinput) number their
// keycodes 8 higher. 0 for a code without a row.
int keycodeForScanCode(unsigned code);

// The keys beyond the ordinary set: a name and the scan code that keyCode
// takes for it.
struct ExtraKey
{
    const char *name;
    unsigned scanCode;
};
const std::vector<ExtraKey> &extraKeyTable();

} // namespace Tolvex
