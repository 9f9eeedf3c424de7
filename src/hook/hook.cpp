#include "hook.h"

#include "remotefunctiontable.h"

#include "autprocess.h"
#include "classregistrar.h"
#include "hookdata_p.h"
#include "hookenvironment_p.h"
#include "inspector.h"
#include "ipc.h"
#include "mirtinterface.h"
#include "nullmessagechannel.h"
#include "objectmap.h"
#include "tcpmessagechannel.h"
#include "trace.h"
#include "wrapper.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>

#include <cstdio>
#include <cstdlib>
#include <iostream>

namespace Tolvex {

using namespace HookEnvironment;

Hook *Hook::s_instance = nullptr;

namespace {

constexpr qint32 AUTClientKind = 4;

IPC *unconnectedIPC()
{
    return new IPC(new NullMessageChannel, ClientData(), nullptr);
}

// A failed connection still gets a Hook with the runner id: its hook-up then
// fails at the first send and closes, the way a lost server is handled.
IPC *endpointOrFallback(const FunctionCallResult<IPC *> &connected)
{
    if (connected.isSuccess() && connected.value)
        return connected.value;
    logLine(connected.error);
    delete connected.value;
    return unconnectedIPC();
}

ClientData clientDataFor(int appId, int runnerId, const AUTProcess *autProcess)
{
    ClientData data;
    data.appId = appId;
    data.runnerId = runnerId;
    data.clientKind = AUTClientKind;
    data.clientName = autProcess ? autProcess->name() : QString();
    return data;
}

// QCoreApplication::processEvents with a time limit drops WaitForMoreEvents
// and would spin; a timer bounds the blocking form instead.
void waitForEvents(int ms)
{
    QTimer wake;
    wake.setSingleShot(true);
    wake.start(qMax(0, ms));
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

} // namespace

Hook *Hook::connectAndCreateHook(Wrapper *wrapper, AUTProcess *autProcess,
                                 PlatformPlugin *platformPlugin, int wrapperArgument)
{
    const int runnerId = readRunnerId();
    if (runnerId <= 0)
        return construct(unconnectedIPC(), -1, wrapper, autProcess, platformPlugin,
                         wrapperArgument);

    const QString host = readServerAddress();
    const quint16 port = readServerPort();
    // Unset, the application id is 0 here but -1 for a connection the
    // application made itself: servers tell the two apart by it.
    const int appId = readAppId(0);

    IPC *ipc =
        endpointOrFallback(IPC::connectTo(host, port, clientDataFor(appId, runnerId, autProcess)));
    return construct(ipc, runnerId, wrapper, autProcess, platformPlugin, wrapperArgument);
}

Hook *Hook::createHookForConnection(FSocket *socket, Wrapper *wrapper, AUTProcess *autProcess,
                                    PlatformPlugin *platformPlugin, int wrapperArgument)
{
    const int runnerId = readRunnerId();
    const int appId = readAppId(-1);
    IPC *ipc = endpointOrFallback(
        IPC::connectTo(new TCPMessageChannel(socket), clientDataFor(appId, runnerId, autProcess)));
    return construct(ipc, runnerId, wrapper, autProcess, platformPlugin, wrapperArgument);
}

Hook *Hook::construct(IPC *ipc, int runnerId, Wrapper *wrapper, AUTProcess *autProcess,
                      PlatformPlugin *platformPlugin, int wrapperArgument)
{
    // The constructor hooks up, and a handler served meanwhile may delete the
    // Hook; the instance pointer is what tells whether it survived.
    new Hook(ipc, runnerId, wrapper, autProcess, platformPlugin, wrapperArgument);
    return s_instance;
}

Hook *Hook::instance()
{
    return s_instance;
}

bool Hook::crashHandlerWanted()
{
    const QString value = environmentValue("TOLVEX_NO_CRASHHANDLER");
    return value.isEmpty() || value == QLatin1String("0");
}

Hook::Hook(IPC *ipc, int runnerId, Wrapper *wrapper, AUTProcess *autProcess,
           PlatformPlugin *platformPlugin, int wrapperArgument)
    : d(std::make_unique<HookData>()), m_ipc(ipc), m_runnerId(runnerId),
      m_objectMap(std::make_unique<ObjectMap>()), m_autProcess(autProcess),
      m_wrapperArgument(wrapperArgument)
{
    d->platformPlugin = platformPlugin;
    m_exitWaitTimer.setSingleShot(true);
    // The StandardScreen is created here once the screen subsystem exists.

    ipc->setResponseHandler(this);
    ipc->setParent(this);
    d->eventCompression.insert(QStringLiteral("*"), true);
    // A wrapper may come later through addWrapper; a null one is not entered,
    // so that an agent without a toolkit has an empty list.
    if (wrapper)
        addWrapper(wrapper);
    s_instance = this;

    Inspector::self()->setEventNotifyDelegate(this);
    ClassRegistrar::setBatchHandler(&Hook::sendLateClasses);
    connect(&m_exitWaitTimer, &QTimer::timeout, this, &Hook::exitWaitTimeout);
    connect(ipc, &AsyncIPC::connectionClosed, this, &Hook::deleteHook);
    // The endpoint's peerGone drops the binary transmissions of that peer once
    // the streams exist.
    // The screen global methods are registered here, once per process, with
    // the screen subsystem.

    if (m_runnerId > 0 && !hookUp())
        return;
    // The highlight timer is connected here, behind the hook-up, with the
    // highlight calls.
}

Hook::~Hook()
{
    cleanup();
}

void Hook::cleanup()
{
    // The crash handler is uninstalled here when crashHandlerWanted(), once
    // crash notification exists.
    m_objectMap.reset();
    delete m_autProcess;
    m_autProcess = nullptr;
    d->testData.cleanup();
    if (s_instance == this) {
        s_instance = nullptr;
        ClassRegistrar::setBatchHandler(nullptr);
    }
    d->objects.clearObjectDict();
    // The binary transmissions are dropped here with the streams.
    Inspector *inspector = Inspector::self();
    inspector->clearEventHandlers();
    if (inspector->eventNotifyDelegate() == this)
        inspector->setEventNotifyDelegate(nullptr);
    // The endpoint dies with the QObject children, after this Hook's own
    // parts are gone: it must not hand anything to them in between.
    if (m_ipc)
        m_ipc->setResponseHandler(nullptr);
    d.reset();
}

void Hook::addWrapper(Wrapper *wrapper)
{
    if (!wrapper || d->wrappers.contains(wrapper))
        return;
    d->wrappers.append(wrapper);
    // Every wrapper hears the descriptor data and the recording switch, also
    // one that comes after hook-up.
    connect(this, &Hook::objectDescriptorDataReceived, wrapper, &Wrapper::parseDescriptorData);
    connect(this, &Hook::notifyEventRecordingEnabled, wrapper,
            &Wrapper::notifyEventRecordingEnabled);
}

QList<Wrapper *> Hook::wrappers() const
{
    QList<Wrapper *> living;
    for (Wrapper *wrapper : d->wrappers)
        if (wrapper)
            living.append(wrapper);
    return living;
}

ObjectHandles &Hook::objectHandles() const
{
    return d->objects;
}

TestDataStore &Hook::testData() const
{
    return d->testData;
}

bool Hook::hookUp()
{
    const int appId = readAppId(-1);
    TOLVEX_TRACE_HOOK() << "Starting hookup"
                        << "runnerId:" << m_runnerId << " appId:" << appId;
    m_subProcess = m_ipc->appId() != appId;

    const QString record = environmentValue("TOLVEX_RECORD");
    if (record.isEmpty())
        logLine(QStringLiteral("TOLVEX_RECORD was not set or set to a null string"));
    else
        Inspector::self()->setEventRecordingEnabled(record.toInt() != 0);

    if (crashHandlerWanted()) {
        // Crash notification installs its handler here once it exists.
    }

    if (broadcast(QStringLiteral("log"),
                  {m_runnerId, QStringLiteral("\tApplication connected...")}) < 0) {
        logLine(QStringLiteral("Could not send broadcast message to server, aborting hookup"));
        close();
        return true;
    }
    broadcast(QStringLiteral("subprocessHooked"), {ownId()});
    // From here on foreign code runs: the wrapper, then every message served.
    QPointer<Hook> guard(this);
    if (!d->wrappers.isEmpty())
        requestDescriptorData(QString());
    if (!guard)
        return false;

    TOLVEX_TRACE_HOOK() << "Waiting for AUT initialization to finish on remote side";
    while (!m_initDone) {
        const FunctionCallResult<QByteArray> waited =
            m_ipc ? m_ipc->waitForSingleMessage(-1)
                  : FunctionCallResult<QByteArray>::failure(QStringLiteral("Connection is gone"));
        if (waited.isError())
            logLine(waited.error + QStringLiteral(" during AUT initialization, aborting hookup"));
        if (!guard) {
            TOLVEX_TRACE_HOOK() << "Hook deleted during AUT initialization, aborting hookup";
            return false;
        }
        if (waited.isError()) {
            close();
            return true;
        }
    }
    TOLVEX_TRACE_HOOK() << "AUT initialization on remote side finished";
    const bool dispatched = m_ipc && m_ipc->dispatchMessages();
    if (!guard)
        return false;
    if (dispatched)
        finalizeHookUp();
    return true;
}

void Hook::finalizeHookUp()
{
    TOLVEX_TRACE_HOOK() << "Finished hookup";
}

void Hook::completeHookUp()
{
    TOLVEX_TRACE_HOOK() << "Hooking completed";
    if (QCoreApplication *app = QCoreApplication::instance())
        connect(app, &QCoreApplication::aboutToQuit, this, &Hook::notifyApplicationExit,
                Qt::UniqueConnection);
    broadcast(QStringLiteral("log"),
              {recorderOrRunnerId(), QStringLiteral("\tHook-up completed...")});
}

void Hook::requestDescriptorData(const QString &wrapperName)
{
    QString name = wrapperName;
    if (name.isNull() && !d->wrappers.isEmpty() && d->wrappers.first())
        name = d->wrappers.first()->wrapperName();
    if (send(QStringLiteral("requestDescriptorData"), {ownId(), name}) < 0)
        logLine(QStringLiteral("Request for descriptor data could not be sent"));
}

void Hook::handleSend(unsigned sender, const QString &function, const ArgumentList &args)
{
    TOLVEX_TRACE_HOOK() << "Processing IPC send"
                        << "sender" << sender << "func" << function << "args.size()"
                        << args.count();
    const int id = RemoteFunctionTable::id(function);
    const RemoteFunctionInfo *f = RemoteFunctionTable::info(id);
    // Names that are not sends are dropped without a word.
    if (!f || f->kind != RemoteFunctionInfo::Send)
        return;
    if (!f->acceptsArgumentCount(args.count())) {
        logLine(RemoteFunctionTable::wrongCountMessage(id, "handleSend"));
        return;
    }
    // Everything after an emit may run on a deleted Hook: each branch ends there.
    switch (id) {
    case RemoteFunction::RemoteObjectDestroyed:
        objectHandles().remoteObjectDestroyed(args.value(0).toInt());
        break;
    case RemoteFunction::InitDone:
        m_initDone = true;
        Q_EMIT initDoneReceived();
        break;
    case RemoteFunction::ExitDone:
        if (!m_attached)
            exitWaitTimeout();
        Q_EMIT exitDoneReceived();
        break;
    case RemoteFunction::TestDataCleanup:
        testData().cleanup();
        break;
    case RemoteFunction::Kill:
        kill();
        break;
    case RemoteFunction::SetSpyId:
        m_spyId = args.value(0).toInt();
        break;
    case RemoteFunction::EndRecordAndExit:
        endRecordAndExit();
        break;
    case RemoteFunction::Close:
        close();
        break;
    case RemoteFunction::SetRunnerId:
        // Only a hook in a subprocess answers to another runner.
        if (m_subProcess)
            m_runnerId = args.value(0).toInt();
        break;
    case RemoteFunction::SetRecorderId:
        m_recorderId = args.value(0).toInt();
        break;
    case RemoteFunction::SendEvent:
        sendEvent(args);
        break;
    case RemoteFunction::BlockGUI:
        m_guiBlocked = args.value(0).toBool();
        Q_EMIT guiBlockedChanged(m_guiBlocked);
        break;
    case RemoteFunction::SetObjectMap:
        setObjectMap(args.value(0).toString());
        break;
    case RemoteFunction::SetEventRecordingEnabled:
        setEventRecordingEnabled(args.value(0).toBool());
        break;
    case RemoteFunction::SetDisableEventCompression:
        setDisableEventCompression();
        break;
    case RemoteFunction::RequestAnswer:
        send(QStringLiteral("answer"), {});
        break;
    case RemoteFunction::NamingScheme:
        setNamingScheme(args.value(0).toInt());
        break;
    case RemoteFunction::ObjectDescriptorData:
        addObjectDescriptorData(args.value(0).toByteArray());
        break;
    case RemoteFunction::StopRecord:
        stopRecord();
        break;
    case RemoteFunction::Inspecting:
        m_inspecting = args.value(0).toBool();
        Q_EMIT inspectingChanged(m_inspecting);
        break;
    case RemoteFunction::TestSuiteVersion:
        m_testSuiteVersion = args.value(0).toInt();
        break;
    default:
        // Spying, highlighting and streams come with their subsystems.
        break;
    }
}

void Hook::notifyApplicationExit()
{
    if (m_exitNotified)
        return;
    m_exitNotified = true;
    TOLVEX_TRACE_HOOK() << "Notifying about AUT (possible) AUT shutdown";
    d->testData.cleanup();
    if (!m_ipc || !m_ipc->isOpen())
        return;
    writeEventQueue();

    const Inspector *inspector = Inspector::self();
    // A recorder may still be collecting events: then only the server ends
    // the wait.
    if (!(inspector->isEventRecordingEnabled() && inspector->eventNotifyDelegate()))
        m_exitWaitTimer.start(ExitWaitMs);
    const int depth = ++m_waitForExitDepth;

    QPointer<Hook> guard(this);
    for (;;) {
        if (!m_ipc || !m_ipc->dispatchMessages() || !guard)
            break;
        waitForEvents(100);
        if (!s_instance || !guard)
            return;
        if (depth > m_waitForExitDepth)
            break;
    }
    if (!guard)
        return;

    // Whatever the server still sends as the application leaves is served.
    QElapsedTimer grace;
    grace.start();
    while (grace.elapsed() < ExitWaitMs) {
        waitForEvents(int(ExitWaitMs - grace.elapsed()));
        if (!s_instance || !guard)
            return;
        if (m_ipc)
            m_ipc->dispatchMessages();
        if (!guard)
            return;
    }
}

void Hook::writeEventQueue()
{
    if (m_exitMessageSent || !m_ipc)
        return;
    m_exitMessageSent = true;
    // The binary transmissions are dropped here with the streams.
    const ArgumentList args{ownId()};
    const QString function = QStringLiteral("appAboutToExit");
    if (hasOwnSpy())
        send(unsigned(m_spyId), function, args);
    if (hasOwnRecorder())
        send(unsigned(m_recorderId), function, args);
    send(function, args);
}

void Hook::exitWaitTimeout()
{
    TOLVEX_TRACE_HOOK() << "Reached exit wait timeout"
                        << ", "
                        << "wait_for_exit_depth"
                        << "=" << m_waitForExitDepth;
    // A stray exitDone outside a wait must not make the next wait end early.
    if (m_waitForExitDepth > 0)
        --m_waitForExitDepth;
    m_exitWaitTimer.stop();
    // Nested waits unwind one per tick.
    if (m_waitForExitDepth > 0)
        m_exitWaitTimer.start(1);
}

void Hook::kill()
{
    TOLVEX_TRACE_HOOK() << "Received kill request"
                        << "wait_for_exit_depth" << m_waitForExitDepth << "attachedToAut"
                        << m_attached;
    MirtInterface::saveAll();
    if (m_waitForExitDepth > 0) {
        // The application is already leaving: let the exit wait go.
        exitWaitTimeout();
        return;
    }
    const bool attached = m_attached;
    d->objects.clearObjectDict();
    Q_EMIT exitReceived();
    if (attached)
        return;
    if (s_instance && !s_instance->d->wrappers.isEmpty() && s_instance->d->wrappers.first()) {
        s_instance->d->wrappers.first()->exitAUT(0);
        return;
    }
    std::fflush(nullptr);
    std::exit(0);
}

void Hook::endRecordAndExit()
{
    d->objects.clearObjectDict();
    const bool attached = m_attached;
    QPointer<Hook> guard(this);
    Q_EMIT exitReceived();
    if (attached) {
        if (guard)
            writeEventQueue();
        return;
    }
    if (!s_instance)
        return;
    if (!s_instance->d->wrappers.isEmpty() && s_instance->d->wrappers.first()) {
        s_instance->d->wrappers.first()->exitAUT(0);
        return;
    }
    std::fflush(nullptr);
    std::exit(0);
}

void Hook::close()
{
    TOLVEX_TRACE_HOOK() << "Going to close IPC connection"
                        << "wait_for_exit_depth" << m_waitForExitDepth << "attachedToAut"
                        << m_attached;
    MirtInterface::saveAll();
    // The binary transmissions are dropped here with the streams.
    if (m_ipc)
        m_ipc->closeSocket();
    QTimer::singleShot(0, this, &Hook::deleteHook);
}

void Hook::deleteHook()
{
    if (m_waitForExitDepth >= 1) {
        TOLVEX_TRACE_HOOK() << "Skipping deletion due active IPC call, "
                            << "wait_for_exit_depth" << m_waitForExitDepth;
        return;
    }
    if (d && d->sendDepth > 0) {
        // The connection ended inside one of our own sends: whoever made it
        // still holds this Hook, which goes once control is back in the loop.
        TOLVEX_TRACE_HOOK() << "Deferring deletion until the send in progress returns";
        QTimer::singleShot(0, this, &Hook::deleteHook);
        return;
    }
    TOLVEX_TRACE_HOOK() << "Deleting Hook";
    // The destructor clears the instance pointer.
    delete this;
}

} // namespace Tolvex
