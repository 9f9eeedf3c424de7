#pragma once

#include "xconnection.h"

#include <string>

namespace Tolvex {

// The first top-level window, from the top of the stack down, whose title
// (the UTF-8 _NET_WM_NAME, else WM_NAME) is exactly the text; 0 for none.
// Under a reparenting window manager the client window inside a frame is
// the one found.
XId findWindowByTitle(XConnection &connection, const std::string &utf8Title);

// A key event sent to one window without touching the focus, with the
// modifier state the receiver is to see.
bool sendSyntheticKey(XConnection &connection, XId window, int keycode, unsigned state, bool press);

// The modifier bits a key sets (ShiftMask, Mod5Mask, ...); 0 for none.
unsigned modifierMaskOfKeycode(XConnection &connection, int keycode);
// The shift modifier bit.
unsigned shiftModifierMask();

// An atom by its name, made if need be.
XId internAtom(XConnection &connection, const char *name);
// The window that owns a selection ("CLIPBOARD"), 0 for none.
XId selectionOwner(XConnection &connection, const char *selection);
// Changes nothing but the time of a property: its owner gets a
// PropertyNotify stamped with the server's present time.
void touchProperty(XConnection &connection, XId window, XId atom);

// Whether the window or one of its ancestors carries the process id in
// _NET_WM_PID.
bool windowBelongsToProcess(XConnection &connection, XId window, long pid);
// Whether the window that has the keyboard focus now (or the window under
// the pointer, where the focus follows the pointer) belongs to the process.
bool focusBelongsToProcess(XConnection &connection, long pid);

} // namespace Tolvex
