#pragma once

// Video from plain desktop screenshots, where the platform has no source of
// changed frames: a recorder asks for the desktop as fast as flow control
// and the fps limit allow and codes each picture. The first picture decides
// the coded size. Packets go to a binary stream (TolvexH264ScreenshotRecorder)
// or into an MP4 file (Mp4H264ScreenshotRecorder).

#include "compressor.h"
#include "functioncallresult.h"
#include "h264streamproducer.h"
#include "muxer.h"
#include "screenshot.h"
#include "videostreamproducer.h"

#include <QElapsedTimer>

#include <memory>

class QIODevice;

namespace Tolvex {
class ScreenshotSource;
}

namespace Tolvex::Video {

class TOLVEX_EXPORT H264ScreenshotRecorder : public VideoStreamProducer,
                                             public ResponseListener<Screenshot>,
                                             public Compressor::PacketConsumer
{
    Q_OBJECT
public:
    // The event that asks for the next picture from the event loop.
    static constexpr int NextShotEvent = 1000;

    H264ScreenshotRecorder(ScreenRecordFormat format, ScreenshotSource *source,
                           QObject *parent = nullptr);
    ~H264ScreenshotRecorder() override;

    void response(FunctionCallResult<Screenshot> result) override;
    RGBCompressor *compressor() const { return m_compressor.get(); }

protected:
    void sendUpdate(int elapsedMs) override;
    void closeStream(uint code, const QString &reason) override;
    void customEvent(QEvent *event) override;

    // The first picture's size and density: the coder starts.
    virtual void initialize(QSize size, double density);
    // The coder is drained and freed; then the packets' receiver ends.
    virtual void finish(TerminationCode code, const QString &reason);

private:
    std::unique_ptr<RGBCompressor> m_compressor;
    ScreenshotSource *m_source;
    QElapsedTimer m_timeLine;
};

class TOLVEX_EXPORT TolvexH264ScreenshotRecorder : public H264ScreenshotRecorder
{
    Q_OBJECT
public:
    explicit TolvexH264ScreenshotRecorder(ScreenshotSource *source, QObject *parent = nullptr);
    ~TolvexH264ScreenshotRecorder() override;

    void appendPacket(AVPacket *packet) override;

protected:
    void initialize(QSize size, double density) override;
    void finish(TerminationCode code, const QString &reason) override;

private:
    H264StreamProducer m_producer;
};

class TOLVEX_EXPORT Mp4H264ScreenshotRecorder : public H264ScreenshotRecorder
{
    Q_OBJECT
public:
    // The device must be open for writing and able to seek; a sequential
    // one raises, and is deleted then.
    Mp4H264ScreenshotRecorder(ScreenshotSource *source, QIODevice *device,
                              QObject *parent = nullptr);
    ~Mp4H264ScreenshotRecorder() override;

    void appendPacket(AVPacket *packet) override;
    const Muxer &muxer() const { return m_muxer; }

protected:
    void initialize(QSize size, double density) override;
    void finish(TerminationCode code, const QString &reason) override;

private:
    Muxer m_muxer;
    Muxer::Stream m_stream;
};

} // namespace Tolvex::Video
