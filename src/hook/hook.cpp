#include "hook.h"

#include "autprocess.h"
#include "classregistrar.h"
#include "hookdata_p.h"
#include "hookenvironment_p.h"
#include "inspector.h"
#include "ipc.h"
#include "logging.h"
#include "mirtinterface.h"
#include "nativeinterface.h"
#include "nullmessagechannel.h"
#include "objectmap.h"
#include "platformplugin.h"
#include "tcpmessagechannel.h"
#include "windowfunctions_p.h"
#include "wrapper.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>

#include <cstdio>
#include <cstdlib>

namespace Tolvex {

using namespace HookEnvironment;

Hook *Hook::s_instance = nullptr;

namespace {

Launcher *s_launcher = nullptr;

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
    : d(std::make_unique<HookData>())
{
    d->ipc = ipc;
    d->runnerId = runnerId;
    d->autProcess = autProcess;
    d->wrapperArgument = wrapperArgument;
    d->platformPlugin = platformPlugin;
    // Commands and the highlighter reach the plug-in through this.
    if (platformPlugin)
        PlatformPlugin::setCurrent(platformPlugin);
    d->exitWaitTimer.setSingleShot(true);
    d->highlightTimer.setSingleShot(true);
    d->screen = SharedPtr<Screen>(new StandardScreen);

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
    connect(&d->exitWaitTimer, &QTimer::timeout, this, &Hook::exitWaitTimeout);
    connect(&d->highlightTimer, &QTimer::timeout, this, &Hook::highlighterTimeout);
    connect(ipc, &AsyncIPC::connectionClosed, this, &Hook::deleteHook);
    connect(ipc, &AsyncIPC::peerGone, this, &Hook::onIPCPeerGone);
    registerWindowAndScreenFunctions();

    if (runnerId > 0 && !hookUp())
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
    d->objectMap.reset();
    delete d->autProcess;
    d->autProcess = nullptr;
    cleanupTestData();
    if (s_instance == this) {
        s_instance = nullptr;
        ClassRegistrar::setBatchHandler(nullptr);
    }
    if (d->platformPlugin && PlatformPlugin::current() == d->platformPlugin)
        PlatformPlugin::setCurrent(nullptr);
    d->objects.clearObjectDict();
    clearBinaryTransmissions();
    Inspector *inspector = Inspector::self();
    inspector->clearEventHandlers();
    if (inspector->eventNotifyDelegate() == this)
        inspector->setEventNotifyDelegate(nullptr);
    // The endpoint dies with the QObject children, after this Hook's own
    // parts are gone: it must not hand anything to them in between.
    if (d->ipc)
        d->ipc->setResponseHandler(nullptr);
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

IPC *Hook::ipc() const
{
    return d->ipc;
}

int Hook::runnerID() const
{
    return d->runnerId;
}

int Hook::spyID() const
{
    return d->spyId < 0 ? d->runnerId : d->spyId;
}

int Hook::recorderID() const
{
    return d->recorderId;
}

bool Hook::initializationCompleted() const
{
    return d->initDone;
}

bool Hook::isSubProcess() const
{
    return d->subProcess;
}

bool Hook::isAttached() const
{
    return d->attached;
}

void Hook::setAttached(bool attached)
{
    d->attached = attached;
}

int Hook::waitForExitDepth() const
{
    return d->waitForExitDepth;
}

ObjectMap *Hook::objectMap() const
{
    return d->objectMap.get();
}

ObjectHandles &Hook::objectHandles() const
{
    return d->objects;
}

TestDataStore &Hook::testData() const
{
    return d->testData;
}

AUTProcess *Hook::autProcess() const
{
    return d->autProcess;
}

PlatformPlugin *Hook::platformPlugin() const
{
    return d->platformPlugin;
}

NativeInterface *Hook::nativeInterface() const
{
    return d->platformPlugin ? d->platformPlugin->nativeInterface() : nullptr;
}

int Hook::wrapperArgument() const
{
    return d->wrapperArgument;
}

SharedPtr<Screen> Hook::screen() const
{
    return d->screen;
}

void Hook::setScreen(SharedPtr<Screen> screen)
{
    if (screen)
        d->screen = std::move(screen);
}

bool Hook::keyPress(const QString &key, bool press)
{
    Inspector *inspector = Inspector::self();
    if (key.isEmpty()) {
        inspector->setError(QStringLiteral("Empty key press requested"));
        return false;
    }
    QString inner = key;
    if (key.size() > 1) {
        if (!key.startsWith(QLatin1Char('<')) || !key.endsWith(QLatin1Char('>'))) {
            inspector->setError(
                QStringLiteral("Single character or special key between angular brackets "
                               "expected"));
            return false;
        }
        inner = key.mid(1, key.size() - 2);
    }
    NativeInterface *native = nativeInterface();
    const FunctionCallResult<void> pressed =
        native ? native->keyboardPressRelease(inner, press)
               : FunctionCallResult<void>::failure(PlatformPlugin::notSetMessage());
    if (pressed.isError()) {
        inspector->setError(pressed.error);
        return false;
    }
    return true;
}

void Hook::setAnimateMouseMove(bool animate)
{
    d->animateMouseMove = animate;
}

bool Hook::animateMouseMove() const
{
    return d->animateMouseMove;
}

int Hook::namingScheme() const
{
    return d->namingScheme;
}

int Hook::asyncCallDepth() const
{
    return d->asyncCallDepth;
}

bool Hook::isGuiBlocked() const
{
    return d->guiBlocked;
}

bool Hook::isInspecting() const
{
    return d->inspecting;
}

int Hook::testSuiteVersion() const
{
    return d->testSuiteVersion;
}

void Hook::setLauncher(Launcher *launcher)
{
    s_launcher = launcher;
}

Launcher *Hook::launcher()
{
    return s_launcher;
}

void Hook::cleanupTestData()
{
    d->testData.cleanup();
    Q_EMIT cleanUpTestData();
}

void Hook::onIPCPeerGone(FUInt32)
{
    // The binary transmissions of that peer are dropped here once streams exist.
}

bool Hook::hookUp()
{
    const int appId = readAppId(-1);
    TOLVEX_TRACE_HOOK() << "Starting hookup"
                        << "runnerId:" << d->runnerId << " appId:" << appId;
    d->subProcess = ownId() != appId;

    const QString record = environmentValue("TOLVEX_RECORD");
    if (record.isEmpty())
        logLine(QStringLiteral("TOLVEX_RECORD was not set or set to a null string"));
    else
        Inspector::self()->setEventRecordingEnabled(record.toInt() != 0);

    if (crashHandlerWanted()) {
        // Crash notification installs its handler here once it exists.
    }

    if (broadcast(QStringLiteral("log"),
                  {d->runnerId, QStringLiteral("\tApplication connected...")}) < 0) {
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
    while (!d->initDone) {
        const FunctionCallResult<QByteArray> waited =
            d->ipc ? d->ipc->waitForSingleMessage(-1)
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
    const bool dispatched = d->ipc && d->ipc->dispatchMessages();
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
              {d->recorderOrRunnerId(), QStringLiteral("\tHook-up completed...")});
}

void Hook::requestDescriptorData(const QString &wrapperName)
{
    QString name = wrapperName;
    if (name.isNull() && !d->wrappers.isEmpty() && d->wrappers.first())
        name = d->wrappers.first()->wrapperName();
    if (send(QStringLiteral("requestDescriptorData"), {ownId(), name}) < 0)
        logLine(QStringLiteral("Request for descriptor data could not be sent"));
}

void Hook::notifyApplicationExit()
{
    if (d->exitNotified)
        return;
    d->exitNotified = true;
    TOLVEX_TRACE_HOOK() << "Notifying about AUT (possible) AUT shutdown";
    cleanupTestData();
    if (!d->ipc || !d->ipc->isOpen())
        return;
    QPointer<Hook> guard(this);
    writeEventQueue();
    if (!guard)
        return;

    const Inspector *inspector = Inspector::self();
    // A recorder may still be collecting events: then only the server ends
    // the wait.
    if (!(inspector->isEventRecordingEnabled() && inspector->eventNotifyDelegate()))
        d->exitWaitTimer.start(ExitWaitMs);
    const int depth = ++d->waitForExitDepth;

    for (;;) {
        if (!d->ipc || !d->ipc->dispatchMessages() || !guard)
            break;
        waitForEvents(100);
        if (!s_instance || !guard)
            return;
        if (depth > d->waitForExitDepth)
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
        if (d->ipc)
            d->ipc->dispatchMessages();
        if (!guard)
            return;
    }
}

void Hook::writeEventQueue()
{
    if (d->exitMessageSent || !d->ipc)
        return;
    d->exitMessageSent = true;
    // The binary transmissions are dropped here with the streams.
    const ArgumentList args{ownId()};
    const QString function = QStringLiteral("appAboutToExit");
    if (d->hasOwnSpy())
        send(unsigned(d->spyId), function, args);
    if (d->hasOwnRecorder())
        send(unsigned(d->recorderId), function, args);
    send(function, args);
}

void Hook::exitWaitTimeout()
{
    TOLVEX_TRACE_HOOK() << "Reached exit wait timeout"
                        << ", "
                        << "wait_for_exit_depth"
                        << "=" << d->waitForExitDepth;
    // A stray exitDone outside a wait must not make the next wait end early.
    if (d->waitForExitDepth > 0)
        --d->waitForExitDepth;
    d->exitWaitTimer.stop();
    // Nested waits unwind one per tick.
    if (d->waitForExitDepth > 0)
        d->exitWaitTimer.start(1);
}

void Hook::kill()
{
    TOLVEX_TRACE_HOOK() << "Received kill request"
                        << "wait_for_exit_depth" << d->waitForExitDepth << "attachedToAut"
                        << d->attached;
    MirtInterface::saveAll();
    if (d->waitForExitDepth > 0) {
        // The application is already leaving: let the exit wait go.
        exitWaitTimeout();
        return;
    }
    const bool attached = d->attached;
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
    const bool attached = d->attached;
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
                        << "wait_for_exit_depth" << d->waitForExitDepth << "attachedToAut"
                        << d->attached;
    MirtInterface::saveAll();
    // The binary transmissions are dropped here with the streams.
    if (d->ipc)
        d->ipc->closeSocket();
    QTimer::singleShot(0, this, &Hook::deleteHook);
}

void Hook::deleteHook()
{
    if (d->waitForExitDepth >= 1) {
        TOLVEX_TRACE_HOOK() << "Skipping deletion due active IPC call, "
                            << "wait_for_exit_depth" << d->waitForExitDepth;
        return;
    }
    if (d->sendDepth > 0) {
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
