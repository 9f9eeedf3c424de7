#pragma once

// MP4 on a QIODevice through FFmpeg: a Muxer writes the container, and each
// of its streams takes the packets of one Compressor.

#include "avowners.h"
#include "compressor.h"

extern "C" {
struct AVIOContext;
struct AVStream;
}

class QIODevice;

namespace Tolvex::Video {

// FFmpeg's output on a device. MP4 needs to seek back to its header, so a
// sequential device is refused; it is closed and deleted then, and the
// caller must not use it again.
class TOLVEX_EXPORT IOContext
{
public:
    static constexpr int BufferSize = 20480;

    explicit IOContext(QIODevice *device);
    ~IOContext();
    IOContext(const IOContext &) = delete;
    IOContext &operator=(const IOContext &) = delete;

    AVIOContext *get() const { return m_context; }
    QIODevice *device() const { return m_device; }

private:
    AVIOContext *m_context = nullptr;
    QIODevice *m_device;
};

class TOLVEX_EXPORT Muxer
{
public:
    class TOLVEX_EXPORT Stream : public Compressor::PacketConsumer
    {
    public:
        Stream(Muxer *muxer, AVStream *stream) : m_muxer(muxer), m_stream(stream) {}
        AVStream *get() const { return m_stream; }
        void appendPacket(AVPacket *packet) override;

    private:
        Muxer *m_muxer;
        AVStream *m_stream;
    };

    explicit Muxer(QIODevice *device);
    ~Muxer();
    Muxer(const Muxer &) = delete;
    Muxer &operator=(const Muxer &) = delete;

    Stream addStream();
    // After the streams have their parameters: the file's header.
    void start();
    // The trailer, then the device is closed.
    void finish();

    int packetsWritten() const { return m_packets; }
    qint64 lastTimeMs() const { return m_lastTimeMs; }

private:
    FormatContext m_format;
    IOContext m_io;
    int m_packets = 0;
    qint64 m_lastTimeMs = 0;
};

} // namespace Tolvex::Video
