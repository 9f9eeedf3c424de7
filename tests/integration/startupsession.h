#pragma once

// Applications that know nothing of the agent, started the way the tool
// starts them: the agent's environment, and the start-up shim in LD_PRELOAD.
// What the tests of the agent's start share, with GoogleTest's verdicts.

#include "autsession.h"
#include "eventloop.h"

#include <QStringList>

#include <gtest/gtest.h>

#include <functional>
#include <optional>

namespace Integration {

using TestSupport::runEventsFor;
using TestSupport::waitUntil;

inline const QString CompletedLog = QStringLiteral("\tHook-up completed...");

// What a program has to preload ahead of the shim for the agent of this
// build: the sanitizer runtime it needs, if any (the build system knows).
inline const QString OwnRuntime = QStringLiteral(TOLVEX_SANITIZER_PRELOAD_OWN);
inline const QString ForeignRuntime = QStringLiteral(TOLVEX_SANITIZER_PRELOAD_FOREIGN);

// The preload list: the runtime first, then the shim, then more.
inline QString preloadList(const QString &runtime, const QStringList &more = {})
{
    QStringList entries;
    if (!runtime.isEmpty())
        entries << runtime;
    entries << QStringLiteral(TOLVEX_SHIM_PATH) << more;
    return entries.join(QLatin1Char(':'));
}

class StartupSession : public TestSupport::AUTSession
{
public:
    explicit StartupSession(const QString &program) : AUTSession(program) {}

    // The server listens, and the program will start with the shim and the
    // agent's variables; the shim has to find the wrapper and the agent its
    // plug-ins without TOLVEX_PREFIX.
    void prepare(const QString &preload)
    {
        ASSERT_TRUE(start());
        launcher.setEnvironmentValue(QStringLiteral("LD_PRELOAD"), preload);
        launcher.setEnvironmentValue(QStringLiteral("TOLVEX_PREFIX"), QString());
    }

    void run(const QStringList &arguments = {})
    {
        ASSERT_TRUE(launchUnmodified(arguments)) << qPrintable(launcher.environment().join(' '));
    }

    // The first message of that name from client index that fits, or none.
    std::optional<Tolvex::ApplicationServer::Message>
    messageFrom(int index, const QString &function,
                const std::function<bool(const Tolvex::ArgumentList &)> &fits = {}) const
    {
        for (const auto &m : messagesNamed(function))
            if (m.sender == server.clientAddress(index) && (!fits || fits(m.args)))
                return m;
        return std::nullopt;
    }

    // The agent came up with the Qt wrapper, asked for its descriptors by
    // the wrapper's name, was let run, and completed its hook-up.
    void expectHookUp(const QString &clientName, int index = 0)
    {
        const QString descriptors = QStringLiteral("requestDescriptorData");
        ASSERT_TRUE(waitUntil([&] { return server.clientCount() > index; }, WaitMs))
            << qPrintable(output());
        ASSERT_TRUE(waitUntil([&] { return messageFrom(index, descriptors).has_value(); }, WaitMs))
            << qPrintable(output());
        EXPECT_EQ(server.clientData(index).clientName, clientName);
        EXPECT_EQ(messageFrom(index, descriptors)->args.value(1).toString(), QStringLiteral("Qt"));
        ASSERT_GE(server.initDone(index), 0);
        const auto completed = [](const Tolvex::ArgumentList &args) {
            return args.value(1).toString() == CompletedLog;
        };
        ASSERT_TRUE(waitUntil(
            [&] { return messageFrom(index, QStringLiteral("log"), completed).has_value(); },
            WaitMs))
            << qPrintable(output());
    }

    // A remote call answered by the agent of client index: its one result.
    QVariant answer(const char *function, const Tolvex::ArgumentList &args = {}, int index = 0)
    {
        const Tolvex::FunctionCallResult<Tolvex::ArgumentList> r =
            call(QString::fromLatin1(function), args, WaitMs, index);
        EXPECT_TRUE(r.isSuccess()) << function << ": " << qPrintable(r.error);
        return r.value.value(0);
    }

    // The tool ends the application through the agent, which tells the
    // server on its way out; the application leaves its event loop and
    // exits normally.
    void endThroughTheAgent(int index = 0)
    {
        ASSERT_GE(server.kill(index), 0);
        ASSERT_TRUE(waitForExit()) << qPrintable(output());
        EXPECT_TRUE(launcher.normalExit()) << qPrintable(output());
        EXPECT_EQ(launcher.exitCode(), 0) << qPrintable(output());
        EXPECT_TRUE(server.hasReceived(QStringLiteral("appAboutToExit"))) << qPrintable(output());
    }

    void expectCleanExit()
    {
        ASSERT_TRUE(waitForExit()) << qPrintable(output());
        EXPECT_TRUE(launcher.normalExit()) << qPrintable(output());
        EXPECT_EQ(launcher.exitCode(), 0) << qPrintable(output());
    }
};

} // namespace Integration
