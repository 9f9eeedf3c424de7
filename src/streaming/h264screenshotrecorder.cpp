#include "h264screenshotrecorder.h"

#include "logging.h"
#include "nativeinterface.h"

extern "C" {
#include <libavformat/avformat.h>
}

#include <QCoreApplication>
#include <QEvent>
#include <QPointer>

#include <stdexcept>

namespace Tolvex::Video {

namespace {

// Stands between a source and the recorder: a recorder that went while its
// picture was on the way hears nothing.
class ShotRelay : public ResponseListener<Screenshot>
{
public:
    explicit ShotRelay(H264ScreenshotRecorder *recorder) : m_recorder(recorder) {}

    void response(FunctionCallResult<Screenshot> result) override
    {
        if (m_recorder)
            m_recorder->response(std::move(result));
        delete this;
    }

private:
    QPointer<H264ScreenshotRecorder> m_recorder;
};

} // namespace

H264ScreenshotRecorder::H264ScreenshotRecorder(ScreenRecordFormat format, ScreenshotSource *source,
                                               QObject *parent)
    : VideoStreamProducer(parent), m_source(source)
{
    setFormat(format);
    m_timeLine.start();
    // The first picture at once, from the event loop.
    QCoreApplication::postEvent(this, new QEvent(QEvent::Type(NextShotEvent)));
}

H264ScreenshotRecorder::~H264ScreenshotRecorder()
{
    // Subclasses have closed already; this is for the rest.
    H264ScreenshotRecorder::closeStream(NormalStop, QStringLiteral("AUT exited"));
}

void H264ScreenshotRecorder::sendUpdate(int)
{
    if (!m_source) {
        deleteLater();
        return;
    }
    m_source->desktopScreenshot(new ShotRelay(this), Rect<1>(0, 0, -1, -1), 0);
}

void H264ScreenshotRecorder::response(FunctionCallResult<Screenshot> result)
{
    if (!m_source) {
        deleteLater();
        return;
    }
    if (result.isError()) {
        qCWarning(lcStreaming) << "Screenshot failed:" << result.error;
        closeStream(Failure, QStringLiteral("Screenshot failed: %1").arg(result.error));
        deleteLater();
        return;
    }
    closesOnFailure([&] {
        const qint64 elapsedMs = m_timeLine.elapsed();
        QImage image = std::move(result.value.image);
        if (image.format() != QImage::Format_RGB32 && image.format() != QImage::Format_ARGB32)
            image.convertTo(QImage::Format_RGB32);
        if (!m_compressor)
            initialize(image.size(), result.value.density);
        // The coder keeps the first picture's size; a later picture of
        // another size is cut or padded to it.
        if (image.size() != m_compressor->inputSize())
            image = image.copy(QRect(QPoint(), m_compressor->inputSize()));
        m_compressor->appendFrame(image.constBits(), int(image.bytesPerLine()), elapsedMs);
        QCoreApplication::postEvent(this, new QEvent(QEvent::Type(NextShotEvent)));
    });
}

void H264ScreenshotRecorder::customEvent(QEvent *event)
{
    if (event->type() == QEvent::Type(NextShotEvent))
        markDirty();
    else
        VideoStreamProducer::customEvent(event);
}

void H264ScreenshotRecorder::initialize(QSize size, double)
{
    m_compressor = std::make_unique<RGBCompressor>(size);
}

void H264ScreenshotRecorder::finish(TerminationCode, const QString &)
{
    std::unique_ptr<RGBCompressor> compressor = std::move(m_compressor);
    compressor->finish();
}

void H264ScreenshotRecorder::closeStream(uint code, const QString &reason)
{
    if (isClosed())
        return;
    if (m_compressor) {
        try {
            finish(TerminationCode(code), reason);
        } catch (const std::exception &e) {
            qCWarning(lcStreaming) << "Finishing the video failed:" << e.what();
        }
    }
    m_source = nullptr;
    VideoStreamProducer::closeStream(code, reason);
}

TolvexH264ScreenshotRecorder::TolvexH264ScreenshotRecorder(ScreenshotSource *source,
                                                           QObject *parent)
    : H264ScreenshotRecorder(H264Stream, source, parent), m_producer(this)
{}

TolvexH264ScreenshotRecorder::~TolvexH264ScreenshotRecorder()
{
    closeStream(NormalStop, QStringLiteral("AUT exited"));
}

void TolvexH264ScreenshotRecorder::initialize(QSize size, double density)
{
    H264ScreenshotRecorder::initialize(size, density);
    compressor()->start(this);
    m_producer.sendParameters(1.0f, float(density), compressor()->parameters());
}

void TolvexH264ScreenshotRecorder::appendPacket(AVPacket *packet)
{
    m_producer.appendPacket(packet);
}

void TolvexH264ScreenshotRecorder::finish(TerminationCode code, const QString &reason)
{
    H264ScreenshotRecorder::finish(code, reason);
    m_producer.sendEnd(code, reason);
}

Mp4H264ScreenshotRecorder::Mp4H264ScreenshotRecorder(ScreenshotSource *source, QIODevice *device,
                                                     QObject *parent)
    : H264ScreenshotRecorder(Mp4File, source, parent), m_muxer(device),
      m_stream(m_muxer.addStream())
{}

Mp4H264ScreenshotRecorder::~Mp4H264ScreenshotRecorder()
{
    closeStream(NormalStop, QStringLiteral("AUT exited"));
}

void Mp4H264ScreenshotRecorder::initialize(QSize size, double density)
{
    H264ScreenshotRecorder::initialize(size, density);
    compressor()->setGlobalHeader(true);
    compressor()->start(this);
    CodecParameters::copy(m_stream.get()->codecpar, compressor()->parameters());
    m_muxer.start();
}

void Mp4H264ScreenshotRecorder::appendPacket(AVPacket *packet)
{
    m_stream.appendPacket(packet);
}

void Mp4H264ScreenshotRecorder::finish(TerminationCode code, const QString &reason)
{
    H264ScreenshotRecorder::finish(code, reason);
    m_muxer.finish();
}

} // namespace Tolvex::Video
