#include "videorecording.h"

#include "binarystream.h"
#include "eventwait.h"
#include "h264screenshotrecorder.h"
#include "nativeinterface.h"
#include "remoteapplication.h"
#include "screenstream.h"

#include <QElapsedTimer>
#include <QFile>

#include <memory>
#include <stdexcept>

namespace Tolvex {

namespace {

// The stream's latest picture, cut to the area asked for, as the coder asks
// for screenshots.
class StreamPictures : public ScreenshotSource
{
public:
    StreamPictures(const ScreenStream &stream, QRect area) : m_stream(stream), m_area(area) {}

    void desktopScreenshot(ResponseListener<Screenshot> *listener, Rect<1>, int) override
    {
        Screenshot shot;
        shot.image = m_stream.frame();
        if (!m_area.isNull())
            shot.image = shot.image.copy(m_area.translated(-m_stream.origin()));
        listener->success(shot);
    }

private:
    const ScreenStream &m_stream;
    QRect m_area;
};

} // namespace

FunctionCallResult<QJsonObject> recordVideo(RemoteApplication &application,
                                            const VideoRequest &request)
{
    using Result = FunctionCallResult<QJsonObject>;
    if (!request.output.endsWith(QLatin1String(".mp4"), Qt::CaseInsensitive))
        return Result::failure(QStringLiteral("The video goes to a file ending in .mp4 "
                                              "(-o FILE.mp4)"));
    if (!(request.fps > 0) || request.fps > 120)
        return Result::failure(QStringLiteral("The frame rate (--fps) must be above 0 and at "
                                              "most 120 frames a second"));
    const QVariantMap pace{{QStringLiteral("fpsLimit"), request.fps}};
    FunctionCallResult<std::shared_ptr<ScreenStream>> opened =
        ScreenStream::open(application, RleStream | H264Stream, pace);
    if (opened.isError())
        return Result::failure(opened.error);
    ScreenStream &stream = *opened.value;
    const auto ended = [&] { return stream.isClosed() || !application.isRunning(); };
    waitUntil([&] { return stream.frames() > 0 || ended(); }, 10000);
    if (stream.frames() == 0)
        return Result::failure(stream.isClosed() ? stream.closeReason()
                               : !application.isRunning()
                                   ? QStringLiteral("The application ended")
                                   : QStringLiteral("The application sent no picture of the "
                                                    "screen within 10 s"));
    if (!request.area.isNull() &&
        !request.area.intersects(QRect(stream.origin(), stream.frame().size())))
        return Result::failure(QStringLiteral("The object is not on the screen"));

    auto *file = new QFile(request.output);
    if (!file->open(QIODevice::WriteOnly)) {
        const QString error = file->errorString();
        delete file;
        return Result::failure(QStringLiteral("Cannot write %1: %2").arg(request.output, error));
    }
    StreamPictures pictures(stream, request.area);
    std::unique_ptr<Video::Mp4H264ScreenshotRecorder> recorder;
    try {
        recorder = std::make_unique<Video::Mp4H264ScreenshotRecorder>(&pictures, file);
    } catch (const std::exception &e) {
        return Result::failure(QString::fromLocal8Bit(e.what()));
    }
    QString failure;
    QObject::connect(recorder.get(), &BinaryStream::closed, [&](uint code, const QString &reason) {
        if (code != NormalStop)
            failure = reason;
    });
    recorder->configure(pace);

    QElapsedTimer filming;
    filming.start();
    qint64 reported = 0;
    waitUntil(
        [&] {
            if (request.progress && filming.elapsed() - reported >= 1000) {
                reported = filming.elapsed();
                request.progress(int(reported), recorder->muxer().packetsWritten());
            }
            return filming.elapsed() >= request.durationMs || ended() || !failure.isEmpty();
        },
        request.durationMs + 5000, 10);
    const QSize size = recorder->compressor() ? recorder->compressor()->frameSize() : QSize();
    recorder->stop();
    const int frames = recorder->muxer().packetsWritten();
    const double seconds = double(recorder->muxer().lastTimeMs()) / 1000.0;
    recorder.reset();
    delete file;
    stream.stop();
    if (!failure.isEmpty())
        return Result::failure(failure);
    if (stream.isClosed() && stream.closeCode() != NormalStop)
        return Result::failure(stream.closeReason());
    return QJsonObject{{QStringLiteral("file"), request.output},
                       {QStringLiteral("frames"), frames},
                       {QStringLiteral("seconds"), seconds},
                       {QStringLiteral("width"), size.width()},
                       {QStringLiteral("height"), size.height()}};
}

} // namespace Tolvex
