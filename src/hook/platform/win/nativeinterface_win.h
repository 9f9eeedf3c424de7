#pragma once

// The native interface of Windows: the Qt face of the Win32 input and
// capture layer, which holds the logic.

#include "nativeinterface.h"
#include "tolvexexport.h"

namespace Tolvex {

class TOLVEX_EXPORT WinNativeInterface : public NativeInterface
{
public:
    // Raw key codes, but not touch, although touch() works.
    QList<QString> getCapabilities() override;
    // All monitors by GDI, or a rectangle of the desktop.
    FunctionCallResult<Screenshot> desktopScreenshot(Rect<1> rect, int screen) override;
    using NativeInterface::desktopScreenshot;
    FunctionCallResult<QString> getClipboardText() override;
    FunctionCallResult<void> setClipboardText(const QString &text) override;
    FunctionCallResult<Point<1>> pointerPosition() override;
    // The point plays no part: the button is pressed where the pointer is.
    FunctionCallResult<void> pointerButton(MouseButton::Value button, bool press, Point<1> point,
                                           int count) override;
    FunctionCallResult<void> pointerButton(MouseButton::Value button, bool press,
                                           int count) override;
    FunctionCallResult<void> pointerMove(Point<1> point) override;
    FunctionCallResult<void> pointerWarp(Point<1> point) override;
    FunctionCallResult<void> wheelRoll(int clicks) override;
    using NativeInterface::wheelRoll;
    FunctionCallResult<void> pointerDragAndDropBegin(Point<1> point, MouseButton::Value button,
                                                     int unused) override;
    FunctionCallResult<void> pointerDragAndDropEnd(Point<1> point, MouseButton::Value button,
                                                   int modifiers, bool animate) override;
    FunctionCallResult<int> pointerDrag(Point<1> point, int dx, int dy, int modifiers) override;
    FunctionCallResult<void> keyCode(uint code, uint nativeCode, NativeKeyCodeSet set,
                                     bool press) override;
    FunctionCallResult<void> typeCharacter(QChar character, int modifiers) override;
    FunctionCallResult<void> keyboardPressRelease(const QString &key, bool press) override;
    bool isValidSpecialKey(const QString &name) override;
    FunctionCallResult<void> pressReleaseModifiers(int modifiers, bool press) override;
    bool isModifierPressed(ModifierKey key) override;
    FunctionCallResult<KeyStroke> charToKeyStroke(QChar character, bool keepVirtualKey) override;
    FunctionCallResult<void> touch(TouchType type, Point<1> point, uint width,
                                   uint height) override;
    FunctionCallResult<void> sendTextToWindow(const QString &windowTitle,
                                              const QString &text) override;
    FunctionCallResult<void> sendKeyEventToFocusWindow(const QString &text) override;
    FunctionCallResult<void> sendKeys(const QString &key, bool press) override;
    NativeInterface *threadSafeCopy() override;
};

} // namespace Tolvex
