#include "chunkedmessage.h"

#include "asyncipc.h"

#include <cstring>

namespace Tolvex {

namespace {

constexpr int HeaderSize = MessageHeader::Size;
constexpr int ChunkBodySize = ChunkBufferSize - HeaderSize;

Bytef *bytes(QByteArray &a, int offset = 0)
{
    return reinterpret_cast<Bytef *>(a.data()) + offset;
}

} // namespace

QString zlibErrorText(const char *stage, const z_stream &stream, int code)
{
    return QStringLiteral("Zlib %1 error: %2")
        .arg(QLatin1String(stage),
             stream.msg ? QString::fromLatin1(stream.msg) : QString::number(code));
}

// ---- sender ----

ChunkedMessageSender::ChunkedMessageSender(AsyncIPC *ipc, unsigned destination, int transId,
                                           MessageType type, unsigned flags)
    : m_ipc(ipc), m_source(ipc ? quint32(ipc->appId()) : 0u), m_destination(destination),
      m_transId(transId), m_type(type), m_flags(flags), m_input(ChunkBufferSize, '\0')
{}

ChunkedMessageSender::~ChunkedMessageSender()
{
    if (m_compressing)
        deflateEnd(&m_zstream);
}

bool ChunkedMessageSender::open(OpenMode mode)
{
    if (mode != WriteOnly)
        return false;
    return QIODevice::open(mode | Unbuffered);
}

QByteArray ChunkedMessageSender::withHeader(QByteArray frame, unsigned extraFlags) const
{
    MessageHeader h;
    h.destination = m_destination;
    h.msgType = m_type;
    h.source = m_source;
    h.transId = m_transId;
    h.flags = m_flags | extraFlags;
    h.writeTo(frame.data());
    return frame;
}

bool ChunkedMessageSender::enqueue(const QByteArray &frame)
{
    AsyncMessageChannel *channel = m_ipc ? m_ipc->channel() : nullptr;
    if (channel && channel->enqueueMessage(frame))
        return true;
    m_error = QStringLiteral("Failed enqueing message chunk");
    return false;
}

bool ChunkedMessageSender::flushOutput()
{
    m_output = withHeader(std::move(m_output), MoreChunksFlag | CompressedFlag);
    if (!enqueue(m_output))
        return false;
    // The channel may still share the bytes just sent; write into our own.
    m_output.detach();
    m_zstream.next_out = bytes(m_output, HeaderSize);
    m_zstream.avail_out = ChunkBodySize;
    return true;
}

qint64 ChunkedMessageSender::writeData(const char *data, qint64 len)
{
    if (!isOpen()) {
        m_error = QStringLiteral("Stream is closed");
        return -1;
    }
    if (len < 1)
        return len;

    qint64 taken = 0;
    while (taken < len) {
        const qint64 n = qMin<qint64>(len - taken, ChunkBufferSize - m_position);
        std::memcpy(m_input.data() + m_position, data + taken, size_t(n));
        m_position += int(n);
        taken += n;
        if (m_position < ChunkBufferSize)
            break;

        if (!m_compressing) {
            m_compressing = true;
            const int r = deflateInit(&m_zstream, Z_DEFAULT_COMPRESSION);
            if (r != Z_OK) {
                m_error = zlibErrorText("initialization", m_zstream, r);
                return -1;
            }
            m_output = QByteArray(ChunkBufferSize, '\0');
            m_zstream.next_in = bytes(m_input, HeaderSize);
            m_zstream.avail_in = ChunkBodySize;
            m_zstream.next_out = bytes(m_output, HeaderSize);
            m_zstream.avail_out = ChunkBodySize;
        } else {
            m_zstream.next_in = bytes(m_input);
            m_zstream.avail_in = ChunkBufferSize;
        }
        m_position = 0;

        while (m_zstream.avail_in > 0) {
            const int r = deflate(&m_zstream, Z_NO_FLUSH);
            if (r != Z_OK) {
                m_error = zlibErrorText("deflate", m_zstream, r);
                return -1;
            }
            if (m_zstream.avail_out == 0 && !flushOutput())
                return -1;
        }
    }
    return len;
}

void ChunkedMessageSender::close()
{
    if (!isOpen())
        return;
    if (!m_compressing) {
        enqueue(withHeader(m_input.left(m_position), 0));
        setOpenMode(NotOpen);
        return;
    }

    m_zstream.next_in = bytes(m_input);
    m_zstream.avail_in = uInt(m_position);
    int r = Z_OK;
    for (;;) {
        if (m_zstream.avail_out == 0 && !flushOutput())
            break;
        r = deflate(&m_zstream, Z_FINISH);
        if (r != Z_OK)
            break;
    }
    if (r != Z_STREAM_END) {
        m_error = zlibErrorText("compression end", m_zstream, r);
        setOpenMode(NotOpen);
        return;
    }
    enqueue(withHeader(m_output.left(ChunkBufferSize - int(m_zstream.avail_out)), CompressedFlag));
    setOpenMode(NotOpen);
}

// ---- receiver ----

ChunkedMessageReceiver::ChunkedMessageReceiver(AsyncIPC *ipc) : m_ipc(ipc) {}

ChunkedMessageReceiver::~ChunkedMessageReceiver()
{
    if (m_compressed)
        inflateEnd(&m_zstream);
}

void ChunkedMessageReceiver::addChunk(const QByteArray &chunk)
{
    m_frames.append(chunk);
}

void ChunkedMessageReceiver::abandon()
{
    delete this;
}

bool ChunkedMessageReceiver::open(OpenMode mode)
{
    if (mode != ReadOnly) {
        m_error = QStringLiteral("Stream is read-only");
        return false;
    }
    if (!m_frames.isEmpty() && m_frames.first().size() >= HeaderSize)
        m_firstFlags = MessageHeader::readFrom(m_frames.first().constData()).flags;
    if (m_firstFlags & CompressedFlag) {
        m_compressed = true;
        QByteArray &first = m_frames.first();
        m_zstream.next_in = bytes(first, HeaderSize);
        m_zstream.avail_in = uInt(first.size() - HeaderSize);
        const int r = inflateInit(&m_zstream);
        if (r != Z_OK) {
            m_error = zlibErrorText("inflate init", m_zstream, r);
            return false;
        }
    }
    return QIODevice::open(mode | Unbuffered);
}

qint64 ChunkedMessageReceiver::readData(char *data, qint64 maxlen)
{
    return m_compressed ? readCompressed(data, maxlen) : readPlain(data, maxlen);
}

qint64 ChunkedMessageReceiver::readPlain(char *data, qint64 maxlen)
{
    qint64 n = 0;
    while (n < maxlen && !m_frames.isEmpty()) {
        const QByteArray &front = m_frames.first();
        const qint64 take = qMin<qint64>(maxlen - n, front.size() - m_offset);
        if (take > 0) {
            std::memcpy(data + n, front.constData() + m_offset, size_t(take));
            n += take;
            m_offset += take;
        }
        if (m_offset >= front.size()) {
            m_frames.removeFirst();
            m_offset = HeaderSize;
        }
    }
    return n;
}

qint64 ChunkedMessageReceiver::readCompressed(char *data, qint64 maxlen)
{
    if (maxlen <= 0)
        return 0;
    // zlib counts in uInt; a larger request is served in part.
    const uInt room = uInt(qMin<qint64>(maxlen, 0x40000000));
    m_zstream.next_out = reinterpret_cast<Bytef *>(data);
    m_zstream.avail_out = room;
    for (;;) {
        if (m_zstream.avail_in == 0) {
            if (!m_frames.isEmpty())
                m_frames.removeFirst();
            while (!m_frames.isEmpty()) {
                QByteArray &next = m_frames.first();
                if (next.size() > HeaderSize) {
                    m_zstream.next_in = bytes(next, HeaderSize);
                    m_zstream.avail_in = uInt(next.size() - HeaderSize);
                    break;
                }
                m_frames.removeFirst();
            }
        }
        const int r = inflate(&m_zstream, m_frames.size() < 2 ? Z_FINISH : Z_NO_FLUSH);
        const qint64 produced = room - m_zstream.avail_out;
        // A full output ends this read whatever inflate says: with Z_FINISH it
        // reports a full buffer as Z_BUF_ERROR although it may well have
        // consumed all input and only hold output back.
        if (r == Z_BUF_ERROR && m_zstream.avail_out == 0)
            return produced;
        if (r == Z_BUF_ERROR)
            break;
        if (r == Z_STREAM_END)
            return produced;
        if (r != Z_OK) {
            m_error = zlibErrorText("inflate", m_zstream, r);
            return -1;
        }
        if (m_zstream.avail_out == 0)
            return produced;
    }
    if (m_zstream.avail_in == 0) {
        m_error = QStringLiteral("Zlib stream premature end");
        return -1;
    }
    return room - m_zstream.avail_out;
}

} // namespace Tolvex
