#pragma once

#include "messageheader.h"

#include <QByteArray>
#include <QIODevice>
#include <QList>
#include <QPointer>

#include <zlib.h>

namespace Tolvex {

class AsyncIPC;

// Size of a chunk on the wire, header included, and of each working buffer.
// A body that fills the input buffer is compressed: 10216 bytes or more.
inline constexpr int ChunkBufferSize = 10240;

// Writes one message body as frames onto an endpoint's channel while the body
// is still being serialised: a small body leaves as one plain frame at
// close(), a large one as a zlib stream cut into frames of ChunkBufferSize.
// Never holds more than two buffers, however long the body.
//
// Each frame that leaves may end the connection, and whoever hears of that
// may delete the endpoint: the sender holds it weakly and looks again before
// every frame, so a message cut short fails with an error, never a crash.
class ChunkedMessageSender : public QIODevice
{
    Q_OBJECT
public:
    ChunkedMessageSender(AsyncIPC *ipc, unsigned destination, int transId, MessageType type,
                         unsigned flags);
    ~ChunkedMessageSender() override;

    bool isSequential() const override { return true; }
    bool open(OpenMode mode) override;
    // Sends what is left; afterwards errorText() tells whether all went out.
    void close() override;
    QString errorText() const { return m_error; }

protected:
    qint64 readData(char *, qint64) override { return -1; }
    qint64 writeData(const char *data, qint64 len) override;

private:
    bool flushOutput();
    // False when the endpoint or its channel has gone or the channel refused.
    bool enqueue(const QByteArray &frame);
    QByteArray withHeader(QByteArray frame, unsigned extraFlags) const;

    QPointer<AsyncIPC> m_ipc;
    // Taken at construction: every frame carries it, also after the endpoint went.
    quint32 m_source;
    unsigned m_destination;
    int m_transId;
    MessageType m_type;
    unsigned m_flags;
    QByteArray m_input;
    QByteArray m_output;
    int m_position = MessageHeader::Size;
    QString m_error;
    bool m_compressing = false;
    z_stream m_zstream{};
};

// Collects the frames of one incoming message and reads its body back as one
// contiguous stream, inflating it when it came compressed. The subclasses
// decide what the message means.
class ChunkedMessageReceiver : public QIODevice
{
    Q_OBJECT
public:
    explicit ChunkedMessageReceiver(AsyncIPC *ipc);
    ~ChunkedMessageReceiver() override;

    bool isSequential() const override { return true; }
    bool open(OpenMode mode) override;
    QString errorText() const { return m_error; }
    unsigned firstFlags() const { return m_firstFlags; }

    virtual void addChunk(const QByteArray &chunk);
    virtual void process(QDataStream &stream) = 0;
    // The endpoint gives the message up; the base deletes it.
    virtual void abandon();

protected:
    qint64 readData(char *data, qint64 maxlen) override;
    qint64 writeData(const char *, qint64) override { return -1; }

    QPointer<AsyncIPC> m_ipc;

private:
    qint64 readPlain(char *data, qint64 maxlen);
    qint64 readCompressed(char *data, qint64 maxlen);

    QList<QByteArray> m_frames;
    qsizetype m_offset = MessageHeader::Size;
    QString m_error;
    unsigned m_firstFlags = 0;
    bool m_compressed = false;
    z_stream m_zstream{};
};

// "Zlib <stage> error: <zlib's message or code>"
QString zlibErrorText(const char *stage, const z_stream &stream, int code);

} // namespace Tolvex
