#include "muxer.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/mathematics.h>
#include <libavutil/mem.h>
}

#include <QIODevice>

#include <cstdio>
#include <stdexcept>

namespace Tolvex::Video {

void freeAvObject(AVFormatContext *object)
{
    avformat_free_context(object);
}

void CodecParameters::copy(AVCodecParameters *destination, const AVCodecParameters *source)
{
    checkAvResult(avcodec_parameters_copy(destination, source), "copying codec parameters");
}

namespace {

int writePacket(void *opaque, uint8_t *data, int size)
{
    static_cast<QIODevice *>(opaque)->write(reinterpret_cast<const char *>(data), size);
    return size;
}

int64_t seekDevice(void *opaque, int64_t offset, int whence)
{
    auto *device = static_cast<QIODevice *>(opaque);
    if (device->isSequential())
        return -1;
    if (whence == SEEK_CUR)
        offset += device->pos();
    else if (whence != SEEK_SET)
        return -1;
    return device->seek(offset) ? offset : -1;
}

} // namespace

IOContext::IOContext(QIODevice *device) : m_device(device)
{
    auto *buffer = static_cast<unsigned char *>(av_malloc(BufferSize));
    m_context = buffer ? avio_alloc_context(buffer, BufferSize, 1, device, nullptr, &writePacket,
                                            &seekDevice)
                       : nullptr;
    if (!m_context) {
        av_free(buffer);
        throw std::runtime_error("allocating video output context");
    }
    if (device->isSequential()) {
        av_free(m_context->buffer);
        avio_context_free(&m_context);
        device->close();
        delete device;
        m_device = nullptr;
        throw std::runtime_error("Sequential output devices are not supported");
    }
}

IOContext::~IOContext()
{
    if (!m_context)
        return;
    av_free(m_context->buffer);
    avio_context_free(&m_context);
}

Muxer::Muxer(QIODevice *device) : m_io(device)
{
    const AVOutputFormat *format = av_guess_format("mp4", nullptr, nullptr);
    if (!format)
        throw std::runtime_error("MP4 format not supported by the ffmpeg library");
    AVFormatContext *context = nullptr;
    checkAvResult(avformat_alloc_output_context2(&context, format, nullptr, nullptr),
                  "allocating video output context");
    m_format.reset(context);
    m_format->pb = m_io.get();
    // The device is ours to close, not FFmpeg's.
    m_format->flags |= AVFMT_FLAG_CUSTOM_IO;
}

Muxer::~Muxer() = default;

Muxer::Stream Muxer::addStream()
{
    AVStream *stream = avformat_new_stream(m_format, nullptr);
    if (!stream)
        throw std::runtime_error("allocating muxer stream");
    stream->time_base = AVRational{1, Compressor::TimeBaseDen};
    stream->id = int(m_format->nb_streams) - 1;
    return Stream(this, stream);
}

void Muxer::start()
{
    AVDictionary *options = nullptr;
    const int result = avformat_write_header(m_format, &options);
    av_dict_free(&options);
    checkAvResult(result, "writing the video file header");
}

void Muxer::finish()
{
    checkAvResult(av_write_trailer(m_format), "finishing the video file");
    avio_flush(m_io.get());
    m_io.device()->close();
}

void Muxer::Stream::appendPacket(AVPacket *packet)
{
    packet->stream_index = m_stream->index;
    ++m_muxer->m_packets;
    // The coder and the stream count in the same ticks; the muxer may have
    // chosen others in its header.
    m_muxer->m_lastTimeMs = av_rescale(packet->pts, 1000, Compressor::TimeBaseDen);
    av_packet_rescale_ts(packet, AVRational{1, Compressor::TimeBaseDen}, m_stream->time_base);
    checkAvResult(av_interleaved_write_frame(m_muxer->m_format, packet),
                  "writing compressed video frame");
}

} // namespace Tolvex::Video
