#pragma once

#include "ipc.h"
#include "objecthandles.h"
#include "objectmap.h"
#include "screen.h"
#include "testdatastore.h"

#include <QList>
#include <QMap>
#include <QPointer>
#include <QString>
#include <QTimer>

#include <map>
#include <memory>

namespace Tolvex {

class AUTProcess;
class BinaryTransmission;
class PlatformPlugin;
class Wrapper;

// The Hook's private record: all of its state.
struct HookData
{
    // The endpoint; the Hook is its QObject parent, so it dies with the Hook.
    QPointer<IPC> ipc;
    // Peer ids of the runner (the test script's side), the spy and the
    // recorder; -1 is none.
    int runnerId = -1;
    int spyId = -1;
    int recorderId = -1;
    // Exit waits in progress; no deletion while one runs.
    int waitForExitDepth = 0;
    // The remote side has finished initialising the AUT.
    bool initDone = false;
    bool guiBlocked = false;
    bool spyGuiEnabled = false;
    bool inspecting = false;
    QTimer exitWaitTimer;
    // Ends a highlight that was given a time-out.
    QTimer highlightTimer;
    std::unique_ptr<ObjectMap> objectMap = std::make_unique<ObjectMap>();
    // This hook's own address differs from the application id it was started with.
    bool subProcess = false;
    // The text last logged, for the repeat rule of logEvent.
    QString lastLogged;
    int namingScheme = 0;
    bool exitMessageSent = false;
    // The test attached to an AUT that was already running.
    bool attached = false;
    bool exitNotified = false;
    // The runner has fetched all classes at least once; from then on classes
    // made later are sent as they come.
    bool classesRequested = false;
    bool animateMouseMove = false;
    // Owned.
    AUTProcess *autProcess = nullptr;
    int testSuiteVersion = -1;
    // Stored for the wrappers; nothing here reads it.
    int wrapperArgument = 0;
    int asyncCallDepth = 0;
    SharedPtr<Screen> screen;
    // Open screen streams by id; children of the Hook.
    std::map<unsigned, QPointer<BinaryTransmission>> transmissions;

    // The objects the server holds handles to.
    ObjectHandles objects;
    // In order of addWrapper; not owned. A wrapper the application deleted
    // early reads as null and is passed over.
    QList<QPointer<Wrapper>> wrappers;
    // Which classes' events may be compressed while recording; "*" is all.
    QMap<QString, bool> eventCompression;
    // Not owned; stored for the native input calls.
    PlatformPlugin *platformPlugin = nullptr;
    // What test scripts put on this machine, removed when the AUT leaves.
    TestDataStore testData;
    // Classes the runner and the spy know, counted from class id 0.
    int runnerClassCount = 0;
    int spyClassCount = 0;
    // The Hook's own sends on the stack. A connection that ends inside one
    // deletes the Hook only once they have returned, so no caller is left
    // holding a freed Hook.
    int sendDepth = 0;

    // A recorder or spy id equal to the runner's is no peer of its own.
    bool hasOwnRecorder() const { return recorderId >= 0 && recorderId != runnerId; }
    bool hasOwnSpy() const { return spyId >= 0 && spyId != runnerId; }
    // Who recording traffic is for: the recorder if there is one, else the runner.
    int recorderOrRunnerId() const { return hasOwnRecorder() ? recorderId : runnerId; }

    // Numbers the callbacks into the script, across the process.
    static inline int callBackSequence = 0;
};

// Marks one of the Hook's own sends for as long as it runs.
class SendScope
{
public:
    explicit SendScope(HookData &data) : m_data(data) { ++m_data.sendDepth; }
    ~SendScope() { --m_data.sendDepth; }
    SendScope(const SendScope &) = delete;
    SendScope &operator=(const SendScope &) = delete;

private:
    HookData &m_data;
};

} // namespace Tolvex
