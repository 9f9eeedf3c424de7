#pragma once

#include <QByteArray>
#include <QtEndian>
#include <QtGlobal>

namespace Tolvex {

// The 24-byte header in front of every message behind the handshake: six
// 32-bit big-endian fields, put in place by hand.
enum MessageType : quint32 {
    HeaderMessage = 0,
    CallMessage = 1,
    ReplyMessage = 2,
    SendMessage = 3,
    IgnoredMessage = 16,
    PeerGoneMessage = 17,
    PingMessage = 32,
};

enum MessageFlag : quint32 {
    ErrorFlag = 1,
    MoreChunksFlag = 2,
    CompressedFlag = 4,
};

struct MessageHeader
{
    static constexpr int Size = 24;

    quint32 size = 0;
    quint32 destination = 0;
    quint32 msgType = 0;
    quint32 source = 0;
    qint32 transId = 0;
    quint32 flags = 0;

    // Writes the fields into the first 24 bytes of buf; the size field is the
    // channel's and is left as it is.
    void writeTo(char *buf) const
    {
        qToBigEndian<quint32>(destination, buf + 4);
        qToBigEndian<quint32>(msgType, buf + 8);
        qToBigEndian<quint32>(source, buf + 12);
        qToBigEndian<qint32>(transId, buf + 16);
        qToBigEndian<quint32>(flags, buf + 20);
    }

    // Reads a header from at least 24 bytes.
    static MessageHeader readFrom(const char *buf)
    {
        MessageHeader h;
        h.size = qFromBigEndian<quint32>(buf);
        h.destination = qFromBigEndian<quint32>(buf + 4);
        h.msgType = qFromBigEndian<quint32>(buf + 8);
        h.source = qFromBigEndian<quint32>(buf + 12);
        h.transId = qFromBigEndian<qint32>(buf + 16);
        h.flags = qFromBigEndian<quint32>(buf + 20);
        return h;
    }

    // A header-only frame (24 bytes), ready for enqueueMessage.
    QByteArray toFrame() const
    {
        QByteArray frame(Size, '\0');
        writeTo(frame.data());
        return frame;
    }
};

} // namespace Tolvex
