#pragma once

#include "nativeinterface.h"

#include <memory>

namespace Tolvex {

class XConnection;
struct XNativeInterfacePrivate;

// The native interface on X11: pointer, buttons, wheel and keys through
// XTest, characters missing from the keymap on spare keycodes bound for the
// moment, clipboard text through the application's own QClipboard, desktop
// pictures through shared memory. Toward the rest of the agent it acts as
// the Windows interface does: the same presses and releases in the same
// order, the same pauses and the same error texts. Coordinates are X
// pixels throughout; nothing here scales by a toolkit's factor.
class XNativeInterface : public NativeInterface
{
public:
    explicit XNativeInterface(std::shared_ptr<XConnection> connection);
    ~XNativeInterface() override;

    QList<QString> getCapabilities() override;
    FunctionCallResult<Screenshot> desktopScreenshot(Rect<1> rect, int screen) override;
    using NativeInterface::desktopScreenshot;
    void recordScreen(uint allowedFormats, const QMap<QString, QVariant> &options,
                      ResponseListener<BinaryStream *> *listener) override;
    FunctionCallResult<QString> getClipboardText() override;
    FunctionCallResult<void> setClipboardText(const QString &text) override;
    FunctionCallResult<Point<1>> pointerPosition() override;
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
    void extraKeys(ResponseListener<ExtraKeys> *listener) override;
    FunctionCallResult<void> touch(TouchType type, Point<1> point, uint width,
                                   uint height) override;
    FunctionCallResult<void> sendTextToWindow(const QString &windowTitle,
                                              const QString &text) override;
    FunctionCallResult<void> sendKeyEventToFocusWindow(const QString &text) override;
    FunctionCallResult<void> sendKeys(const QString &key, bool press) override;
    // A new interface on a connection of its own.
    NativeInterface *threadSafeCopy() override;

private:
    std::unique_ptr<XNativeInterfacePrivate> d;
};

} // namespace Tolvex
