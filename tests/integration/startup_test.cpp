// The agent's start in applications that know nothing of it, through the
// start-up shim, without a display: which processes it enters and which it
// leaves alone, what an earlier start-up hook and a missing wrapper do, and
// the application that links the agent itself.
#include "startupsession.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

using namespace Integration;

const QString NoAgentLine = QStringLiteral("the application runs without the agent");

// The agent's own lines on standard error all begin so.
bool agentSpoke(const QString &output)
{
    return output.contains(QStringLiteral("tolvex:")) ||
           output.contains(QStringLiteral("TOLVEX_RUNNERID was not set"));
}

TEST(AgentStart, AChildProcessRunsWithoutTheAgentUnlessAskedFor)
{
    {
        StartupSession s(QStringLiteral(SPAWNER_PATH));
        s.prepare(preloadList(OwnRuntime));
        s.run();
        s.expectHookUp(QStringLiteral("spawner"));
        // The child is a Qt 6 application too. An agent in it would have
        // connected before the child's event loop got to its first timer.
        ASSERT_TRUE(s.waitForOutput(QStringLiteral("child looping"))) << qPrintable(s.output());
        EXPECT_FALSE(waitUntil([&] { return s.server.clientCount() > 1; }, 300));
        EXPECT_EQ(s.answer("getPID").toLongLong(), s.launcher.processId());
        // Offscreen, the agent has no native side, and said so once.
        EXPECT_EQ(s.output().count(QStringLiteral("native input and screen capture are not "
                                                  "available: No platform plugin for the Qt "
                                                  "platform 'offscreen'")),
                  1)
            << qPrintable(s.output());
        s.endThroughTheAgent();
        EXPECT_TRUE(s.output().contains(QStringLiteral("child finished 0")))
            << qPrintable(s.output());
    }
    {
        StartupSession s(QStringLiteral(SPAWNER_PATH));
        s.prepare(preloadList(OwnRuntime));
        s.launcher.setEnvironmentValue(QStringLiteral("TOLVEX_HOOK_CHILDREN"), QStringLiteral("1"));
        s.run();
        ASSERT_TRUE(waitUntil([&] { return s.server.clientCount() == 2; }, s.WaitMs))
            << qPrintable(s.output());
        // Parent and child each hook up, in whichever order they came.
        s.expectHookUp(QStringLiteral("spawner"), 0);
        s.expectHookUp(QStringLiteral("spawner"), 1);
        const qint64 first = s.answer("getPID", {}, 0).toLongLong();
        const qint64 second = s.answer("getPID", {}, 1).toLongLong();
        const int parent = first == s.launcher.processId() ? 0 : 1;
        EXPECT_EQ(parent == 0 ? first : second, s.launcher.processId());
        EXPECT_NE(first, second);
        EXPECT_TRUE(s.output().contains(
            QStringLiteral("child running %1").arg(parent == 0 ? second : first)))
            << qPrintable(s.output());
        // The child is a QCoreApplication: an agent without a native side,
        // which is nothing to complain about.
        EXPECT_EQ(s.output().count(QStringLiteral("native input and screen capture")), 1)
            << qPrintable(s.output());
        s.endThroughTheAgent(parent);
    }
}

// Each program runs twice under a server that waits for agents: as it is,
// and with the shim and a runner id. Its status and output must not differ,
// and no agent may call.
TEST(AgentStart, ProgramsWithoutQt6RunUntouchedUnderTheShim)
{
    struct Program
    {
        QString path;
        QStringList arguments;
    };
    const QList<Program> programs{
        {QStringLiteral("/bin/sh"),
         {QStringLiteral("-c"), QStringLiteral("echo out; echo err >&2; exit 7")}},
        {QStringLiteral("/bin/true"), {}},
        // Qt 5 has the same start-up hook; qdbus constructs its application
        // object before it prints its help.
        {QStringLiteral(QT5_PROGRAM), {QStringLiteral("--help")}},
    };
    for (const Program &program : programs) {
        SCOPED_TRACE(qPrintable(program.path));
        ASSERT_TRUE(QFile::exists(program.path)) << "scripts/install-deps installs it";
        QString outputs[2];
        int statuses[2] = {-1, -1};
        for (int withShim = 0; withShim < 2; ++withShim) {
            StartupSession s(program.path);
            s.prepare(withShim ? preloadList(QString()) : QString());
            s.run(program.arguments);
            ASSERT_TRUE(s.waitForExit()) << qPrintable(s.output());
            EXPECT_TRUE(s.launcher.normalExit());
            statuses[withShim] = s.launcher.exitCode();
            outputs[withShim] = s.output();
            runEventsFor(200);
            EXPECT_EQ(s.server.clientCount(), 0);
        }
        EXPECT_EQ(statuses[1], statuses[0]);
        EXPECT_EQ(outputs[1].toStdString(), outputs[0].toStdString());
        EXPECT_FALSE(agentSpoke(outputs[1])) << qPrintable(outputs[1]);
    }
}

TEST(AgentStart, WithoutARunnerIdTheApplicationRunsAsIfNoAgentWereThere)
{
    for (const QString &runner : {QString(), QStringLiteral("0"), QStringLiteral("x1")}) {
        SCOPED_TRACE(qPrintable(runner));
        StartupSession s(QStringLiteral(PLAINWIDGETS_PATH));
        s.prepare(preloadList(OwnRuntime));
        s.launcher.setConnectToServer(false);
        if (!runner.isNull())
            s.launcher.setEnvironmentValue(QStringLiteral("TOLVEX_RUNNERID"), runner);
        s.run({QStringLiteral("--quit-after"), QStringLiteral("300")});
        s.expectCleanExit();
        EXPECT_TRUE(s.output().contains(QStringLiteral("bye 0"))) << qPrintable(s.output());
        EXPECT_FALSE(agentSpoke(s.output())) << qPrintable(s.output());
        EXPECT_EQ(s.server.clientCount(), 0);
    }
}

TEST(AgentStart, ApplicationObjectsThatGoBeforeAnEventLoopRunsLeaveNoAgent)
{
    // Qt calls the start-up hook for each application object; the agent
    // starts in the event loop of the one that runs it, once.
    StartupSession s(QStringLiteral(PLAINWIDGETS_PATH));
    s.prepare(preloadList(OwnRuntime));
    s.run({QStringLiteral("--probe-application-first")});
    s.expectHookUp(QStringLiteral("plainwidgets"));
    EXPECT_TRUE(s.output().contains(QStringLiteral("probed 2 arguments")))
        << qPrintable(s.output());
    EXPECT_FALSE(waitUntil([&] { return s.server.clientCount() > 1; }, 500));
    s.endThroughTheAgent();

    // An application that ends before its event loop ever ran never had
    // the agent, and ends as it would without it.
    StartupSession early(QStringLiteral(PLAINWIDGETS_PATH));
    early.prepare(preloadList(OwnRuntime));
    early.run({QStringLiteral("--leave-before-loop")});
    early.expectCleanExit();
    EXPECT_TRUE(early.output().contains(QStringLiteral("bye early"))) << qPrintable(early.output());
    EXPECT_FALSE(agentSpoke(early.output())) << qPrintable(early.output());
    EXPECT_EQ(early.server.clientCount(), 0);
}

TEST(AgentStart, TheApplicationGoesOnWhenTheServerDiesMidSession)
{
    StartupSession s(QStringLiteral(PLAINWIDGETS_PATH));
    s.prepare(preloadList(OwnRuntime));
    s.run({QStringLiteral("--quit-after"), QStringLiteral("2500")});
    s.expectHookUp(QStringLiteral("plainwidgets"));
    EXPECT_GT(s.answer("getPID").toLongLong(), 0);
    s.server.stop();
    // The application leaves by its own timer, normally, with nothing
    // left of the agent to hold it.
    ASSERT_TRUE(s.waitForOutput(QStringLiteral("bye 0"))) << qPrintable(s.output());
    s.expectCleanExit();
}

TEST(AgentStart, StartUpAndObjectHooksInstalledBeforeTheShimStillRun)
{
    // The dynamic loader runs the constructors of preloaded libraries in
    // one order or the other; either way both start-up hooks run.
    for (const bool chainFirst : {false, true}) {
        SCOPED_TRACE(chainFirst ? "startupchain first" : "shim first");
        StartupSession s(QStringLiteral(PLAINWIDGETS_PATH));
        const QString chain = QStringLiteral(STARTUPCHAIN_PATH);
        QString preload = preloadList(OwnRuntime, {chain});
        if (chainFirst)
            preload = preloadList(OwnRuntime.isEmpty() ? chain : OwnRuntime + ':' + chain);
        s.prepare(preload);
        s.run();
        s.expectHookUp(QStringLiteral("plainwidgets"));
        EXPECT_EQ(s.output().count(QStringLiteral("startupchain: start-up hook ran")), 1)
            << qPrintable(s.output());
        s.endThroughTheAgent();
        const QRegularExpression counts(
            QStringLiteral("startupchain: (\\d+) objects added, (\\d+) removed"));
        const QRegularExpressionMatch m = counts.match(s.output());
        ASSERT_TRUE(m.hasMatch()) << qPrintable(s.output());
        EXPECT_GT(m.captured(1).toInt(), 10);
        EXPECT_GT(m.captured(2).toInt(), 10);
    }
}

TEST(AgentStart, AMissingWrapperIsToldInOneLineAndTheApplicationRunsOn)
{
    // The shim alone in a directory, and no prefix to look in.
    QTemporaryDir lonely;
    ASSERT_TRUE(lonely.isValid());
    const QString shim = lonely.filePath(QStringLiteral("libtolvexpreload.so"));
    ASSERT_TRUE(QFile::copy(QStringLiteral(TOLVEX_SHIM_PATH), shim));
    StartupSession s(QStringLiteral(PLAINWIDGETS_PATH));
    s.prepare(OwnRuntime.isEmpty() ? shim : OwnRuntime + ':' + shim);
    s.run({QStringLiteral("--quit-after"), QStringLiteral("300")});
    s.expectCleanExit();
    const QString out = s.output();
    EXPECT_EQ(out.count(QStringLiteral("tolvex:")), 1) << qPrintable(out);
    EXPECT_TRUE(out.contains(QStringLiteral("tolvex: libtolvexqt.so is neither in %1 nor in "
                                            "$TOLVEX_PREFIX/lib; ")
                                 .arg(QDir(lonely.path()).canonicalPath())) ||
                out.contains(QStringLiteral("tolvex: libtolvexqt.so is neither in %1 nor in "
                                            "$TOLVEX_PREFIX/lib; ")
                                 .arg(lonely.path())))
        << qPrintable(out);
    EXPECT_TRUE(out.contains(NoAgentLine)) << qPrintable(out);
    EXPECT_TRUE(out.contains(QStringLiteral("bye 0"))) << qPrintable(out);
    EXPECT_EQ(s.server.clientCount(), 0);

    // Where the prefix names the wrapper's place, it is found there.
    StartupSession found(QStringLiteral(PLAINWIDGETS_PATH));
    found.prepare(OwnRuntime.isEmpty() ? shim : OwnRuntime + ':' + shim);
    found.launcher.setEnvironmentValue(QStringLiteral("TOLVEX_PREFIX"),
                                       QStringLiteral(TOLVEX_BUILD_PREFIX));
    found.run();
    found.expectHookUp(QStringLiteral("plainwidgets"));
    found.endThroughTheAgent();
}

TEST(AgentStart, AnApplicationThatLinksTheAgentStartsItOnce)
{
    StartupSession s(QStringLiteral(LINKEDWIDGETS_PATH));
    ASSERT_TRUE(s.start());
    s.run();
    s.expectHookUp(QStringLiteral("linkedwidgets"));
    // Asked twice, started once.
    EXPECT_TRUE(s.output().contains(QStringLiteral("startQtAgent true true")))
        << qPrintable(s.output());
    EXPECT_FALSE(waitUntil([&] { return s.server.clientCount() > 1; }, 500));
    EXPECT_EQ(s.answer("getPID").toLongLong(), s.launcher.processId());
    s.endThroughTheAgent();
    EXPECT_TRUE(s.output().contains(QStringLiteral("bye 0"))) << qPrintable(s.output());

    // Without a tool the agent is a local object, as the agent's own
    // contract says, and the application runs.
    StartupSession alone(QStringLiteral(LINKEDWIDGETS_PATH));
    ASSERT_TRUE(alone.start());
    alone.launcher.setConnectToServer(false);
    alone.run({QStringLiteral("--quit-after"), QStringLiteral("300")});
    alone.expectCleanExit();
    EXPECT_TRUE(alone.output().contains(QStringLiteral("TOLVEX_RUNNERID was not set")))
        << qPrintable(alone.output());
    EXPECT_TRUE(alone.output().contains(QStringLiteral("bye 0"))) << qPrintable(alone.output());
}

} // namespace
