#include "directmessagechannel.h"
#include "eventloop.h"
#include "nullmessagechannel.h"
#include "socketpair.h"
#include "tcpmessagechannel.h"

#include <QCoreApplication>
#include <QtEndian>

#include <gtest/gtest.h>

using namespace Tolvex;
using namespace TestSupport;

namespace {

// A channel on one end of a loopback pair, a raw socket on the other.
struct ChannelAndPeer
{
    SocketPair pair;
    TCPMessageChannel *channel;
    FSocket &peer;
    QList<QByteArray> received;
    int closedSignals = 0;

    ChannelAndPeer() : channel(new TCPMessageChannel(pair.a.release())), peer(*pair.b)
    {
        EXPECT_TRUE(pair.isOpen());
        QObject::connect(channel, &AsyncMessageChannel::messageArrived,
                         [this](const QByteArray &m) { received << m; });
        QObject::connect(channel, &AsyncMessageChannel::channelClosed, [this] { ++closedSignals; });
    }
    ~ChannelAndPeer() { delete channel; }
};

QByteArray payload(int n, char seed)
{
    QByteArray p(n, '\0');
    for (int i = 0; i < n; ++i)
        p[i] = char(seed + i * 7);
    return p;
}

} // namespace

TEST(TCPMessageChannel, FramesSplitOverManyReadsAndManyFramesInOneRead)
{
    ChannelAndPeer t;
    const QByteArray big = payload(70000, 'a');
    const QByteArray stream =
        frame(payload(10, 'x')) + frame(QByteArray()) + frame(big) + frame(payload(3, 'q'));

    // Byte by byte at first, then in odd pieces: each frame arrives once,
    // whole, in order, prefix included.
    qsizetype pos = 0;
    for (; pos < 40; ++pos) {
        ASSERT_TRUE(writeAll(t.peer, stream.mid(pos, 1)));
        ASSERT_TRUE(t.channel->dispatchMessages() || !t.received.isEmpty());
    }
    while (pos < stream.size()) {
        ASSERT_TRUE(writeAll(t.peer, stream.mid(pos, 4099)));
        pos += 4099;
        waitUntil([&] { return t.channel->socket()->bytesAvailable() == 0; }, 1000);
        t.channel->dispatchMessages();
    }
    ASSERT_TRUE(waitUntil([&] { return t.received.size() == 4; }));
    EXPECT_EQ(t.received[0], frame(payload(10, 'x')));
    EXPECT_EQ(t.received[1].size(), 4); // an empty payload is a legal frame
    EXPECT_EQ(t.received[2], frame(big));
    EXPECT_EQ(t.received[3], frame(payload(3, 'q')));
    EXPECT_EQ(t.closedSignals, 0);

    // Several frames in one write, delivered by the notifier in one drain.
    t.received.clear();
    ASSERT_TRUE(writeAll(t.peer, frame("one") + frame("two") + frame("three")));
    ASSERT_TRUE(waitUntil([&] { return t.received.size() == 3; }));
    EXPECT_EQ(t.received[2].mid(4), QByteArray("three"));
}

TEST(TCPMessageChannel, SizePrefixBelowFourClosesTheChannel)
{
    for (quint32 bad = 0; bad < 4; ++bad) {
        ChannelAndPeer t;
        QByteArray prefix(4, '\0');
        qToBigEndian<quint32>(bad, prefix.data());
        ASSERT_TRUE(writeAll(t.peer, frame("ok") + prefix + frame("never")));
        ASSERT_TRUE(waitUntil([&] { return t.closedSignals == 1; })) << "size " << bad;
        ASSERT_EQ(t.received.size(), 1);
        EXPECT_FALSE(t.channel->isOpen());
        // The cached peer stays readable after the socket has gone.
        EXPECT_EQ(t.channel->peerPort(), t.peer.localPort());
        EXPECT_FALSE(t.channel->enqueueMessage(frame("x")));
    }
}

TEST(TCPMessageChannel, PeerDisconnectIsSignalledAndDeliberateCloseIsSilent)
{
    {
        ChannelAndPeer t;
        ASSERT_TRUE(writeAll(t.peer, frame("last words")));
        t.peer.close();
        ASSERT_TRUE(waitUntil([&] { return t.closedSignals == 1; }));
        ASSERT_EQ(t.received.size(), 1);
        EXPECT_FALSE(t.channel->isOpen());
        const auto r = t.channel->waitForSingleMessage(100);
        EXPECT_EQ(r.error, QStringLiteral("Connection is closed"));
    }
    {
        ChannelAndPeer t;
        t.peer.close();
        const auto r = t.channel->waitForSingleMessage(2000);
        EXPECT_EQ(r.error, QStringLiteral("Peer closed the connection"));
        EXPECT_EQ(t.closedSignals, 1);
    }
    {
        ChannelAndPeer t;
        t.peer.shutdown(); // lets close() finish its wait for the peer at once
        t.channel->close();
        t.channel->close();
        QCoreApplication::processEvents();
        EXPECT_EQ(t.closedSignals, 0);
        EXPECT_FALSE(t.channel->isOpen());
        EXPECT_EQ(t.channel->localPort(), 0);
        EXPECT_FALSE(t.channel->enqueueMessage(frame("late")));
        EXPECT_FALSE(t.channel->dispatchMessages());
    }
}

TEST(TCPMessageChannel, HandlerDeletingTheChannelStopsTheDrain)
{
    SocketPair pair;
    ASSERT_TRUE(pair.isOpen());
    auto *channel = new TCPMessageChannel(pair.a.release());
    int delivered = 0;
    QObject::connect(channel, &AsyncMessageChannel::messageArrived, [&](const QByteArray &) {
        ++delivered;
        delete channel;
    });
    ASSERT_TRUE(writeAll(*pair.b, frame("1") + frame("2") + frame("3")));
    ASSERT_TRUE(waitUntil([&] { return delivered > 0; }));
    QCoreApplication::processEvents();
    EXPECT_EQ(delivered, 1);
}

TEST(TCPMessageChannel, WaitForSingleMessageReturnsBufferedFramesFirstAndTimesOut)
{
    ChannelAndPeer t;
    ASSERT_TRUE(writeAll(t.peer, frame("a") + frame("b")));
    auto r = t.channel->waitForSingleMessage(2000);
    ASSERT_TRUE(r.isSuccess()) << r.error.toStdString();
    EXPECT_EQ(r.value.mid(4), QByteArray("a"));
    // The second frame was read with the first and is served from the buffer.
    r = t.channel->waitForSingleMessage(0);
    ASSERT_TRUE(r.isSuccess()) << r.error.toStdString();
    EXPECT_EQ(r.value.mid(4), QByteArray("b"));
    EXPECT_EQ(t.received.size(), 2);

    r = t.channel->waitForSingleMessage(30);
    EXPECT_EQ(r.error, QStringLiteral("Timeout expired"));
    EXPECT_TRUE(t.channel->isOpen());
}

TEST(TCPMessageChannel, EnqueueWritesTheSizePrefixAndGivesUpOnAPeerThatNeverReads)
{
    ChannelAndPeer t;
    QByteArray message = QByteArray(4, '\x7f') + "hello";
    ASSERT_TRUE(t.channel->enqueueMessage(message));
    char buf[16];
    ASSERT_EQ(t.peer.waitForMore(2000), 9);
    ASSERT_EQ(t.peer.readBlock(buf, 9), 9);
    EXPECT_EQ(QByteArray(buf, 9), frame("hello"));

    // The peer stops reading: the kernel buffers fill, and the writer gives
    // up after its stall limit instead of blocking for ever.
    t.channel->setWriteStallLimit(300);
    const QByteArray huge(32 * 1024 * 1024, 'z');
    EXPECT_FALSE(t.channel->enqueueMessage(huge));
    EXPECT_EQ(t.closedSignals, 1);
    EXPECT_FALSE(t.channel->isOpen());
    EXPECT_FALSE(t.channel->enqueueMessage(frame("after")));
}

TEST(TCPMessageChannel, ConnectToReportsTheReason)
{
    quint16 freePort = 0;
    {
        FSocket probe;
        ASSERT_TRUE(probe.bind(FHostAddress(0x7F000001), 0));
        freePort = probe.localPort();
    }
    auto r = TCPMessageChannel::connectTo(QStringLiteral("127.0.0.1"), freePort);
    EXPECT_EQ(r.value, nullptr);
    EXPECT_EQ(r.error, QStringLiteral("Could not connect to Tolvex server at host 127.0.0.1, "
                                      "port %1: Connection refused")
                           .arg(freePort));
    r = TCPMessageChannel::connectTo(SocketAddress{QStringLiteral("no-such-host.invalid"), 7});
    EXPECT_EQ(r.error, QStringLiteral("Could not connect to Tolvex server at host "
                                      "no-such-host.invalid, port 7: Host name not found"));
}

TEST(DirectMessageChannel, DeliversInTheCallersStackAndCloseIsOneSided)
{
    auto [a, b] = DirectMessageChannel::channelPair();
    QList<QByteArray> atA, atB;
    QObject::connect(a, &AsyncMessageChannel::messageArrived,
                     [&](const QByteArray &m) { atA << m; });
    QObject::connect(b, &AsyncMessageChannel::messageArrived,
                     [&](const QByteArray &m) { atB << m; });
    EXPECT_TRUE(a->enqueueMessage(QByteArray(4, '\0') + "ping"));
    ASSERT_EQ(atB.size(), 1);                        // already there, no event loop needed
    EXPECT_EQ(atB[0], QByteArray(4, '\0') + "ping"); // the prefix stays unwritten

    a->close();
    EXPECT_FALSE(a->isOpen());
    EXPECT_FALSE(a->enqueueMessage(QByteArray(4, '\0')));
    EXPECT_TRUE(b->isOpen());
    EXPECT_TRUE(b->enqueueMessage(QByteArray(4, '\0') + "still"));
    EXPECT_EQ(atA.size(), 1);

    // Deleting one half leaves the other closed, not dangling.
    delete a;
    EXPECT_FALSE(b->isOpen());
    EXPECT_FALSE(b->enqueueMessage(QByteArray(4, '\0')));
    delete b;

    NullMessageChannel null;
    EXPECT_FALSE(null.isOpen());
    EXPECT_FALSE(null.enqueueMessage(QByteArray(4, '\0')));
    EXPECT_EQ(null.waitForSingleMessage(10).error, QStringLiteral("Channel not connected"));
}
