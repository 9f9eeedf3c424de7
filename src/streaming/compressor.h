#pragma once

// H.264 coding on FFmpeg: a Compressor turns frames into packets for a
// consumer; an RGBCompressor takes 32-bit BGRA pictures of any size, scales
// them into the coder's planes and decides the key frames itself.

#include "avowners.h"

#include <QSize>
#include <QtGlobal>

namespace Tolvex::Video {

class TOLVEX_EXPORT Compressor
{
public:
    // Codec and container count time in these ticks a second.
    static constexpr int TimeBaseDen = 25000;
    static constexpr int BitRate = 400000;
    static constexpr int NominalFrameRate = 25;

    class TOLVEX_EXPORT PacketConsumer
    {
    public:
        virtual ~PacketConsumer();
        virtual void appendPacket(AVPacket *packet) = 0;
    };

    Compressor(QSize size, int gopSize);
    virtual ~Compressor();
    Compressor(const Compressor &) = delete;
    Compressor &operator=(const Compressor &) = delete;

    // Containers such as MP4 want the stream's headers once, beside the
    // packets; a live stream repeats them in its key frames. Before start().
    void setGlobalHeader(bool global);
    // Opens the codec; packets go to consumer from then on.
    void start(PacketConsumer *consumer);
    // The stream's parameters; after start() they include the headers a
    // container needs.
    AVCodecParameters *parameters() const { return m_parameters; }
    QSize frameSize() const { return m_size; }

    void appendFrame(AVFrame *frame);
    // Drains the coder and closes it.
    void finish();

private:
    void receivePackets(int endCode);

    CodecContext m_context;
    CodecParameters m_parameters;
    Packet m_packet;
    QSize m_size;
    PacketConsumer *m_consumer = nullptr;
};

class TOLVEX_EXPORT RGBCompressor : public Compressor
{
public:
    // Pictures larger than this many pixels are coded smaller.
    static constexpr qint64 MaxArea = 9437184;
    // Every this many frames plus one is forced to be a key frame.
    static constexpr int KeyFrameInterval = 10;

    explicit RGBCompressor(QSize input);
    ~RGBCompressor() override;

    using Compressor::appendFrame;
    QSize inputSize() const { return m_input; }
    // data: the picture's first line, inputSize() pixels of 32-bit BGRA.
    void appendFrame(const uchar *data, int bytesPerLine, qint64 timeMs);
    // The last picture again at a later time, so that the coder's clock
    // goes on while nothing changes.
    void repeatFrame(qint64 timeMs);

    // The size coded for an input: reduced when the area is above MaxArea,
    // and even on both sides, as the coder's colour planes need.
    static QSize codedSize(QSize input);

private:
    void encode(qint64 timeMs, bool mayForceKey);

    Sws m_sws;
    Frame m_frame;
    QSize m_input;
    int m_framesSinceKey = 0;
    qint64 m_lastPts = -1;
};

} // namespace Tolvex::Video
