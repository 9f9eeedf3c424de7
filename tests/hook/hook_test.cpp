#include "autprocess.h"
#include "hook.h"
#include "ipc.h"
#include "wrapper.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

using namespace Tolvex;

namespace {

class NamedWrapper : public Wrapper
{
public:
    QString wrapperName() const override { return QStringLiteral("named"); }
};

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
    qputenv("TOLVEX_SERVERADDRESS", "127.0.0.1");
    // Nothing listens on port 1.
    qputenv("TOLVEX_PORT", "1");
    NamedWrapper wrapper;
    Hook *hook = Hook::connectAndCreateHook(&wrapper, new AUTProcess, nullptr, 0);
    ASSERT_NE(hook, nullptr);
    EXPECT_EQ(hook->runnerID(), 3);
    EXPECT_FALSE(hook->ipc()->isOpen());
    // The failed hook-up scheduled the deletion.
    QCoreApplication::processEvents();
    EXPECT_EQ(Hook::instance(), nullptr);
    qunsetenv("TOLVEX_RUNNERID");
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

} // namespace
