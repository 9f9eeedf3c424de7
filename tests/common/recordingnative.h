#pragma once

// A native interface that does nothing but write down what it was asked, in
// order, and fails the calls it is told to fail: the platform-neutral logic
// above it is checked against the list.

#include "nativeinterface.h"
#include "platformplugin.h"
#include "widgethighlighter.h"

#include <QSet>
#include <QStringList>
#include <QThread>

namespace TestPlatform {

using namespace Tolvex;

class RecordingNative : public NativeInterface
{
public:
    using NativeInterface::pointerClick;
    using NativeInterface::wheelRoll;

    QStringList calls;
    // Calls, by their text in `calls`, that answer with an error.
    QSet<QString> failing;
    // The thread each call ran on.
    QList<QThread *> threads;
    bool modifierDown = false;

    QList<QString> getCapabilities() override { return {QStringLiteral("KeycodeSupport")}; }
    FunctionCallResult<QString> getClipboardText() override
    {
        record(QStringLiteral("clipboard?"));
        return QStringLiteral("clip");
    }
    FunctionCallResult<void> setClipboardText(const QString &text) override
    {
        return record(QStringLiteral("clipboard=") + text);
    }
    FunctionCallResult<Point<1>> pointerPosition() override
    {
        const FunctionCallResult<void> asked = record(QStringLiteral("position?"));
        if (asked.isError())
            return FunctionCallResult<Point<1>>::failure(asked.error);
        return Point<1>(3, 4);
    }
    FunctionCallResult<void> pointerButton(MouseButton::Value button, bool press, Point<1>,
                                           int count) override
    {
        return record(QStringLiteral("button %1 %2 %3")
                          .arg(int(button))
                          .arg(press ? QStringLiteral("down") : QStringLiteral("up"))
                          .arg(count));
    }
    FunctionCallResult<void> pointerButton(MouseButton::Value button, bool press,
                                           int count) override
    {
        return pointerButton(button, press, Point<1>(), count);
    }
    FunctionCallResult<void> pointerMove(Point<1> point) override
    {
        return record(QStringLiteral("move %1,%2").arg(point.x).arg(point.y));
    }
    FunctionCallResult<void> pointerWarp(Point<1> point) override
    {
        return record(QStringLiteral("warp %1,%2").arg(point.x).arg(point.y));
    }
    FunctionCallResult<void> wheelRoll(int clicks) override
    {
        return record(QStringLiteral("wheel %1").arg(clicks));
    }
    FunctionCallResult<void> pointerDragAndDropBegin(Point<1> point, MouseButton::Value button,
                                                     int third) override
    {
        return record(QStringLiteral("drag %1,%2 %3 %4")
                          .arg(point.x)
                          .arg(point.y)
                          .arg(int(button))
                          .arg(third));
    }
    FunctionCallResult<void> pointerDragAndDropEnd(Point<1> point, MouseButton::Value button,
                                                   int modifiers, bool animate) override
    {
        return record(QStringLiteral("drop %1,%2 %3 %4 %5")
                          .arg(point.x)
                          .arg(point.y)
                          .arg(int(button))
                          .arg(modifiers)
                          .arg(animate));
    }
    FunctionCallResult<void> keyCode(uint code, uint nativeCode, NativeKeyCodeSet set,
                                     bool press) override
    {
        return record(QStringLiteral("keycode %1 %2 %3 %4")
                          .arg(code)
                          .arg(nativeCode)
                          .arg(int(set))
                          .arg(press));
    }
    FunctionCallResult<void> typeCharacter(QChar character, int modifiers) override
    {
        return record(QStringLiteral("type %1 %2").arg(character).arg(modifiers));
    }
    FunctionCallResult<void> keyboardPressRelease(const QString &key, bool press) override
    {
        return record(QStringLiteral("key %1 %2")
                          .arg(key, press ? QStringLiteral("down") : QStringLiteral("up")));
    }
    bool isValidSpecialKey(const QString &name) override { return name == QLatin1String("Return"); }
    FunctionCallResult<void> pressReleaseModifiers(int modifiers, bool press) override
    {
        return record(QStringLiteral("modifiers %1 %2")
                          .arg(modifiers)
                          .arg(press ? QStringLiteral("down") : QStringLiteral("up")));
    }
    bool isModifierPressed(ModifierKey) override
    {
        record(QStringLiteral("modifier?"));
        return modifierDown;
    }
    FunctionCallResult<KeyStroke> charToKeyStroke(QChar character, bool) override
    {
        record(QStringLiteral("stroke %1").arg(character));
        return KeyStroke{character.unicode(), 1};
    }
    FunctionCallResult<void> touch(TouchType type, Point<1> point, uint, uint) override
    {
        return record(QStringLiteral("touch %1 %2,%3").arg(int(type)).arg(point.x).arg(point.y));
    }
    FunctionCallResult<void> sendTextToWindow(const QString &title, const QString &text) override
    {
        return record(QStringLiteral("window %1 %2").arg(title, text));
    }
    FunctionCallResult<void> sendKeyEventToFocusWindow(const QString &text) override
    {
        return record(QStringLiteral("focus %1").arg(text));
    }
    FunctionCallResult<void> sendKeys(const QString &key, bool press) override
    {
        return record(
            QStringLiteral("%1%2").arg(press ? QLatin1Char('+') : QLatin1Char('-')).arg(key));
    }
    NativeInterface *threadSafeCopy() override { return new RecordingNative; }

private:
    bool supressFlush(bool suppress) override
    {
        record(QStringLiteral("flush %1")
                   .arg(suppress ? QStringLiteral("off") : QStringLiteral("on")));
        return false;
    }

    FunctionCallResult<void> record(const QString &call)
    {
        calls.append(call);
        threads.append(QThread::currentThread());
        if (failing.contains(call))
            return FunctionCallResult<void>::failure(QStringLiteral("failed: ") + call);
        return {};
    }
};

// A plug-in around a recording interface.
class RecordingPlugin : public PlatformPlugin
{
public:
    QString name() const override { return QStringLiteral("recording"); }
    NativeInterface *nativeInterface() override { return &native; }
    WidgetHighlighter *widgetHighlighter() override { return &highlighter; }
    FunctionCallResult<WindowManager *> windowManager() override { return nullptr; }

    RecordingNative native;
    NullWidgetHighlighter highlighter;
};

} // namespace TestPlatform
