#pragma once

// The segments of an H.264 stream. Each has three 32-bit words in network
// order, kind, a flag or code, and the payload's length, then the payload:
// the stream's parameters once before the first packet, the coder's packets,
// and the end with its termination code and reason.

#include "compressor.h"

#include <QByteArray>
#include <QString>

namespace Tolvex {
class BinaryStream;
}

namespace Tolvex::Video {

class TOLVEX_EXPORT H264StreamProducer : public Compressor::PacketConsumer
{
public:
    enum Kind : quint32 { Parameters = 0, Packet = 1, End = 2 };
    // The second word of a packet that is a key frame.
    static constexpr quint32 KeyFrame = 2;
    static constexpr int HeaderSize = 12;
    static constexpr int ParametersSize = 20;

    // Not owned.
    explicit H264StreamProducer(BinaryStream *stream) : m_stream(stream) {}

    // scale and density as floats, then the bit rate, width and height.
    void sendParameters(float scale, float density, const AVCodecParameters *parameters);
    void appendPacket(AVPacket *packet) override;
    void sendEnd(quint32 code, const QString &reason);

    static QByteArray segment(Kind kind, quint32 word, const char *payload, int size);

private:
    BinaryStream *m_stream;
};

} // namespace Tolvex::Video
