#include "h264streamreader.h"

#include "h264streamproducer.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/frame.h>
#include <libswscale/swscale.h>
}

#include <QtEndian>

#include <bit>
#include <cstring>

namespace Tolvex::Video {

H264StreamReader::H264StreamReader() = default;
H264StreamReader::~H264StreamReader() = default;

bool H264StreamReader::fail(const QString &error)
{
    m_error = error;
    return false;
}

bool H264StreamReader::addSegment(const QByteArray &segment)
{
    if (isBroken())
        return false;
    if (m_ended)
        return fail(QStringLiteral("A segment came after the end of the stream"));
    if (segment.size() < H264StreamProducer::HeaderSize)
        return fail(
            QStringLiteral("A segment of %1 bytes is shorter than its header").arg(segment.size()));
    const char *bytes = segment.constData();
    const quint32 kind = qFromBigEndian<quint32>(bytes);
    const quint32 word = qFromBigEndian<quint32>(bytes + 4);
    const quint32 length = qFromBigEndian<quint32>(bytes + 8);
    if (length != quint32(segment.size() - H264StreamProducer::HeaderSize))
        return fail(QStringLiteral("A segment says it holds %1 bytes but holds %2")
                        .arg(length)
                        .arg(segment.size() - H264StreamProducer::HeaderSize));
    const char *payload = bytes + H264StreamProducer::HeaderSize;
    switch (kind) {
    case H264StreamProducer::Parameters: {
        if (length != quint32(H264StreamProducer::ParametersSize))
            return fail(QStringLiteral("Parameters of %1 bytes instead of 20").arg(length));
        const qint64 width = qFromBigEndian<quint32>(payload + 12);
        const qint64 height = qFromBigEndian<quint32>(payload + 16);
        if (width < 1 || height < 1 || width > MaxSide || height > MaxSide)
            return fail(
                QStringLiteral("A picture of %1x%2 is not possible").arg(width).arg(height));
        m_scale = std::bit_cast<float>(qFromBigEndian<quint32>(payload));
        m_density = std::bit_cast<float>(qFromBigEndian<quint32>(payload + 4));
        m_bitRate = qFromBigEndian<quint32>(payload + 8);
        // New parameters start the pictures anew.
        m_size = QSize(int(width), int(height));
        return startDecoder();
    }
    case H264StreamProducer::Packet:
        if (!hasParameters())
            return fail(QStringLiteral("A packet came before the stream's parameters"));
        ++m_packets;
        if (word & H264StreamProducer::KeyFrame)
            ++m_keyFrames;
        return decode(payload, int(length), false);
    case H264StreamProducer::End:
        m_ended = true;
        m_endCode = word;
        m_endReason = QString::fromUtf8(payload, qsizetype(length));
        return !hasParameters() || decode(nullptr, 0, true);
    default:
        return fail(QStringLiteral("Unknown segment kind %1").arg(kind));
    }
}

bool H264StreamReader::startDecoder()
{
    const AVCodec *codec = avcodec_find_decoder(AV_CODEC_ID_H264);
    if (!codec)
        return fail(QStringLiteral("H.264 codec not supported by the ffmpeg library"));
    m_decoder.reset(avcodec_alloc_context3(codec));
    if (!m_frame)
        m_frame.reset(av_frame_alloc());
    if (!m_packet)
        m_packet.reset(av_packet_alloc());
    if (!m_decoder || !m_frame || !m_packet)
        return fail(QStringLiteral("Out of memory for the decoder"));
    if (avcodec_open2(m_decoder, codec, nullptr) < 0)
        return fail(QStringLiteral("The H.264 decoder did not open"));
    return true;
}

bool H264StreamReader::decode(const char *data, int size, bool flush)
{
    if (flush) {
        avcodec_send_packet(m_decoder, nullptr);
    } else {
        if (av_new_packet(m_packet, size) < 0)
            return fail(QStringLiteral("Out of memory for a packet"));
        std::memcpy(m_packet->data, data, size_t(size));
        const int sent = avcodec_send_packet(m_decoder, m_packet);
        av_packet_unref(m_packet);
        // A packet the decoder cannot use loses a picture, not the stream.
        if (sent < 0 && sent != AVERROR(EAGAIN))
            return true;
    }
    while (avcodec_receive_frame(m_decoder, m_frame) >= 0) {
        const int width = m_frame->width;
        const int height = m_frame->height;
        if (width < 1 || height < 1 || width > MaxSide || height > MaxSide) {
            av_frame_unref(m_frame);
            continue;
        }
        // The cached context frees the old one itself when it makes another.
        m_sws.reset(sws_getCachedContext(m_sws.release(), width, height,
                                         AVPixelFormat(m_frame->format), width, height,
                                         AV_PIX_FMT_BGRA, SWS_POINT, nullptr, nullptr, nullptr));
        QImage image(width, height, QImage::Format_RGB32);
        if (m_sws && !image.isNull()) {
            uint8_t *const planes[] = {image.bits()};
            const int strides[] = {int(image.bytesPerLine())};
            sws_scale(m_sws, m_frame->data, m_frame->linesize, 0, height, planes, strides);
            m_frames.append(image);
            ++m_decoded;
        }
        av_frame_unref(m_frame);
    }
    return true;
}

QList<QImage> H264StreamReader::takeFrames()
{
    return std::exchange(m_frames, {});
}

} // namespace Tolvex::Video
