#pragma once

// The fixture of the tests that drive a real AUT process the way the tool's
// server does: the shared session, with GoogleTest's verdicts on its steps.

#include "autsession.h"
#include "eventloop.h"
#include "replycatcher.h"

#include <gtest/gtest.h>

namespace Integration {

using namespace Tolvex;
using TestSupport::ReplyCatcher;
using TestSupport::waitUntil;

inline const QString ConnectedLog = QStringLiteral("\tApplication connected...");
inline const QString CompletedLog = QStringLiteral("\tHook-up completed...");
inline const QString NoRunnerText = QStringLiteral(
    "TOLVEX_RUNNERID was not set, set to an empty string or is not a positive number");

class HookUpTest : public ::testing::Test, protected TestSupport::AUTSession
{
protected:
    HookUpTest() : AUTSession(QStringLiteral(TESTAUT_PATH)) {}

    void SetUp() override { ASSERT_TRUE(start()); }

    void launch(const QStringList &arguments = {}) { ASSERT_TRUE(AUTSession::launch(arguments)); }

    void waitForHookUpRequest()
    {
        ASSERT_TRUE(AUTSession::waitForHookUpRequest()) << qPrintable(output());
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

    // A call answered by the AUT: its one result, or an invalid value.
    QVariant call(const char *function, const ArgumentList &args)
    {
        const FunctionCallResult<ArgumentList> r =
            AUTSession::call(QString::fromLatin1(function), args);
        EXPECT_TRUE(r.isSuccess()) << function << ": " << qPrintable(r.error);
        return r.value.value(0);
    }

    void send(const char *function, const ArgumentList &args = {})
    {
        EXPECT_GE(server.send(QString::fromLatin1(function), args), 0) << function;
    }
};

} // namespace Integration
