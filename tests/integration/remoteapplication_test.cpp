// The client API against a real application process with the agent linked
// in: launch and hook-up, members by name with their conversions, waiting
// for readiness with the agent's words, names that find nothing, and an
// application that leaves.
#include "autlauncher.h"
#include "eventloop.h"
#include "remoteapplication.h"

#include <QFile>
#include <QTemporaryDir>

#include <csignal>

#include <gtest/gtest.h>

namespace {

using namespace Tolvex;

std::unique_ptr<RemoteApplication> launchTestAut(const QStringList &arguments, QString *error)
{
    LaunchOptions options;
    options.program = QStringLiteral(TESTAUT_PATH);
    options.arguments = arguments;
    options.preload = false;
    options.hookUpTimeoutMs = 15000;
    return RemoteApplication::launch(options, error);
}

} // namespace

TEST(RemoteApplication, MembersByNameWithConversionsAndReadinessInTheAgentsWords)
{
    QString error;
    std::unique_ptr<RemoteApplication> aut = launchTestAut({}, &error);
    ASSERT_TRUE(aut) << qPrintable(error);
    EXPECT_GT(aut->classes().count(), 9);

    const FunctionCallResult<RemoteObject> counter =
        aut->waitForObject(QStringLiteral("{name='counter'}"), 5000);
    ASSERT_FALSE(counter.isError()) << qPrintable(counter.error);
    EXPECT_EQ(counter.value.className(), QStringLiteral("Counter"));
    EXPECT_EQ(counter.value.realName().value, QStringLiteral("{name='counter'}"));
    EXPECT_EQ(counter.value.property(QStringLiteral("value")).value, QVariant(7));

    ASSERT_FALSE(counter.value.setProperty(QStringLiteral("value"), 42).isError());
    EXPECT_EQ(counter.value.property(QStringLiteral("value")).value, QVariant(42));
    // A method by name; its answer converted from the agent's string.
    EXPECT_EQ(
        counter.value.call(QStringLiteral("describe")).value.toString(),
        QStringLiteral("Counter#%1")
            .arg(aut->classes().method(counter.value.classId(), QStringLiteral("describe"))->id()));

    // Names a script gets wrong say what there is instead.
    const FunctionCallResult<QVariant> missing = counter.value.property(QStringLiteral("valu"));
    EXPECT_EQ(missing.error, QStringLiteral("Counter has no property 'valu'; it has: value"));
    EXPECT_TRUE(counter.value.call(QStringLiteral("describe"), {1})
                    .error.contains(QStringLiteral("no method 'describe' that takes 1 arguments")));

    // Not ready: the wait ends at its time-out with the agent's reason.
    ASSERT_FALSE(counter.value.setProperty(QStringLiteral("value"), -1).isError());
    const FunctionCallResult<RemoteObject> notReady =
        aut->waitForObject(QStringLiteral("{name='counter'}"), 300);
    EXPECT_TRUE(notReady.isError());
    EXPECT_EQ(notReady.error,
              QStringLiteral("Object '{name='counter'}' not ready: the value is negative"));

    // Nothing of that name: the closest real names follow the lookup's error.
    const FunctionCallResult<RemoteObject> absent =
        aut->waitForObject(QStringLiteral("{name='count'}"), 200);
    ASSERT_TRUE(absent.isError());
    EXPECT_TRUE(absent.error.contains(QStringLiteral("Closest names:\n  {name='counter'}")))
        << qPrintable(absent.error);
}

TEST(RemoteApplication, AdmitsOnlyItsOwnApplicationAndReportsItsEnd)
{
    QString error;
    std::unique_ptr<RemoteApplication> aut =
        launchTestAut({QStringLiteral("--quit-after"), QStringLiteral("1500")}, &error);
    ASSERT_TRUE(aut) << qPrintable(error);

    // Another application pointed at the same port is turned away: it runs
    // on without the agent's connection.
    QTemporaryDir dir;
    const QString output = dir.filePath(QStringLiteral("stranger.txt"));
    AUTLauncher stranger;
    stranger.setProgram(QStringLiteral(TESTAUT_PATH));
    stranger.setArguments({QStringLiteral("--output"), output, QStringLiteral("--quit-after"),
                           QStringLiteral("500")});
    stranger.setServer(QStringLiteral("127.0.0.1"), aut->port());
    stranger.setAppId(4);
    ASSERT_TRUE(stranger.start());
    EXPECT_TRUE(TestSupport::waitUntil([&] { return !stranger.isRunning(); }, 15000));
    EXPECT_EQ(stranger.exitCode(), 0);
    QFile said(output);
    ASSERT_TRUE(said.open(QIODevice::ReadOnly));
    const QString strangerOutput = QString::fromUtf8(said.readAll());
    EXPECT_TRUE(strangerOutput.contains(
        QStringLiteral("This server admits only the application it started")))
        << qPrintable(strangerOutput);

    const FunctionCallResult<RemoteObject> counter =
        aut->waitForObject(QStringLiteral("{name='counter'}"), 5000);
    ASSERT_FALSE(counter.isError()) << qPrintable(counter.error);
    EXPECT_TRUE(TestSupport::waitUntil([&] { return !aut->isRunning(); }, 15000));
    EXPECT_EQ(aut->endDescription(), QStringLiteral("exited with status 0"));
    const FunctionCallResult<QVariant> after = counter.value.property(QStringLiteral("value"));
    EXPECT_TRUE(after.isError());
    EXPECT_TRUE(after.error.contains(QStringLiteral("exited with status 0")))
        << qPrintable(after.error);

    LaunchOptions nothing;
    nothing.program = QStringLiteral("/nonexistent/program");
    nothing.preload = false;
    EXPECT_FALSE(RemoteApplication::launch(nothing, &error));
    EXPECT_FALSE(error.isEmpty());
}

TEST(RemoteApplication, TwoApplicationsAtOnceAndACrashSaidAsSuch)
{
    QString error;
    std::unique_ptr<RemoteApplication> first = launchTestAut({}, &error);
    ASSERT_TRUE(first) << qPrintable(error);
    std::unique_ptr<RemoteApplication> second = launchTestAut({}, &error);
    ASSERT_TRUE(second) << qPrintable(error);
    EXPECT_NE(first->port(), second->port());

    const QString name = QStringLiteral("{name='counter'}");
    const FunctionCallResult<RemoteObject> a = first->waitForObject(name, 5000);
    const FunctionCallResult<RemoteObject> b = second->waitForObject(name, 5000);
    ASSERT_FALSE(a.isError() || b.isError());
    ASSERT_FALSE(a.value.setProperty(QStringLiteral("value"), 1).isError());
    ASSERT_FALSE(b.value.setProperty(QStringLiteral("value"), 2).isError());
    EXPECT_EQ(a.value.property(QStringLiteral("value")).value, QVariant(1));
    EXPECT_EQ(b.value.property(QStringLiteral("value")).value, QVariant(2));

    // One crashes; the other goes on, and the crash is named as one.
    ASSERT_EQ(::kill(pid_t(first->processId()), SIGSEGV), 0);
    EXPECT_TRUE(TestSupport::waitUntil([&] { return !first->isRunning(); }, 15000));
    EXPECT_EQ(first->endDescription(), QStringLiteral("crashed"));
    const FunctionCallResult<QVariant> gone = a.value.property(QStringLiteral("value"));
    EXPECT_EQ(gone.error, QStringLiteral("The application crashed"));
    EXPECT_EQ(b.value.property(QStringLiteral("value")).value, QVariant(2));
}

TEST(RemoteApplication, AnApplicationThatStopsAnsweringTimesOutAndItsLateAnswerHarmsNothing)
{
    QString error;
    std::unique_ptr<RemoteApplication> aut = launchTestAut({}, &error);
    ASSERT_TRUE(aut) << qPrintable(error);
    const FunctionCallResult<RemoteObject> counter =
        aut->waitForObject(QStringLiteral("{name='counter'}"), 5000);
    ASSERT_FALSE(counter.isError()) << qPrintable(counter.error);
    const int value =
        aut->classes().property(counter.value.classId(), QStringLiteral("value"))->id();

    // Stopped, the application answers nothing: the call gives up in time.
    ASSERT_EQ(::kill(pid_t(aut->processId()), SIGSTOP), 0);
    const FunctionCallResult<ArgumentList> stalled =
        aut->call(QStringLiteral("getProperty"), {counter.value.id(), value}, 300);
    EXPECT_EQ(stalled.error, QStringLiteral("No answer to getProperty within 0.3 s"));

    // Going on, it answers the old call late, which nobody waits for, and
    // the next calls are answered as before.
    ASSERT_EQ(::kill(pid_t(aut->processId()), SIGCONT), 0);
    EXPECT_EQ(counter.value.property(QStringLiteral("value")).value, QVariant(7));
    EXPECT_EQ(counter.value.property(QStringLiteral("value")).value, QVariant(7));
    EXPECT_TRUE(aut->isRunning());
}
