#include "h264streamproducer.h"

#include "binarystream.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <QtEndian>

#include <bit>
#include <cstring>

namespace Tolvex::Video {

QByteArray H264StreamProducer::segment(Kind kind, quint32 word, const char *payload, int size)
{
    QByteArray bytes(HeaderSize + size, Qt::Uninitialized);
    char *out = bytes.data();
    qToBigEndian<quint32>(kind, out);
    qToBigEndian<quint32>(word, out + 4);
    qToBigEndian<quint32>(quint32(size), out + 8);
    if (size > 0)
        std::memcpy(out + HeaderSize, payload, size_t(size));
    return bytes;
}

void H264StreamProducer::sendParameters(float scale, float density,
                                        const AVCodecParameters *parameters)
{
    char payload[ParametersSize];
    qToBigEndian<quint32>(std::bit_cast<quint32>(scale), payload);
    qToBigEndian<quint32>(std::bit_cast<quint32>(density), payload + 4);
    qToBigEndian<quint32>(quint32(parameters->bit_rate), payload + 8);
    qToBigEndian<quint32>(quint32(parameters->width), payload + 12);
    qToBigEndian<quint32>(quint32(parameters->height), payload + 16);
    m_stream->sendNextSegment(segment(Parameters, 0, payload, ParametersSize));
}

void H264StreamProducer::appendPacket(AVPacket *packet)
{
    const quint32 flags = (packet->flags & AV_PKT_FLAG_KEY) ? KeyFrame : 0;
    m_stream->sendNextSegment(
        segment(Packet, flags, reinterpret_cast<const char *>(packet->data), packet->size));
}

void H264StreamProducer::sendEnd(quint32 code, const QString &reason)
{
    const QByteArray text = reason.toUtf8();
    m_stream->sendNextSegment(segment(End, code, text.constData(), int(text.size())));
}

} // namespace Tolvex::Video
