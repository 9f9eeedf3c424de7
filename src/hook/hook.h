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
class Method;
class Namespace;
class ObjectList;
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

    // The first wrapper, in the order they were added, that owns the object.
    Wrapper *wrapperForObject(SharedPtr<Object> object) const;

    // Lookup with readiness. None of them waits: a null answer means "not
    // (yet) there or not ready", the server retries, and the Inspector's
    // error tells why.
    SharedPtr<Object> objectFind(const QString &name);
    SharedPtr<Object> getObjectIfReady(const QString &name);
    SharedPtr<Object> getObjectIfReady(SharedPtr<Object> object);
    SharedPtr<Object> getObjectItemIfReady(const QString &name, const QString &text);
    SharedPtr<Object> getObjectItemIfReady(SharedPtr<Object> object, const QString &text);
    SharedPtr<Object> getObjectItemIfReady(const QString &name, int row, int column);
    SharedPtr<Object> getObjectItemIfReady(SharedPtr<Object> object, int row, int column);

    // Names. A new object map invalidates every wrapper's reused names.
    void setObjectMap(const QString &text);
    void addToObjectMap(const QString &realName, const QString &symbolicName);
    // The multi-property name of the object a name finds, under a naming
    // scheme; the name unchanged when it finds nothing.
    QString convertName(const QString &name, int scheme);
    int namingScheme() const { return m_namingScheme; }
    void setNamingScheme(int scheme);
    void addObjectDescriptorData(const QByteArray &data);

    // Recording. Events go to the recorder if there is one, else to the runner.
    void recordEvent(const EventData &data);
    void logEvent(const EventData &data);
    void logResult(int resultType, const QString &text);
    void setEventRecordingEnabled(bool on);
    void enableEventCompression(const QString &event, bool on);
    bool eventCompressionEnabled(const QString &event);
    void setDisableEventCompression();
    void stopRecord();

    // Calls into the running test script.
    void sendCallBack(const QString &handler, const ObjectList &objects);
    void pauseExecution();
    // A wrapper call that finishes later: the script waits from begin to finish.
    void beginAsyncCall();
    void finishAsyncCallWithResult(SharedPtr<Object> result);
    void finishAsyncVoidCall(bool withoutResult);
    int asyncCallDepth() const { return m_asyncCallDepth; }

    // Classes and namespaces made after the server read them all.
    void registerClasses(int firstId);
    void registerNamespace(Namespace *ns);
    void registerGlobalMethod(const Method *method);

    // The one call the agent makes on the server and waits for: the
    // environment the test side wants processes to start with. Messages that
    // arrive meanwhile are served. Empty when the server cannot answer.
    QStringList getClientEnvironment();
    // Sends to the runner, or to a given peer; the transaction id, or -1.
    int send(const QString &function, const ArgumentList &args);
    int send(unsigned destination, const QString &function, const ArgumentList &args);
    int asyncCall(unsigned destination, const QString &function, const ArgumentList &args,
                  ResponseListener<ArgumentList> *listener);

    bool isGuiBlocked() const { return m_guiBlocked; }
    bool isInspecting() const { return m_inspecting; }
    int testSuiteVersion() const { return m_testSuiteVersion; }

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
    void namingSchemeChanged(int scheme);
    // A script installed a handler for this event: wrappers start watching it.
    void eventHandlerRegistered(const QString &event);
    void guiBlockedChanged(bool blocked);
    void inspectingChanged(bool inspecting);

public Q_SLOTS:
    void notifyApplicationExit();
    void exitWaitTimeout();
    void deleteHook();

private:
    Hook(IPC *ipc, int runnerId, Wrapper *wrapper, AUTProcess *autProcess,
         PlatformPlugin *platformPlugin, int wrapperArgument);

    // The end of a ClassRegistrar batch: the classes the runner lacks go out.
    static void sendLateClasses();
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
    QVariant installEventHandler(int function, const ArgumentList &args);
    void sendEvent(const ArgumentList &args);
    // A recorder or spy id equal to the runner's is no peer of its own.
    bool hasOwnRecorder() const { return m_recorderId >= 0 && m_recorderId != m_runnerId; }
    bool hasOwnSpy() const { return m_spyId >= 0 && m_spyId != m_runnerId; }
    // Who recording traffic is for: the recorder if there is one, else the runner.
    int recorderOrRunnerId() const { return hasOwnRecorder() ? m_recorderId : m_runnerId; }
    // Sends to the recorder if there is a real one, else to the runner.
    void sendToRecorder(const QString &function, const ArgumentList &args);
    int broadcast(const QString &function, const ArgumentList &args);
    // The endpoint's own address, which the server knows this application by.
    int ownId() const;
    void sendToRunnerAndSpy(const QString &function, const ArgumentList &args);

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
    int m_namingScheme = 0;
    int m_asyncCallDepth = 0;
    int m_testSuiteVersion = 0;
    bool m_guiBlocked = false;
    bool m_inspecting = false;
    QString m_lastLogged;

    static Hook *s_instance;
};

} // namespace Tolvex
