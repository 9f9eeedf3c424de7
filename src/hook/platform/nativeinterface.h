#pragma once

#include "functioncallresult.h"
#include "mousebutton.h"
#include "point.h"
#include "rect.h"
#include "screenshot.h"
#include "tolvexexport.h"

#include <QChar>
#include <QList>
#include <QMap>
#include <QString>
#include <QVariant>

#include <utility>
#include <vector>

namespace Tolvex {

class BinaryStream;

// What a screenshot recorder knows of a platform: a desktop picture, handed
// to a listener that owns it from then on.
class TOLVEX_EXPORT ScreenshotSource
{
public:
    virtual void desktopScreenshot(ResponseListener<Screenshot> *listener, Rect<1> rect,
                                   int screen) = 0;
    virtual ~ScreenshotSource();
};

// The one door through which the agent reaches the operating system's input,
// clipboard and screen. Every operation that can fail says so in its result;
// an empty error is success, and the text is what the test script reads.
// Pointer coordinates are desktop pixels. An interface is used on the thread
// that owns it; threadSafeCopy() or a PlatformPluginSynchronizer serve other
// threads.
//
// The virtual operations keep their order: platform plug-ins built
// separately from this library depend on it.
class TOLVEX_EXPORT NativeInterface : public ScreenshotSource
{
public:
    // The native modifier mask.
    enum ModifierKey : int {
        NoModifier = 0,
        Shift = 1,
        Ctrl = 2,
        Alt = 4,
        Meta = 16,
    };
    // How keyCode reads its codes: 2 is the packed native form, anything
    // else a PC scan code of set 1.
    enum NativeKeyCodeSet : int {
        ScanCodeSet1 = 1,
        NativeCodeSet = 2,
    };
    enum TouchType : int {
        TouchPress = 0,
        TouchRelease = 2,
    };
    struct KeyStroke
    {
        int keyCode = 0;
        int modifiers = 0;
    };
    using ExtraKeys = std::vector<std::pair<QString, int>>;

    static const QString capKeycodeSupport; // "KeycodeSupport"
    static const QString capTouchSupport;   // "TouchSupport"

    // Answers at once with the synchronous form; platforms that capture
    // asynchronously override it.
    void desktopScreenshot(ResponseListener<Screenshot> *listener, Rect<1> rect,
                           int screen) override;
    ~NativeInterface() override;

    virtual QList<QString> getCapabilities() = 0;
    // A negative width or height asks for the whole desktop.
    virtual FunctionCallResult<Screenshot> desktopScreenshot(Rect<1> rect, int screen);
    virtual void recordScreen(uint allowedFormats, const QMap<QString, QVariant> &options,
                              ResponseListener<BinaryStream *> *listener);
    virtual FunctionCallResult<QString> getClipboardText() = 0;
    virtual FunctionCallResult<void> setClipboardText(const QString &text) = 0;
    virtual FunctionCallResult<Point<1>> pointerPosition() = 0;
    virtual FunctionCallResult<void> pointerButton(MouseButton::Value button, bool press,
                                                   Point<1> point, int count) = 0;
    virtual FunctionCallResult<void> pointerButton(MouseButton::Value button, bool press,
                                                   int count) = 0;
    virtual FunctionCallResult<void> pointerMove(Point<1> point) = 0;
    virtual FunctionCallResult<void> pointerWarp(Point<1> point) = 0;
    virtual FunctionCallResult<void> pointerPress(MouseButton::Value button, bool press,
                                                  Point<1> point, int modifiers, int count);
    virtual FunctionCallResult<void> pointerClick(MouseButton::Value button, Point<1> point,
                                                  int modifiers, int count);
    virtual FunctionCallResult<void> doubleClick(MouseButton::Value button, Point<1> point,
                                                 int modifiers);
    virtual FunctionCallResult<void> wheelRoll(int clicks) = 0;
    virtual FunctionCallResult<void>
    pointerDragAndDropBegin(Point<1> point, MouseButton::Value button, int unused) = 0;
    virtual FunctionCallResult<void> pointerDragAndDropEnd(Point<1> point,
                                                           MouseButton::Value button, int modifiers,
                                                           bool animate) = 0;
    // The old drag: 1 on success.
    virtual FunctionCallResult<int> pointerDrag(Point<1> point, int dx, int dy, int modifiers);
    virtual FunctionCallResult<void> keyCode(uint code, uint nativeCode, NativeKeyCodeSet set,
                                             bool press) = 0;
    virtual FunctionCallResult<void> typeCharacter(QChar character, int modifiers) = 0;
    // A single character, or a special key's name without brackets.
    virtual FunctionCallResult<void> keyboardPressRelease(const QString &key, bool press) = 0;
    virtual bool isValidSpecialKey(const QString &name) = 0;
    virtual FunctionCallResult<void> pressReleaseModifiers(int modifiers, bool press) = 0;
    virtual bool isModifierPressed(ModifierKey key) = 0;
    virtual FunctionCallResult<KeyStroke> charToKeyStroke(QChar character, bool keepVirtualKey) = 0;
    virtual void extraKeys(ResponseListener<ExtraKeys> *listener);
    virtual FunctionCallResult<void> touch(TouchType type, Point<1> point, uint width,
                                           uint height) = 0;
    virtual FunctionCallResult<void> tap(Point<1> point, int modifiers);
    virtual FunctionCallResult<void> sendTextToWindow(const QString &windowTitle,
                                                      const QString &text) = 0;
    virtual FunctionCallResult<void> sendKeyEventToFocusWindow(const QString &text) = 0;
    // A single character, or a special key's name in angle brackets.
    virtual FunctionCallResult<void> sendKeys(const QString &key, bool press) = 0;
    // A new interface for another thread; the caller owns it.
    virtual NativeInterface *threadSafeCopy() = 0;

    // Move, press and release; all three run, the first error is the result.
    FunctionCallResult<void> pointerClick(MouseButton::Value button, Point<1> point);
    FunctionCallResult<void> pointerDragAndDrop(Point<1> point, int dx, int dy,
                                                MouseButton::Value button, int modifiers);
    FunctionCallResult<void> wheelRoll(int clicks, int modifiers);

    // Called around each command of a batch; the previous value comes back.
    bool suppressFlush(bool suppress) { return supressFlush(suppress); }

private:
    virtual bool supressFlush(bool suppress);
};

// No platform: every operation fails with one stored message.
class TOLVEX_EXPORT NullNativeInterface : public NativeInterface
{
public:
    explicit NullNativeInterface(const QString &message);

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

    QString message() const { return m_message; }

private:
    FunctionCallResult<void> failure() const;

    QString m_message;
};

// Hands every operation to another interface, which it owns.
class TOLVEX_EXPORT NativeInterfaceForwarder : public NativeInterface
{
public:
    explicit NativeInterfaceForwarder(NativeInterface *wrapped);
    ~NativeInterfaceForwarder() override;

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

    NativeInterface *wrapped() const { return m_wrapped; }

private:
    NativeInterface *m_wrapped;
};

} // namespace Tolvex
