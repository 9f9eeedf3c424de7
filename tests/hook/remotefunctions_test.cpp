#include "asyncipc.h"
#include "autprocess.h"
#include "clogcapture.h"
#include "hook.h"
#include "launcher.h"
#include "remotefunction.h"

#include <QDataStream>
#include <QFile>
#include <QIODevice>
#include <QSet>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Tolvex;
using namespace Tolvex::Remote;
using TestSupport::ClogCapture;

namespace {

const RemoteFunction &function(const char *name)
{
    const RemoteFunction *f = RemoteFunctions::find(QString::fromLatin1(name));
    EXPECT_NE(f, nullptr) << name;
    static const RemoteFunction none = neither("none");
    return f ? *f : none;
}

// A Hook without a server: every call is answered here, nothing is sent.
class LocalHook : public ::testing::Test
{
protected:
    void SetUp() override
    {
        qunsetenv("TOLVEX_RUNNERID");
        hook = Hook::connectAndCreateHook(nullptr, new AUTProcess, nullptr, 0);
        ASSERT_NE(hook, nullptr);
    }
    void TearDown() override
    {
        Hook::setLauncher(nullptr);
        hook->deleteHook();
    }

    // The answer, and what the log stream got meanwhile.
    QVariant call(const char *name, const ArgumentList &args, std::string *log = nullptr)
    {
        ClogCapture capture;
        const QVariant answer = hook->handleCall(0, QString::fromLatin1(name), args);
        if (log)
            *log = capture.text();
        return answer;
    }

    FunctionCallResult<ArgumentList> asyncCall(const char *name, const ArgumentList &args)
    {
        struct Catch : ResponseListener<ArgumentList>
        {
            int answers = 0;
            FunctionCallResult<ArgumentList> result;
            void response(FunctionCallResult<ArgumentList> r) override
            {
                ++answers;
                result = std::move(r);
            }
        } listener;
        hook->handleCall(0, QString::fromLatin1(name), args, &listener);
        EXPECT_EQ(listener.answers, 1) << name;
        return listener.result;
    }

    std::string sendLog(const char *name, const ArgumentList &args)
    {
        ClogCapture capture;
        hook->handleSend(0, QString::fromLatin1(name), args);
        return capture.text();
    }

    Hook *hook = nullptr;
};

// The value as a reply body carries it.
QByteArray wireBytes(const QVariant &value)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setVersion(AsyncIPC::BodyStreamVersion);
    out << value;
    return bytes;
}

} // namespace

TEST(RemoteFunctions, EveryNameIsDeclaredOnceAndResolvesExactly)
{
    QSet<QString> names;
    for (const RemoteFunction *f : RemoteFunctions::all()) {
        const QString name = QString::fromLatin1(f->name);
        EXPECT_FALSE(names.contains(name)) << f->name;
        names.insert(name);
        EXPECT_EQ(RemoteFunctions::find(name), f) << f->name;
        // A handler fits its kind.
        EXPECT_TRUE(!f->handler.call || f->kind == Kind::Call) << f->name;
        EXPECT_TRUE(!f->handler.async || f->kind == Kind::AsyncCall) << f->name;
        EXPECT_TRUE(!f->handler.send || f->kind == Kind::Send) << f->name;
    }
    EXPECT_EQ(names.size(), 131);

    EXPECT_EQ(RemoteFunctions::find(QStringLiteral("GetProperty")), nullptr);
    EXPECT_EQ(RemoteFunctions::find(QStringLiteral("getproperty")), nullptr);
    EXPECT_EQ(RemoteFunctions::find(QString()), nullptr);
    EXPECT_EQ(function("reasumeBinaryStream").kind, Kind::Send);
    EXPECT_EQ(function("getProperty").symbol(), QStringLiteral("F_GetProperty"));
    EXPECT_EQ(function("initDone").kind, Kind::Send);
    EXPECT_EQ(function("rawScreenshot").kind, Kind::AsyncCall);
    EXPECT_EQ(function("ping").kind, Kind::Neither);
    EXPECT_EQ(function("callBackCompleted").kind, Kind::Neither);
}

TEST(RemoteFunctions, ArgumentCountsAndTheWordsOfAWrongOne)
{
    const auto accepts = [](const char *name, int n) { return function(name).count.accepts(n); };
    EXPECT_TRUE(accepts("numObjects", 1));
    EXPECT_FALSE(accepts("numObjects", 0));
    EXPECT_FALSE(accepts("numObjects", 2));
    EXPECT_FALSE(accepts("invoke", 1));
    EXPECT_TRUE(accepts("invoke", 9));
    EXPECT_FALSE(accepts("highlightObject", 0));
    EXPECT_TRUE(accepts("highlightObject", 2));
    EXPECT_FALSE(accepts("highlightObject", 3));
    EXPECT_TRUE(accepts("numClasses", 5)); // not checked
    EXPECT_FALSE(accepts("mousePress", 7));
    EXPECT_FALSE(accepts("getExtraKeys", 0));
    EXPECT_TRUE(accepts("getExtraKeys", 3));

    const auto words = [](const char *name, const char *handler) {
        return function(name).wrongCountWords(handler);
    };
    EXPECT_EQ(words("getProperty", "handleCall"),
              QStringLiteral("Hook::handleCall: F_GetProperty: wrong number of arguments"));
    EXPECT_EQ(
        words("remoteObjectDestroyed", "handleSend"),
        QStringLiteral("Hook::handleSend: F_RemoteObjectDestroyed: wrong number of arguments"));
    EXPECT_EQ(words("objectReady2", "handleCall"),
              QStringLiteral("Hook::handleCall: F_ObjectReady: wrong number of arguments"));
    EXPECT_EQ(words("setRecorderFilter", "handleCall"),
              QStringLiteral("Hook::handleCall: F_SetRecordFilter: wrong number of arguments"));
    EXPECT_EQ(words("keyPress", "handleCall"),
              QStringLiteral("Hook::handleCall: F_KeyPress: number of arguments is wrong"));
    EXPECT_EQ(words("rawKeycodeEvent", "handleCall"),
              QStringLiteral("Hook::handleCall: F_RawKeyEvent: wrong number of arguments"));
}

TEST_F(LocalHook, WrongCountsArePrintedOrAnsweredAsEachFunctionSays)
{
    std::string log;
    // Printed, and answered with nothing.
    EXPECT_FALSE(call("getProperty", {1}, &log).isValid());
    EXPECT_EQ(log, "Hook::handleCall: F_GetProperty: wrong number of arguments\n");
    EXPECT_FALSE(call("mousePress", {1, 2}, &log).isValid());
    EXPECT_EQ(log, "Hook::handleCall: F_MousePress: number of arguments is wrong\n");
    EXPECT_EQ(sendLog("setSpyId", {}), "Hook::handleSend: F_SetSpyId: wrong number of arguments\n");

    // Answered as text, and not printed.
    EXPECT_EQ(
        call("rawScrollEvent", {}, &log),
        QVariant(QStringLiteral("Hook::handleCall: F_RawMouseEvent: wrong number of arguments")));
    EXPECT_EQ(log, "");
    EXPECT_EQ(call("configureBinaryStream", {1}, &log),
              QVariant(QStringLiteral(
                  "Hook::handleSend: F_ConfigureBinaryStream: wrong number of arguments")));
    EXPECT_EQ(log, "");

    // The launcher's own words.
    EXPECT_EQ(call("launcherInit", {}).toMap().value(QStringLiteral("error")),
              QVariant(QStringLiteral("Wrong number of arguments")));

    // Through the listener.
    const FunctionCallResult<ArgumentList> keys = asyncCall("getExtraKeys", {});
    EXPECT_EQ(keys.error,
              QStringLiteral("Hook::handleCall: F_GetExtraKeys: wrong number of arguments"));
    EXPECT_EQ(asyncCall("recordScreen", {1}).error,
              QStringLiteral("Hook::handleCall: F_RecordScreen: wrong number of arguments"));
}

TEST_F(LocalHook, UnknownAndSynchronouslyCalledAsynchronousFunctions)
{
    std::string log;
    EXPECT_FALSE(call("GetProperty", {1, 2}, &log).isValid());
    EXPECT_EQ(log, "Hook::handleCall: unhandled function GetProperty\n");
    EXPECT_FALSE(call("ping", {}, &log).isValid());
    EXPECT_EQ(log, "Hook::handleCall: unhandled function ping\n");
    EXPECT_EQ(sendLog("ping", {}), "");
    EXPECT_EQ(sendLog("getProperty", {1, 2}), "");

    for (const char *name : {"rawScreenshot", "getExtraKeys", "recordScreen"}) {
        const QVariant answer = call(name, {1, 2, 3}, &log);
        EXPECT_EQ(answer, QVariant(QStringLiteral("Internal error: synchronous call to ") +
                                   function(name).symbol()));
        EXPECT_EQ(log, "");
    }
    // Every other name reaches the synchronous handler through the listener.
    const FunctionCallResult<ArgumentList> classes = asyncCall("numClasses", {});
    ASSERT_TRUE(classes.isSuccess());
    EXPECT_GT(classes.value.value(0).toInt(), 9);
}

TEST_F(LocalHook, LauncherInitGoesToTheLauncherWhenThereIsOne)
{
    EXPECT_EQ(call("launcherInit", {QVariantMap{}}).toMap().value(QStringLiteral("error")),
              QVariant(QStringLiteral("The application is not a launcher")));

    struct Echo : Launcher
    {
        QVariant init(const QVariantMap &settings) override
        {
            return settings.value(QStringLiteral("answer"));
        }
    } echo;
    Hook::setLauncher(&echo);
    EXPECT_EQ(call("launcherInit", {QVariantMap{{QStringLiteral("answer"), 42}}}), QVariant(42));
}

TEST_F(LocalHook, StateSendsAndSignals)
{
    EXPECT_EQ(hook->testSuiteVersion(), -1);
    hook->handleSend(0, QStringLiteral("testSuiteVersion"), {3});
    EXPECT_EQ(hook->testSuiteVersion(), 3);

    // Not started by another process: no other runner.
    const int runner = hook->runnerID();
    hook->handleSend(0, QStringLiteral("setRunnerId"), {99});
    EXPECT_EQ(hook->runnerID(), runner);

    int blocked = 0;
    int cleaned = 0;
    int closed = 0;
    QObject::connect(hook, &Hook::guiBlockedChanged, [&](bool on) { blocked += on ? 1 : 100; });
    QObject::connect(hook, &Hook::cleanUpTestData, [&] { ++cleaned; });
    QObject::connect(hook, &Hook::connectionClosed, [&] { ++closed; });

    hook->handleSend(0, QStringLiteral("blockGUI"), {true});
    EXPECT_TRUE(hook->isGuiBlocked());
    EXPECT_EQ(blocked, 1);
    hook->handleSend(0, QStringLiteral("testDataCleanup"), {});
    EXPECT_EQ(cleaned, 1);
    // The endpoint's end of the connection reaches the Hook's listeners.
    static_cast<IPCResponseHandlerIface *>(hook)->connectionClosed();
    EXPECT_EQ(closed, 1);
}

TEST_F(LocalHook, EmptyAnswersAreEmptyNotNullOnTheWire)
{
    // A QString in a QVariant at the body's stream version: its type (3),
    // then the length, ff ff ff ff for a null string, 0 for an empty one.
    EXPECT_EQ(wireBytes(call("objectToDebugString", {987654})).toHex(), "0000000300000000");
    // A QByteArray (type 0x1d) in the same way.
    EXPECT_EQ(wireBytes(call("getObjectAttribute", {987654})).toHex(), "0000001d00000000");

    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString empty = dir.filePath(QStringLiteral("empty"));
    QFile file(empty);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    EXPECT_EQ(wireBytes(call("testDataGet", {empty})).toHex(), "0000001d00000000");
    // A test of the test: a null value would read otherwise.
    EXPECT_EQ(wireBytes(QVariant(QByteArray())).toHex(), "0000001dffffffff");
}

TEST_F(LocalHook, CreatePrimitiveKnowsEveryPrimitiveName)
{
    const auto created = [this](const char *type, const QVariant &value) {
        const QVariant wire = call("createPrimitive", {QString::fromLatin1(type), value});
        return wire.isValid() ? call("objectToString", {wire.toString().section(',', 0, 0).toInt()})
                              : QVariant();
    };
    EXPECT_EQ(created("short", 7), QVariant(QStringLiteral("7")));
    EXPECT_EQ(created("int", 8), QVariant(QStringLiteral("8")));
    EXPECT_EQ(created("long", 9), QVariant(QStringLiteral("9")));
    EXPECT_EQ(created("bool", true), QVariant(QStringLiteral("true")));
    EXPECT_EQ(created("char", QStringLiteral("x")), QVariant(QStringLiteral("x")));
    EXPECT_EQ(created("char", 65), QVariant(QStringLiteral("A")));
    EXPECT_EQ(created("char*", QStringLiteral("text")), QVariant(QStringLiteral("text")));
    EXPECT_EQ(created("double", 0.5), QVariant(QStringLiteral("0.5")));
    EXPECT_EQ(created("int64", qlonglong(1) << 40), QVariant(QStringLiteral("1099511627776")));
    EXPECT_EQ(created("[char*", QStringList{QStringLiteral("a"), QStringLiteral("b")}),
              QVariant(QStringLiteral("[a, b]")));
    EXPECT_EQ(created("void", {}), QVariant(QStringLiteral("<null>")));

    std::string log;
    EXPECT_FALSE(call("createPrimitive", {QStringLiteral("float"), 1}, &log).isValid());
    EXPECT_EQ(log, "Hook::handleCall: F_CreatePrimitive: floatis not a primitive type\n");
}
