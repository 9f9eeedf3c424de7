#include "remotefunctiontable.h"

#include <QMap>

#include <array>

namespace Tolvex {

namespace {

// Number, name, handler and argument count of every remote function.
// Number 116 has no function.
constexpr RemoteFunctionInfo Functions[] = {
    {0, "numObjects", RemoteFunctionInfo::Call, 1, 1},
    {1, "objectByName", RemoteFunctionInfo::Call, 2, 2},
    {2, "objectByIndex", RemoteFunctionInfo::Call, 2, 2},
    {3, "objectName", RemoteFunctionInfo::Call, 1, 1},
    {4, "qualifiedObjectName", RemoteFunctionInfo::Call, 1, 1},
    {5, "numClasses", RemoteFunctionInfo::Call, -1, -1},
    {6, "allClasses", RemoteFunctionInfo::Call, 0, 0},
    {7, "numNamespaces", RemoteFunctionInfo::Call, -1, -1},
    {8, "allNamespaces", RemoteFunctionInfo::Call, 0, 0},
    {9, "invoke", RemoteFunctionInfo::Call, 2, -1},
    {10, "setProperty", RemoteFunctionInfo::Call, 3, 3},
    {11, "getProperty", RemoteFunctionInfo::Call, 2, 2},
    {12, "construct", RemoteFunctionInfo::Call, 2, -1},
    {13, "objectToDebugString", RemoteFunctionInfo::Call, 1, 1},
    {14, "objectToInteger", RemoteFunctionInfo::Call, 1, 1},
    {15, "objectToInt64", RemoteFunctionInfo::Call, 1, 1},
    {16, "objectToString", RemoteFunctionInfo::Call, 1, 1},
    {17, "objectToDouble", RemoteFunctionInfo::Call, 1, 1},
    {18, "objectToBoolean", RemoteFunctionInfo::Call, 1, 1},
    {19, "objectFromInteger", RemoteFunctionInfo::Call, 2, 2},
    {20, "objectFromInt64", RemoteFunctionInfo::Call, 2, 2},
    {21, "objectFromString", RemoteFunctionInfo::Call, 2, 2},
    {22, "objectFromDouble", RemoteFunctionInfo::Call, 2, 2},
    {23, "objectFromBoolean", RemoteFunctionInfo::Call, 2, 2},
    {24, "objectCompare", RemoteFunctionInfo::Call, 2, 2},
    {25, "objectIsNull", RemoteFunctionInfo::Call, 1, 1},
    {26, "objectFind", RemoteFunctionInfo::Call, 1, 1},
    {27, "objectReady", RemoteFunctionInfo::Call, 1, 1},
    {28, "objectReady2", RemoteFunctionInfo::Call, 1, 1},
    {29, "getObjectItemIfReady", RemoteFunctionInfo::Call, 2, 2},
    {30, "getObjectItemIfReady2", RemoteFunctionInfo::Call, 2, 2},
    {31, "objectCastTo", RemoteFunctionInfo::Call, 2, 2},
    {32, "objectGlobalBounds", RemoteFunctionInfo::Call, 1, 1},
    {33, "objectReference", RemoteFunctionInfo::Call, 1, 1},
    {34, "objectDereference", RemoteFunctionInfo::Call, 1, 1},
    {35, "objects", RemoteFunctionInfo::Call, 1, 1},
    {36, "spyObjects", RemoteFunctionInfo::Call, 1, 1},
    {37, "createPrimitive", RemoteFunctionInfo::Call, 2, 2},
    {38, "createNull", RemoteFunctionInfo::Call, 1, 1},
    {39, "getVoidObject", RemoteFunctionInfo::Call, 0, 0},
    {40, "remoteObjectDestroyed", RemoteFunctionInfo::Send, 1, 1},
    {41, "getObjectAttribute", RemoteFunctionInfo::Call, 1, 1},
    {42, "canConvertTo", RemoteFunctionInfo::Call, 4, 4},
    {43, "convertTo", RemoteFunctionInfo::Call, 4, 4},
    {44, "convertToInterface", RemoteFunctionInfo::Call, 3, 3},
    {45, "sendEvent", RemoteFunctionInfo::Send, 2, -1},
    {46, "initDone", RemoteFunctionInfo::Send, -1, -1},
    {47, "exitDone", RemoteFunctionInfo::Send, -1, -1},
    {48, "addPropertyDelegate", RemoteFunctionInfo::Call, 2, 2},
    {49, "setUniqueProperty", RemoteFunctionInfo::Call, 2, 2},
    {50, "setExtensionCode", RemoteFunctionInfo::Call, 2, 2},
    {51, "setMouseTracking", RemoteFunctionInfo::Call, 2, 2},
    {52, "setRecordMouseDrag", RemoteFunctionInfo::Call, 2, 2},
    {53, "setAllowKeyEventCompression", RemoteFunctionInfo::Call, 2, 2},
    {54, "enableEventCompression", RemoteFunctionInfo::Call, 2, 2},
    {55, "testDataPut", RemoteFunctionInfo::Call, 3, 3},
    {56, "testDataGet", RemoteFunctionInfo::Call, 1, 1},
    {57, "testDataRemove", RemoteFunctionInfo::Call, 1, 1},
    {58, "testDataExists", RemoteFunctionInfo::Call, 1, 1},
    {59, "testDataCleanup", RemoteFunctionInfo::Send, -1, -1},
    {60, "kill", RemoteFunctionInfo::Send, -1, -1},
    {61, "ping", RemoteFunctionInfo::Unserved, -1, -1},
    {62, "blockGUI", RemoteFunctionInfo::Send, 1, 1},
    {63, "spyGUI", RemoteFunctionInfo::Send, 1, 2},
    {64, "setSpyId", RemoteFunctionInfo::Send, 1, 1},
    {65, "setObjectMap", RemoteFunctionInfo::Send, -1, -1},
    {66, "addToObjectMap", RemoteFunctionInfo::Call, 2, 2},
    {67, "setEventRecordingEnabled", RemoteFunctionInfo::Send, -1, -1},
    {68, "setDisableEventCompression", RemoteFunctionInfo::Send, -1, -1},
    {69, "getLastError", RemoteFunctionInfo::Call, 0, 0},
    {70, "endRecordAndExit", RemoteFunctionInfo::Send, -1, -1},
    {71, "installEventHandler1", RemoteFunctionInfo::Call, 3, 3},
    {72, "uninstallEventHandler1", RemoteFunctionInfo::Call, 3, 3},
    {73, "installEventHandler2", RemoteFunctionInfo::Call, 3, 3},
    {74, "uninstallEventHandler2", RemoteFunctionInfo::Call, 3, 3},
    {75, "installEventHandler3", RemoteFunctionInfo::Call, 2, 2},
    {76, "uninstallEventHandler3", RemoteFunctionInfo::Call, 2, 2},
    {77, "getUsedMemory", RemoteFunctionInfo::Call, -1, -1},
    {78, "getTotalTime", RemoteFunctionInfo::Call, -1, -1},
    {79, "getPID", RemoteFunctionInfo::Call, -1, -1},
    {80, "getCWD", RemoteFunctionInfo::Call, -1, -1},
    {81, "autInfo", RemoteFunctionInfo::Call, -1, -1},
    {82, "requestAnswer", RemoteFunctionInfo::Send, -1, -1},
    {83, "fetchPropertyValuesAsString", RemoteFunctionInfo::Call, -1, -1},
    {84, "fetchObjectComponents", RemoteFunctionInfo::Call, -1, -1},
    {85, "objectHasComponents", RemoteFunctionInfo::Call, -1, -1},
    {86, "callBackCompleted", RemoteFunctionInfo::Unserved, -1, -1},
    {87, "readStdout", RemoteFunctionInfo::Call, -1, -1},
    {88, "readStderr", RemoteFunctionInfo::Call, -1, -1},
    {89, "getOSName", RemoteFunctionInfo::Call, -1, -1},
    {90, "supportsHighlight", RemoteFunctionInfo::Call, 1, 1},
    {91, "highlightObject", RemoteFunctionInfo::Call, 1, 2},
    {92, "clearHighlight", RemoteFunctionInfo::Send, -1, -1},
    {93, "close", RemoteFunctionInfo::Send, -1, -1},
    {94, "setRunnerId", RemoteFunctionInfo::Send, 1, 1},
    {95, "setRecorderFilter", RemoteFunctionInfo::Call, 2, 2},
    {96, "namingScheme", RemoteFunctionInfo::Send, 1, 1},
    {97, "convertName", RemoteFunctionInfo::Call, -1, -1},
    {98, "objectDescriptorData", RemoteFunctionInfo::Send, -1, -1},
    {99, "desktopScreenshot", RemoteFunctionInfo::Call, -1, -1},
    {100, "getPixmapAsImage", RemoteFunctionInfo::Call, 1, 1},
    {101, "getUnmatchedProperties", RemoteFunctionInfo::Call, 0, 0},
    {102, "setError", RemoteFunctionInfo::Call, 1, 1},
    {103, "setRecorderId", RemoteFunctionInfo::Send, -1, -1},
    {104, "stopRecord", RemoteFunctionInfo::Send, -1, -1},
    {105, "keyPress", RemoteFunctionInfo::Call, 2, 2},
    {106, "mousePress", RemoteFunctionInfo::Call, 8, 8},
    {107, "getObjectItemByRowColIfReady", RemoteFunctionInfo::Call, 3, 3},
    {108, "getObjectItemByRowColIfReady2", RemoteFunctionInfo::Call, 3, 3},
    {109, "inspecting", RemoteFunctionInfo::Send, 1, 1},
    {110, "parent", RemoteFunctionInfo::Call, 1, 1},
    {111, "startSpying", RemoteFunctionInfo::Send, 1, 1},
    {112, "stopSpying", RemoteFunctionInfo::Send, 1, 1},
    {113, "testSuiteVersion", RemoteFunctionInfo::Send, -1, -1},
    {114, "grabObjectScreenshot", RemoteFunctionInfo::Call, 3, 3},
    {115, "dumpObject", RemoteFunctionInfo::Call, -1, -1},
    {117, "rawMouseEvent", RemoteFunctionInfo::Call, 5, 5},
    {118, "rawScrollEvent", RemoteFunctionInfo::Call, 1, 1},
    {119, "rawKeycodeEvent", RemoteFunctionInfo::Call, 4, 4},
    {120, "rawKeyEvent", RemoteFunctionInfo::Call, 2, 2},
    {121, "rawTouchEvent", RemoteFunctionInfo::Call, 6, 6},
    {122, "rawScreenshot", RemoteFunctionInfo::AsyncCall, 1, 1},
    {123, "getExtraKeys", RemoteFunctionInfo::AsyncCall, 1, -1},
    {124, "recordScreen", RemoteFunctionInfo::AsyncCall, 3, 3},
    {125, "configureBinaryStream", RemoteFunctionInfo::Call, 2, 2},
    {126, "stopBinaryStream", RemoteFunctionInfo::Send, 1, 1},
    {127, "pauseBinaryStream", RemoteFunctionInfo::Send, 1, 1},
    {128, "reasumeBinaryStream", RemoteFunctionInfo::Send, 1, 1},
    {129, "binaryStreamBytesReceived", RemoteFunctionInfo::Send, 2, 2},
    {130, "launcherInit", RemoteFunctionInfo::Call, 1, 1},
    {131, "nativeCapabilities", RemoteFunctionInfo::Call, -1, -1},
};

static_assert(sizeof(Functions) / sizeof(Functions[0]) == RemoteFunctionTable::Count);

const QMap<QString, int> &nameTable()
{
    // Built on first use and kept for the life of the process.
    static const QMap<QString, int> table = [] {
        QMap<QString, int> t;
        for (const RemoteFunctionInfo &f : Functions)
            t.insert(QString::fromLatin1(f.name), f.id);
        return t;
    }();
    return table;
}

const std::array<const RemoteFunctionInfo *, RemoteFunctionTable::Unknown> &byId()
{
    static const auto index = [] {
        std::array<const RemoteFunctionInfo *, RemoteFunctionTable::Unknown> a{};
        for (const RemoteFunctionInfo &f : Functions)
            a[size_t(f.id)] = &f;
        return a;
    }();
    return index;
}

QString symbolOf(int id)
{
    const RemoteFunctionInfo *f = RemoteFunctionTable::info(id);
    return f ? f->symbol() : QString();
}

} // namespace

bool RemoteFunctionInfo::acceptsArgumentCount(int count) const
{
    if (minArguments < 0)
        return true;
    return count >= minArguments && (maxArguments < 0 || count <= maxArguments);
}

QString RemoteFunctionInfo::symbol() const
{
    QString upper = QString::fromLatin1(name);
    if (!upper.isEmpty())
        upper[0] = upper[0].toUpper();
    return QStringLiteral("F_") + upper;
}

int RemoteFunctionTable::id(const QString &name)
{
    return nameTable().value(name, Unknown);
}

const RemoteFunctionInfo *RemoteFunctionTable::info(int id)
{
    if (id < 0 || id >= Unknown)
        return nullptr;
    return byId()[size_t(id)];
}

QString RemoteFunctionTable::wrongCountMessage(int id, const char *handler)
{
    QString symbol = symbolOf(id);
    QString where = QString::fromLatin1(handler);
    QString tail = QStringLiteral(": wrong number of arguments");
    switch (id) {
    case RemoteFunction::ObjectReady2: // shares the words of objectReady
        symbol = symbolOf(RemoteFunction::ObjectReady);
        break;
    case RemoteFunction::SetRecorderFilter:
        symbol = QStringLiteral("F_SetRecordFilter");
        break;
    case RemoteFunction::KeyPress:
    case RemoteFunction::MousePress:
        tail = QStringLiteral(": number of arguments is wrong");
        break;
    case RemoteFunction::RawScrollEvent: // shares rawMouseEvent's words
        symbol = symbolOf(RemoteFunction::RawMouseEvent);
        break;
    case RemoteFunction::RawKeycodeEvent: // shares rawKeyEvent's words
        symbol = symbolOf(RemoteFunction::RawKeyEvent);
        break;
    case RemoteFunction::ConfigureBinaryStream: // says handleSend although it is a call
        where = QStringLiteral("handleSend");
        break;
    default:
        break;
    }
    return QStringLiteral("Hook::") + where + QStringLiteral(": ") + symbol + tail;
}

} // namespace Tolvex
