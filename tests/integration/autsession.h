#pragma once

// A server and one real AUT process over TCP: the fixture of the tests that
// drive the agent the way the tool's server does.

#include "applicationserver.h"
#include "autlauncher.h"
#include "eventloop.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace AUTSession {

using namespace Tolvex;
using TestSupport::spinUntil;

inline constexpr int WaitMs = 15000;

inline const QString ConnectedLog = QStringLiteral("\tApplication connected...");
inline const QString CompletedLog = QStringLiteral("\tHook-up completed...");
inline const QString NoRunnerText = QStringLiteral(
    "TOLVEX_RUNNERID was not set, set to an empty string or is not a positive number");

struct ReplyCatcher : ResponseListener<ArgumentList>
{
    bool answered = false;
    FunctionCallResult<ArgumentList> result;
    void response(FunctionCallResult<ArgumentList> r) override
    {
        answered = true;
        result = std::move(r);
    }
};

class HookUpTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_dir.isValid());
        ASSERT_TRUE(server.start());
        launcher.setProgram(QStringLiteral(TESTAUT_PATH));
        launcher.setServer(QStringLiteral("127.0.0.1"), server.port());
    }

    void TearDown() override
    {
        // No AUT outlives its test, whatever the test asserted.
        if (launcher.isRunning())
            launcher.kill();
    }

    void launch(const QStringList &arguments = {})
    {
        launcher.setArguments(QStringList{QStringLiteral("--output"), outputPath()} + arguments);
        ASSERT_TRUE(launcher.start());
    }

    QString outputPath() const { return m_dir.filePath(QStringLiteral("aut.log")); }

    QString output() const
    {
        QFile file(outputPath());
        if (!file.open(QIODevice::ReadOnly))
            return {};
        return QString::fromLocal8Bit(file.readAll());
    }

    bool waitForOutput(const QString &text)
    {
        return spinUntil([&] { return output().contains(text); }, WaitMs);
    }

    bool waitForMessage(const QString &function)
    {
        return spinUntil([&] { return server.hasReceived(function); }, WaitMs);
    }

    bool waitForExit()
    {
        return spinUntil([&] { return !launcher.isRunning(); }, WaitMs);
    }

    // The hook-up up to where the AUT waits for initDone.
    void waitForHookUpRequest()
    {
        ASSERT_TRUE(waitForMessage(QStringLiteral("requestDescriptorData")))
            << qPrintable(output());
        ASSERT_EQ(server.clientCount(), 1);
    }

    void hookUpFully()
    {
        waitForHookUpRequest();
        ASSERT_GE(server.initDone(), 0);
        ASSERT_TRUE(waitForOutput(QStringLiteral("hook-up complete"))) << qPrintable(output());
    }

    void expectCleanExit()
    {
        ASSERT_TRUE(waitForExit()) << qPrintable(output());
        EXPECT_TRUE(launcher.normalExit());
        EXPECT_EQ(launcher.exitCode(), 0) << qPrintable(output());
    }

    QList<ApplicationServer::Message> messagesNamed(const QString &function) const
    {
        QList<ApplicationServer::Message> found;
        for (const ApplicationServer::Message &m : server.messages())
            if (m.function == function)
                found.append(m);
        return found;
    }

    // A call answered by the AUT: its one result, or an invalid value.
    QVariant call(const char *function, const ArgumentList &args)
    {
        ReplyCatcher reply;
        EXPECT_GE(server.call(QString::fromLatin1(function), args, &reply), 0) << function;
        EXPECT_TRUE(spinUntil([&] { return reply.answered; }, WaitMs)) << function;
        EXPECT_TRUE(reply.result.isSuccess()) << function;
        return reply.result.value.value(0);
    }
    // The id of an object from its wire form.
    static int idOf(const QVariant &wire)
    {
        return wire.toString().section(QLatin1Char(','), 0, 0).toInt();
    }
    void send(const char *function, const ArgumentList &args = {})
    {
        EXPECT_GE(server.send(QString::fromLatin1(function), args), 0) << function;
    }

    ApplicationServer server;
    AUTLauncher launcher;

private:
    QTemporaryDir m_dir;
};

} // namespace AUTSession
