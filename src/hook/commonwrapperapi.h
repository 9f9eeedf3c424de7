#pragma once

// The global functions every toolkit wrapper offers scripts alike, for
// native clicks, the clipboard and native keyboard events. A wrapper calls
// the registrations it wants while it starts; each adds its functions to the
// global class once per process.

#include "tolvexexport.h"

namespace Tolvex::CommonWrapperAPI {

// The classes "MouseButton" and "KeyboardModifier", whose enumerations the
// functions below take.
TOLVEX_EXPORT void registerTypes();
// mouseClick, doubleClick and tapObject at a ScreenRectangle's centre or at
// a ScreenPoint, with optional modifiers and button.
TOLVEX_EXPORT void registerConsoleFunctions();
// setClipboardText(text), getClipboardText().
TOLVEX_EXPORT void registerClipboardFunctions();
// nativeType(text), sendNativeEvent(window, text), nativeMouseClick(x, y,
// button).
TOLVEX_EXPORT void registerNativeFunctions();

} // namespace Tolvex::CommonWrapperAPI
