// The agent's hook-up and exit protocol, with a real AUT process connecting
// over TCP to the server side.
#include "applicationserver.h"
#include "autlauncher.h"
#include "hookuptest.h"
#include "primitiveclassid.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtEndian>

#include <gtest/gtest.h>

using namespace Tolvex;

namespace {

using namespace Integration;

TEST_F(HookUpTest, ConversationHoldsTheAUTUntilInitDoneAndServesCallsMeanwhile)
{
    launch();
    waitForHookUpRequest();
    const unsigned aut = server.clientAddress();
    ASSERT_GT(aut, 1u);
    const ClientData client = server.clientData();
    EXPECT_EQ(client.runnerId, AUTLauncher::DefaultRunnerId);
    EXPECT_EQ(client.clientKind, 4);
    EXPECT_EQ(client.clientName, QStringLiteral("testaut"));
    EXPECT_TRUE(
        output().contains(QStringLiteral("TOLVEX_RECORD was not set or set to a null string")))
        << qPrintable(output());

    QStringList beforeInit = server.functions();
    ASSERT_EQ(beforeInit, (QStringList{QStringLiteral("log"), QStringLiteral("subprocessHooked"),
                                       QStringLiteral("requestDescriptorData")}));
    const QList<ApplicationServer::Message> &m = server.messages();
    EXPECT_TRUE(m[0].broadcast);
    EXPECT_EQ(m[0].sender, aut);
    ASSERT_EQ(m[0].args.size(), 2);
    EXPECT_EQ(m[0].args.at(0).toInt(), AUTLauncher::DefaultRunnerId);
    EXPECT_EQ(m[0].args.at(1).toString(), ConnectedLog);
    EXPECT_TRUE(m[1].broadcast);
    ASSERT_EQ(m[1].args.size(), 1);
    EXPECT_EQ(m[1].args.at(0).toUInt(), aut);
    EXPECT_FALSE(m[2].broadcast);
    ASSERT_EQ(m[2].args.size(), 2);
    EXPECT_EQ(m[2].args.at(0).toUInt(), aut);
    EXPECT_EQ(m[2].args.at(1).toString(), QStringLiteral("testwrapper"));

    // A call while the AUT waits is answered, and answering it does not let
    // the AUT run on.
    ReplyCatcher<> reply;
    ASSERT_GE(server.call(QStringLiteral("notServedYet"), {1, QStringLiteral("x")}, &reply), 0);
    ASSERT_TRUE(reply.waitForAnswer(WaitMs));
    EXPECT_TRUE(reply.result.isSuccess()) << qPrintable(reply.result.error);
    // A send the agent does not serve yet is ignored without harm.
    ASSERT_GE(server.send(QStringLiteral("notServedYet")), 0);
    ReplyCatcher<> second;
    ASSERT_GE(server.call(QStringLiteral("notServedYet"), {}, &second), 0);
    ASSERT_TRUE(second.waitForAnswer(WaitMs));
    EXPECT_FALSE(output().contains(QStringLiteral("hook-up complete"))) << qPrintable(output());
    EXPECT_TRUE(launcher.isRunning());

    ASSERT_GE(server.initDone(), 0);
    ASSERT_TRUE(waitForOutput(QStringLiteral("hook-up complete"))) << qPrintable(output());
    ASSERT_TRUE(
        waitUntil([&] { return messagesNamed(QStringLiteral("log")).size() == 2; }, WaitMs));
    const ApplicationServer::Message completed = messagesNamed(QStringLiteral("log")).at(1);
    ASSERT_EQ(completed.args.size(), 2);
    EXPECT_EQ(completed.args.at(0).toInt(), AUTLauncher::DefaultRunnerId);
    EXPECT_EQ(completed.args.at(1).toString(), CompletedLog);

    // kill: the wrapper ends the event loop, the exit protocol runs, and the
    // server's exitDone lets the AUT go.
    ASSERT_GE(server.kill(), 0);
    expectCleanExit();
    const QString out = output();
    EXPECT_TRUE(out.contains(QStringLiteral("exitAUT 0"))) << qPrintable(out);
    EXPECT_TRUE(out.contains(QStringLiteral("exitDone received at depth 0"))) << qPrintable(out);
    EXPECT_TRUE(out.contains(QStringLiteral("event loop finished 0"))) << qPrintable(out);
    const QList<ApplicationServer::Message> exits = messagesNamed(QStringLiteral("appAboutToExit"));
    ASSERT_EQ(exits.size(), 1);
    EXPECT_FALSE(exits[0].broadcast);
    ASSERT_EQ(exits[0].args.size(), 1);
    EXPECT_EQ(exits[0].args.at(0).toUInt(), aut);
    EXPECT_EQ(server.functions().last(), QStringLiteral("appAboutToExit"));
}

TEST_F(HookUpTest, ExitWaitWhileRecordingEndsOnlyByExitDoneOrKill)
{
    // While recording the exit wait has no timer: only the server ends it.
    server.setAnswerExit(false);
    launcher.setEnvironmentValue(QStringLiteral("TOLVEX_RECORD"), QStringLiteral("1"));
    launch();
    hookUpFully();
    ASSERT_GE(server.kill(), 0);
    ASSERT_TRUE(waitForMessage(QStringLiteral("appAboutToExit"))) << qPrintable(output());
    // Round trips prove the AUT is serving messages inside its exit wait.
    for (int i = 0; i < 3; ++i) {
        ReplyCatcher<> reply;
        ASSERT_GE(server.call(QStringLiteral("notServedYet"), {}, &reply), 0);
        ASSERT_TRUE(reply.waitForAnswer(WaitMs));
    }
    EXPECT_TRUE(launcher.isRunning());
    EXPECT_FALSE(output().contains(QStringLiteral("event loop finished")));
    ASSERT_GE(server.exitDone(), 0);
    expectCleanExit();
    EXPECT_TRUE(output().contains(QStringLiteral("event loop finished 0")));
}

TEST_F(HookUpTest, KillDuringTheExitWaitReleasesIt)
{
    server.setAnswerExit(false);
    launcher.setEnvironmentValue(QStringLiteral("TOLVEX_RECORD"), QStringLiteral("1"));
    launch({QStringLiteral("--quit-after"), QStringLiteral("50")});
    hookUpFully();
    ASSERT_TRUE(waitForMessage(QStringLiteral("appAboutToExit"))) << qPrintable(output());
    ReplyCatcher<> reply;
    ASSERT_GE(server.call(QStringLiteral("notServedYet"), {}, &reply), 0);
    ASSERT_TRUE(reply.waitForAnswer(WaitMs));
    EXPECT_TRUE(launcher.isRunning());
    ASSERT_GE(server.kill(), 0);
    expectCleanExit();
    // The application was already leaving: kill must not ask it to exit again.
    EXPECT_FALSE(output().contains(QStringLiteral("exitAUT")));
}

TEST_F(HookUpTest, AttachedTestsExitDoneDoesNotEndTheExitWait)
{
    // The server answers appAboutToExit at once; attached, that answer must
    // not release the AUT, while kill inside the wait still does.
    launcher.setEnvironmentValue(QStringLiteral("TOLVEX_RECORD"), QStringLiteral("1"));
    launch({QStringLiteral("--attached"), QStringLiteral("--quit-after"), QStringLiteral("50")});
    hookUpFully();
    ASSERT_TRUE(waitForOutput(QStringLiteral("exitDone received at depth 1")))
        << qPrintable(output());
    ReplyCatcher<> reply;
    ASSERT_GE(server.call(QStringLiteral("notServedYet"), {}, &reply), 0);
    ASSERT_TRUE(reply.waitForAnswer(WaitMs));
    EXPECT_TRUE(launcher.isRunning());
    EXPECT_FALSE(output().contains(QStringLiteral("event loop finished")));
    ASSERT_GE(server.kill(), 0);
    expectCleanExit();
    EXPECT_TRUE(output().contains(QStringLiteral("event loop finished 0"))) << qPrintable(output());
}

TEST_F(HookUpTest, UnansweredExitEndsByTheExitWaitTimer)
{
    server.setAnswerExit(false);
    launch({QStringLiteral("--quit-after"), QStringLiteral("50")});
    hookUpFully();
    expectCleanExit();
    EXPECT_EQ(messagesNamed(QStringLiteral("appAboutToExit")).size(), 1);
    EXPECT_TRUE(output().contains(QStringLiteral("event loop finished 0")));
}

// A frame of the given type from the server to the AUT, with a body of junk.
QByteArray junkFrame(unsigned destination, quint32 type, const QByteArray &body)
{
    QByteArray frame(24, '\0');
    qToBigEndian<quint32>(destination, frame.data() + 4);
    qToBigEndian<quint32>(type, frame.data() + 8);
    qToBigEndian<quint32>(1, frame.data() + 12);
    qToBigEndian<qint32>(4711, frame.data() + 16);
    return frame + body;
}

TEST_F(HookUpTest, BadFramesDuringHookUpDoNotHurtTheAUT)
{
    launch();
    waitForHookUpRequest();
    const unsigned aut = server.clientAddress();
    const QByteArray junk(40, '\xff');
    // Shorter than a header, misaddressed, an unknown type, and calls and
    // sends whose bodies do not parse.
    ASSERT_TRUE(server.sendRaw(QByteArray(10, '\x01')));
    ASSERT_TRUE(server.sendRaw(junkFrame(aut + 100, 1, junk)));
    ASSERT_TRUE(server.sendRaw(junkFrame(aut, 77, junk)));
    ASSERT_TRUE(server.sendRaw(junkFrame(aut, 1, junk)));
    ASSERT_TRUE(server.sendRaw(junkFrame(aut, 3, junk)));
    ASSERT_TRUE(server.sendRaw(junkFrame(aut, 3, QByteArray())));
    ASSERT_TRUE(server.sendRaw(junkFrame(aut, 2, junk)));

    // Still waiting, still serving, and initDone still ends the wait.
    ReplyCatcher<> reply;
    ASSERT_GE(server.call(QStringLiteral("notServedYet"), {}, &reply), 0);
    ASSERT_TRUE(reply.waitForAnswer(WaitMs)) << qPrintable(output());
    EXPECT_FALSE(output().contains(QStringLiteral("hook-up complete")));
    ASSERT_GE(server.initDone(), 0);
    ASSERT_TRUE(waitForOutput(QStringLiteral("hook-up complete"))) << qPrintable(output());
    // endRecordAndExit ends the application through its wrapper.
    ASSERT_GE(server.send(QStringLiteral("endRecordAndExit")), 0);
    expectCleanExit();
    EXPECT_TRUE(output().contains(QStringLiteral("exitAUT 0"))) << qPrintable(output());
    EXPECT_TRUE(server.hasReceived(QStringLiteral("appAboutToExit")));
}

TEST_F(HookUpTest, HookUpOverASocketTheApplicationConnected)
{
    launcher.setEnvironmentValue(QStringLiteral("TOLVEX_APPID"), QString());
    launch({QStringLiteral("--own-socket")});
    waitForHookUpRequest();
    EXPECT_TRUE(
        output().contains(QStringLiteral("TOLVEX_APPID was not set or set to a null string")))
        << qPrintable(output());
    EXPECT_EQ(server.clientData().runnerId, AUTLauncher::DefaultRunnerId);
    EXPECT_EQ(server.functions(),
              (QStringList{QStringLiteral("log"), QStringLiteral("subprocessHooked"),
                           QStringLiteral("requestDescriptorData")}));
    ASSERT_GE(server.initDone(), 0);
    ASSERT_TRUE(waitForOutput(QStringLiteral("hook-up complete"))) << qPrintable(output());
    ASSERT_GE(server.kill(), 0);
    expectCleanExit();
    EXPECT_TRUE(server.hasReceived(QStringLiteral("appAboutToExit")));
}

TEST_F(HookUpTest, KillWithoutWrapperEndsTheProcessWithStatusZero)
{
    launch({QStringLiteral("--no-wrapper")});
    ASSERT_TRUE(waitForMessage(QStringLiteral("subprocessHooked"))) << qPrintable(output());
    ASSERT_EQ(server.clientCount(), 1);
    ASSERT_GE(server.initDone(), 0);
    ASSERT_TRUE(waitForOutput(QStringLiteral("hook-up complete"))) << qPrintable(output());
    // Without a wrapper nobody asks for descriptor data.
    EXPECT_FALSE(server.hasReceived(QStringLiteral("requestDescriptorData")));
    ASSERT_GE(server.kill(), 0);
    expectCleanExit();
    // Ended on the spot, not through the event loop.
    EXPECT_FALSE(output().contains(QStringLiteral("event loop finished")));
}

TEST_F(HookUpTest, CloseLeavesTheAUTRunningWithoutItsHook)
{
    launch({QStringLiteral("--quit-when-unhooked")});
    hookUpFully();
    ASSERT_GE(server.close(), 0);
    ASSERT_TRUE(waitUntil([&] { return !server.isClientConnected(); }, WaitMs));
    ASSERT_TRUE(waitForOutput(QStringLiteral("hook gone"))) << qPrintable(output());
    expectCleanExit();
    // It left through its own event loop, and no exit protocol ran.
    EXPECT_TRUE(output().contains(QStringLiteral("event loop finished 0")));
    EXPECT_FALSE(server.hasReceived(QStringLiteral("appAboutToExit")));
}

TEST_F(HookUpTest, CloseDuringHookUpAbortsItAndTheAUTGoesOn)
{
    launch({QStringLiteral("--quit-when-unhooked")});
    waitForHookUpRequest();
    ASSERT_GE(server.close(), 0);
    ASSERT_TRUE(waitForOutput(QStringLiteral("hook gone"))) << qPrintable(output());
    expectCleanExit();
    const QString out = output();
    EXPECT_TRUE(out.contains(QStringLiteral(" during AUT initialization, aborting hookup")))
        << qPrintable(out);
    // The Hook came back from the hook-up and was deleted later, from the
    // event loop.
    EXPECT_TRUE(out.contains(QStringLiteral("hook-up complete"))) << qPrintable(out);
    EXPECT_TRUE(out.contains(QStringLiteral("event loop finished 0"))) << qPrintable(out);
}

TEST_F(HookUpTest, ServerThatDiesLeavesTheAUTRunning)
{
    // During the wait for initDone.
    launch({QStringLiteral("--quit-after"), QStringLiteral("100")});
    waitForHookUpRequest();
    server.stop();
    expectCleanExit();
    QString out = output();
    EXPECT_TRUE(out.contains(
        QStringLiteral("Peer closed the connection during AUT initialization, aborting hookup")))
        << qPrintable(out);
    EXPECT_TRUE(out.contains(QStringLiteral("no hook"))) << qPrintable(out);
    EXPECT_TRUE(out.contains(QStringLiteral("event loop finished 0"))) << qPrintable(out);
}

TEST_F(HookUpTest, ServerThatDiesAfterHookUpLeavesTheAUTRunning)
{
    launch({QStringLiteral("--quit-when-unhooked")});
    hookUpFully();
    server.stop();
    ASSERT_TRUE(waitForOutput(QStringLiteral("hook gone"))) << qPrintable(output());
    expectCleanExit();
    EXPECT_TRUE(output().contains(QStringLiteral("event loop finished 0")));
}

TEST_F(HookUpTest, ServerThatDiesDuringTheExitWaitLetsTheAUTGo)
{
    // While recording only the server could end the wait; its loss must too.
    server.setAnswerExit(false);
    launcher.setEnvironmentValue(QStringLiteral("TOLVEX_RECORD"), QStringLiteral("1"));
    launch();
    hookUpFully();
    ASSERT_GE(server.kill(), 0);
    ASSERT_TRUE(waitForMessage(QStringLiteral("appAboutToExit"))) << qPrintable(output());
    server.stop();
    expectCleanExit();
    EXPECT_TRUE(output().contains(QStringLiteral("event loop finished 0"))) << qPrintable(output());
}

TEST_F(HookUpTest, CloseDuringTheExitWaitLetsTheAUTGo)
{
    // The Hook may not be deleted under the running wait, and the closed
    // connection must still end it.
    server.setAnswerExit(false);
    launcher.setEnvironmentValue(QStringLiteral("TOLVEX_RECORD"), QStringLiteral("1"));
    launch();
    hookUpFully();
    ASSERT_GE(server.kill(), 0);
    ASSERT_TRUE(waitForMessage(QStringLiteral("appAboutToExit"))) << qPrintable(output());
    ASSERT_GE(server.close(), 0);
    expectCleanExit();
    EXPECT_TRUE(output().contains(QStringLiteral("event loop finished 0"))) << qPrintable(output());
}

TEST_F(HookUpTest, WithoutARunnerIdTheAUTRunsUntouched)
{
    // The server is there and the address points at it: only the runner id
    // is missing or bad.
    for (const QString &runnerId :
         {QString(), QStringLiteral("0"), QStringLiteral("-1"), QStringLiteral("abc")}) {
        SCOPED_TRACE(qPrintable(runnerId));
        QFile::remove(outputPath());
        launcher.setConnectToServer(false);
        launcher.setEnvironmentValue(QStringLiteral("TOLVEX_SERVERADDRESS"),
                                     QStringLiteral("127.0.0.1"));
        launcher.setEnvironmentValue(QStringLiteral("TOLVEX_PORT"), QString::number(server.port()));
        launcher.setEnvironmentValue(QStringLiteral("TOLVEX_RUNNERID"), runnerId);
        launch({QStringLiteral("--quit-after"), QStringLiteral("100")});
        expectCleanExit();
        const QString out = output();
        EXPECT_TRUE(out.contains(NoRunnerText)) << qPrintable(out);
        EXPECT_TRUE(out.contains(QStringLiteral("hook-up complete"))) << qPrintable(out);
        EXPECT_TRUE(out.contains(QStringLiteral("event loop finished 0"))) << qPrintable(out);
        EXPECT_EQ(server.clientCount(), 0);
        EXPECT_TRUE(server.messages().isEmpty());
    }
}

} // namespace

// The object access and test data calls, against a live AUT over TCP.
TEST_F(HookUpTest, ObjectAccessAndTestDataCallsServeAScript)
{
    launch();
    hookUpFully();

    // A primitive made in the AUT, read, changed in place, read again.
    const QString wire = call("createPrimitive", {QStringLiteral("int"), 41}).toString();
    ASSERT_TRUE(wire.endsWith(QLatin1Char(',') + QString::number(IntClassId))) << qPrintable(wire);
    const int id = wire.section(QLatin1Char(','), 0, 0).toInt();
    EXPECT_EQ(call("objectToInteger", {id}).toInt(), 41);
    call("objectFromInteger", {id, 42});
    EXPECT_EQ(call("objectToString", {id}).toString(), QStringLiteral("42"));
    EXPECT_GT(call("numClasses", {}).toInt(), 9);
    EXPECT_FALSE(call("allClasses", {}).toByteArray().isEmpty());

    // The server gives its handle back: the id is unknown afterwards, and a
    // conversion of it answers "none", not 0.
    ASSERT_GE(server.send(QStringLiteral("remoteObjectDestroyed"), {id}), 0);
    EXPECT_FALSE(call("objectToInteger", {id}).isValid());
    // Wrong counts and unknown names answer "none" and the AUT goes on.
    EXPECT_FALSE(call("objectToInteger", {}).isValid());
    EXPECT_FALSE(call("noSuchFunction", {1}).isValid());
    EXPECT_FALSE(call("NumClasses", {}).isValid());

    // Test data: put, read back, check, and cleaned up by the send.
    const QString dir =
        QDir::temp().filePath(QStringLiteral("tolvex-testdata-%1").arg(launcher.processId()));
    const QString path = dir + QStringLiteral("/sub/data.txt");
    QString encoded = QStringLiteral("1");
    for (const char *p = "data"; *p; p += 2)
        encoded.append(QChar(ushort(uchar(p[0]) | (uchar(p[1]) << 8))));
    const QString written = call("testDataPut", {path, encoded, false}).toString();
    EXPECT_EQ(written, path);
    EXPECT_EQ(call("testDataGet", {path}).toByteArray(), QByteArray("data"));
    EXPECT_TRUE(call("testDataExists", {path}).toBool());
    EXPECT_FALSE(call("testDataGet", {dir + QStringLiteral("/missing")}).isValid());
    EXPECT_FALSE(call("getLastError", {}).toString().isEmpty());
    ASSERT_GE(server.send(QStringLiteral("testDataCleanup")), 0);
    EXPECT_FALSE(call("testDataExists", {path}).toBool());
    EXPECT_FALSE(QDir(dir).exists());

    // A property of a live toolkit object, read and written by its ids; the
    // same object keeps its id.
    const QString counter = call("objectByName", {0, QStringLiteral("counter")}).toString();
    const int counterId = counter.section(QLatin1Char(','), 0, 0).toInt();
    ASSERT_GT(counterId, 0) << qPrintable(counter);
    EXPECT_EQ(call("objectName", {counterId}).toString(), QStringLiteral("counter"));
    const int valueId =
        call("getProperty", {counterId, 0}).toString().section(QLatin1Char(','), 0, 0).toInt();
    EXPECT_EQ(call("objectToInteger", {valueId}).toInt(), 7);
    const int newValue =
        call("createPrimitive", {QStringLiteral("int"), 99}).toString().section(',', 0, 0).toInt();
    EXPECT_TRUE(call("setProperty", {counterId, 0, newValue}).toBool());
    const int readBack = call("getProperty", {counterId, 0}).toString().section(',', 0, 0).toInt();
    EXPECT_EQ(call("objectToInteger", {readBack}).toInt(), 99);
    EXPECT_FALSE(call("getProperty", {counterId, 5}).isValid()); // no such property
    // Methods on the object, and a static one on its class by negative id.
    const int classId = call("objectByName", {0, QStringLiteral("counter")})
                            .toString()
                            .section(QLatin1Char(','), 1, 1)
                            .toInt();
    ASSERT_GT(classId, 0);
    EXPECT_EQ(call("objectToString", {idOf(call("invoke", {counterId, 0}))}).toString(),
              QStringLiteral("Counter#0"));
    EXPECT_EQ(call("objectToString", {idOf(call("invoke", {-classId, 1}))}).toString(),
              QStringLiteral("Counter#1"));
    EXPECT_FALSE(call("invoke", {counterId, 9}).isValid()); // no such method
    EXPECT_EQ(call("objectByName", {0, QStringLiteral("counter")}).toString(), counter);

    // Process facts.
    EXPECT_EQ(call("getPID", {}).toLongLong(), launcher.processId());
    EXPECT_TRUE(call("autInfo", {QStringLiteral("arguments")})
                    .toStringList()
                    .first()
                    .endsWith(QStringLiteral("testaut")));

    ASSERT_GE(server.kill(), 0);
    expectCleanExit();
}
