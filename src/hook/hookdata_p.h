#pragma once

#include "objecthandles.h"
#include "testdatastore.h"

#include <QList>
#include <QMap>
#include <QPointer>
#include <QString>

namespace Tolvex {

class PlatformPlugin;
class Wrapper;

// The Hook's private record. The screen (a StandardScreen at start) and the
// binary transmissions by stream id join it with the screen globals and the
// streams.
struct HookData
{
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
    // Classes the runner and the spy know, counted from class id 0. Late
    // classes are sent only once the server has asked for all classes.
    int runnerClassCount = 0;
    int spyClassCount = 0;
    bool classesRequested = false;
    // The Hook's own sends on the stack. A connection that ends inside one
    // deletes the Hook only once they have returned, so no caller is left
    // holding a freed Hook.
    int sendDepth = 0;
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
