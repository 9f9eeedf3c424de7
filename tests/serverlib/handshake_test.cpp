#include "directmessagechannel.h"
#include "eventloop.h"
#include "ipchandshake.h"
#include "ipchandshaker.h"
#include "messageheader.h"
#include "socketpair.h"
#include "tcpmessagechannel.h"
#include "tcpmessagingserver.h"

#include <QDataStream>
#include <QIODevice>
#include <QPointer>
#include <QtEndian>

#include <atomic>
#include <thread>

#include <gtest/gtest.h>

using namespace Tolvex;
using namespace TestSupport;

namespace {

// A handshake message written field by field, independent of the code under
// test.
QByteArray handshakeMessage(quint32 version, quint32 minimum, const ClientData &d,
                            const QString *error = nullptr)
{
    QByteArray m;
    QDataStream s(&m, QIODevice::WriteOnly);
    s.setVersion(6);
    s << qint32(0) << qint32(0) << qint32(version) << qint32(minimum);
    if (error)
        s << qint32(1) << *error;
    else
        s << qint32(0) << d.appId << d.runnerId << d.clientKind << d.clientName;
    return m;
}

ClientData client(const QString &name)
{
    return ClientData{0, 77, 4, name};
}

class TestHandshaker : public IPCHandshaker
{
public:
    TestHandshaker() : IPCHandshaker(nullptr, 123) {}
    FunctionCallResult<ClientData> acceptClient(const ClientData &c) override
    {
        seen << c;
        if (!refusal.isEmpty())
            return FunctionCallResult<ClientData>::failure(refusal);
        ClientData accepted = c;
        accepted.appId = 1000 + int(seen.size());
        return accepted;
    }
    QString refusal;
    QList<ClientData> seen;
};

} // namespace

TEST(Handshake, WireFormIsPinned)
{
    auto [a, b] = DirectMessageChannel::channelPair();
    QList<QByteArray> frames;
    QObject::connect(b, &AsyncMessageChannel::messageArrived,
                     [&](const QByteArray &m) { frames << m; });
    ASSERT_TRUE(IPCHandshake::sendHandshake(a, ClientData{2, 3, 4, QStringLiteral("A")}));
    ASSERT_EQ(frames.size(), 2);
    const QByteArray expected = QByteArray::fromHex("00000000"
                                                    "00000000"
                                                    "070100f0"
                                                    "070000a0"
                                                    "00000000"
                                                    "00000002"
                                                    "00000003"
                                                    "00000004"
                                                    "00000002"
                                                    "0041");
    EXPECT_EQ(frames[0].toHex(), expected.toHex());
    // Behind it, a header-only ping to the broadcast address.
    EXPECT_EQ(frames[1].toHex(), QByteArray::fromHex("00000000ffffffff00000020"
                                                     "000000000000000000000000")
                                     .toHex());
    frames.clear();
    ASSERT_TRUE(IPCHandshake::sendHandshake(
        a, FunctionCallResult<ClientData>::failure(QStringLiteral("no"))));
    EXPECT_EQ(frames[0].toHex(), QByteArray::fromHex("00000000000000000701"
                                                     "00f0070000a000000001000000040"
                                                     "06e006f")
                                     .toHex());
    delete a;
    delete b;
}

TEST(Handshake, VersionBoundsAndMalformedMessages)
{
    const ClientData d{5, 6, 4, QStringLiteral("app")};
    auto ok = IPCHandshake::processHanshake(handshakeMessage(0x070000A0, 0x070000A0, d));
    ASSERT_TRUE(ok.isSuccess()) << ok.error.toStdString();
    EXPECT_EQ(ok.value, d);

    EXPECT_EQ(IPCHandshake::processHanshake(handshakeMessage(0x0700009F, 0x070000A0, d)).error,
              QStringLiteral("Incompatible protocol versions. Remote side is version 7.0.0 but "
                             "we need at least 7.0.0"));
    EXPECT_TRUE(
        IPCHandshake::processHanshake(handshakeMessage(0x08000000, 0x070100F0, d)).isSuccess());
    EXPECT_EQ(IPCHandshake::processHanshake(handshakeMessage(0x08000000, 0x070100F1, d)).error,
              QStringLiteral("Incompatible protocol versions. We are version 7.1.0 but remote "
                             "side expects at least 7.1.0"));
    EXPECT_EQ(IPCHandshake::processHanshake(handshakeMessage(0x0A0B0C00, 0x0A0B0C00, d)).error,
              QStringLiteral("Incompatible protocol versions. We are version 7.1.0 but remote "
                             "side expects at least a.b.c"));

    QByteArray badId = handshakeMessage(0x070100F0, 0x070000A0, d);
    badId[7] = 1;
    EXPECT_EQ(IPCHandshake::processHanshake(badId).error,
              QStringLiteral("Protocol error: invalid protocol identification"));
    EXPECT_EQ(IPCHandshake::processHanshake(QByteArray(27, '\0')).error,
              QStringLiteral("Protocol error: handshake header too short"));

    // A refusal travels word for word; a one-letter refusal is too short.
    const QString refusal = QStringLiteral("Go away");
    EXPECT_EQ(
        IPCHandshake::processHanshake(handshakeMessage(0x070100F0, 0x070000A0, d, &refusal)).error,
        refusal);
    const QString tiny = QStringLiteral("x");
    EXPECT_EQ(
        IPCHandshake::processHanshake(handshakeMessage(0x070100F0, 0x070000A0, d, &tiny)).error,
        QStringLiteral("Protocol error: handshake header too short"));

    // Truncated inside the name: the stream's defaults fill the gap.
    const QByteArray full = handshakeMessage(0x070100F0, 0x070000A0, d);
    const auto cut = IPCHandshake::processHanshake(full.left(full.size() - 3));
    ASSERT_TRUE(cut.isSuccess());
    EXPECT_EQ(cut.value.appId, 5);
    EXPECT_TRUE(cut.value.clientName.isEmpty());
}

TEST(Handshake, EventDrivenOverDirectChannelsWithHandshaker)
{
    auto [clientEnd, serverEnd] = DirectMessageChannel::channelPair();
    TestHandshaker handshaker;
    QList<ClientData> accepted;
    QObject::connect(&handshaker, &IPCHandshaker::newChannel,
                     [&](AsyncMessageChannel *, const ClientData &c) { accepted << c; });
    handshaker.addChannel(serverEnd);

    FunctionCallResult<ClientData> result(ClientData{}, QStringLiteral("not finished"));
    auto *hs = new IPCHandshake(client(QStringLiteral("direct")), clientEnd, 5000);
    QPointer<IPCHandshake> alive(hs);
    QObject::connect(
        hs,
        qOverload<AsyncMessageChannel *, FunctionCallResult<ClientData>>(&IPCHandshake::finished),
        [&](AsyncMessageChannel *, const FunctionCallResult<ClientData> &r) { result = r; });
    hs->start();
    // Everything happened on the stack of start().
    ASSERT_TRUE(result.isSuccess()) << result.error.toStdString();
    EXPECT_EQ(result.value.appId, 1001);
    EXPECT_EQ(result.value.clientName, QStringLiteral("direct"));
    ASSERT_EQ(accepted.size(), 1);
    EXPECT_EQ(accepted[0].runnerId, 77);
    EXPECT_EQ(handshaker.pendingChannelCount(), 0);
    // The handshake removes itself, and never the channel.
    EXPECT_TRUE(waitUntil([&] { return alive.isNull(); }));
    EXPECT_TRUE(clientEnd->isOpen());
    delete clientEnd;
    delete serverEnd;
}

TEST(Handshake, TimeoutsAndClosedChannels)
{
    // Event-driven: a peer that never answers.
    {
        auto [clientEnd, silent] = DirectMessageChannel::channelPair();
        QString error;
        auto *hs = new IPCHandshake(client(QStringLiteral("c")), clientEnd, 50);
        QObject::connect(hs,
                         qOverload<AsyncMessageChannel *, FunctionCallResult<ClientData>>(
                             &IPCHandshake::finished),
                         [&](AsyncMessageChannel *, const FunctionCallResult<ClientData> &r) {
                             error = r.error;
                         });
        hs->startDelayed(10);
        ASSERT_TRUE(waitUntil([&] { return !error.isEmpty(); }));
        EXPECT_EQ(error, QStringLiteral("Handshake timeout"));
        delete clientEnd;
        delete silent;
    }
    // Event-driven: the send fails.
    {
        auto [clientEnd, other] = DirectMessageChannel::channelPair();
        delete other;
        QString error;
        auto *hs = new IPCHandshake(client(QStringLiteral("c")), clientEnd, 1000);
        QObject::connect(hs,
                         qOverload<AsyncMessageChannel *, FunctionCallResult<ClientData>>(
                             &IPCHandshake::finished),
                         [&](AsyncMessageChannel *, const FunctionCallResult<ClientData> &r) {
                             error = r.error;
                         });
        hs->start();
        EXPECT_EQ(error, QStringLiteral("Connection closed when sending handshake"));
        delete clientEnd;
    }
    // Blocking: over TCP against a peer that reads but never answers, then one
    // that ends its side.
    {
        SocketPair pair;
        ASSERT_TRUE(pair.isOpen());
        TCPMessageChannel channel(pair.a.release());
        auto r = IPCHandshake::synchronous(client(QStringLiteral("c")), &channel, 50);
        EXPECT_EQ(r.error, QStringLiteral("Timeout expired during handshake"));
        pair.b->shutdown();
        r = IPCHandshake::synchronous(client(QStringLiteral("c")), &channel, 2000);
        EXPECT_EQ(r.error, QStringLiteral("Peer closed the connection during handshake"));
        EXPECT_FALSE(channel.isOpen());
        r = IPCHandshake::synchronous(client(QStringLiteral("c")), &channel, 50);
        EXPECT_EQ(r.error, QStringLiteral("Connection closed while sending handshake"));
    }
}

namespace {

// A client in a thread of its own, on a bare socket, so that the server's
// event loop runs freely in the test's thread: sends its handshake, reads the
// answer, then waits for the server to end the connection or ends it itself.
struct ThreadClient
{
    std::atomic<bool> finished = false;
    FunctionCallResult<ClientData> result;
    std::thread thread;

    ThreadClient(quint16 port, const QString &name)
    {
        thread = std::thread([this, port, name] {
            FSocket s;
            if (s.connectToHost(QStringLiteral("127.0.0.1"), port)) {
                const QByteArray hello = handshakeMessage(
                    IPCHandshake::OwnVersion, IPCHandshake::MinimumVersion, client(name));
                QByteArray framed = hello;
                qToBigEndian<quint32>(quint32(framed.size()), framed.data());
                s.writeBlock(framed.constData(), int(framed.size()));
                QByteArray in;
                char buf[4096];
                while (s.waitForMore(5000) > 0) {
                    const int n = s.readBlock(buf, sizeof buf);
                    if (n <= 0)
                        break;
                    in.append(buf, n);
                    if (in.size() >= 4 && in.size() >= qFromBigEndian<quint32>(in.constData()))
                        break;
                }
                result = IPCHandshake::processHanshake(in);
            } else {
                result = FunctionCallResult<ClientData>::failure(QStringLiteral("no connect"));
            }
            s.close();
            finished = true;
        });
    }
    ~ThreadClient() { thread.join(); }
};

} // namespace

TEST(Handshake, TcpServerAdmitsAndRefusesClients)
{
    TestHandshaker handshaker;
    TCPMessagingServer server(&handshaker, FHostAddress(0x7F000001), 0);
    ASSERT_TRUE(server.start());
    QList<ClientData> admitted;
    QStringList rejected;
    QList<QPointer<AsyncMessageChannel>> channels;
    QObject::connect(&server, &MessagingServer::newClient,
                     [&](AsyncMessageChannel *ch, const ClientData &c) {
                         admitted << c;
                         channels << ch;
                     });
    QObject::connect(&server, &MessagingServer::channelRejected,
                     [&](AsyncMessageChannel *, const QString &why) { rejected << why; });

    {
        ThreadClient first(server.port(), QStringLiteral("first"));
        ASSERT_TRUE(waitUntil([&] { return first.finished.load(); }));
        ASSERT_TRUE(first.result.isSuccess()) << first.result.error.toStdString();
        EXPECT_EQ(first.result.value.appId, 1001);
    }
    ASSERT_EQ(admitted.size(), 1);
    EXPECT_EQ(admitted[0].clientName, QStringLiteral("first"));
    EXPECT_EQ(admitted[0].runnerId, 77);

    // A refused client reads the refusal before its channel is closed.
    handshaker.refusal = QStringLiteral("Runner unknown");
    {
        ThreadClient second(server.port(), QStringLiteral("second"));
        ASSERT_TRUE(waitUntil([&] { return second.finished.load(); }));
        EXPECT_EQ(second.result.error, QStringLiteral("Runner unknown"));
    }
    ASSERT_TRUE(waitUntil([&] { return rejected.size() == 1; }));
    EXPECT_EQ(rejected[0], QStringLiteral("Runner unknown"));

    // A client that connects and vanishes mid-handshake is rejected cleanly.
    {
        auto ch = TCPMessageChannel::connectTo(QStringLiteral("127.0.0.1"), server.port());
        ASSERT_TRUE(ch.isSuccess());
        ASSERT_TRUE(waitUntil([&] { return handshaker.pendingChannelCount() == 1; }));
        delete ch.value;
    }
    ASSERT_TRUE(waitUntil([&] { return rejected.size() == 2; }));
    EXPECT_EQ(rejected[1], QStringLiteral("Connection closed during handshake"));
    EXPECT_EQ(handshaker.pendingChannelCount(), 0);
    ASSERT_FALSE(channels[0].isNull());
    delete channels[0];
}
