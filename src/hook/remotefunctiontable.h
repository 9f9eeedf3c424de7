#pragma once

#include <QString>

namespace Tolvex {

// The functions by number, named as the wire names them in upper camel case.
struct RemoteFunction
{
    enum Id : int {
        NumObjects = 0,
        ObjectByName = 1,
        ObjectByIndex = 2,
        ObjectName = 3,
        QualifiedObjectName = 4,
        NumClasses = 5,
        AllClasses = 6,
        NumNamespaces = 7,
        AllNamespaces = 8,
        Invoke = 9,
        SetProperty = 10,
        GetProperty = 11,
        Construct = 12,
        ObjectToDebugString = 13,
        ObjectToInteger = 14,
        ObjectToInt64 = 15,
        ObjectToString = 16,
        ObjectToDouble = 17,
        ObjectToBoolean = 18,
        ObjectFromInteger = 19,
        ObjectFromInt64 = 20,
        ObjectFromString = 21,
        ObjectFromDouble = 22,
        ObjectFromBoolean = 23,
        ObjectCompare = 24,
        ObjectIsNull = 25,
        ObjectFind = 26,
        ObjectReady = 27,
        ObjectReady2 = 28,
        GetObjectItemIfReady = 29,
        GetObjectItemIfReady2 = 30,
        ObjectCastTo = 31,
        ObjectGlobalBounds = 32,
        ObjectReference = 33,
        ObjectDereference = 34,
        Objects = 35,
        SpyObjects = 36,
        CreatePrimitive = 37,
        CreateNull = 38,
        GetVoidObject = 39,
        RemoteObjectDestroyed = 40,
        GetObjectAttribute = 41,
        CanConvertTo = 42,
        ConvertTo = 43,
        ConvertToInterface = 44,
        SendEvent = 45,
        InitDone = 46,
        ExitDone = 47,
        AddPropertyDelegate = 48,
        SetUniqueProperty = 49,
        SetExtensionCode = 50,
        SetMouseTracking = 51,
        SetRecordMouseDrag = 52,
        SetAllowKeyEventCompression = 53,
        EnableEventCompression = 54,
        TestDataPut = 55,
        TestDataGet = 56,
        TestDataRemove = 57,
        TestDataExists = 58,
        TestDataCleanup = 59,
        Kill = 60,
        Ping = 61,
        BlockGUI = 62,
        SpyGUI = 63,
        SetSpyId = 64,
        SetObjectMap = 65,
        AddToObjectMap = 66,
        SetEventRecordingEnabled = 67,
        SetDisableEventCompression = 68,
        GetLastError = 69,
        EndRecordAndExit = 70,
        InstallEventHandler1 = 71,
        UninstallEventHandler1 = 72,
        InstallEventHandler2 = 73,
        UninstallEventHandler2 = 74,
        InstallEventHandler3 = 75,
        UninstallEventHandler3 = 76,
        GetUsedMemory = 77,
        GetTotalTime = 78,
        GetPID = 79,
        GetCWD = 80,
        AutInfo = 81,
        RequestAnswer = 82,
        FetchPropertyValuesAsString = 83,
        FetchObjectComponents = 84,
        ObjectHasComponents = 85,
        CallBackCompleted = 86,
        ReadStdout = 87,
        ReadStderr = 88,
        GetOSName = 89,
        SupportsHighlight = 90,
        HighlightObject = 91,
        ClearHighlight = 92,
        Close = 93,
        SetRunnerId = 94,
        SetRecorderFilter = 95,
        NamingScheme = 96,
        ConvertName = 97,
        ObjectDescriptorData = 98,
        DesktopScreenshot = 99,
        GetPixmapAsImage = 100,
        GetUnmatchedProperties = 101,
        SetError = 102,
        SetRecorderId = 103,
        StopRecord = 104,
        KeyPress = 105,
        MousePress = 106,
        GetObjectItemByRowColIfReady = 107,
        GetObjectItemByRowColIfReady2 = 108,
        Inspecting = 109,
        Parent = 110,
        StartSpying = 111,
        StopSpying = 112,
        TestSuiteVersion = 113,
        GrabObjectScreenshot = 114,
        DumpObject = 115,
        RawMouseEvent = 117,
        RawScrollEvent = 118,
        RawKeycodeEvent = 119,
        RawKeyEvent = 120,
        RawTouchEvent = 121,
        RawScreenshot = 122,
        GetExtraKeys = 123,
        RecordScreen = 124,
        ConfigureBinaryStream = 125,
        StopBinaryStream = 126,
        PauseBinaryStream = 127,
        ReasumeBinaryStream = 128,
        BinaryStreamBytesReceived = 129,
        LauncherInit = 130,
        NativeCapabilities = 131,
    };
};

// One remote function: its number, its name on the wire, which handler
// serves it and how many arguments it takes.
struct RemoteFunctionInfo
{
    enum Kind {
        Call,      // answered by the synchronous handleCall
        AsyncCall, // answered through a ResponseListener
        Send,      // served by handleSend, no answer
        Unserved,  // named in the table but served by neither
    };

    int id;
    const char *name;
    Kind kind;
    // -1 as minimum: the count is not checked; -1 as maximum: no upper bound.
    int minArguments;
    int maxArguments;

    bool acceptsArgumentCount(int count) const;
    // "F_" and the name in upper camel case, as messages name the function.
    QString symbol() const;
};

// The vocabulary of the functions a server calls on the agent. Names are
// matched exactly, case included; the numbers are internal, only names
// travel.
class RemoteFunctionTable
{
public:
    static constexpr int Unknown = 133;
    static constexpr int Count = 131;

    // The function's number, or Unknown.
    static int id(const QString &name);
    // Null for a number without a function.
    static const RemoteFunctionInfo *info(int id);

    // The wrong-count text of a function, as its handler ("handleCall" or
    // "handleSend") prints or answers it. A few functions word it their own
    // way or share another function's text; that wording is kept.
    static QString wrongCountMessage(int id, const char *handler);
};

} // namespace Tolvex
