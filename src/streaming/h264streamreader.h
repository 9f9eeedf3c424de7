#pragma once

// The reader of an H.264 stream: segments in, as they came, and the
// pictures the packets decode to. Each segment is one record: parameters,
// a packet or the end.

#include "avowners.h"

#include <QByteArray>
#include <QImage>
#include <QList>
#include <QSize>
#include <QString>

namespace Tolvex::Video {

class TOLVEX_EXPORT H264StreamReader
{
public:
    // A picture larger than this on either side is refused as broken.
    static constexpr int MaxSide = 16384;

    H264StreamReader();
    ~H264StreamReader();
    H264StreamReader(const H264StreamReader &) = delete;
    H264StreamReader &operator=(const H264StreamReader &) = delete;

    // False once the stream is broken: error() says how, and nothing more
    // is read.
    bool addSegment(const QByteArray &segment);
    bool isBroken() const { return !m_error.isEmpty(); }
    QString error() const { return m_error; }

    bool hasParameters() const { return m_size.isValid(); }
    float scale() const { return m_scale; }
    float density() const { return m_density; }
    quint32 bitRate() const { return m_bitRate; }
    QSize size() const { return m_size; }
    int packets() const { return m_packets; }
    int keyFrames() const { return m_keyFrames; }

    bool hasEnded() const { return m_ended; }
    quint32 endCode() const { return m_endCode; }
    QString endReason() const { return m_endReason; }

    // Pictures decoded since the last call, oldest first.
    QList<QImage> takeFrames();
    int framesDecoded() const { return m_decoded; }

private:
    bool fail(const QString &error);
    bool startDecoder();
    bool decode(const char *data, int size, bool flush);

    QString m_error;
    float m_scale = 1.0f;
    float m_density = 1.0f;
    quint32 m_bitRate = 0;
    QSize m_size;
    int m_packets = 0;
    int m_keyFrames = 0;
    bool m_ended = false;
    quint32 m_endCode = 0;
    QString m_endReason;
    CodecContext m_decoder;
    Frame m_frame;
    Packet m_packet;
    Sws m_sws;
    QList<QImage> m_frames;
    int m_decoded = 0;
};

} // namespace Tolvex::Video
