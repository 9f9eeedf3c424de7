// Recording through the remote functions: the demo application, started
// unmodified with the agent, records a real click and real typing once the
// server turns recording on, and sends each event to the server.
#include "eventdata.h"
#include "eventwait.h"
#include "remoteapplication.h"
#include "serializable.h"

#include <QDataStream>

#include <gtest/gtest.h>

using namespace Tolvex;

namespace {

// The recorded events as the server reads them.
QList<EventData> recorded(const RemoteApplication &application)
{
    QList<EventData> events;
    for (const ArgumentList &args : application.received(QStringLiteral("recordEvent"))) {
        QDataStream in(args.value(0).toByteArray());
        in.setVersion(MetadataStreamVersion);
        EventData event;
        event.readObject(in);
        if (in.status() == QDataStream::Ok)
            events.append(event);
    }
    return events;
}

QString describe(const QList<EventData> &events)
{
    QStringList lines;
    for (const EventData &event : events)
        lines.append(event.toDebugString());
    return lines.join(QLatin1Char('\n'));
}

} // namespace

TEST(Recording, ARealClickAndRealTypingReachTheServerAsEvents)
{
    ASSERT_FALSE(qEnvironmentVariableIsEmpty("DISPLAY")) << "needs an X display";
    LaunchOptions options;
    options.program = QStringLiteral(DEMO_APP_PATH);
    options.prefix = QStringLiteral(TOLVEX_BUILD_PREFIX);
    options.environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    QString error;
    std::unique_ptr<RemoteApplication> demo = RemoteApplication::launch(options, &error);
    ASSERT_TRUE(demo) << qPrintable(error);

    const FunctionCallResult<RemoteObject> name =
        demo->waitForObject(QStringLiteral("{objectName='name' type='QLineEdit'}"), 15000);
    const FunctionCallResult<RemoteObject> submit =
        demo->waitForObject(QStringLiteral("{objectName='submit' type='QPushButton'}"), 15000);
    ASSERT_FALSE(name.isError() || submit.isError()) << qPrintable(name.error + submit.error);

    // Nothing is recorded before the server asks for it.
    ASSERT_FALSE(submit.value.click().isError());
    runEventsFor(300);
    EXPECT_TRUE(recorded(*demo).isEmpty()) << qPrintable(describe(recorded(*demo)));

    ASSERT_TRUE(demo->send(QStringLiteral("setEventRecordingEnabled"), {true}));
    ASSERT_FALSE(name.value.type(QStringLiteral("Ada")).isError());
    ASSERT_FALSE(submit.value.click().isError());
    ASSERT_TRUE(waitUntil(
        [&] { return describe(recorded(*demo)).contains(QStringLiteral("submit")); }, 10000))
        << qPrintable(describe(recorded(*demo)));
    const QString events = describe(recorded(*demo));
    // The typing arrives as one event with the whole text, on the field.
    EXPECT_TRUE(events.contains(QStringLiteral("Ada"))) << qPrintable(events);
    EXPECT_TRUE(events.contains(QStringLiteral("objectName='name'"))) << qPrintable(events);
    demo->quit();
}
