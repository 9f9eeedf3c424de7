// What the Hook sends on its own: recorded events and log lines for the
// recorder, callbacks and asynchronous results for the running script, and
// classes made after the server read them all.

#include "hook.h"

#include "class.h"
#include "classregistrar.h"
#include "event.h"
#include "eventdata.h"
#include "hookdata_p.h"
#include "inspector.h"
#include "logging.h"
#include "method.h"
#include "namespace.h"
#include "objecthandles.h"
#include "wrapper.h"

#include <QDataStream>
#include <QIODevice>

namespace Tolvex {

namespace {

// The stream version of events and metadata on the wire.
constexpr int EventStreamVersion = 3;

template <typename T> QByteArray serialized(const T &value)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setVersion(EventStreamVersion);
    value.writeObject(out);
    return bytes;
}

} // namespace

QStringList Hook::getClientEnvironment()
{
    if (!d->ipc)
        return {};
    SendScope sending(*d);
    return d->ipc->call(unsigned(d->runnerId), QStringLiteral("clientEnvironment"), {})
        .toStringList();
}

int Hook::send(const QString &function, const ArgumentList &args)
{
    return send(unsigned(d->runnerId), function, args);
}

// Every message the Hook sends of its own goes out through these three.
int Hook::send(unsigned destination, const QString &function, const ArgumentList &args)
{
    if (!d->ipc)
        return -1;
    SendScope sending(*d);
    return d->ipc->send(destination, function, args);
}

int Hook::broadcast(const QString &function, const ArgumentList &args)
{
    if (!d->ipc)
        return -1;
    SendScope sending(*d);
    return d->ipc->broadcast(function, args);
}

int Hook::asyncCall(unsigned destination, const QString &function, const ArgumentList &args,
                    ResponseListener<ArgumentList> *listener)
{
    if (!d->ipc) {
        listener->error(QStringLiteral("Channel closed"));
        return -1;
    }
    SendScope sending(*d);
    return d->ipc->asyncCall(destination, function, args, listener);
}

int Hook::ownId() const
{
    return d->ipc ? d->ipc->appId() : 0;
}

void Hook::sendToRecorder(const QString &function, const ArgumentList &args)
{
    send(unsigned(d->recorderOrRunnerId()), function, args);
}

void Hook::eventRecorded(const EventData &data)
{
    recordEvent(data);
}

void Hook::recordEvent(const EventData &data)
{
    sendToRecorder(QStringLiteral("recordEvent"), {serialized(data)});
}

void Hook::logEvent(const EventData &data)
{
    QString text;
    switch (data.type()) {
    case EventData::EventType:
        text = data.eventName();
        // Key and mouse events are the recording itself; logging them too
        // would only repeat it.
        if (text == QLatin1String("QKeyEvent") || text == QLatin1String("QMouseEvent"))
            return;
        break;
    case EventData::MethodType:
    case EventData::FunctionType:
        text = data.methodName();
        break;
    default:
        return;
    }
    // A repeat is swallowed once, so a run of equal events logs every other.
    if (text == d->lastLogged) {
        d->lastLogged = QString();
        return;
    }
    d->lastLogged = text;
    broadcast(QStringLiteral("log"), {d->recorderOrRunnerId(), text});
}

void Hook::logResult(int resultType, const QString &text)
{
    send(QStringLiteral("logResult"), {resultType, text});
}

void Hook::setEventRecordingEnabled(bool on)
{
    Inspector::self()->setEventRecordingEnabled(on);
    // Processes this one starts record, or not, the same way.
    qputenv("TOLVEX_RECORD", on ? "1" : "0");
    Q_EMIT notifyEventRecordingEnabled(on);
}

void Hook::enableEventCompression(const QString &event, bool on)
{
    d->eventCompression[event] = on;
}

bool Hook::eventCompressionEnabled(const QString &event)
{
    const auto it = d->eventCompression.constFind(event);
    if (it != d->eventCompression.cend())
        return *it;
    // The default, entered as true when it is missing.
    const QString all = QStringLiteral("*");
    if (!d->eventCompression.contains(all))
        d->eventCompression.insert(all, true);
    return d->eventCompression.value(all);
}

void Hook::setDisableEventCompression()
{
    d->eventCompression[QStringLiteral("*")] = false;
}

void Hook::stopRecord()
{
    QPointer<Hook> guard(this);
    // A wrapper may delete another, or the Hook, from its slot.
    const QList<QPointer<Wrapper>> list = d->wrappers;
    for (const QPointer<Wrapper> &wrapper : list) {
        if (!wrapper)
            continue;
        wrapper->recordingStopped();
        if (!guard)
            return;
    }
    if (d->ipc)
        sendToRecorder(QStringLiteral("recordingSubmitted"), {ownId()});
}

void Hook::sendCallBack(const QString &handler, const ObjectList &objects)
{
    const int sequence = HookData::callBackSequence++;
    if (!d->ipc)
        return;
    ArgumentList args{handler};
    ObjectHandles &handles = objectHandles();
    for (const SharedPtr<Object> &object : objects)
        args.append(handles.objectToVariant(object));
    args.append(ownId());
    args.append(sequence);
    // Not a blocking call: a wrapper that needs the script's answer waits in
    // its own loop.
    send(QStringLiteral("callBack"), args);
}

void Hook::pauseExecution()
{
    send(QStringLiteral("pauseExecution"), {});
}

void Hook::beginAsyncCall()
{
    ++d->asyncCallDepth;
    send(QStringLiteral("waitForFinish"), {});
}

void Hook::finishAsyncCallWithResult(SharedPtr<Object> result)
{
    d->asyncCallDepth = qMax(0, d->asyncCallDepth - 1);
    if (d->ipc)
        send(QStringLiteral("waitForFinishDone"), {objectHandles().objectToVariant(result)});
}

void Hook::finishAsyncVoidCall(bool withoutResult)
{
    d->asyncCallDepth = qMax(0, d->asyncCallDepth - 1);
    send(QStringLiteral("waitForFinishDone"),
         withoutResult ? ArgumentList() : ArgumentList{QVariant()});
}

void Hook::sendToRunnerAndSpy(const QString &function, const ArgumentList &args)
{
    send(function, args);
    if (d->hasOwnSpy())
        send(unsigned(d->spyId), function, args);
}

void Hook::sendLateClasses()
{
    if (s_instance && s_instance->d)
        s_instance->registerClasses(s_instance->d->runnerClassCount);
}

void Hook::registerClasses(int firstId)
{
    const int count = Inspector::self()->numClasses();
    // Until the server has read all classes, it reads the new ones with them.
    if (!d->classesRequested || firstId == count || !d->ipc)
        return;
    TOLVEX_TRACE_HOOK() << "Sending classes" << firstId << "to" << count;
    send(QStringLiteral("registerClasses"), {ownId(), ObjectHandles::classesFrom(firstId)});
    d->runnerClassCount = count;
    if (d->hasOwnSpy() && d->spyClassCount != count) {
        send(unsigned(d->spyId), QStringLiteral("registerClasses"),
             {ownId(), ObjectHandles::classesFrom(d->spyClassCount)});
        d->spyClassCount = count;
    }
}

void Hook::registerNamespace(Namespace *ns)
{
    if (ns && d->ipc)
        sendToRunnerAndSpy(QStringLiteral("registerNamespace"), {ownId(), serialized(*ns)});
}

void Hook::registerGlobalMethod(const Method *method)
{
    if (method && d->ipc)
        sendToRunnerAndSpy(QStringLiteral("registerGlobalMethod"), {ownId(), serialized(*method)});
}

} // namespace Tolvex
