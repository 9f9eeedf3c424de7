#include "asyncipc.h"
#include "chunkedmessage.h"
#include "directmessagechannel.h"

#include <QDataStream>
#include <QRandomGenerator>

#include <gtest/gtest.h>

#include <zlib.h>

using namespace Tolvex;

namespace {

// An endpoint on one half of a direct pair; the frames it sends are collected
// at the other half.
struct FrameCapture
{
    DirectMessageChannel *near;
    DirectMessageChannel *far;
    AsyncIPC *ipc;
    QList<QByteArray> frames;

    FrameCapture()
    {
        auto pair = DirectMessageChannel::channelPair();
        near = pair.first;
        far = pair.second;
        ipc = new AsyncIPC(near, ClientData{9, 0, 4, {}}, nullptr);
        QObject::connect(far, &AsyncMessageChannel::messageArrived,
                         [this](const QByteArray &f) { frames << f; });
    }
    ~FrameCapture()
    {
        delete ipc;
        delete far;
    }

    QString sendBody(const QByteArray &body, int pieces = 1)
    {
        ChunkedMessageSender sender(ipc, 1, 77, SendMessage, 0);
        EXPECT_FALSE(sender.open(QIODevice::ReadWrite));
        EXPECT_TRUE(sender.open(QIODevice::WriteOnly));
        const qsizetype step = (body.size() + pieces - 1) / qMax(1, pieces);
        for (qsizetype pos = 0; pos < body.size(); pos += step)
            sender.write(body.mid(pos, step));
        sender.close();
        return sender.errorText();
    }
};

class CollectingReceiver : public ChunkedMessageReceiver
{
public:
    using ChunkedMessageReceiver::ChunkedMessageReceiver;
    void process(QDataStream &) override {}
};

QByteArray randomBytes(qsizetype n, quint32 seed)
{
    QByteArray b(n, '\0');
    QRandomGenerator rng(seed);
    for (qsizetype i = 0; i < n; ++i)
        b[i] = char(rng.generate() & 0xff);
    return b;
}

quint32 flagsOf(const QByteArray &frame)
{
    return MessageHeader::readFrom(frame.constData()).flags;
}

// Reads a whole body back through a receiver, in pieces of the given size.
QByteArray readBack(const QList<QByteArray> &frames, qint64 piece, QString *error = nullptr)
{
    CollectingReceiver r(nullptr);
    for (const QByteArray &f : frames)
        r.addChunk(f);
    EXPECT_TRUE(r.open(QIODevice::ReadOnly));
    QByteArray out;
    QByteArray buf(piece, '\0');
    for (;;) {
        const qint64 n = r.read(buf.data(), piece);
        if (n <= 0) {
            if (n < 0 && error)
                *error = r.errorText();
            break;
        }
        out.append(buf.constData(), n);
    }
    return out;
}

} // namespace

TEST(ChunkedMessage, PlainUpTo10215BytesCompressedFrom10216)
{
    {
        FrameCapture c;
        const QByteArray body = randomBytes(10215, 1);
        EXPECT_TRUE(c.sendBody(body, 7).isEmpty());
        ASSERT_EQ(c.frames.size(), 1);
        EXPECT_EQ(c.frames[0].size(), 10239);
        EXPECT_EQ(flagsOf(c.frames[0]), 0u);
        // The header is put in place field by field.
        EXPECT_EQ(c.frames[0].left(24).toHex(), QByteArray("00000000000000010000000300000009000000"
                                                           "4d00000000"));
        EXPECT_EQ(readBack(c.frames, 1000), body);
    }
    {
        // Compressible, so the stream fits one frame: compressed, no more chunks.
        FrameCapture c;
        const QByteArray body(10216, 'a');
        EXPECT_TRUE(c.sendBody(body).isEmpty());
        ASSERT_EQ(c.frames.size(), 1);
        EXPECT_EQ(flagsOf(c.frames[0]), quint32(CompressedFlag));
        EXPECT_LT(c.frames[0].size(), 200);
        EXPECT_EQ(readBack(c.frames, 4096), body);
    }
}

TEST(ChunkedMessage, LargeBodiesStreamInFullChunksAndReadBackInAnyPieces)
{
    FrameCapture c;
    const QByteArray body = randomBytes(300000, 2);
    ChunkedMessageSender sender(c.ipc, 1, 5, CallMessage, ErrorFlag);
    ASSERT_TRUE(sender.open(QIODevice::WriteOnly));
    // Frames leave while the body is being written, not at close().
    sender.write(body.left(100000));
    EXPECT_GE(c.frames.size(), 5);
    sender.write(body.mid(100000));
    sender.close();
    EXPECT_TRUE(sender.errorText().isEmpty());
    EXPECT_EQ(sender.write("x", 1), -1);

    ASSERT_GT(c.frames.size(), 29); // random data does not shrink
    for (int i = 0; i + 1 < c.frames.size(); ++i) {
        EXPECT_EQ(c.frames[i].size(), ChunkBufferSize);
        EXPECT_EQ(flagsOf(c.frames[i]), quint32(ErrorFlag | MoreChunksFlag | CompressedFlag));
    }
    EXPECT_EQ(flagsOf(c.frames.last()), quint32(ErrorFlag | CompressedFlag));
    EXPECT_LE(c.frames.last().size(), ChunkBufferSize);

    // The frame bodies joined are one plain zlib stream of the body.
    QByteArray stream;
    for (const QByteArray &f : c.frames)
        stream += f.mid(24);
    QByteArray inflated(body.size(), '\0');
    uLongf len = uLongf(inflated.size());
    ASSERT_EQ(uncompress(reinterpret_cast<Bytef *>(inflated.data()), &len,
                         reinterpret_cast<const Bytef *>(stream.constData()), uLong(stream.size())),
              Z_OK);
    EXPECT_EQ(inflated, body);

    for (qint64 piece : {1, 7, 4096, 10240, 65536, 1 << 20})
        EXPECT_EQ(readBack(c.frames, piece), body) << "piece " << piece;
}

TEST(ChunkedMessage, DamagedCompressedMessagesGiveZlibErrors)
{
    FrameCapture c;
    const QByteArray body = randomBytes(50000, 3);
    ASSERT_TRUE(c.sendBody(body).isEmpty());
    ASSERT_GT(c.frames.size(), 3);

    QString error;
    QList<QByteArray> cut = c.frames;
    cut.removeLast();
    const QByteArray partial = readBack(cut, 4096, &error);
    EXPECT_EQ(error, QStringLiteral("Zlib stream premature end"));
    EXPECT_LT(partial.size(), body.size());

    QList<QByteArray> garbled = c.frames;
    garbled[0][24] = char(0x00); // a zlib header that fails its check
    error.clear();
    readBack(garbled, 4096, &error);
    EXPECT_TRUE(error.startsWith(QStringLiteral("Zlib inflate error: "))) << error.toStdString();

    CollectingReceiver r(nullptr);
    EXPECT_FALSE(r.open(QIODevice::WriteOnly));
    EXPECT_EQ(r.errorText(), QStringLiteral("Stream is read-only"));
}

TEST(ChunkedMessage, FailedEnqueueIsReported)
{
    FrameCapture c;
    c.near->close();
    EXPECT_EQ(c.sendBody("small"), QStringLiteral("Failed enqueing message chunk"));
    // The compressed form fails in the middle of the body; closing then
    // cannot end the stream either, and says so.
    EXPECT_EQ(c.sendBody(randomBytes(30000, 4)), QStringLiteral("Zlib compression end error: 0"));
}
