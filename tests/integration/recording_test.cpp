// Recording through the remote functions: the demo application, started
// unmodified with the agent, records a real click and real typing once the
// server turns recording on, and sends each event to the server.
#include "demoapplication.h"
#include "eventdata.h"
#include "eventwait.h"
#include "serializable.h"

#include <QDataStream>
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QUrl>

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
    QString error;
    std::unique_ptr<RemoteApplication> demo =
        TestSupport::launchDemo(QStringLiteral("xcb"), &error);
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

namespace {

// The tool as a tester runs it, against sessions of this test only.
class RecordCommand : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_FALSE(qEnvironmentVariableIsEmpty("DISPLAY")) << "needs an X display";
        m_environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), m_runtime.path());
        m_environment.insert(QStringLiteral("TOLVEX_PREFIX"), QStringLiteral(TOLVEX_BUILD_PREFIX));
        m_environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
        // Each test drives the demo in a session of its own.
        ASSERT_EQ(
            tolvex({QStringLiteral("launch"), QStringLiteral("--"), QStringLiteral(DEMO_APP_PATH)})
                .first,
            0);
    }

    void TearDown() override { tolvex({QStringLiteral("quit")}); }

    void start(QProcess *process, const QStringList &arguments)
    {
        process->setProcessEnvironment(m_environment);
        process->start(QStringLiteral(TOLVEX_PATH),
                       arguments.mid(0, 1) + m_session + arguments.mid(1));
    }

    // Exit code and standard output; the error line goes with a failure.
    std::pair<int, QString> tolvex(const QStringList &arguments)
    {
        QProcess process;
        start(&process, arguments);
        if (!process.waitForFinished(120000))
            process.kill();
        const QString err = QString::fromUtf8(process.readAllStandardError());
        if (process.exitCode() != 0)
            ADD_FAILURE() << qPrintable(arguments.join(QLatin1Char(' '))) << ": "
                          << qPrintable(err);
        return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()).trimmed()};
    }

    QTemporaryDir m_runtime;
    QProcessEnvironment m_environment = QProcessEnvironment::systemEnvironment();
    const QStringList m_session{QStringLiteral("--session"), QStringLiteral("rec")};
};

} // namespace

TEST_F(RecordCommand, PrintsEachActionWithACommandThatReplaysIt)
{
    const QString field = QStringLiteral("{objectName='name' type='QLineEdit'}");
    const QString submit = QStringLiteral("{objectName='submit' type='QPushButton'}");

    // The recorder polls the session while other shells' commands run in
    // the same session.
    QProcess recorder;
    start(&recorder, {QStringLiteral("record"), QStringLiteral("--json")});
    recorder.setReadChannel(QProcess::StandardError);
    ASSERT_TRUE(recorder.waitForReadyRead(30000)) << "no word from the recorder";
    runEventsFor(500);
    tolvex({QStringLiteral("type"), field, QStringLiteral("Ada")});
    // Upper case letters between keys come out as upper case.
    tolvex({QStringLiteral("key"), field, QStringLiteral("<Ctrl+a>Bob")});
    EXPECT_EQ(tolvex({QStringLiteral("get"), field, QStringLiteral("text")}).second,
              QStringLiteral("Bob"));
    tolvex({QStringLiteral("click"), submit});

    // Ctrl+C ends the recording; what the application still held comes out.
    recorder.terminate();
    ASSERT_TRUE(recorder.waitForFinished(30000));
    EXPECT_EQ(recorder.exitCode(), 0) << recorder.readAllStandardError().constData();
    QList<QJsonObject> events;
    const QString all = QString::fromUtf8(recorder.readAllStandardOutput());
    for (const QString &line : all.split(QLatin1Char('\n'), Qt::SkipEmptyParts))
        events.append(QJsonDocument::fromJson(line.toUtf8()).object());
    const auto commandOf = [&](const QString &event, const QString &argument) {
        for (const QJsonObject &e : events)
            if (e.value(QStringLiteral("event")).toString() == event &&
                (argument.isEmpty() ||
                 e.value(QStringLiteral("arguments")).toArray().first().toString() == argument)) {
                const QJsonObject command = e.value(QStringLiteral("command")).toObject();
                QStringList words{command.value(QStringLiteral("command")).toString()};
                for (const QJsonValue &arg : command.value(QStringLiteral("args")).toArray())
                    words.append(arg.toString());
                return words;
            }
        return QStringList();
    };
    const QStringList typed = commandOf(QStringLiteral("type"), QStringLiteral("Ada"));
    ASSERT_EQ(typed.value(0), QStringLiteral("type")) << qPrintable(all);
    EXPECT_TRUE(typed.value(1).contains(QStringLiteral("objectName='name'"))) << qPrintable(all);
    const QStringList keyed = commandOf(QStringLiteral("type"), QStringLiteral("<Ctrl+a>Bob"));
    ASSERT_EQ(keyed.value(0), QStringLiteral("key")) << qPrintable(all);
    const QStringList clicked = commandOf(QStringLiteral("clickButton"), QString());
    ASSERT_EQ(clicked.value(0), QStringLiteral("click")) << qPrintable(all);

    // The commands do the same again.
    tolvex({QStringLiteral("set"), field, QStringLiteral("text"), QStringLiteral("x")});
    tolvex(keyed);
    EXPECT_EQ(tolvex({QStringLiteral("get"), field, QStringLiteral("text")}).second,
              QStringLiteral("Bob"));
    tolvex(typed);
    EXPECT_EQ(tolvex({QStringLiteral("get"), field, QStringLiteral("text")}).second,
              QStringLiteral("BobAda"));
    EXPECT_EQ(tolvex(clicked).first, 0);
}

TEST_F(RecordCommand, PropertiesHighlightPickAndTheDesktopFromTheShell)
{
    const QString field = QStringLiteral("{objectName='name' type='QLineEdit'}");
    tolvex({QStringLiteral("set"), field, QStringLiteral("text"), QStringLiteral("Ada")});
    const QStringList properties =
        tolvex({QStringLiteral("properties"), field}).second.split(QLatin1Char('\n'));
    EXPECT_TRUE(properties.contains(QStringLiteral("char#text=Ada")))
        << qPrintable(properties.join(QLatin1Char('\n')));
    EXPECT_EQ(tolvex({QStringLiteral("highlight"), field, QStringLiteral("--seconds"),
                      QStringLiteral("0.2")})
                  .first,
              0);

    const QString picture = m_runtime.filePath(QStringLiteral("desktop.png"));
    tolvex(
        {QStringLiteral("screenshot"), QStringLiteral("--desktop"), QStringLiteral("-o"), picture});
    EXPECT_FALSE(QImage(picture).isNull());

    // pick waits for the user's click; the session answers nothing else
    // meanwhile, so the click comes from the X server itself, where a click
    // through the agent has left the pointer. A click before picking has
    // begun reaches the application, and is made again.
    const QString terms = QStringLiteral("{objectName='terms' type='QCheckBox'}");
    tolvex({QStringLiteral("click"), terms, QStringLiteral("8"), QStringLiteral("8")});
    // With an object map, the symbolic name comes on a second line.
    const QString map = m_runtime.filePath(QStringLiteral("names.map"));
    {
        QFile file(map);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(":Terms\t" + tolvex({QStringLiteral("find"), terms}).second.toUtf8() + "\n");
    }
    QProcess picker;
    start(&picker, {QStringLiteral("pick"), QStringLiteral("--timeout"), QStringLiteral("30"),
                    QStringLiteral("--object-map"), map});
    ASSERT_TRUE(picker.waitForStarted());
    bool picked = false;
    for (int attempt = 0; attempt < 20 && !picked; ++attempt) {
        runEventsFor(500);
        ASSERT_EQ(QProcess::execute(QStringLiteral("xdotool"),
                                    {QStringLiteral("click"), QStringLiteral("1")}),
                  0);
        picked = picker.waitForFinished(1000);
    }
    ASSERT_TRUE(picked);
    EXPECT_EQ(picker.exitCode(), 0) << picker.readAllStandardError().constData();
    const QStringList pickedLines =
        QString::fromUtf8(picker.readAllStandardOutput()).trimmed().split(QLatin1Char('\n'));
    ASSERT_EQ(pickedLines.size(), 2);
    EXPECT_TRUE(pickedLines.at(0).contains(QStringLiteral("objectName='terms'")));
    EXPECT_EQ(pickedLines.at(1), QStringLiteral(":Terms"));
}

TEST_F(RecordCommand, WindowAndScreensFromTheShell)
{
    const QString window = QStringLiteral("{objectName='mainWindow' type='MainWindow'}");
    // Each action prints the frame as the window system has it afterwards.
    const QString moved = tolvex({QStringLiteral("window"), window, QStringLiteral("--move"),
                                  QStringLiteral("60"), QStringLiteral("70")})
                              .second;
    EXPECT_TRUE(moved.contains(QStringLiteral("\"x\":60,\"y\":70"))) << qPrintable(moved);
    const QString resized = tolvex({QStringLiteral("window"), window, QStringLiteral("--resize"),
                                    QStringLiteral("610"), QStringLiteral("430")})
                                .second;
    EXPECT_EQ(resized, QStringLiteral("{\"height\":430,\"width\":610,\"x\":60,\"y\":70}"));
    EXPECT_EQ(tolvex({QStringLiteral("get"), window, QStringLiteral("width")}).second,
              QStringLiteral("610"));
    EXPECT_EQ(tolvex({QStringLiteral("window"), window, QStringLiteral("--raise")}).first, 0);

    const QStringList screens = tolvex({QStringLiteral("screens")}).second.split(QLatin1Char('\n'));
    ASSERT_EQ(screens.size(), 1);
    EXPECT_TRUE(screens.first().contains(QStringLiteral("\"index\":0")))
        << qPrintable(screens.first());
    EXPECT_TRUE(screens.first().contains(QStringLiteral("\"x\":0,\"y\":0")))
        << qPrintable(screens.first());

    // Two actions at once are refused before anything is done.
    QProcess both;
    start(&both,
          {QStringLiteral("window"), window, QStringLiteral("--raise"), QStringLiteral("--close")});
    ASSERT_TRUE(both.waitForFinished(30000));
    EXPECT_NE(both.exitCode(), 0);
    EXPECT_TRUE(
        QString::fromUtf8(both.readAllStandardError()).contains(QStringLiteral("only one")));
}

TEST_F(RecordCommand, ASnapshotPageShowsTheTreeAndTheWindowInABrowser)
{
    const QString window = QStringLiteral("{objectName='mainWindow' type='MainWindow'}");
    const QString json = m_runtime.filePath(QStringLiteral("tree.json"));
    const QString page = m_runtime.filePath(QStringLiteral("tree.html"));
    ASSERT_EQ(tolvex({QStringLiteral("snapshot"), window, QStringLiteral("-o"), json}).first, 0);
    ASSERT_EQ(tolvex({QStringLiteral("snapshot"), window, QStringLiteral("-o"), page}).first, 0);

    QFile jsonFile(json);
    ASSERT_TRUE(jsonFile.open(QIODevice::ReadOnly));
    const QJsonObject root = QJsonDocument::fromJson(jsonFile.readAll()).object();
    EXPECT_EQ(root.value(QStringLiteral("standardType")).toString(), QStringLiteral("Window"));
    EXPECT_EQ(root.value(QStringLiteral("text")).toString(), QStringLiteral("Tolvex Demo"));
    const QByteArray png = QByteArray::fromBase64(
        root.value(QStringLiteral("image")).toString().section(QLatin1Char(','), 1).toLatin1());
    const QImage picture = QImage::fromData(png, "PNG").convertToFormat(QImage::Format_RGB32);
    ASSERT_FALSE(picture.isNull());

    // The page as Debian's browser makes it: the tree built, the first row
    // chosen, its window's picture shown with an outline over it.
    const auto chromium = [&](const QStringList &arguments) {
        QProcess browser;
        browser.start(QStringLiteral("chromium"),
                      QStringList{QStringLiteral("--headless"), QStringLiteral("--no-sandbox"),
                                  QStringLiteral("--disable-gpu"),
                                  QStringLiteral("--window-size=1280,900")} +
                          arguments + QStringList{QUrl::fromLocalFile(page).toString()});
        EXPECT_TRUE(browser.waitForFinished(60000)) << "chromium must be installed";
        return QString::fromUtf8(browser.readAllStandardOutput());
    };
    const QString dom = chromium({QStringLiteral("--dump-dom")});
    EXPECT_TRUE(dom.contains(QStringLiteral("class=\"node selected\"")))
        << qPrintable(dom.left(300));
    EXPECT_TRUE(dom.contains(QStringLiteral("QPushButton")));
    EXPECT_TRUE(dom.contains(QStringLiteral("id=\"image\" src=\"data:image/png;base64,")));
    EXPECT_TRUE(dom.contains(QStringLiteral("display: block")));

    const QString shotPath = m_runtime.filePath(QStringLiteral("page.png"));
    chromium({QStringLiteral("--screenshot=") + shotPath});
    const QImage shot = QImage(shotPath).convertToFormat(QImage::Format_RGB32);
    ASSERT_FALSE(shot.isNull());
    // The outline: pure red, all round a window.
    int red = 0;
    for (int y = 0; y < shot.height(); ++y)
        for (int x = 0; x < shot.width(); ++x)
            red += shot.pixel(x, y) == qRgb(255, 0, 0) ? 1 : 0;
    EXPECT_GT(red, 2 * (picture.width() + picture.height()));
    // The window's own pixels: a run of its menu bar row is somewhere on
    // the page, within what the browser's colour handling changes.
    const auto close = [](QRgb a, QRgb b) {
        return qAbs(qRed(a) - qRed(b)) <= 4 && qAbs(qGreen(a) - qGreen(b)) <= 4 &&
               qAbs(qBlue(a) - qBlue(b)) <= 4;
    };
    // The outline covers its edges, so the run starts inside.
    const int row = 10;
    const int from = 10;
    const int length = qMin(200, picture.width() - 2 * from);
    bool found = false;
    for (int y = 0; y < shot.height() && !found; ++y)
        for (int x = 0; x + length <= shot.width() && !found; ++x) {
            int i = 0;
            while (i < length && close(shot.pixel(x + i, y), picture.pixel(from + i, row)))
                ++i;
            found = i == length;
        }
    EXPECT_TRUE(found);
}
