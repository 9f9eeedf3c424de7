#include "autprocess.h"
#include "clogcapture.h"
#include "hook.h"
#include "hookenvironment_p.h"
#include "ipc.h"
#include "testdatastore.h"
#include "wrapper.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <iostream>
#include <sstream>

using namespace Tolvex;

namespace {

class NamedWrapper : public Wrapper
{
public:
    QString wrapperName() const override { return QStringLiteral("named"); }
    bool ownsObject(SharedPtr<Object>) const override { return false; }
    bool isObjectReady(SharedPtr<Object>) override { return true; }
    void spyModeChanged(bool) override {}
    void recordingStopped() override {}
};

using TestSupport::ClogCapture;

TEST(HookTest, WithoutRunnerIdTheHookIsLocalAndNeverBlocks)
{
    qunsetenv("TOLVEX_RUNNERID");
    qputenv("TOLVEX_SERVERADDRESS", "127.0.0.1");
    qputenv("TOLVEX_PORT", "1");
    EXPECT_EQ(Hook::instance(), nullptr);

    NamedWrapper first;
    NamedWrapper second;
    Hook *hook = Hook::connectAndCreateHook(&first, new AUTProcess, nullptr, 7);
    ASSERT_NE(hook, nullptr);
    EXPECT_EQ(Hook::instance(), hook);
    EXPECT_EQ(hook->runnerID(), -1);
    EXPECT_EQ(hook->spyID(), -1);
    ASSERT_NE(hook->ipc(), nullptr);
    EXPECT_FALSE(hook->ipc()->isOpen());
    EXPECT_FALSE(hook->initializationCompleted());

    hook->addWrapper(&first);
    hook->addWrapper(&second);
    EXPECT_EQ(hook->wrappers(), (QList<Wrapper *>{&first, &second}));

    // Nothing to tell and nobody to wait for.
    hook->completeHookUp();
    hook->notifyApplicationExit();
    hook->notifyApplicationExit();
    EXPECT_EQ(hook->waitForExitDepth(), 0);
    // A stray exitDone outside any wait leaves the depth alone.
    hook->exitWaitTimeout();
    EXPECT_EQ(hook->waitForExitDepth(), 0);

    hook->deleteHook();
    EXPECT_EQ(Hook::instance(), nullptr);
}

TEST(HookTest, ConnectionFailureWithRunnerIdStillGivesAHookThatClosesItself)
{
    qputenv("TOLVEX_RUNNERID", "3");
    qputenv("TOLVEX_APPID", "2");
    qputenv("TOLVEX_SERVERADDRESS", "127.0.0.1");
    // Nothing listens on port 1.
    qputenv("TOLVEX_PORT", "1");
    NamedWrapper wrapper;
    Hook *hook = nullptr;
    std::string log;
    {
        ClogCapture capture;
        hook = Hook::connectAndCreateHook(&wrapper, new AUTProcess, nullptr, 0);
        log = capture.text();
    }
    ASSERT_NE(hook, nullptr);
    EXPECT_EQ(hook->runnerID(), 3);
    EXPECT_FALSE(hook->ipc()->isOpen());
    // The connect error, then the one failed send that ends the hook-up.
    EXPECT_NE(log.find("port 1"), std::string::npos) << log;
    EXPECT_NE(log.find("Could not send broadcast message to server, aborting hookup\n"),
              std::string::npos)
        << log;
    EXPECT_EQ(Hook::instance(), hook);
    // The failed hook-up scheduled the deletion.
    QCoreApplication::processEvents();
    EXPECT_EQ(Hook::instance(), nullptr);
    qunsetenv("TOLVEX_RUNNERID");
}

TEST(HookTest, TestDataGoesWhenTheApplicationLeavesAndWithTheHook)
{
    qunsetenv("TOLVEX_RUNNERID");
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    // "1": an even byte count; one character carries "ab".
    const QString data = QStringLiteral("1") + QChar(0x6261);

    Hook *hook = Hook::connectAndCreateHook(nullptr, new AUTProcess, nullptr, 0);
    ASSERT_NE(hook, nullptr);
    const QString first =
        hook->testData().put(dir.filePath(QStringLiteral("a/b/data.txt")), data, false);
    ASSERT_FALSE(first.isEmpty());
    ASSERT_TRUE(QFile::exists(first));
    // Even without a server the files go when the application leaves.
    hook->notifyApplicationExit();
    EXPECT_FALSE(QFile::exists(first));
    EXPECT_FALSE(QFile::exists(dir.filePath(QStringLiteral("a"))));

    const QString second =
        hook->testData().put(dir.filePath(QStringLiteral("c/data.txt")), data, false);
    ASSERT_TRUE(QFile::exists(second));
    hook->deleteHook();
    EXPECT_EQ(Hook::instance(), nullptr);
    EXPECT_FALSE(QFile::exists(second));
}

TEST(HookTest, OnlyAnEmptyOrSingleZeroNoCrashHandlerWantsTheHandler)
{
    const std::pair<const char *, bool> cases[] = {
        {"", true}, {"0", true}, {"00", false}, {"1", false}, {"no", false}};
    for (const auto &[value, wanted] : cases) {
        qputenv("TOLVEX_NO_CRASHHANDLER", value);
        EXPECT_EQ(Hook::crashHandlerWanted(), wanted) << value;
    }
    qunsetenv("TOLVEX_NO_CRASHHANDLER");
    EXPECT_TRUE(Hook::crashHandlerWanted());
}

TEST(HookEnvironmentTest, BadValuesFallBackAndSaySo)
{
    using namespace HookEnvironment;
    for (const char *port : {"", "abc", "0", "70000", "-5"}) {
        qputenv("TOLVEX_PORT", port);
        EXPECT_EQ(readServerPort(), 4322) << port;
    }
    qputenv("TOLVEX_PORT", "4400");
    EXPECT_EQ(readServerPort(), 4400);

    qunsetenv("TOLVEX_SERVERADDRESS");
    EXPECT_EQ(readServerAddress(), QStringLiteral("127.0.0.1"));
    qputenv("TOLVEX_SERVERADDRESS", "10.1.2.3");
    EXPECT_EQ(readServerAddress(), QStringLiteral("10.1.2.3"));

    const std::string noRunner =
        "TOLVEX_RUNNERID was not set, set to an empty string or is not a positive number\n";
    for (const char *id : {"", "0", "-1", "abc", "3x"}) {
        qputenv("TOLVEX_RUNNERID", id);
        ClogCapture log;
        EXPECT_EQ(readRunnerId(), 0) << id;
        EXPECT_EQ(log.text(), noRunner) << id;
    }
    qputenv("TOLVEX_RUNNERID", "12");
    {
        ClogCapture log;
        EXPECT_EQ(readRunnerId(), 12);
        EXPECT_EQ(log.text(), "");
    }

    qputenv("TOLVEX_APPID", "");
    {
        ClogCapture log;
        EXPECT_EQ(readAppId(0), 0);
        EXPECT_EQ(readAppId(-1), -1);
        EXPECT_EQ(log.text(), "TOLVEX_APPID was not set or set to a null string\n"
                              "TOLVEX_APPID was not set or set to a null string\n");
    }
    qputenv("TOLVEX_APPID", "7");
    EXPECT_EQ(readAppId(-1), 7);
}

} // namespace
