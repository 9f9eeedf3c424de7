#include "platformpluginsynchronizer.h"

#include <QCoreApplication>
#include <QEvent>
#include <QObject>

#include <functional>

namespace Tolvex {

using Sync = PlatformPluginSynchronizer;
using Result = FunctionCallResult<void>;

namespace {

const QString NotExecuted = QStringLiteral("Call not executed yet");

template <typename T> FunctionCallResult<T> notExecuted()
{
    return FunctionCallResult<T>(T{}, NotExecuted);
}
template <> FunctionCallResult<void> notExecuted<void>()
{
    return FunctionCallResult<void>(NotExecuted);
}

// One operation of the inner interface, with its arguments bound, and its
// result, which starts as "not executed" so a call that never ran says so.
template <typename T> class OperationCall : public Sync::Call
{
public:
    using Operation = std::function<FunctionCallResult<T>(NativeInterface *)>;
    OperationCall(PlatformPlugin *inner, Operation operation)
        : m_inner(inner), m_operation(std::move(operation))
    {}
    void run() override { result = m_operation(m_inner->nativeInterface()); }

    FunctionCallResult<T> result = notExecuted<T>();

private:
    PlatformPlugin *m_inner;
    Operation m_operation;
};

// Delivers the operation and waits; a delivery error is the result.
template <typename T>
FunctionCallResult<T> synchronized(Sync *sync, typename OperationCall<T>::Operation operation)
{
    OperationCall<T> call(sync->inner(), std::move(operation));
    const Result delivered = sync->executeCall(&call);
    if (delivered.isError()) {
        if constexpr (std::is_void_v<T>)
            return delivered;
        else
            return FunctionCallResult<T>(T{}, delivered.error);
    }
    return call.result;
}

// Screen recording must not block: the call starts it on the other thread
// and the answer comes back to the caller's thread as an event.
class RecordScreenCall : public QObject, public Sync::Call, public ResponseListener<BinaryStream *>
{
public:
    static constexpr QEvent::Type ReplyType = QEvent::Type(1000);

    RecordScreenCall(PlatformPlugin *inner, ResponseListener<BinaryStream *> *listener,
                     uint allowedFormats, const QMap<QString, QVariant> &options)
        : m_inner(inner), m_listener(listener), m_allowedFormats(allowedFormats), m_options(options)
    {}

    void run() override
    {
        m_inner->nativeInterface()->recordScreen(m_allowedFormats, m_options, this);
    }

    void response(FunctionCallResult<BinaryStream *> result) override
    {
        QCoreApplication::postEvent(this, new Reply(std::move(result)));
    }

    bool event(QEvent *e) override
    {
        if (e->type() != ReplyType)
            return QObject::event(e);
        m_listener->response(static_cast<Reply *>(e)->result);
        deleteLater();
        return true;
    }

private:
    struct Reply : QEvent
    {
        explicit Reply(FunctionCallResult<BinaryStream *> r) : QEvent(ReplyType), result(r) {}
        FunctionCallResult<BinaryStream *> result;
    };

    PlatformPlugin *m_inner;
    ResponseListener<BinaryStream *> *m_listener;
    uint m_allowedFormats;
    QMap<QString, QVariant> m_options;
};

} // namespace

// Every operation that touches the platform goes through the synchronizer;
// the compound ones stay at the base and so arrive one operation at a time.
class PlatformPluginSynchronizer::Native : public NativeInterface
{
public:
    explicit Native(Sync *sync) : m_sync(sync) {}

    QList<QString> getCapabilities() override
    {
        return m_sync->inner()->nativeInterface()->getCapabilities();
    }
    FunctionCallResult<Screenshot> desktopScreenshot(Rect<1> rect, int screen) override
    {
        return synchronized<Screenshot>(
            m_sync, [=](NativeInterface *n) { return n->desktopScreenshot(rect, screen); });
    }
    using NativeInterface::desktopScreenshot;
    void recordScreen(uint allowedFormats, const QMap<QString, QVariant> &options,
                      ResponseListener<BinaryStream *> *listener) override
    {
        if (!m_sync->usesEvents()) {
            m_sync->inner()->nativeInterface()->recordScreen(allowedFormats, options, listener);
            return;
        }
        auto *call = new RecordScreenCall(m_sync->inner(), listener, allowedFormats, options);
        const Result delivered = m_sync->executeCall(call);
        if (delivered.isError()) {
            delete call;
            listener->error(delivered.error);
        }
    }
    FunctionCallResult<QString> getClipboardText() override
    {
        return synchronized<QString>(m_sync,
                                     [](NativeInterface *n) { return n->getClipboardText(); });
    }
    Result setClipboardText(const QString &text) override
    {
        return synchronized<void>(m_sync,
                                  [=](NativeInterface *n) { return n->setClipboardText(text); });
    }
    FunctionCallResult<Point<1>> pointerPosition() override
    {
        return synchronized<Point<1>>(m_sync,
                                      [](NativeInterface *n) { return n->pointerPosition(); });
    }
    Result pointerButton(MouseButton::Value button, bool press, Point<1> point, int count) override
    {
        return synchronized<void>(m_sync, [=](NativeInterface *n) {
            return n->pointerButton(button, press, point, count);
        });
    }
    Result pointerButton(MouseButton::Value button, bool press, int count) override
    {
        return synchronized<void>(
            m_sync, [=](NativeInterface *n) { return n->pointerButton(button, press, count); });
    }
    Result pointerMove(Point<1> point) override
    {
        return synchronized<void>(m_sync,
                                  [=](NativeInterface *n) { return n->pointerMove(point); });
    }
    Result pointerWarp(Point<1> point) override
    {
        return synchronized<void>(m_sync,
                                  [=](NativeInterface *n) { return n->pointerWarp(point); });
    }
    Result wheelRoll(int clicks) override
    {
        return synchronized<void>(m_sync, [=](NativeInterface *n) { return n->wheelRoll(clicks); });
    }
    using NativeInterface::wheelRoll;
    Result pointerDragAndDropBegin(Point<1> point, MouseButton::Value button, int unused) override
    {
        return synchronized<void>(m_sync, [=](NativeInterface *n) {
            return n->pointerDragAndDropBegin(point, button, unused);
        });
    }
    Result pointerDragAndDropEnd(Point<1> point, MouseButton::Value button, int modifiers,
                                 bool animate) override
    {
        return synchronized<void>(m_sync, [=](NativeInterface *n) {
            return n->pointerDragAndDropEnd(point, button, modifiers, animate);
        });
    }
    Result keyCode(uint code, uint nativeCode, NativeKeyCodeSet set, bool press) override
    {
        return synchronized<void>(
            m_sync, [=](NativeInterface *n) { return n->keyCode(code, nativeCode, set, press); });
    }
    Result typeCharacter(QChar character, int modifiers) override
    {
        return synchronized<void>(
            m_sync, [=](NativeInterface *n) { return n->typeCharacter(character, modifiers); });
    }
    Result keyboardPressRelease(const QString &key, bool press) override
    {
        return synchronized<void>(
            m_sync, [=](NativeInterface *n) { return n->keyboardPressRelease(key, press); });
    }
    bool isValidSpecialKey(const QString &name) override
    {
        return m_sync->inner()->nativeInterface()->isValidSpecialKey(name);
    }
    Result pressReleaseModifiers(int modifiers, bool press) override
    {
        return synchronized<void>(
            m_sync, [=](NativeInterface *n) { return n->pressReleaseModifiers(modifiers, press); });
    }
    bool isModifierPressed(ModifierKey key) override
    {
        // No error channel: a call that was not delivered reads as false.
        return synchronized<bool>(m_sync,
                                  [=](NativeInterface *n) {
                                      return FunctionCallResult<bool>(n->isModifierPressed(key));
                                  })
            .value;
    }
    FunctionCallResult<KeyStroke> charToKeyStroke(QChar character, bool keepVirtualKey) override
    {
        return synchronized<KeyStroke>(m_sync, [=](NativeInterface *n) {
            return n->charToKeyStroke(character, keepVirtualKey);
        });
    }
    Result touch(TouchType type, Point<1> point, uint width, uint height) override
    {
        return synchronized<void>(
            m_sync, [=](NativeInterface *n) { return n->touch(type, point, width, height); });
    }
    Result tap(Point<1> point, int modifiers) override
    {
        return synchronized<void>(m_sync,
                                  [=](NativeInterface *n) { return n->tap(point, modifiers); });
    }
    Result sendTextToWindow(const QString &windowTitle, const QString &text) override
    {
        return synchronized<void>(
            m_sync, [=](NativeInterface *n) { return n->sendTextToWindow(windowTitle, text); });
    }
    Result sendKeyEventToFocusWindow(const QString &text) override
    {
        return synchronized<void>(
            m_sync, [=](NativeInterface *n) { return n->sendKeyEventToFocusWindow(text); });
    }
    Result sendKeys(const QString &key, bool press) override
    {
        return synchronized<void>(m_sync,
                                  [=](NativeInterface *n) { return n->sendKeys(key, press); });
    }
    NativeInterface *threadSafeCopy() override { return new Native(m_sync); }

private:
    Sync *m_sync;
};

PlatformPluginSynchronizer::Call::~Call() = default;

PlatformPluginSynchronizer::PlatformPluginSynchronizer(PlatformPlugin *inner, bool useEvents)
    : m_inner(inner), m_native(std::make_unique<Native>(this)), m_useEvents(useEvents)
{}

PlatformPluginSynchronizer::~PlatformPluginSynchronizer() = default;

QString PlatformPluginSynchronizer::name() const
{
    return m_inner->name();
}

NativeInterface *PlatformPluginSynchronizer::nativeInterface()
{
    return m_native.get();
}

WidgetHighlighter *PlatformPluginSynchronizer::widgetHighlighter()
{
    return m_inner->widgetHighlighter();
}

FunctionCallResult<WindowManager *> PlatformPluginSynchronizer::windowManager()
{
    return m_inner->windowManager();
}

} // namespace Tolvex
