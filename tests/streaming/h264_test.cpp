// H.264 on FFmpeg: the coded size, forced key frames, the stream's segments
// read back into pictures, and MP4 files that FFmpeg's own tools accept.
#include "compressor.h"
#include "eventloop.h"
#include "h264screenshotrecorder.h"
#include "h264streamreader.h"
#include "imagecompare.h"
#include "nativeinterface.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <QBuffer>
#include <QFile>
#include <QPainter>
#include <QPointer>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <map>

using namespace Tolvex;
using namespace Tolvex::Video;
using TestSupport::meanDifference;
using TestSupport::runEventsFor;
using TestSupport::waitUntil;

namespace {

// A desktop that draws a moving box on each picture; answers at once, or
// holds the listener until release() when asynchronous.
class PaintedDesktop : public ScreenshotSource
{
public:
    QSize size{320, 240};
    bool asynchronous = false;
    int shots = 0;
    ResponseListener<Screenshot> *held = nullptr;

    QImage picture(int n) const
    {
        QImage image(size, QImage::Format_RGB32);
        image.fill(QColor(230, 230, 230));
        if (image.isNull())
            return image;
        QPainter painter(&image);
        painter.fillRect(QRect((n * 7) % qMax(1, size.width() - 40), 40, 40, 30), Qt::darkBlue);
        painter.fillRect(QRect(10, 120, 120, 60), QColor(200, 40, 40));
        return image;
    }

    void desktopScreenshot(ResponseListener<Screenshot> *listener, Rect<1>, int) override
    {
        if (asynchronous) {
            held = listener;
            return;
        }
        Screenshot shot;
        shot.image = picture(shots++);
        listener->success(shot);
    }
};

class Packets : public Compressor::PacketConsumer
{
public:
    // By presentation time: packets come in the coder's order.
    std::map<qint64, bool> keys;
    void appendPacket(AVPacket *packet) override
    {
        keys[packet->pts] = packet->flags & AV_PKT_FLAG_KEY;
    }
};

struct Recorded
{
    QList<QByteArray> segments;
    QList<std::pair<uint, QString>> closings;
    void attach(BinaryStream *stream)
    {
        QObject::connect(stream, &BinaryStream::nextSegment,
                         [this](const QByteArray &s) { segments.append(s); });
        QObject::connect(stream, &BinaryStream::closed, [this](uint code, const QString &reason) {
            closings.append({code, reason});
        });
    }
};

} // namespace

TEST(H264, CodedSizesAndForcedKeyFrames)
{
    EXPECT_EQ(RGBCompressor::codedSize({4096, 2304}), QSize(4096, 2304));
    // One line more, and the area's ratio shrinks both sides.
    const QSize reduced = RGBCompressor::codedSize({4096, 2305});
    EXPECT_LT(reduced.width(), 4096);
    EXPECT_LE(qint64(reduced.width()) * reduced.height(), RGBCompressor::MaxArea);
    EXPECT_EQ(RGBCompressor::codedSize({301, 201}), QSize(300, 200));
    EXPECT_EQ(RGBCompressor::codedSize({1, 1}), QSize(2, 2));

    PaintedDesktop desktop;
    Packets packets;
    RGBCompressor compressor(desktop.size);
    compressor.start(&packets);
    qint64 time = 0;
    for (int n = 0; n < 23; ++n) {
        const QImage image = desktop.picture(n);
        compressor.appendFrame(image.constBits(), int(image.bytesPerLine()), time += 40);
    }
    // Idle time runs the counter past its mark; the next picture is forced.
    for (int n = 0; n < 15; ++n)
        compressor.repeatFrame(time += 40);
    const QImage last = desktop.picture(99);
    compressor.appendFrame(last.constBits(), int(last.bytesPerLine()), time += 40);
    compressor.finish();
    ASSERT_EQ(packets.keys.size(), size_t(23 + 15 + 1));
    QList<int> keyIndexes;
    int index = 0;
    for (const auto &[pts, key] : packets.keys) {
        if (key)
            keyIndexes.append(index);
        ++index;
    }
    // The first frame, every eleventh (the 11th is index 10), and the one
    // after the idle time.
    EXPECT_EQ(keyIndexes, (QList<int>{0, 10, 21, 38}));
}

TEST(H264, AStreamFromScreenshotsDecodesToThePicturesAndEndsOnce)
{
    PaintedDesktop desktop;
    auto *recorder = new TolvexH264ScreenshotRecorder(&desktop);
    QPointer<TolvexH264ScreenshotRecorder> alive(recorder);
    Recorded out;
    out.attach(recorder);
    EXPECT_EQ(recorder->format(), 2u);
    ASSERT_TRUE(recorder->configure({{QStringLiteral("fpsLimit"), 0}}).isSuccess());
    ASSERT_TRUE(waitUntil([&] { return desktop.shots >= 12; }, 10000));
    // Later pictures of another size are coded at the first one's.
    desktop.size = QSize(200, 100);
    const int before = desktop.shots;
    ASSERT_TRUE(waitUntil([&] { return desktop.shots >= before + 3; }, 10000));
    recorder->stop();
    recorder->stop();
    ASSERT_EQ(out.closings.size(), 1);
    EXPECT_EQ(out.closings[0], (std::pair<uint, QString>{0, QStringLiteral("Stream stopped")}));

    ASSERT_GE(out.segments.size(), 3);
    EXPECT_EQ(out.segments.first().size(), 32);
    H264StreamReader reader;
    for (const QByteArray &segment : out.segments)
        ASSERT_TRUE(reader.addSegment(segment)) << reader.error().toStdString();
    EXPECT_EQ(reader.size(), QSize(320, 240));
    EXPECT_EQ(reader.bitRate(), 400000u);
    EXPECT_FLOAT_EQ(reader.scale(), 1.0f);
    EXPECT_TRUE(reader.hasEnded());
    EXPECT_EQ(reader.endCode(), 0u);
    EXPECT_EQ(reader.endReason(), QStringLiteral("Stream stopped"));
    const QList<QImage> frames = reader.takeFrames();
    ASSERT_GE(frames.size(), 12);
    desktop.size = QSize(320, 240);
    // The codec's loss stays small against each picture the desktop gave.
    for (int n = 0; n < 12; ++n)
        EXPECT_LT(meanDifference(frames[n], desktop.picture(n)), 6.0) << "frame " << n;
    EXPECT_GT(meanDifference(frames[0], frames[5]), 0.1);

    // Nothing more is coded after the end; the object is left to its owner.
    runEventsFor(100);
    EXPECT_EQ(out.segments.size(), reader.packets() + 2);
    delete recorder;
    EXPECT_EQ(out.closings.size(), 1);
}

TEST(H264, FailuresAndStopsWhileAPictureIsOnItsWayCloseTheStream)
{
    // The first picture decides the size: an empty one cannot be coded.
    PaintedDesktop empty;
    empty.size = QSize(0, 0);
    QPointer<TolvexH264ScreenshotRecorder> failing(new TolvexH264ScreenshotRecorder(&empty));
    Recorded failed;
    failed.attach(failing);
    ASSERT_TRUE(waitUntil([&] { return !failed.closings.isEmpty(); }, 5000));
    EXPECT_EQ(failed.closings[0].first, 3u);
    EXPECT_FALSE(failed.closings[0].second.isEmpty());
    delete failing.data();

    // A stop while the picture is out: the late answer disposes of it.
    PaintedDesktop slow;
    slow.asynchronous = true;
    QPointer<TolvexH264ScreenshotRecorder> recorder(new TolvexH264ScreenshotRecorder(&slow));
    Recorded out;
    out.attach(recorder);
    ASSERT_TRUE(waitUntil([&] { return slow.held != nullptr; }, 5000));
    recorder->stop();
    Screenshot shot;
    shot.image = slow.picture(0);
    slow.held->success(shot);
    ASSERT_TRUE(waitUntil([&] { return recorder.isNull(); }, 5000));
    EXPECT_TRUE(out.segments.isEmpty());
    ASSERT_EQ(out.closings.size(), 1);
    EXPECT_EQ(out.closings[0].first, 0u);
}

TEST(H264, Mp4FilesHaveTheSizeFramesAndDurationRecorded)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("desktop.mp4"));
    auto *file = new QFile(path);
    ASSERT_TRUE(file->open(QIODevice::WriteOnly));
    PaintedDesktop desktop;
    desktop.size = QSize(321, 241);
    auto *recorder = new Mp4H264ScreenshotRecorder(&desktop, file);
    EXPECT_EQ(recorder->format(), 4u);
    ASSERT_TRUE(recorder->configure({{QStringLiteral("fpsLimit"), 25}}).isSuccess());
    runEventsFor(2000);
    recorder->stop();
    const int packets = recorder->muxer().packetsWritten();
    delete recorder;
    delete file;
    EXPECT_GE(packets, 25);

    QProcess probe;
    probe.start(
        QStringLiteral("ffprobe"),
        {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-count_frames"),
         QStringLiteral("-select_streams"), QStringLiteral("v:0"), QStringLiteral("-show_entries"),
         QStringLiteral("stream=codec_name,width,height,nb_frames,nb_read_frames:format=duration"),
         QStringLiteral("-of"), QStringLiteral("default=noprint_wrappers=1"), path});
    ASSERT_TRUE(probe.waitForFinished(30000));
    ASSERT_EQ(probe.exitCode(), 0) << probe.readAllStandardError().toStdString();
    const QString facts = QString::fromUtf8(probe.readAllStandardOutput());
    EXPECT_TRUE(facts.contains(QStringLiteral("codec_name=h264"))) << facts.toStdString();
    // Odd sides are coded one pixel smaller.
    EXPECT_TRUE(facts.contains(QStringLiteral("width=320"))) << facts.toStdString();
    EXPECT_TRUE(facts.contains(QStringLiteral("height=240"))) << facts.toStdString();
    EXPECT_TRUE(facts.contains(QStringLiteral("nb_frames=%1").arg(packets))) << facts.toStdString();
    const double duration =
        facts.section(QStringLiteral("duration="), 1).section(QLatin1Char('\n'), 0, 0).toDouble();
    EXPECT_NEAR(duration, 2.0, 0.3);

    // MP4 goes back to its header: a device that cannot seek is refused and
    // gone.
    class Pipe : public QBuffer
    {
    public:
        bool isSequential() const override { return true; }
    };
    auto *pipe = new Pipe;
    pipe->open(QIODevice::WriteOnly);
    QPointer<QBuffer> guard(pipe);
    try {
        Mp4H264ScreenshotRecorder refused(&desktop, pipe);
        ADD_FAILURE() << "a sequential device was taken";
    } catch (const std::runtime_error &e) {
        EXPECT_STREQ(e.what(), "Sequential output devices are not supported");
    }
    EXPECT_TRUE(guard.isNull());
}
