// Screen streams of the demo application on the X display, read by the
// tool's client over real TCP: rectangle updates that draw the desktop as a
// capture shows it, H.264 whose decoded pictures match captures within the
// codec's loss, flow control that stops the agent at its limit while the
// application stays responsive, pause, resume and stop, and 'tolvex video'
// making an MP4 that ffprobe accepts, and a peer that vanishes in the
// middle of a stream.
#include "asyncipc.h"
#include "autsession.h"
#include "binarystream.h"
#include "demoapplication.h"
#include "eventwait.h"
#include "imagecompare.h"
#include "privatexserver.h"
#include "replycatcher.h"
#include "screenshot.h"
#include "screenstream.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QScopeGuard>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Tolvex;
using TestSupport::meanDifference;

namespace {

bool run(const QString &program, const QStringList &args, QString *output = nullptr)
{
    QProcess process;
    process.start(program, args);
    if (!process.waitForFinished(60000) || process.exitCode() != 0)
        return false;
    if (output)
        *output = QString::fromUtf8(process.readAllStandardOutput());
    return true;
}

class ScreenVideo : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_FALSE(qEnvironmentVariableIsEmpty("DISPLAY")) << "needs an X display";
        QString error;
        m_demo = TestSupport::launchDemo(QStringLiteral("xcb"), &error);
        ASSERT_TRUE(m_demo) << qPrintable(error);
        ASSERT_FALSE(m_demo->waitForObject(NameField, 15000).isError());
    }
    void TearDown() override
    {
        if (m_demo)
            m_demo->quit();
    }
    QImage desktop()
    {
        const FunctionCallResult<ArgumentList> shot =
            m_demo->call(QStringLiteral("desktopScreenshot"));
        return shot.isError() ? QImage() : Screenshot::fromVariant(shot.value.value(0)).image;
    }
    // Waits until the stream's picture matches a capture of the desktop
    // within the tolerance, in the area given or everywhere; the best
    // difference seen otherwise.
    double settle(ScreenStream &stream, double tolerance, const QRect &area = QRect())
    {
        const auto cut = [&](const QImage &image) {
            return area.isNull() ? image : image.copy(area);
        };
        double best = 255.0;
        waitUntil(
            [&] {
                best = qMin(best, meanDifference(cut(stream.frame()), cut(desktop())));
                return best <= tolerance;
            },
            10000, 100);
        return best;
    }
    // Types into the name field and waits until a capture shows it.
    void setName(const QString &text)
    {
        const QImage before = desktop();
        const FunctionCallResult<RemoteObject> field = m_demo->waitForObject(NameField);
        ASSERT_FALSE(field.isError()) << qPrintable(field.error);
        ASSERT_FALSE(field.value.setProperty(QStringLiteral("text"), text).isError());
        ASSERT_TRUE(waitUntil([&] { return meanDifference(before, desktop()) > 0.0; }, 5000, 50));
    }

    static inline const QString NameField = QStringLiteral("{objectName='name' type='QLineEdit'}");
    std::unique_ptr<RemoteApplication> m_demo;
};

} // namespace

TEST_F(ScreenVideo, RectangleUpdatesDrawTheDesktopAsCapturesShowIt)
{
    FunctionCallResult<std::shared_ptr<ScreenStream>> opened =
        ScreenStream::open(*m_demo, RleStream | H264Stream, {{QStringLiteral("fpsLimit"), 0}});
    ASSERT_FALSE(opened.isError()) << qPrintable(opened.error);
    ScreenStream &stream = *opened.value;
    // Both allowed: rectangle updates win.
    EXPECT_EQ(stream.format(), uint(RleStream));
    EXPECT_EQ(settle(stream, 0.0), 0.0);
    const int before = stream.frames();
    for (const QString &text : {QStringLiteral("Ada Lovelace"), QStringLiteral("Grace Hopper")}) {
        setName(text);
        EXPECT_EQ(settle(stream, 0.0), 0.0) << qPrintable(text);
    }
    EXPECT_GT(stream.frames(), before);
    EXPECT_TRUE(stream.readError().isEmpty()) << qPrintable(stream.readError());
    EXPECT_EQ(stream.bytesUnacknowledged(), 0u);

    stream.stop();
    ASSERT_TRUE(waitUntil([&] { return stream.isClosed(); }, 5000));
    EXPECT_EQ(stream.closeCode(), 0u);
    EXPECT_EQ(stream.closeReason(), QStringLiteral("Stream stopped"));
}

TEST_F(ScreenVideo, H264PicturesMatchCapturesWithinTheCodecsLoss)
{
    FunctionCallResult<std::shared_ptr<ScreenStream>> opened =
        ScreenStream::open(*m_demo, H264Stream, {{QStringLiteral("fpsLimit"), 30}});
    ASSERT_FALSE(opened.isError()) << qPrintable(opened.error);
    ScreenStream &stream = *opened.value;
    EXPECT_EQ(stream.format(), uint(H264Stream));
    // The name field, where the text changes: the codec's loss there is
    // well below what a change of its text makes.
    const FunctionCallResult<RemoteObject> field = m_demo->waitForObject(NameField);
    ASSERT_FALSE(field.isError());
    const QRect area = field.value.screenBounds().value;
    ASSERT_FALSE(area.isEmpty());
    // The first key frame of a whole screen is coarser than later ones.
    constexpr double Loss = 6.0;
    EXPECT_LT(settle(stream, 2 * Loss, area), 2 * Loss);
    QImage previous = stream.frame().copy(area);
    for (const QString &text : {QStringLiteral("Ada Lovelace"), QStringLiteral("Grace Hopper")}) {
        setName(text);
        // Key frames every eleventh picture, and a picture a second when
        // nothing changes: the text is sharp soon after.
        EXPECT_LT(settle(stream, Loss, area), Loss) << qPrintable(text);
        EXPECT_GT(meanDifference(previous, stream.frame().copy(area)), 1.0);
        previous = stream.frame().copy(area);
    }
    EXPECT_TRUE(stream.readError().isEmpty()) << qPrintable(stream.readError());
}

TEST_F(ScreenVideo, AnUnacknowledgedStreamStopsAtItsLimitAndThePeerSteersIt)
{
    // Two tiles of noise for the root window, in turn: every pixel outside
    // the demo changes each time, megabytes of updates.
    QTemporaryDir dir;
    QStringList tiles;
    for (int t = 0; t < 2; ++t) {
        QImage tile(64, 64, QImage::Format_Mono);
        for (int y = 0; y < 64; ++y)
            for (int x = 0; x < 64; ++x)
                tile.setPixel(x, y, QRandomGenerator::global()->bounded(2));
        tiles << dir.filePath(QStringLiteral("noise%1.xbm").arg(t));
        ASSERT_TRUE(tile.save(tiles.last(), "XBM"));
    }
    // A display of its own, so that the noise disturbs no other test.
    TestSupport::PrivateXServer server;
    ASSERT_TRUE(server.start(QStringLiteral("1280x1024x24")));
    m_demo->quit();
    QString error;
    m_demo = TestSupport::launchDemo(QStringLiteral("xcb"), &error,
                                     {{QStringLiteral("DISPLAY"), server.display()}});
    ASSERT_TRUE(m_demo) << qPrintable(error);
    QProcess noise;
    noise.setProcessEnvironment(server.environment());
    noise.start(QStringLiteral("sh"),
                {QStringLiteral("-c"),
                 QStringLiteral("while :; do xsetroot -bitmap %1; xsetroot -bitmap %2; done")
                     .arg(tiles[0], tiles[1])});
    ASSERT_TRUE(noise.waitForStarted());
    const auto cleanUp = qScopeGuard([&] {
        noise.kill();
        noise.waitForFinished();
        m_demo->quit();
        m_demo.reset();
    });

    FunctionCallResult<std::shared_ptr<ScreenStream>> opened =
        ScreenStream::open(*m_demo, RleStream, {{QStringLiteral("fpsLimit"), 0}});
    ASSERT_FALSE(opened.isError()) << qPrintable(opened.error);
    ScreenStream &stream = *opened.value;
    stream.setAutoAcknowledge(false);
    constexpr quint64 Limit = 0xA00000;
    ASSERT_TRUE(waitUntil([&] { return stream.bytesUnacknowledged() >= Limit; }, 30000));
    // At the limit nothing more comes, however much changes; the
    // application answers as ever meanwhile.
    runEventsFor(300);
    const quint64 held = stream.bytesReceived();
    QElapsedTimer answering;
    answering.start();
    ASSERT_FALSE(m_demo->waitForObject(NameField, 5000).isError());
    EXPECT_LT(answering.elapsed(), 5000);
    runEventsFor(1500);
    EXPECT_EQ(stream.bytesReceived(), held);
    // An update that began below the limit is sent whole, and no more.
    EXPECT_LT(held, Limit + 16 * 1024 * 1024);

    stream.acknowledge(quint32(stream.bytesUnacknowledged()));
    ASSERT_TRUE(waitUntil([&] { return stream.bytesReceived() > held; }, 10000));

    // Paused, nothing comes; resumed, it goes on.
    stream.setAutoAcknowledge(true);
    stream.acknowledge(quint32(stream.bytesUnacknowledged()));
    stream.pause();
    runEventsFor(500);
    const quint64 paused = stream.bytesReceived();
    runEventsFor(1000);
    EXPECT_EQ(stream.bytesReceived(), paused);
    stream.resume();
    ASSERT_TRUE(waitUntil([&] { return stream.bytesReceived() > paused; }, 10000));
    stream.stop();
    ASSERT_TRUE(waitUntil([&] { return stream.isClosed(); }, 5000));
    EXPECT_EQ(stream.closeCode(), 0u);
    EXPECT_TRUE(stream.readError().isEmpty()) << qPrintable(stream.readError());
}

TEST_F(ScreenVideo, TheToolFilmsTheDemoIntoAnMp4ThatPlays)
{
    // The tool's own session, started on the same demo binary.
    m_demo->quit();
    m_demo.reset();
    QTemporaryDir dir;
    const QString runtime = dir.filePath(QStringLiteral("runtime"));
    QDir().mkpath(runtime);
    const QString file = dir.filePath(QStringLiteral("demo.mp4"));
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), runtime);
    environment.insert(QStringLiteral("TOLVEX_PREFIX"), QStringLiteral(TOLVEX_BUILD_PREFIX));
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    // Runs the tool: its exit code, and what it printed on either stream.
    const auto runTool = [&](const QStringList &args, QString *output, QString *errors) {
        QProcess process;
        process.setProcessEnvironment(environment);
        process.start(QStringLiteral(TOLVEX_PATH), args);
        if (!process.waitForFinished(60000))
            return -1;
        *output = QString::fromUtf8(process.readAllStandardOutput());
        *errors = QString::fromUtf8(process.readAllStandardError());
        return process.exitCode();
    };
    const auto tolvex = [&](const QStringList &args, QString *output = nullptr) {
        QString out;
        QString errors;
        const bool done = runTool(args, &out, &errors) == 0;
        if (output)
            *output = out;
        EXPECT_TRUE(done) << qPrintable(args.join(QLatin1Char(' '))) << ": " << qPrintable(errors);
        return done;
    };
    // A misuse fails with one line that says what to write instead.
    const auto refused = [&](const QStringList &args) {
        QString out;
        QString errors;
        EXPECT_NE(runTool(QStringList{QStringLiteral("video"), QStringLiteral("--desktop")} + args,
                          &out, &errors),
                  0);
        return errors.trimmed();
    };
    ASSERT_TRUE(
        tolvex({QStringLiteral("launch"), QStringLiteral("--"), QStringLiteral(DEMO_APP_PATH)}));
    const auto quit = qScopeGuard([&] { tolvex({QStringLiteral("quit")}); });
    EXPECT_EQ(refused({QStringLiteral("-o"), dir.filePath(QStringLiteral("demo.avi"))}),
              QStringLiteral("tolvex video: The video goes to a file ending in .mp4 "
                             "(-o FILE.mp4)"));
    EXPECT_EQ(refused({QStringLiteral("-o"), file, QStringLiteral("--fps"), QStringLiteral("0")}),
              QStringLiteral("tolvex video: The frame rate (--fps) must be above 0 and at most "
                             "120 frames a second"));
    EXPECT_EQ(refused({QStringLiteral("-o"), file, QStringLiteral("--fps"), QStringLiteral("x")}),
              QStringLiteral("tolvex video: video: --fps needs a number of frames a second"));
    EXPECT_FALSE(QFile::exists(file));

    QString facts;
    ASSERT_TRUE(tolvex({QStringLiteral("video"),
                        QStringLiteral("{objectName='mainWindow' type='MainWindow'}"),
                        QStringLiteral("-o"), file, QStringLiteral("--seconds"),
                        QStringLiteral("2"), QStringLiteral("--fps"), QStringLiteral("10")},
                       &facts));
    EXPECT_TRUE(facts.contains(QStringLiteral("\"frames\""))) << qPrintable(facts);

    QString probe;
    ASSERT_TRUE(run(QStringLiteral("ffprobe"),
                    {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-show_entries"),
                     QStringLiteral("stream=codec_name,width,height,nb_frames:format=duration"),
                     QStringLiteral("-of"), QStringLiteral("default=noprint_wrappers=1"), file},
                    &probe));
    const auto field = [&](const char *name) {
        return probe.section(QLatin1String(name) + QLatin1Char('='), 1)
            .section(QLatin1Char('\n'), 0, 0);
    };
    EXPECT_EQ(field("codec_name"), QStringLiteral("h264"));
    // The demo's window at its size, even on both sides.
    EXPECT_EQ(field("width").toInt(), 640) << qPrintable(probe);
    EXPECT_EQ(field("height").toInt(), 480) << qPrintable(probe);
    EXPECT_NEAR(field("nb_frames").toInt(), 20, 3) << qPrintable(probe);
    EXPECT_NEAR(field("duration").toDouble(), 2.0, 0.3) << qPrintable(probe);
}

TEST(ScreenStreamPeer, APeerThatVanishesMidStreamLeavesTheApplicationRunning)
{
    ASSERT_FALSE(qEnvironmentVariableIsEmpty("DISPLAY")) << "needs an X display";
    // The demo with its agent, served by a server this test can pull away.
    TestSupport::AUTSession session(QStringLiteral(DEMO_APP_PATH));
    ASSERT_TRUE(session.start());
    const QString prefix = QStringLiteral(TOLVEX_BUILD_PREFIX);
    session.launcher.setEnvironmentValue(QStringLiteral("TOLVEX_PREFIX"), prefix);
    session.launcher.setEnvironmentValue(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    const QString preload = qEnvironmentVariable("LD_PRELOAD");
    session.launcher.setEnvironmentValue(
        QStringLiteral("LD_PRELOAD"), (preload.isEmpty() ? QString() : preload + QLatin1Char(':')) +
                                          prefix + QStringLiteral("/lib/libtolvexpreload.so"));
    ASSERT_TRUE(session.launchUnmodified());
    ASSERT_TRUE(session.waitForHookUpRequest()) << qPrintable(session.output());
    ASSERT_GE(session.server.initDone(), 0);

    int segments = 0;
    QObject::connect(&session.server, &ApplicationServer::messageReceived,
                     [&](const ApplicationServer::Message &message) {
                         if (message.function == QLatin1String("binaryStreamSegment"))
                             ++segments;
                     });
    TestSupport::ReplyCatcher<> opened;
    ASSERT_GE(session.server.call(QStringLiteral("recordScreen"),
                                  {int(AsyncIPC::ServerAddress), uint(RleStream), QVariantMap()},
                                  &opened),
              0);
    ASSERT_TRUE(opened.waitForAnswer(15000));
    ASSERT_TRUE(opened.result.isSuccess()) << qPrintable(opened.result.error);
    ASSERT_TRUE(waitUntil([&] { return segments > 0; }, 10000));

    // Gone while segments flow: the agent lets its streams go and the
    // application lives on.
    session.server.stop();
    runEventsFor(2000);
    EXPECT_TRUE(session.launcher.isRunning()) << qPrintable(session.output());
    EXPECT_FALSE(session.output().contains(QStringLiteral("ERROR: AddressSanitizer")))
        << qPrintable(session.output());
}
