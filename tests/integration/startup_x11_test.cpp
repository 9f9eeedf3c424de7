// Unmodified Qt 6 applications on a real X display, the agent brought in by
// the start-up shim: each hooks up, answers remote calls, has the X11
// plug-in, and leaves when the tool ends it.
#include "startupsession.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

using namespace Integration;

class AgentStartOnX11 : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (qEnvironmentVariableIsEmpty("DISPLAY"))
            GTEST_FAIL() << "These tests need an X display (DISPLAY)";
    }

    // On X11, with the plug-in the shim's prefix leads the agent to.
    static void onX11(StartupSession &s, const QString &preload)
    {
        s.prepare(preload);
        s.launcher.setEnvironmentValue(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    }

    static void expectNativeSide(StartupSession &s)
    {
        const QStringList capabilities = s.answer("nativeCapabilities").toStringList();
        EXPECT_TRUE(capabilities.contains(QStringLiteral("KeycodeSupport")))
            << qPrintable(capabilities.join(' ')) << "\n"
            << qPrintable(s.output());
        EXPECT_FALSE(s.output().contains(QStringLiteral("native input and screen capture")))
            << qPrintable(s.output());
    }

    // Whether a top-level window whose title matches the pattern is on the
    // display, as a user would see it.
    static bool windowShown(const QString &titlePattern)
    {
        QProcess search;
        search.start(QStringLiteral("xdotool"),
                     {QStringLiteral("search"), QStringLiteral("--name"), titlePattern});
        return search.waitForFinished(5000) && search.exitCode() == 0 &&
               !search.readAllStandardOutput().trimmed().isEmpty();
    }
};

TEST_F(AgentStartOnX11, AWidgetsApplicationHooksUpAndAnswers)
{
    StartupSession s(QStringLiteral(PLAINWIDGETS_PATH));
    onX11(s, preloadList(OwnRuntime));
    s.run();
    s.expectHookUp(QStringLiteral("plainwidgets"));
    EXPECT_EQ(s.answer("getPID").toLongLong(), s.launcher.processId());
    expectNativeSide(s);
    ASSERT_TRUE(s.waitForOutput(QStringLiteral("shown"))) << qPrintable(s.output());
    s.endThroughTheAgent();
    EXPECT_TRUE(s.output().contains(QStringLiteral("bye 0"))) << qPrintable(s.output());
}

TEST_F(AgentStartOnX11, WithoutItsPlugInTheAgentRunsAndSaysWhyOnce)
{
    // A prefix with the shim and the wrapper but no X11 plug-in.
    QTemporaryDir prefix;
    ASSERT_TRUE(prefix.isValid());
    ASSERT_TRUE(QDir(prefix.path()).mkdir(QStringLiteral("lib")));
    const QString shim = prefix.filePath(QStringLiteral("lib/libtolvexpreload.so"));
    ASSERT_TRUE(QFile::copy(QStringLiteral(TOLVEX_SHIM_PATH), shim));
    ASSERT_TRUE(QFile::link(QStringLiteral(TOLVEX_BUILD_PREFIX "/lib/libtolvexqt.so"),
                            prefix.filePath(QStringLiteral("lib/libtolvexqt.so"))));
    StartupSession s(QStringLiteral(PLAINWIDGETS_PATH));
    onX11(s, OwnRuntime.isEmpty() ? shim : OwnRuntime + ':' + shim);
    s.run();
    s.expectHookUp(QStringLiteral("plainwidgets"));
    const QString why = QStringLiteral("Platform plugin 'xlib' library not found");
    EXPECT_EQ(s.output().count(QStringLiteral("tolvex: native input and screen capture are not "
                                              "available: ") +
                               why),
              1)
        << qPrintable(s.output());
    // Native calls fail with that reason; the rest of the agent serves.
    EXPECT_EQ(s.answer("getPID").toLongLong(), s.launcher.processId());
    EXPECT_FALSE(
        s.answer("nativeCapabilities").toStringList().contains(QStringLiteral("KeycodeSupport")));
    s.endThroughTheAgent();
}

TEST_F(AgentStartOnX11, AQmlApplicationHooksUpAndAnswers)
{
    StartupSession s(QStringLiteral(PLAINQML_PATH));
    onX11(s, preloadList(OwnRuntime));
    // Xvfb has no GPU: Qt Quick draws in software.
    s.launcher.setEnvironmentValue(QStringLiteral("QT_QUICK_BACKEND"), QStringLiteral("software"));
    s.run();
    s.expectHookUp(QStringLiteral("plainqml"));
    ASSERT_TRUE(s.waitForOutput(QStringLiteral("loaded"))) << qPrintable(s.output());
    EXPECT_EQ(s.answer("getPID").toLongLong(), s.launcher.processId());
    expectNativeSide(s);
    s.endThroughTheAgent();
    EXPECT_TRUE(s.output().contains(QStringLiteral("bye 0"))) << qPrintable(s.output());
}

TEST_F(AgentStartOnX11, QtDesignerFromTheDistributionHooksUpAndAnswers)
{
    // Designer keeps its state under the home directory: a fresh one, so
    // that each run starts as the first.
    QTemporaryDir home;
    ASSERT_TRUE(home.isValid());
    StartupSession s(QStringLiteral(DESIGNER_PATH));
    onX11(s, preloadList(ForeignRuntime));
    s.launcher.setEnvironmentValue(QStringLiteral("HOME"), home.path());
    s.launcher.setEnvironmentValue(QStringLiteral("XDG_CONFIG_HOME"), home.filePath("config"));
    // Designer is not ours to check for leaks, where the sanitizer runtime
    // came in with the agent.
    if (!ForeignRuntime.isEmpty())
        s.launcher.setEnvironmentValue(QStringLiteral("ASAN_OPTIONS"),
                                       QStringLiteral("detect_leaks=0"));
    s.run();
    s.expectHookUp(QStringLiteral("designer"));
    EXPECT_EQ(s.answer("getPID").toLongLong(), s.launcher.processId());
    expectNativeSide(s);
    // Designer opens its "New Form" dialog from a timer once its event loop
    // runs. It is ended from there: ended sooner, the timer would open the
    // dialog inside the agent's exit wait, and the dialog's own event loop
    // would hold the exit up.
    ASSERT_TRUE(waitUntil([] { return windowShown(QStringLiteral("^New Form")); }, s.WaitMs))
        << qPrintable(s.output());
    s.endThroughTheAgent();
}

} // namespace
