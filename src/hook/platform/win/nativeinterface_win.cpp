#include "nativeinterface_win.h"

#include "command.h"
#include "logging.h"
#include "wincapture_win.h"
#include "wininput_win.h"

#include <QCoreApplication>
#include <QEventLoop>

#include <string>

namespace Tolvex {

using Result = FunctionCallResult<void>;

namespace {

Result toResult(const Win::Error &error)
{
    if (error.empty())
        return {};
    return Result::failure(QString::fromStdString(error));
}

std::wstring wide(const QString &text)
{
    return text.toStdWString();
}

} // namespace

QList<QString> WinNativeInterface::getCapabilities()
{
    return {capKeycodeSupport};
}

FunctionCallResult<Screenshot> WinNativeInterface::desktopScreenshot(Rect<1> rect, int)
{
    TOLVEX_TRACE_HOOK() << "Fetching desktop image via native API";
    const Win::DesktopImage capture =
        Win::desktopScreenshot(rect.x, rect.y, rect.width, rect.height);
    if (!capture.error.empty())
        return FunctionCallResult<Screenshot>::failure(QString::fromStdString(capture.error));
    Screenshot shot;
    shot.image.loadFromData(capture.bmp.data(), qsizetype(capture.bmp.size()), "BMP");
    shot.transform = QTransform::fromScale(1.0 / capture.scale, 1.0 / capture.scale) *
                     QTransform::fromTranslate(capture.originX, capture.originY);
    shot.density = capture.density;
    return shot;
}

FunctionCallResult<QString> WinNativeInterface::getClipboardText()
{
    const Win::Result<std::wstring> text = Win::getClipboardText();
    if (!text.ok())
        return FunctionCallResult<QString>::failure(QString::fromStdString(text.error));
    return QString::fromStdWString(text.value);
}

Result WinNativeInterface::setClipboardText(const QString &text)
{
    return toResult(Win::setClipboardText(wide(text)));
}

FunctionCallResult<Point<1>> WinNativeInterface::pointerPosition()
{
    const Win::Result<POINT> position = Win::Input().pointerPosition();
    if (!position.ok())
        return FunctionCallResult<Point<1>>::failure(QString::fromStdString(position.error));
    return Point<1>(position.value.x, position.value.y);
}

Result WinNativeInterface::pointerButton(MouseButton::Value button, bool press, Point<1>, int count)
{
    return pointerButton(button, press, count);
}

Result WinNativeInterface::pointerButton(MouseButton::Value button, bool press, int)
{
    return toResult(Win::Input().pointerButton(button, press));
}

Result WinNativeInterface::pointerMove(Point<1> point)
{
    return toResult(Win::Input().pointerMove(point.x, point.y));
}

Result WinNativeInterface::pointerWarp(Point<1> point)
{
    return toResult(Win::Input().pointerWarp(point.x, point.y));
}

Result WinNativeInterface::wheelRoll(int clicks)
{
    return toResult(Win::Input().wheelRoll(clicks));
}

Result WinNativeInterface::pointerDragAndDropBegin(Point<1> point, MouseButton::Value button, int)
{
    return toResult(Win::Input().pointerDragAndDropBegin(point.x, point.y, button));
}

Result WinNativeInterface::pointerDragAndDropEnd(Point<1> point, MouseButton::Value button,
                                                 int modifiers, bool animate)
{
    return toResult(
        Win::Input().pointerDragAndDropEnd(point.x, point.y, button, modifiers, animate));
}

FunctionCallResult<int> WinNativeInterface::pointerDrag(Point<1> point, int dx, int dy,
                                                        int modifiers)
{
    const Win::Result<int> dragged =
        Win::Input().pointerDrag(point.x, point.y, dx, dy, modifiers, [] {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        });
    return FunctionCallResult<int>(dragged.value, QString::fromStdString(dragged.error));
}

Result WinNativeInterface::keyCode(uint code, uint nativeCode, NativeKeyCodeSet set, bool press)
{
    return toResult(Win::Input().keyCode(code, nativeCode, set, press));
}

Result WinNativeInterface::typeCharacter(QChar character, int modifiers)
{
    return toResult(Win::Input().typeCharacter(wchar_t(character.unicode()), modifiers));
}

Result WinNativeInterface::keyboardPressRelease(const QString &key, bool press)
{
    return toResult(Win::Input().keyboardPressRelease(wide(key), press));
}

bool WinNativeInterface::isValidSpecialKey(const QString &name)
{
    return Win::isValidSpecialKey(wide(name));
}

Result WinNativeInterface::pressReleaseModifiers(int modifiers, bool press)
{
    return toResult(Win::Input().pressReleaseModifiers(modifiers, press));
}

bool WinNativeInterface::isModifierPressed(ModifierKey key)
{
    return Win::isModifierPressed(key);
}

FunctionCallResult<NativeInterface::KeyStroke>
WinNativeInterface::charToKeyStroke(QChar character, bool keepVirtualKey)
{
    const Win::Result<Win::KeyStroke> stroke =
        Win::charToKeyStroke(wchar_t(character.unicode()), keepVirtualKey);
    KeyStroke result;
    result.keyCode = stroke.value.keyCode;
    result.modifiers = stroke.value.modifiers;
    return FunctionCallResult<KeyStroke>(result, QString::fromStdString(stroke.error));
}

Result WinNativeInterface::touch(TouchType type, Point<1> point, uint, uint)
{
    return toResult(Win::Input().touch(type, point.x, point.y));
}

Result WinNativeInterface::sendTextToWindow(const QString &windowTitle, const QString &text)
{
    return toResult(Win::sendTextToWindow(wide(windowTitle), wide(text)));
}

Result WinNativeInterface::sendKeyEventToFocusWindow(const QString &text)
{
    const bool special =
        text.size() > 2 && text.startsWith(QLatin1Char('<')) && text.endsWith(QLatin1Char('>'));
    const SharedPtr<TypeText> typing(new TypeText(text, special));
    return typing->executeWith(this);
}

Result WinNativeInterface::sendKeys(const QString &key, bool press)
{
    return toResult(Win::Input().sendKeys(wide(key), press));
}

NativeInterface *WinNativeInterface::threadSafeCopy()
{
    return new WinNativeInterface;
}

} // namespace Tolvex
