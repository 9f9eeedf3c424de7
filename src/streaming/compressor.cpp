#include "compressor.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/error.h>
#include <libavutil/frame.h>
#include <libavutil/log.h>
#include <libavutil/mathematics.h>
#include <libavutil/opt.h>
#include <libswscale/swscale.h>
}

#include <QString>

#include <cmath>
#include <stdexcept>

namespace Tolvex::Video {

void freeAvObject(AVCodecContext *object)
{
    avcodec_free_context(&object);
}

void freeAvObject(AVCodecParameters *object)
{
    avcodec_parameters_free(&object);
}

void freeAvObject(AVFrame *object)
{
    av_frame_free(&object);
}

void freeAvObject(AVPacket *object)
{
    av_packet_free(&object);
}

void freeAvObject(SwsContext *object)
{
    sws_freeContext(object);
}

int checkAvResult(int result, const char *operation)
{
    if (result >= 0)
        return result;
    char message[AV_ERROR_MAX_STRING_SIZE] = {};
    QString text = QStringLiteral("Error during %1: ").arg(QLatin1String(operation));
    if (av_strerror(result, message, sizeof message) == 0)
        text += QString::fromUtf8(message);
    else
        text += QStringLiteral(" 0x%1").arg(uint(result), 0, 16);
    throw std::runtime_error(text.toStdString());
}

Compressor::PacketConsumer::~PacketConsumer() = default;

Compressor::Compressor(QSize size, int gopSize) : m_size(size)
{
    // The coders report each stream's statistics at the informational level:
    // nothing the application's output should carry.
    static const bool quiet = [] {
        if (av_log_get_level() == AV_LOG_INFO)
            av_log_set_level(AV_LOG_ERROR);
        return true;
    }();
    Q_UNUSED(quiet);
    const AVCodec *codec = avcodec_find_encoder(AV_CODEC_ID_H264);
    if (!codec)
        throw std::runtime_error("H.264 codec not supported by the ffmpeg library");
    m_context.reset(avcodec_alloc_context3(codec));
    if (!m_context)
        throw std::runtime_error("allocating codec context");
    m_context->bit_rate = BitRate;
    m_context->width = size.width();
    m_context->height = size.height();
    m_context->time_base = AVRational{1, TimeBaseDen};
    m_context->pkt_timebase = AVRational{1, TimeBaseDen};
    // Rate control spreads the bit rate over this many frames a second; the
    // time base alone would make it 25000 and starve every frame.
    m_context->framerate = AVRational{NominalFrameRate, 1};
    m_context->gop_size = gopSize;
    m_context->max_b_frames = 1;
    m_context->pix_fmt = AV_PIX_FMT_YUV420P;
    // Pictures of a desktop come one at a time and are watched live: the
    // fastest settings of x264, and no look-ahead that holds frames back.
    // Other encoders do not know these options and keep their defaults.
    if (m_context->priv_data) {
        av_opt_set(m_context->priv_data, "preset", "ultrafast", 0);
        av_opt_set(m_context->priv_data, "tune", "zerolatency", 0);
        // x264 reads a group of 0 as "every frame a key frame"; here it means
        // that the caller alone forces them.
        if (gopSize == 0)
            av_opt_set(m_context->priv_data, "x264-params", "keyint=infinite:scenecut=0", 0);
    }
    m_packet.reset(av_packet_alloc());
    m_parameters.reset(avcodec_parameters_alloc());
    if (!m_packet || !m_parameters)
        throw std::runtime_error("allocating codec context");
    checkAvResult(avcodec_parameters_from_context(m_parameters, m_context),
                  "Fetching codec parameters");
}

Compressor::~Compressor() = default;

void Compressor::setGlobalHeader(bool global)
{
    if (global)
        m_context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    else
        m_context->flags &= ~AV_CODEC_FLAG_GLOBAL_HEADER;
}

void Compressor::start(PacketConsumer *consumer)
{
    m_consumer = consumer;
    checkAvResult(avcodec_open2(m_context, m_context->codec, nullptr), "opening the codec");
    // Opening adds the headers a container keeps apart from the packets.
    checkAvResult(avcodec_parameters_from_context(m_parameters, m_context),
                  "Fetching codec parameters");
}

void Compressor::appendFrame(AVFrame *frame)
{
    checkAvResult(avcodec_send_frame(m_context, frame), "adding a video frame");
    receivePackets(AVERROR(EAGAIN));
}

void Compressor::finish()
{
    if (!avcodec_is_open(m_context))
        return;
    checkAvResult(avcodec_send_frame(m_context, nullptr), "finishing the video stream");
    receivePackets(AVERROR_EOF);
    // A closed codec is freed with its context.
    m_context.reset();
}

void Compressor::receivePackets(int endCode)
{
    for (;;) {
        const int result = avcodec_receive_packet(m_context, m_packet);
        if (result == endCode || result == AVERROR(EAGAIN) || result == AVERROR_EOF)
            return;
        checkAvResult(result, "receiving compressed video frame");
        if (m_consumer)
            m_consumer->appendPacket(m_packet);
        av_packet_unref(m_packet);
    }
}

QSize RGBCompressor::codedSize(QSize input)
{
    QSize size = input;
    const qint64 area = qint64(input.width()) * input.height();
    if (area > MaxArea) {
        // The area's ratio on each side, not its root: the picture comes
        // out smaller than the limit needs.
        const double ratio = double(MaxArea) / double(area);
        size.scale(
            QSize(int(std::floor(input.width() * ratio)), int(std::floor(input.height() * ratio))),
            Qt::KeepAspectRatio);
    }
    const auto even = [](int side) { return side <= 0 ? side : qMax(2, side & ~1); };
    return {even(size.width()), even(size.height())};
}

RGBCompressor::RGBCompressor(QSize input) : Compressor(codedSize(input), 0), m_input(input)
{
    const QSize coded = frameSize();
    const bool reduced = qint64(input.width()) * input.height() > MaxArea;
    m_sws.reset(sws_getContext(input.width(), input.height(), AV_PIX_FMT_BGRA, coded.width(),
                               coded.height(), AV_PIX_FMT_YUV420P,
                               reduced ? SWS_FAST_BILINEAR : SWS_POINT, nullptr, nullptr, nullptr));
    if (!m_sws)
        throw std::runtime_error("Failed allocating SWS context");
    m_frame.reset(av_frame_alloc());
    if (!m_frame)
        throw std::runtime_error("allocating frame buffer");
    m_frame->width = coded.width();
    m_frame->height = coded.height();
    m_frame->format = AV_PIX_FMT_YUV420P;
    m_frame->pts = 0;
    checkAvResult(av_frame_get_buffer(m_frame, 0), "allocating frame buffer");
}

RGBCompressor::~RGBCompressor() = default;

void RGBCompressor::appendFrame(const uchar *data, int bytesPerLine, qint64 timeMs)
{
    checkAvResult(av_frame_make_writable(m_frame), "adding a video frame");
    const uint8_t *const planes[] = {data};
    const int strides[] = {bytesPerLine};
    sws_scale(m_sws, planes, strides, 0, m_input.height(), m_frame->data, m_frame->linesize);
    encode(timeMs, true);
}

void RGBCompressor::repeatFrame(qint64 timeMs)
{
    encode(timeMs, false);
}

void RGBCompressor::encode(qint64 timeMs, bool mayForceKey)
{
    // The coder wants times that go up, even for two pictures within the
    // same millisecond.
    m_frame->pts = qMax(av_rescale(timeMs, TimeBaseDen, 1000), m_lastPts + 1);
    m_lastPts = m_frame->pts;
    if (mayForceKey && m_framesSinceKey >= KeyFrameInterval) {
        m_framesSinceKey = 0;
        m_frame->pict_type = AV_PICTURE_TYPE_I;
    } else {
        ++m_framesSinceKey;
        m_frame->pict_type = AV_PICTURE_TYPE_NONE;
    }
    Compressor::appendFrame(m_frame);
}

} // namespace Tolvex::Video
