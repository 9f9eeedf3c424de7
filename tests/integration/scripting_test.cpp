// What a test script, a recorder and a spy do to a live AUT over TCP:
// readiness with the tester's names, name reuse, recording, event handlers
// with callbacks, asynchronous wrapper calls and classes made late.
#include "hookuptest.h"

#include "eventdata.h"

#include <QDataStream>

namespace {

using namespace Integration;

class ScriptTest : public HookUpTest
{
protected:
    void SetUp() override
    {
        HookUpTest::SetUp();
        launch();
        hookUpFully();
        counterId = idOf(call("objectByName", {0, QStringLiteral("counter")}));
        ASSERT_GT(counterId, 0);
    }

    void setCounter(int value)
    {
        const int v = idOf(call("createPrimitive", {QStringLiteral("int"), value}));
        ASSERT_TRUE(call("setProperty", {counterId, 0, v}).toBool());
    }

    // Everything sent before has been served once the answer is back: the
    // AUT serves its messages in order.
    void sync()
    {
        const qsizetype before = messagesNamed(QStringLiteral("answer")).size();
        send("requestAnswer");
        ASSERT_TRUE(waitUntil(
            [&] { return messagesNamed(QStringLiteral("answer")).size() > before; }, WaitMs));
    }

    qsizetype count(const char *function) const
    {
        return messagesNamed(QString::fromLatin1(function)).size();
    }

    bool waitForCount(const char *function, qsizetype n)
    {
        return waitUntil([&] { return count(function) >= n; }, WaitMs);
    }

    // The texts of the "log" broadcasts, each with the id it was logged for.
    QStringList logs() const
    {
        QStringList texts;
        for (const ApplicationServer::Message &m : messagesNamed(QStringLiteral("log")))
            texts.append(m.args.value(0).toString() + QLatin1Char(' ') +
                         m.args.value(1).toString());
        return texts;
    }

    int counterId = 0;
};

TEST_F(ScriptTest, ReadinessNamesTheObjectAsTheTesterKnowsIt)
{
    EXPECT_EQ(idOf(call("objectReady", {QStringLiteral("{name='counter'}")})), counterId);
    EXPECT_EQ(idOf(call("objectReady2", {counterId})), counterId);

    // A name that finds nothing keeps the lookup's own words.
    EXPECT_FALSE(call("objectReady", {QStringLiteral("{name='nobody'}")}).isValid());
    const QString lookupError = call("getLastError", {}).toString();
    EXPECT_TRUE(lookupError.contains(QStringLiteral("nobody"))) << qPrintable(lookupError);

    // An object no wrapper owns.
    EXPECT_FALSE(call("objectReady", {QStringLiteral("stray")}).isValid());
    EXPECT_EQ(call("getLastError", {}).toString(),
              QStringLiteral("Internal error: No handler felt responsible for checking the "
                             "ready-state for object of type 'Stray'."));
    EXPECT_TRUE(waitForOutput(QStringLiteral(
        "No handler felt responsible for checking the ready-state for object of type Stray")));
    // Its items set no error of their own: the script's last error stays.
    call("setError", {QStringLiteral("earlier")});
    EXPECT_FALSE(
        call("getObjectItemIfReady", {QStringLiteral("stray"), QStringLiteral("row")}).isValid());
    EXPECT_EQ(call("getLastError", {}).toString(), QStringLiteral("earlier"));

    // Items of an owned object without items of its own.
    for (const QVariant &item :
         {call("getObjectItemIfReady", {QStringLiteral("counter"), QStringLiteral("first")}),
          call("getObjectItemIfReady2", {counterId, QStringLiteral("first")}),
          call("getObjectItemByRowColIfReady", {QStringLiteral("counter"), 1, 2}),
          call("getObjectItemByRowColIfReady2", {counterId, 1, 2})})
        EXPECT_EQ(call("objectToString", {idOf(item)}).toString(),
                  QStringLiteral("<not-wrapped-item>"));

    // Not ready: under the real name, then under the object map's name.
    setCounter(-1);
    EXPECT_FALSE(call("objectReady", {QStringLiteral("counter")}).isValid());
    EXPECT_EQ(call("getLastError", {}).toString(),
              QStringLiteral("Object '{name='counter'}' not ready: the value is negative"));
    send("setObjectMap", {QStringLiteral(":counter\t{name='counter'}\n")});
    EXPECT_FALSE(call("objectReady", {QStringLiteral(":counter")}).isValid());
    EXPECT_EQ(call("getLastError", {}).toString(),
              QStringLiteral("Object ':counter' not ready: the value is negative"));
    EXPECT_FALSE(call("objectReady2", {counterId}).isValid());
    EXPECT_EQ(call("getLastError", {}).toString(),
              QStringLiteral("Object ':counter' not ready: the value is negative"));
    setCounter(3);
    EXPECT_EQ(idOf(call("objectReady", {QStringLiteral(":counter")})), counterId);

    // The second form shares the first one's wrong-count words.
    ReplyCatcher<> reply;
    ASSERT_GE(server.call(QStringLiteral("objectReady2"), {counterId, 1}, &reply), 0);
    ASSERT_TRUE(reply.waitForAnswer(WaitMs));
    EXPECT_FALSE(reply.result.value.value(0).isValid());
    EXPECT_TRUE(waitForOutput(
        QStringLiteral("Hook::handleCall: F_ObjectReady: wrong number of arguments")));
}

TEST_F(ScriptTest, ConvertedNamesReuseTheObjectMapsNameUntilTheMapChanges)
{
    // An entry that is not the object's real name but finds it is reused.
    send("setObjectMap", {QStringLiteral(":anyCounter\t{name?='count*'}\n")});
    EXPECT_EQ(call("convertName", {QStringLiteral("counter"), QStringLiteral("0")}).toString(),
              QStringLiteral("{name?='count*'}"));
    // No wrapper owns the stray object, so nothing is reused for it.
    EXPECT_EQ(call("convertName", {QStringLiteral("stray"), QStringLiteral("0")}).toString(),
              QStringLiteral("{name='stray'}"));
    // A name that finds nothing comes back as it was.
    EXPECT_EQ(call("convertName", {QStringLiteral("nobody"), QStringLiteral("0")}).toString(),
              QStringLiteral("nobody"));

    // A new map, even one that still finds the counter, drops the names
    // reused from the old one.
    send("setObjectMap", {QStringLiteral(":other\t{name='zzz'}\n")});
    EXPECT_EQ(call("convertName", {QStringLiteral("counter"), QStringLiteral("0")}).toString(),
              QStringLiteral("{name='counter'}"));
}

TEST_F(ScriptTest, RecordedEventsAndLogsReachTheRecorderOrTheRunner)
{
    send("setEventRecordingEnabled", {true});
    ASSERT_TRUE(waitForOutput(QStringLiteral("recording on")));

    // No recorder: the runner gets the event, serialised.
    EXPECT_TRUE(
        call("installEventHandler3", {QStringLiteral("click"), QStringLiteral("a")}).toBool());
    ASSERT_TRUE(waitForCount("recordEvent", 1));
    const QByteArray bytes =
        messagesNamed(QStringLiteral("recordEvent")).first().args.value(0).toByteArray();
    QDataStream in(bytes);
    in.setVersion(3);
    EventData event;
    event.readObject(in);
    EXPECT_EQ(in.status(), QDataStream::Ok);
    EXPECT_EQ(event.methodName(), QStringLiteral("clickCounter"));
    EXPECT_EQ(event.objectId(), QStringLiteral("{name='counter'}"));

    // A recorder id equal to the runner's is no recorder of its own.
    send("setRecorderId", {1});
    call("installEventHandler3", {QStringLiteral("click"), QStringLiteral("b")});
    ASSERT_TRUE(waitForCount("recordEvent", 2));

    // With a recorder of its own, events go there and logs name it. The
    // third equal log line is the second one sent: repeats are swallowed once.
    send("setRecorderId", {7});
    call("installEventHandler3", {QStringLiteral("click"), QStringLiteral("c")});
    ASSERT_TRUE(
        waitUntil([&] { return logs().contains(QStringLiteral("7 clickCounter")); }, WaitMs))
        << qPrintable(logs().join(QLatin1Char('|')));
    EXPECT_EQ(count("recordEvent"), 2);
    EXPECT_EQ(logs().filter(QStringLiteral("clickCounter")),
              (QStringList{QStringLiteral("1 clickCounter"), QStringLiteral("7 clickCounter")}));

    // a, a, a logs twice; then b, a logs both.
    for (const char *text : {"log:a", "log:a", "log:a", "log:b", "log:a"})
        call("installEventHandler3", {QString::fromLatin1(text), QStringLiteral("x")});
    sync();
    QStringList texts;
    for (const QString &line : logs())
        if (line == QLatin1String("7 a") || line == QLatin1String("7 b"))
            texts.append(line.mid(2));
    EXPECT_EQ(texts, (QStringList{QStringLiteral("a"), QStringLiteral("a"), QStringLiteral("b"),
                                  QStringLiteral("a")}));

    // Stopping tells the wrappers, then whoever records.
    send("stopRecord");
    sync();
    EXPECT_TRUE(waitForOutput(QStringLiteral("recording stopped")));
    EXPECT_EQ(count("recordingSubmitted"), 0);
    send("setRecorderId", {-1});
    send("stopRecord");
    ASSERT_TRUE(waitForCount("recordingSubmitted", 1));
    EXPECT_EQ(messagesNamed(QStringLiteral("recordingSubmitted")).first().args,
              ArgumentList{int(server.clientAddress())});

    send("setEventRecordingEnabled", {false});
    EXPECT_TRUE(waitForOutput(QStringLiteral("recording off")));
}

TEST_F(ScriptTest, EventHandlersCallBackAndAsynchronousCallsFinish)
{
    EXPECT_TRUE(call("installEventHandler1",
                     {counterId, QStringLiteral("valueChanged"), QStringLiteral("onValue")})
                    .toBool());
    ASSERT_TRUE(waitForCount("callBack", 1));
    EXPECT_TRUE(call("installEventHandler1",
                     {counterId, QStringLiteral("valueChanged"), QStringLiteral("onValue")})
                    .toBool());
    ASSERT_TRUE(waitForCount("callBack", 2));
    const QList<ApplicationServer::Message> callBacks = messagesNamed(QStringLiteral("callBack"));
    const ArgumentList first = callBacks.at(0).args;
    ASSERT_EQ(first.count(), 4);
    EXPECT_EQ(first.value(0).toString(), QStringLiteral("onValue"));
    EXPECT_EQ(idOf(first.value(1)), counterId);
    EXPECT_EQ(first.value(2).toInt(), int(server.clientAddress()));
    EXPECT_EQ(callBacks.at(1).args.value(3).toInt(), first.value(3).toInt() + 1);

    // Unknown objects are refused with the function's own words.
    EXPECT_FALSE(
        call("installEventHandler1", {99999, QStringLiteral("e"), QStringLiteral("h")}).toBool());
    EXPECT_FALSE(
        call("uninstallEventHandler1", {99999, QStringLiteral("e"), QStringLiteral("h")}).toBool());
    EXPECT_TRUE(
        waitForOutput(QStringLiteral("Hook::handleCall: F_InstallEventHandler1: Invalid object")));
    EXPECT_TRUE(waitForOutput(
        QStringLiteral("Hook::handleCall: F_UninstallEventHandler1: Invalid object")));
    EXPECT_TRUE(call("uninstallEventHandler1",
                     {counterId, QStringLiteral("valueChanged"), QStringLiteral("onValue")})
                    .toBool());
    EXPECT_TRUE(call("installEventHandler2",
                     {QStringLiteral("Counter"), QStringLiteral("e"), QStringLiteral("h")})
                    .toBool());
    EXPECT_TRUE(call("uninstallEventHandler2",
                     {QStringLiteral("Counter"), QStringLiteral("e"), QStringLiteral("h")})
                    .toBool());
    EXPECT_TRUE(
        call("uninstallEventHandler3", {QStringLiteral("e"), QStringLiteral("h")}).toBool());

    // A wrapper call that finishes later holds the script from begin to end.
    call("installEventHandler3", {QStringLiteral("async"), QStringLiteral("h")});
    ASSERT_TRUE(waitForCount("waitForFinishDone", 1));
    EXPECT_EQ(server.functions().filter(QStringLiteral("waitForFinish")),
              (QStringList{QStringLiteral("waitForFinish"), QStringLiteral("waitForFinishDone")}));
    const ArgumentList done = messagesNamed(QStringLiteral("waitForFinishDone")).first().args;
    ASSERT_EQ(done.count(), 1);
    EXPECT_EQ(idOf(done.value(0)), counterId);

    // The agent's own call on the server, made while it serves one.
    server.setClientEnvironment({QStringLiteral("A=1"), QStringLiteral("B=2")});
    EXPECT_TRUE(
        call("installEventHandler3", {QStringLiteral("env"), QStringLiteral("h")}).toBool());
    EXPECT_TRUE(waitForOutput(QStringLiteral("environment A=1,B=2")));

    // Events for unknown ids are dropped with a word, the AUT goes on.
    send("sendEvent", {99999, counterId});
    EXPECT_TRUE(waitForOutput(QStringLiteral("Hook::sendEvent: invalid event")));
    EXPECT_EQ(idOf(call("objectReady2", {counterId})), counterId);
}

TEST_F(ScriptTest, ClassesMadeAfterTheServerReadThemAllAreSentAsTheyCome)
{
    // Before the server has read all classes, new ones wait for that read.
    call("installEventHandler3", {QStringLiteral("class:EarlyKind"), QStringLiteral("h")});
    sync();
    EXPECT_EQ(count("registerClasses"), 0);

    const QByteArray all = call("allClasses", {}).toByteArray();
    const auto utf16 = [](const char *text) {
        QByteArray bytes;
        QDataStream out(&bytes, QIODevice::WriteOnly);
        out << QString::fromLatin1(text);
        return bytes.mid(4); // without the length
    };
    EXPECT_TRUE(all.contains(utf16("EarlyKind")));
    const int before = call("numClasses", {}).toInt();

    call("installEventHandler3", {QStringLiteral("class:LateKind"), QStringLiteral("h")});
    ASSERT_TRUE(waitForCount("registerClasses", 1));
    const ArgumentList late = messagesNamed(QStringLiteral("registerClasses")).first().args;
    ASSERT_EQ(late.count(), 2);
    EXPECT_EQ(late.value(0).toInt(), int(server.clientAddress()));
    const QByteArray sent = late.value(1).toByteArray();
    EXPECT_TRUE(sent.contains(utf16("LateKind")));
    EXPECT_FALSE(sent.contains(utf16("EarlyKind")));
    EXPECT_EQ(call("numClasses", {}).toInt(), before + 1);
}

} // namespace
