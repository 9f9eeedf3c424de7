#pragma once

#include "delegate.h"
#include "ftypes.h"
#include "ipcresponsehandler.h"
#include "tolvexexport.h"

#include <QByteArray>
#include <QObject>
#include <QStringList>
#include <QVariant>

#include <memory>

class FSocket;

namespace Tolvex {

class AUTProcess;
class BinaryStream;
class BinaryTransmission;
class IPC;
class Launcher;
class Method;
class Namespace;
class NativeInterface;
class ObjectList;
class ObjectHandles;
class ObjectMap;
class PlatformPlugin;
class Screen;
class TestDataStore;
class Wrapper;
struct HookData;
struct SpyObject;

// The one agent object of a process under test: the AUT's end of the
// connection to the tool's server. It announces the application, holds it
// until the test side is ready, serves the server's remote functions, and
// keeps the application alive at exit until the server has finished with it.
class TOLVEX_EXPORT Hook : public QObject,
                           public IPCResponseHandlerIface,
                           public EventNotifyDelegate
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
    // The launcher that serves "launcherInit" in an application that starts
    // others; not owned.
    static void setLauncher(Launcher *launcher);
    static Launcher *launcher();

    // An empty, a single "0" or an unset TOLVEX_NO_CRASHHANDLER wants it.
    static bool crashHandlerWanted();

    ~Hook() override;

    void addWrapper(Wrapper *wrapper);
    QList<Wrapper *> wrappers() const;
    // Called by the wrapper once its own start-up is complete.
    void completeHookUp();
    // With a null name, that of the first wrapper.
    void requestDescriptorData(const QString &wrapperName);

    IPC *ipc() const;
    // The endpoint's own address, which the server knows this application by.
    int ownId() const;
    int runnerID() const;
    int spyID() const;
    int recorderID() const;
    bool initializationCompleted() const;
    bool isSubProcess() const;
    bool isAttached() const;
    void setAttached(bool attached);
    int waitForExitDepth() const;
    ObjectMap *objectMap() const;
    ObjectHandles &objectHandles() const;
    TestDataStore &testData() const;
    AUTProcess *autProcess() const;
    PlatformPlugin *platformPlugin() const;
    // The plug-in's native interface; null without a plug-in.
    NativeInterface *nativeInterface() const;
    int wrapperArgument() const;
    // The screens scripts ask about: Qt's at first; a toolkit or a test may
    // put another in its place. Never null.
    SharedPtr<Screen> screen() const;
    void setScreen(SharedPtr<Screen> screen);

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
    int namingScheme() const;
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
    int asyncCallDepth() const;

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
    // The transaction id, or -1 after the listener has had the error.
    int asyncCall(unsigned destination, const QString &function, const ArgumentList &args,
                  ResponseListener<ArgumentList> *listener);

    // A key press or release for the script: one character, or a special
    // key's name in angle brackets. False with the Inspector's error set.
    bool keyPress(const QString &key, bool press);
    // Whether mousePress moves the pointer in steps rather than at once.
    void setAnimateMouseMove(bool animate);
    bool animateMouseMove() const;

    // The object browser: its listings, the picking mode of the wrappers,
    // and the highlight of what it shows.
    void startSpying(int spyId);
    void stopSpying(int spyId);
    void setInspecting(bool on);
    void blockGUI(bool blocked);
    void spyGUI(bool on);
    bool isSpyGuiEnabled() const;
    // A wrapper in picking mode selected this object: "objectPicked" with
    // its handle and real name goes to the spy, or to the runner without one.
    void objectPicked(SharedPtr<Object> object, const QString &realName);
    // The rows of the objects under the named one, or of the top level for
    // an empty name; false when there is nothing to list.
    bool spyObjects(const QString &name, QList<SpyObject> *rows);
    // "<class>#[+]<name>=<value>" for each property, or each child when the
    // class has no properties.
    QStringList fetchObjectComponents(int id);
    // The values of (object id, property index) pairs as text.
    QStringList fetchPropertyValuesAsString(const QStringList &pairs);
    bool objectHasComponents(int id);
    bool supportsHighlight(int id);
    // An empty answer on success, else why not. A time-out above 0 removes
    // the highlight after that many milliseconds.
    QString highlightObject(const QString &name, int timeoutMs);
    QString highlightObject(SharedPtr<Object> object, int timeoutMs);
    void clearHighlight();

    // Pictures of objects and of the desktop, in the screenshot wire form;
    // an invalid value when there is none.
    QVariant grabObjectScreenshot(int id, int flags, int delay);
    // Screen streams. A new stream gets the smallest free id from 1 and
    // sends its segments to the peer; the id is free again once it closes.
    unsigned openBinaryTransmission(BinaryStream *stream, unsigned peer);
    BinaryTransmission *binaryTransmission(unsigned id) const;
    void binaryStreamClosed(unsigned id);
    void clearBinaryTransmissions();
    // The snapshot of the tree under an object: the object's id, then one
    // filter document per toolkit. Empty, with error set, on failure.
    QByteArray dumpObject(const ArgumentList &args, QString *error);
    QVariant desktopScreenshot();
    // A QPixmap or QImage object as PNG bytes.
    QVariant getPixmapAsImage(int id);

    bool isGuiBlocked() const;
    bool isInspecting() const;
    int testSuiteVersion() const;

    // Removes the files and directories test scripts put here, and says so.
    void cleanupTestData();
    // The exit protocol's own steps, as the server's sends ask for them.
    void kill();
    void close();
    void endRecordAndExit();

    void handleSend(unsigned sender, const QString &function, const ArgumentList &args) override;
    void handleCall(unsigned sender, const QString &function, const ArgumentList &args,
                    ResponseListener<ArgumentList> *listener) override;
    QVariant handleCall(unsigned sender, const QString &function,
                        const ArgumentList &args) override;
    void eventRecorded(const EventData &data) override;

Q_SIGNALS:
    // Also the endpoint's handler hearing that the connection ended.
    void connectionClosed() override;
    void guiBlockedChanged(bool blocked);
    void inspectingChanged(bool inspecting);
    void autCrashed(const QString &report);
    void notifyEventRecordingEnabled(bool on);
    void exitReceived();
    void initDoneReceived();
    void exitDoneReceived();
    void cleanUpTestData();
    void namingSchemeChanged(int scheme);
    void objectDescriptorDataReceived(const QByteArray &data);
    // A script installed a handler for this event: wrappers start watching it.
    void eventHandlerRegistered(const QString &event);

public Q_SLOTS:
    void notifyApplicationExit();
    void onIPCPeerGone(FUInt32 peer);
    void exitWaitTimeout();
    void deleteHook();
    void highlighterTimeout();

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
    void cleanup();
    // Sends to the recorder if there is a real one, else to the runner.
    void sendToRecorder(const QString &function, const ArgumentList &args);
    void sendToRunnerAndSpy(const QString &function, const ArgumentList &args);
    int broadcast(const QString &function, const ArgumentList &args);

    std::unique_ptr<HookData> d;
    static Hook *s_instance;
};

} // namespace Tolvex
