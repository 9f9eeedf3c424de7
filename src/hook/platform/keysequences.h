#pragma once

// The notation in which test scripts name keys: a plain character stands for
// itself, a special key or a combination stands between angle brackets, its
// keys joined by "+" ("a<Ctrl+b>c", "<Return>", "<Ctrl++>").

#include "functioncallresult.h"
#include "tolvexexport.h"

#include <QList>
#include <QString>

namespace Tolvex {

// One entry a key event of the text, in order; an entry lists the keys held
// together, the key itself last. No name is checked: wrappers turn the names
// into their own key events.
TOLVEX_EXPORT FunctionCallResult<QList<QList<QString>>> parseKeyEvents(const QString &text);

// The native modifier mask (NativeInterface::ModifierKey) of the object
// model's modifier word: 0x100 Shift, 0x80 Control, 0x200 Alt, 0x800 Command.
TOLVEX_EXPORT FunctionCallResult<int> tolvexModifiersToNative(int modifiers);

// The special keys by name, with their Windows virtual keys: the names a
// script may put between brackets. Compared case-sensitively; -1 for an
// unknown name.
TOLVEX_EXPORT int specialKeyVirtualKey(const QString &name);
// All the names, in the table's order.
TOLVEX_EXPORT QList<QString> specialKeyNames();

// Whether the platform in use knows the name as a special key.
TOLVEX_EXPORT bool isValidKey(const QString &name);

} // namespace Tolvex
