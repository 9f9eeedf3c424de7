// A peer that goes away or stalls while a message of many frames is under
// way, in either direction, over real TCP. The endpoint's handler deletes
// the endpoint the moment the connection ends, as the agent does with
// itself; whatever happens, nothing may crash, leak or hang.

#include "asyncipc.h"
#include "chunkedmessage.h"
#include "eventloop.h"
#include "messageframes.h"
#include "randombytes.h"
#include "socketpair.h"
#include "tcpmessagechannel.h"

#include <QDataStream>
#include <QDeadlineTimer>
#include <QPointer>

#include <gtest/gtest.h>

#include <thread>

using namespace Tolvex;
using namespace TestSupport;

namespace {

constexpr unsigned AgentAddress = 5;
constexpr unsigned PeerAddress = 1;
constexpr int StallLimitMs = 300;

// Answers "big" with a body too large for the socket buffers, and deletes
// its endpoint when the connection ends.
class SelfDeletingHandler : public IPCResponseHandlerIface
{
public:
    QPointer<AsyncIPC> ipc;
    QByteArray answer;
    QStringList calls;
    int closed = 0;

    QVariant handleCall(unsigned, const QString &function, const ArgumentList &) override
    {
        calls << function;
        return function == QLatin1String("big") ? QVariant(answer) : QVariant(function);
    }
    void connectionClosed() override
    {
        ++closed;
        delete ipc.data();
    }
};

// The agent's end on one socket of a loopback pair, the peer's raw socket on
// the other.
struct EndpointAndPeer
{
    SocketPair pair;
    SelfDeletingHandler handler;
    FSocket &peer;

    EndpointAndPeer() : peer(*pair.b)
    {
        auto *channel = new TCPMessageChannel(pair.a.release());
        channel->setWriteStallLimit(StallLimitMs);
        handler.ipc = new AsyncIPC(channel, ClientData{int(AgentAddress), 0, 4, {}}, &handler);
    }
    ~EndpointAndPeer() { delete handler.ipc.data(); }
};

// The frames of a call from the peer to the agent.
QList<QByteArray> callFrames(const QString &function, const ArgumentList &args, int transId)
{
    return TestSupport::callFrames(PeerAddress, AgentAddress, function, args, transId);
}

// Reads what the agent wrote until the peer has a whole reply of this
// transaction, and gives its body back.
QByteArray readReply(const QByteArray &stream, int transId)
{
    struct Body : ChunkedMessageReceiver
    {
        using ChunkedMessageReceiver::ChunkedMessageReceiver;
        void process(QDataStream &) override {}
    } body(nullptr);
    qsizetype at = 0;
    while (at + 4 <= stream.size()) {
        const quint32 size = qFromBigEndian<quint32>(stream.constData() + at);
        if (size < quint32(MessageHeader::Size) || at + qsizetype(size) > stream.size())
            break;
        const QByteArray frame = stream.mid(at, size);
        at += size;
        const MessageHeader h = MessageHeader::readFrom(frame.constData());
        if (h.msgType != ReplyMessage || h.transId != transId)
            continue;
        body.addChunk(frame);
        if (!(h.flags & MoreChunksFlag))
            break;
    }
    body.open(QIODevice::ReadOnly);
    QDataStream in(&body);
    in.setVersion(AsyncIPC::BodyStreamVersion);
    const ArgumentList values = AsyncIPC::readArguments(in);
    return values.value(0).toByteArray();
}

bool writeFrames(FSocket &s, const QList<QByteArray> &frames)
{
    for (const QByteArray &f : frames)
        if (!writeAll(s, f))
            return false;
    return true;
}

} // namespace

TEST(PeerFaults, AReplyToAPeerThatStopsReadingGivesUpAndTheEndpointGoesQuietly)
{
    EndpointAndPeer t;
    // Incompressible, and far more than loopback buffers hold.
    t.handler.answer = randomBytes(24 * 1024 * 1024, 1);
    ASSERT_TRUE(writeFrames(t.peer, callFrames(QStringLiteral("big"), {}, 1)));

    // The call is served from the notifier; its answer blocks in the channel
    // until the stall limit, the connection ends, and the handler deletes the
    // endpoint while the reply's frames are still being written.
    EXPECT_TRUE(waitUntil([&] { return t.handler.closed == 1; }, 20000));
    EXPECT_EQ(t.handler.calls, QStringList{QStringLiteral("big")});
    EXPECT_TRUE(t.handler.ipc.isNull());
}

TEST(PeerFaults, OwnSendsAndCallsToAPeerThatStopsReadingFailOnceAndLeaveNothingBehind)
{
    const QByteArray body = randomBytes(24 * 1024 * 1024, 2);
    {
        EndpointAndPeer t;
        EXPECT_EQ(t.handler.ipc->send(PeerAddress, QStringLiteral("push"), {body}), -1);
        EXPECT_EQ(t.handler.closed, 1);
        EXPECT_TRUE(t.handler.ipc.isNull());
    }
    {
        EndpointAndPeer t;
        struct Count : ResponseListener<ArgumentList>
        {
            int answers = 0;
            QString error;
            void response(FunctionCallResult<ArgumentList> r) override
            {
                ++answers;
                error = r.error;
            }
        } listener;
        EXPECT_EQ(t.handler.ipc->asyncCall(PeerAddress, QStringLiteral("push"), {body}, &listener),
                  -1);
        // Exactly one answer, although the endpoint is gone.
        EXPECT_EQ(listener.answers, 1);
        EXPECT_TRUE(listener.error.startsWith(QStringLiteral("Call failed: ")))
            << qPrintable(listener.error);
        EXPECT_TRUE(t.handler.ipc.isNull());
    }
}

TEST(PeerFaults, APeerThatReadsATrickleGetsTheWholeReplyAndTheEndpointGoesOn)
{
    EndpointAndPeer t;
    // A small window, so the reply cannot hide in kernel buffers and the
    // writer really waits on the reader.
    t.peer.setReceiveBufferSize(64 * 1024);
    t.handler.answer = randomBytes(3 * 1024 * 1024, 3);
    ASSERT_TRUE(writeFrames(t.peer, callFrames(QStringLiteral("big"), {}, 1)));

    // 64 KB at a time with pauses, until the reply's last frame is in: each
    // frame gets through well inside the stall limit, however long the
    // whole reply takes.
    QByteArray received;
    std::thread reader([&] {
        QByteArray chunk(64 * 1024, '\0');
        qsizetype parsed = 0;
        QDeadlineTimer deadline(20000);
        while (!deadline.hasExpired()) {
            if (t.peer.waitForMore(50) > 0) {
                const int n = t.peer.readBlock(chunk.data(), int(chunk.size()));
                if (n <= 0)
                    return;
                received.append(chunk.constData(), n);
            }
            while (parsed + MessageHeader::Size <= received.size()) {
                const quint32 size = qFromBigEndian<quint32>(received.constData() + parsed);
                if (parsed + qsizetype(size) > received.size())
                    break;
                const MessageHeader h = MessageHeader::readFrom(received.constData() + parsed);
                parsed += size;
                if (h.msgType == ReplyMessage && !(h.flags & MoreChunksFlag))
                    return;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    });
    EXPECT_TRUE(waitUntil([&] { return !t.handler.calls.isEmpty(); }, 20000));
    reader.join();

    EXPECT_EQ(readReply(received, 1), t.handler.answer);
    EXPECT_EQ(t.handler.closed, 0);
    ASSERT_FALSE(t.handler.ipc.isNull());
    EXPECT_TRUE(t.handler.ipc->isOpen());
    EXPECT_GE(t.handler.ipc->send(PeerAddress, QStringLiteral("still"), {}), 0);
}

TEST(PeerFaults, APeerClosingWhileALongSendIsUnderWayEndsTheConnectionOnce)
{
    EndpointAndPeer t;
    std::thread closer([&] {
        QByteArray chunk(64 * 1024, '\0');
        qsizetype got = 0;
        while (got < 200 * 1024 && t.peer.waitForMore(5000) > 0) {
            const int n = t.peer.readBlock(chunk.data(), int(chunk.size()));
            if (n <= 0)
                break;
            got += n;
        }
        t.peer.close();
    });
    const int id =
        t.handler.ipc->send(PeerAddress, QStringLiteral("push"), {randomBytes(24 << 20, 4)});
    closer.join();
    EXPECT_EQ(id, -1);
    // The write error leaves the channel to the read side, which sees the end.
    EXPECT_TRUE(waitUntil([&] { return t.handler.closed == 1; }, 5000));
    EXPECT_TRUE(t.handler.ipc.isNull());
}

TEST(PeerFaults, APeerThatStopsOrLeavesInsideAnIncomingMessageIsForgotten)
{
    const QList<QByteArray> frames =
        callFrames(QStringLiteral("big"), {randomBytes(100 * 1024, 5)}, 1);
    ASSERT_GT(frames.size(), 2);
    const QList<QByteArray> small = callFrames(QStringLiteral("small"), {}, 2);

    // Stalls after the first frame: the endpoint keeps serving other traffic.
    {
        EndpointAndPeer t;
        ASSERT_TRUE(writeAll(t.peer, frames.first()));
        ASSERT_TRUE(writeFrames(t.peer, small));
        EXPECT_TRUE(waitUntil([&] { return t.handler.calls.contains(QStringLiteral("small")); }));
        EXPECT_EQ(t.handler.calls, QStringList{QStringLiteral("small")});
        EXPECT_EQ(t.handler.closed, 0);
    }
    // Leaves between frames, and in the middle of one: the half-received
    // call is dropped with the endpoint, and its handler never hears of it.
    for (const QByteArray &tail : {QByteArray(), frames.at(1).left(5000)}) {
        EndpointAndPeer t;
        ASSERT_TRUE(writeAll(t.peer, frames.first()));
        if (!tail.isEmpty()) {
            ASSERT_TRUE(writeAll(t.peer, tail));
        }
        t.peer.close();
        EXPECT_TRUE(waitUntil([&] { return t.handler.closed == 1; }));
        EXPECT_TRUE(t.handler.calls.isEmpty());
        EXPECT_TRUE(t.handler.ipc.isNull());
    }
}
