#include "nativeinterface.h"

#include "logging.h"

#include <QGuiApplication>
#include <QPixmap>
#include <QScreen>

namespace Tolvex {

using Result = FunctionCallResult<void>;

namespace {

// The first error of several steps that all ran.
Result firstError(std::initializer_list<Result> results)
{
    for (const Result &r : results)
        if (r.isError())
            return r;
    return {};
}

} // namespace

const QString NativeInterface::capKeycodeSupport = QStringLiteral("KeycodeSupport");
const QString NativeInterface::capTouchSupport = QStringLiteral("TouchSupport");

ScreenshotSource::~ScreenshotSource() = default;

// ---- NativeInterface defaults ----

void NativeInterface::desktopScreenshot(ResponseListener<Screenshot> *listener, Rect<1> rect,
                                        int screen)
{
    listener->response(desktopScreenshot(rect, screen));
}

NativeInterface::~NativeInterface() = default;

FunctionCallResult<Screenshot> NativeInterface::desktopScreenshot(Rect<1> rect, int)
{
    using ShotResult = FunctionCallResult<Screenshot>;
    QScreen *screen = QGuiApplication::primaryScreen();
    // The words name the Windows class on every platform; scripts know them.
    if (!screen)
        return ShotResult::failure(QStringLiteral(
            "WinNativeInterface::desktopScreenshot: Cannot take screenshot without a primary "
            "QScreen"));
    QPoint origin = screen->geometry().topLeft();
    int x = 0;
    int y = 0;
    int width = -1;
    int height = -1;
    if (rect.width > -1 && rect.height > -1) {
        x = rect.x;
        y = rect.y;
        width = rect.width;
        height = rect.height;
        origin = QPoint(-rect.x, -rect.y);
    }
    TOLVEX_TRACE_HOOK() << "Fetching desktop image via Qt API";
    const QPixmap pixmap = screen->grabWindow(0, x, y, width, height);
    if (pixmap.isNull())
        return ShotResult::failure(QStringLiteral("Qt screenshooter returned a null image"));
    Screenshot shot;
    shot.image = pixmap.toImage();
    shot.transform = QTransform::fromTranslate(origin.x(), origin.y());
    shot.density = 1.0;
    return shot;
}

void NativeInterface::recordScreen(uint, const QMap<QString, QVariant> &,
                                   ResponseListener<BinaryStream *> *listener)
{
    listener->error(QStringLiteral("Video streaming is not yet implemented on the current "
                                   "platform. You may experience performance problems"));
}

Result NativeInterface::pointerPress(MouseButton::Value button, bool press, Point<1> point,
                                     int modifiers, int count)
{
    if (point.valid) {
        const Result moved = pointerMove(point);
        if (moved.isError())
            return moved;
    }
    if (press) {
        const Result down = pressReleaseModifiers(modifiers, true);
        if (down.isError())
            return down;
    }
    const Result buttonResult = pointerButton(button, press, point, count);
    if (press)
        return buttonResult;
    const Result up = pressReleaseModifiers(modifiers, false);
    return buttonResult.isError() ? buttonResult : up;
}

Result NativeInterface::pointerClick(MouseButton::Value button, Point<1> point, int modifiers,
                                     int count)
{
    const Result pressed = pointerPress(button, true, point, modifiers, count);
    if (pressed.isError())
        return pressed;
    return pointerPress(button, false, point, modifiers, count);
}

Result NativeInterface::doubleClick(MouseButton::Value button, Point<1> point, int modifiers)
{
    const Result first = pointerClick(button, point, modifiers, 1);
    if (first.isError())
        return first;
    return pointerClick(button, point, modifiers, 2);
}

FunctionCallResult<int> NativeInterface::pointerDrag(Point<1>, int, int, int)
{
    return FunctionCallResult<int>(
        0, QStringLiteral("The old drag and drop API is not implemented in the current platform "
                          "plugin"));
}

void NativeInterface::extraKeys(ResponseListener<ExtraKeys> *listener)
{
    listener->success(ExtraKeys());
}

Result NativeInterface::tap(Point<1> point, int modifiers)
{
    const Result down = pressReleaseModifiers(modifiers, true);
    const Result pressed = touch(TouchPress, point, 0, 0);
    const Result released = touch(TouchRelease, point, 0, 0);
    const Result up = pressReleaseModifiers(modifiers, false);
    return firstError({down, pressed, released, up});
}

Result NativeInterface::pointerClick(MouseButton::Value button, Point<1> point)
{
    const Result moved = pointerMove(point);
    const Result pressed = pointerButton(button, true, point, 1);
    const Result released = pointerButton(button, false, point, 1);
    return firstError({moved, pressed, released});
}

Result NativeInterface::pointerDragAndDrop(Point<1> point, int dx, int dy,
                                           MouseButton::Value button, int modifiers)
{
    // The third argument is fixed by convention; platforms may ignore it.
    const Result begun = pointerDragAndDropBegin(point, button, 9);
    if (begun.isError())
        return begun;
    Point<1> end(point.x + dx, point.y + dy);
    return pointerDragAndDropEnd(end, button, modifiers, true);
}

Result NativeInterface::wheelRoll(int clicks, int modifiers)
{
    const Result down = pressReleaseModifiers(modifiers, true);
    const Result rolled = wheelRoll(clicks);
    const Result up = pressReleaseModifiers(modifiers, false);
    return firstError({down, rolled, up});
}

bool NativeInterface::supressFlush(bool)
{
    return false;
}

// ---- NullNativeInterface ----

NullNativeInterface::NullNativeInterface(const QString &message) : m_message(message) {}

Result NullNativeInterface::failure() const
{
    return Result::failure(m_message);
}

QList<QString> NullNativeInterface::getCapabilities()
{
    return {};
}

FunctionCallResult<Screenshot> NullNativeInterface::desktopScreenshot(Rect<1>, int)
{
    return FunctionCallResult<Screenshot>(Screenshot(), m_message);
}

void NullNativeInterface::recordScreen(uint, const QMap<QString, QVariant> &,
                                       ResponseListener<BinaryStream *> *listener)
{
    listener->error(m_message);
}

FunctionCallResult<QString> NullNativeInterface::getClipboardText()
{
    return FunctionCallResult<QString>::failure(m_message);
}

Result NullNativeInterface::setClipboardText(const QString &)
{
    return failure();
}

FunctionCallResult<Point<1>> NullNativeInterface::pointerPosition()
{
    return FunctionCallResult<Point<1>>::failure(m_message);
}

Result NullNativeInterface::pointerButton(MouseButton::Value, bool, Point<1>, int)
{
    return failure();
}

Result NullNativeInterface::pointerButton(MouseButton::Value, bool, int)
{
    return failure();
}

Result NullNativeInterface::pointerMove(Point<1>)
{
    return failure();
}

Result NullNativeInterface::pointerWarp(Point<1>)
{
    return failure();
}

Result NullNativeInterface::wheelRoll(int)
{
    return failure();
}

Result NullNativeInterface::pointerDragAndDropBegin(Point<1>, MouseButton::Value, int)
{
    return failure();
}

Result NullNativeInterface::pointerDragAndDropEnd(Point<1>, MouseButton::Value, int, bool)
{
    return failure();
}

Result NullNativeInterface::keyCode(uint, uint, NativeKeyCodeSet, bool)
{
    return failure();
}

Result NullNativeInterface::typeCharacter(QChar, int)
{
    return failure();
}

Result NullNativeInterface::keyboardPressRelease(const QString &, bool)
{
    return failure();
}

bool NullNativeInterface::isValidSpecialKey(const QString &)
{
    return false;
}

Result NullNativeInterface::pressReleaseModifiers(int, bool)
{
    return failure();
}

bool NullNativeInterface::isModifierPressed(ModifierKey)
{
    return false;
}

FunctionCallResult<NativeInterface::KeyStroke> NullNativeInterface::charToKeyStroke(QChar, bool)
{
    return FunctionCallResult<KeyStroke>::failure(m_message);
}

Result NullNativeInterface::touch(TouchType, Point<1>, uint, uint)
{
    return failure();
}

Result NullNativeInterface::sendTextToWindow(const QString &, const QString &)
{
    return failure();
}

Result NullNativeInterface::sendKeyEventToFocusWindow(const QString &)
{
    return failure();
}

Result NullNativeInterface::sendKeys(const QString &, bool)
{
    return failure();
}

NativeInterface *NullNativeInterface::threadSafeCopy()
{
    return new NullNativeInterface(m_message);
}

// ---- NativeInterfaceForwarder ----

NativeInterfaceForwarder::NativeInterfaceForwarder(NativeInterface *wrapped) : m_wrapped(wrapped) {}

NativeInterfaceForwarder::~NativeInterfaceForwarder()
{
    delete m_wrapped;
}

QList<QString> NativeInterfaceForwarder::getCapabilities()
{
    return m_wrapped->getCapabilities();
}

FunctionCallResult<Screenshot> NativeInterfaceForwarder::desktopScreenshot(Rect<1> rect, int screen)
{
    return m_wrapped->desktopScreenshot(rect, screen);
}

void NativeInterfaceForwarder::recordScreen(uint allowedFormats,
                                            const QMap<QString, QVariant> &options,
                                            ResponseListener<BinaryStream *> *listener)
{
    m_wrapped->recordScreen(allowedFormats, options, listener);
}

FunctionCallResult<QString> NativeInterfaceForwarder::getClipboardText()
{
    return m_wrapped->getClipboardText();
}

Result NativeInterfaceForwarder::setClipboardText(const QString &text)
{
    return m_wrapped->setClipboardText(text);
}

FunctionCallResult<Point<1>> NativeInterfaceForwarder::pointerPosition()
{
    return m_wrapped->pointerPosition();
}

Result NativeInterfaceForwarder::pointerButton(MouseButton::Value button, bool press,
                                               Point<1> point, int count)
{
    return m_wrapped->pointerButton(button, press, point, count);
}

Result NativeInterfaceForwarder::pointerButton(MouseButton::Value button, bool press, int count)
{
    return m_wrapped->pointerButton(button, press, count);
}

Result NativeInterfaceForwarder::pointerMove(Point<1> point)
{
    return m_wrapped->pointerMove(point);
}

Result NativeInterfaceForwarder::pointerWarp(Point<1> point)
{
    return m_wrapped->pointerWarp(point);
}

Result NativeInterfaceForwarder::wheelRoll(int clicks)
{
    return m_wrapped->wheelRoll(clicks);
}

Result NativeInterfaceForwarder::pointerDragAndDropBegin(Point<1> point, MouseButton::Value button,
                                                         int unused)
{
    return m_wrapped->pointerDragAndDropBegin(point, button, unused);
}

Result NativeInterfaceForwarder::pointerDragAndDropEnd(Point<1> point, MouseButton::Value button,
                                                       int modifiers, bool animate)
{
    return m_wrapped->pointerDragAndDropEnd(point, button, modifiers, animate);
}

Result NativeInterfaceForwarder::keyCode(uint code, uint nativeCode, NativeKeyCodeSet set,
                                         bool press)
{
    return m_wrapped->keyCode(code, nativeCode, set, press);
}

Result NativeInterfaceForwarder::typeCharacter(QChar character, int modifiers)
{
    return m_wrapped->typeCharacter(character, modifiers);
}

Result NativeInterfaceForwarder::keyboardPressRelease(const QString &key, bool press)
{
    return m_wrapped->keyboardPressRelease(key, press);
}

bool NativeInterfaceForwarder::isValidSpecialKey(const QString &name)
{
    return m_wrapped->isValidSpecialKey(name);
}

Result NativeInterfaceForwarder::pressReleaseModifiers(int modifiers, bool press)
{
    return m_wrapped->pressReleaseModifiers(modifiers, press);
}

bool NativeInterfaceForwarder::isModifierPressed(ModifierKey key)
{
    return m_wrapped->isModifierPressed(key);
}

FunctionCallResult<NativeInterface::KeyStroke>
NativeInterfaceForwarder::charToKeyStroke(QChar character, bool keepVirtualKey)
{
    return m_wrapped->charToKeyStroke(character, keepVirtualKey);
}

Result NativeInterfaceForwarder::touch(TouchType type, Point<1> point, uint width, uint height)
{
    return m_wrapped->touch(type, point, width, height);
}

Result NativeInterfaceForwarder::sendTextToWindow(const QString &windowTitle, const QString &text)
{
    return m_wrapped->sendTextToWindow(windowTitle, text);
}

Result NativeInterfaceForwarder::sendKeyEventToFocusWindow(const QString &text)
{
    return m_wrapped->sendKeyEventToFocusWindow(text);
}

Result NativeInterfaceForwarder::sendKeys(const QString &key, bool press)
{
    return m_wrapped->sendKeys(key, press);
}

NativeInterface *NativeInterfaceForwarder::threadSafeCopy()
{
    return new NativeInterfaceForwarder(m_wrapped->threadSafeCopy());
}

} // namespace Tolvex
