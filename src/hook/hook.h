#pragma once

#include "delegate.h"
#include "ipc.h"

#include <QByteArray>
#include <QObject>
#include <QPointer>
#include <QTimer>

#include <memory>

class FSocket;

namespace Tolvex {

class AUTProcess;
class ObjectHandles;
class ObjectMap;
class PlatformPlugin;
class TestDataStore;
class Wrapper;
struct HookData;

// The one agent object of a process under test: the AUT's end of the
// connection to the tool's server. It announces the application, holds it
// until the test side is ready, and keeps it alive at exit until the server
// has finished with it.
class Hook : public QObject, public IPCResponseHandlerIface, public EventNotifyDelegate
{
    Q_OBJECT
public:
    static constexpr int ExitWaitMs = 1000;

    // Reads the environment, connects, shakes hands and builds the Hook,
    // which hooks up before this returns. Without a runner id the Hook is a
    // local object that sends nothing. Null when a handler deleted the Hook
    // while it was hooking up.
    static Hook *connectAndCreateHook(Wrapper *wrapper, AUTProcess *autProcess,
                                      PlatformPlugin *platformPlugin, int wrapperArgument);
    // The same over a socket that is already connected; takes the socket.
    static Hook *createHookForConnection(FSocket *socket, Wrapper *wrapper, AUTProcess *autProcess,
                                         PlatformPlugin *platformPlugin, int wrapperArgument);
    static Hook *instance();

    // An empty, a single "0" or an unset TOLVEX_NO_CRASHHANDLER wants it.
    static bool crashHandlerWanted();

    ~Hook() override;

    void addWrapper(Wrapper *wrapper);
    QList<Wrapper *> wrappers() const;
    // Called by the wrapper once its own start-up is complete.
    void completeHookUp();
    // With a null name, that of the first wrapper.
    void requestDescriptorData(const QString &wrapperName);

    IPC *ipc() const { return m_ipc; }
    int runnerID() const { return m_runnerId; }
    int spyID() const { return m_spyId < 0 ? m_runnerId : m_spyId; }
    int recorderID() const { return m_recorderId; }
    bool initializationCompleted() const { return m_initDone; }
    bool isSubProcess() const { return m_subProcess; }
    bool isAttached() const { return m_attached; }
    void setAttached(bool attached) { m_attached = attached; }
    int waitForExitDepth() const { return m_waitForExitDepth; }
    ObjectMap *objectMap() const { return m_objectMap.get(); }
    ObjectHandles &objectHandles() const;
    TestDataStore &testData() const;
    AUTProcess *autProcess() const { return m_autProcess; }
    int wrapperArgument() const { return m_wrapperArgument; }

    using IPCResponseHandlerIface::handleCall;
    QVariant handleCall(unsigned sender, const QString &function,
                        const ArgumentList &args) override;
    void handleSend(unsigned sender, const QString &function, const ArgumentList &args) override;
    void eventRecorded(const EventData &data) override;

Q_SIGNALS:
    void notifyEventRecordingEnabled(bool on);
    void exitReceived();
    void initDoneReceived();
    void exitDoneReceived();
    void objectDescriptorDataReceived(const QByteArray &data);

public Q_SLOTS:
    void notifyApplicationExit();
    void exitWaitTimeout();
    void deleteHook();

private:
    Hook(IPC *ipc, int runnerId, Wrapper *wrapper, AUTProcess *autProcess,
         PlatformPlugin *platformPlugin, int wrapperArgument);

    static Hook *construct(IPC *ipc, int runnerId, Wrapper *wrapper, AUTProcess *autProcess,
                           PlatformPlugin *platformPlugin, int wrapperArgument);
    // False when the Hook was deleted on the way; then no member may be touched.
    bool hookUp();
    void finalizeHookUp();
    void writeEventQueue();
    void kill();
    void close();
    void endRecordAndExit();
    void cleanup();
    QVariant callFunction(int id, const ArgumentList &args);
    QVariant autInfo(const ArgumentList &args) const;

    std::unique_ptr<HookData> d;
    QPointer<IPC> m_ipc;
    int m_runnerId;
    int m_spyId = -1;
    int m_recorderId = -1;
    int m_waitForExitDepth = 0;
    bool m_initDone = false;
    QTimer m_exitWaitTimer;
    std::unique_ptr<ObjectMap> m_objectMap;
    bool m_subProcess = false;
    bool m_exitMessageSent = false;
    bool m_attached = false;
    bool m_exitNotified = false;
    AUTProcess *m_autProcess;
    int m_wrapperArgument;

    static Hook *s_instance;
};

} // namespace Tolvex
