#include "asyncipc.h"
#include "directmessagechannel.h"
#include "replycatcher.h"

#include <QDataStream>
#include <QIODevice>
#include <QTimer>

#include <gtest/gtest.h>

#include <memory>

using namespace Tolvex;
using namespace TestSupport;

namespace {

struct Recorded
{
    QString kind;
    unsigned sender;
    QString function;
    ArgumentList args;
};

// Answers "echo" later from the event loop (a direct channel delivers a
// synchronous answer inside the caller's send, before its record exists),
// "now" synchronously, and records everything else.
class Handler : public IPCResponseHandlerIface
{
public:
    AsyncIPC *ipc = nullptr;
    QList<Recorded> seen;
    QStringList errors;
    int closed = 0;

    void handleSend(unsigned s, const QString &f, const ArgumentList &a) override
    {
        seen << Recorded{QStringLiteral("send"), s, f, a};
    }
    void handleBroadcast(unsigned s, const QString &f, const ArgumentList &a) override
    {
        seen << Recorded{QStringLiteral("broadcast"), s, f, a};
    }
    QVariant handleCall(unsigned s, const QString &f, const ArgumentList &a) override
    {
        seen << Recorded{QStringLiteral("call"), s, f, a};
        return QStringLiteral("now:") + f;
    }
    bool callRequest(unsigned caller, int id, const QString &f, const ArgumentList &a) override
    {
        if (f == QLatin1String("echo")) {
            QTimer::singleShot(0, [this, caller, id, a] { ipc->callReply(caller, id, a); });
            return true;
        }
        if (f == QLatin1String("fail")) {
            QTimer::singleShot(0, [this, caller, id] {
                ipc->callReply(caller, id,
                               FunctionCallResult<ArgumentList>::failure(QStringLiteral("nope")));
            });
            return true;
        }
        if (f == QLatin1String("never"))
            return true;
        return false;
    }
    void handleError(const QString &text) override { errors << text; }
    void connectionClosed() override { ++closed; }
};

// A client (address 5) and a server (address 1) on a direct pair.
struct Bus
{
    Handler clientHandler, serverHandler;
    AsyncIPC *client;
    AsyncIPC *server;
    DirectMessageChannel *serverChannel;

    Bus()
    {
        auto [c, s] = DirectMessageChannel::channelPair();
        serverChannel = s;
        client = new AsyncIPC(c, ClientData{5, 0, 4, QStringLiteral("aut")}, &clientHandler);
        server = new AsyncIPC(s, ClientData{1, 0, 0, QStringLiteral("server")}, &serverHandler);
        clientHandler.ipc = client;
        serverHandler.ipc = server;
    }
    ~Bus()
    {
        delete client;
        delete server;
    }

    // Puts raw bytes on the wire towards the client.
    void rawToClient(const MessageHeader &h, const QByteArray &body = {})
    {
        serverChannel->enqueueMessage(h.toFrame() + body);
    }
};

class WrappingIPC : public AsyncIPC
{
public:
    using AsyncIPC::AsyncIPC;
    using AsyncIPC::newTransId;
    using AsyncIPC::setLastTransId;
};

QByteArray body(const QString &function, const ArgumentList &args)
{
    QByteArray b;
    QDataStream s(&b, QIODevice::WriteOnly);
    s.setVersion(6);
    s << function;
    AsyncIPC::writeArguments(s, args);
    return b;
}

} // namespace

TEST(AsyncIPC, CallsRepliesAndErrorsInBothDirections)
{
    Bus bus;
    ReplyCatcher<> echo, failing, sync;
    const int id = bus.client->asyncCall(
        QStringLiteral("echo"), {42, QStringLiteral("text"), QByteArray("\0\1", 2)}, &echo);
    EXPECT_GT(id, 0);
    EXPECT_FALSE(bus.client->isCallCompleted(id));
    bus.client->asyncCall(QStringLiteral("fail"), {}, &failing);
    ASSERT_TRUE(waitUntil([&] { return echo.answered && failing.answered; }));
    EXPECT_TRUE(bus.client->isCallCompleted(id));
    ASSERT_TRUE(echo.result.isSuccess());
    EXPECT_EQ(echo.result.value, (ArgumentList{42, QStringLiteral("text"), QByteArray("\0\1", 2)}));
    EXPECT_EQ(failing.result.error, QStringLiteral("nope"));
    EXPECT_EQ(bus.serverHandler.seen.size(), 0); // both were taken over by callRequest

    // Server to client, with the default asynchronous handleCall answering at
    // once: on a direct pair that answer arrives inside the send, before the
    // record exists, and is dropped.
    bus.server->asyncCall(5, QStringLiteral("sync"), {}, &sync, 50);
    ASSERT_EQ(bus.clientHandler.seen.size(), 1);
    EXPECT_EQ(bus.clientHandler.seen[0].sender, 1u);
    ASSERT_TRUE(sync.waitForAnswer());
    EXPECT_EQ(sync.result.error, QStringLiteral("Call timeout"));
    EXPECT_EQ(echo.calls, 1);
}

TEST(AsyncIPC, AddressFilterSendsAndBroadcasts)
{
    Bus bus;
    EXPECT_GT(bus.server->send(5, QStringLiteral("toClient"), {1}), 0);
    EXPECT_GT(bus.server->broadcast(QStringLiteral("toAll"), {2}), 0);
    EXPECT_GT(bus.server->send(6, QStringLiteral("toOther"), {3}), 0);
    // Only an endpoint whose address is 1 takes what goes to the server.
    EXPECT_GT(bus.client->send(QStringLiteral("toServer"), {4}), 0);
    ASSERT_EQ(bus.clientHandler.seen.size(), 2);
    EXPECT_EQ(bus.clientHandler.seen[0].kind, QStringLiteral("send"));
    EXPECT_EQ(bus.clientHandler.seen[0].args, ArgumentList{1});
    EXPECT_EQ(bus.clientHandler.seen[1].kind, QStringLiteral("broadcast"));
    EXPECT_EQ(bus.clientHandler.errors,
              QStringList{QStringLiteral("Received a misaddressed message")});
    ASSERT_EQ(bus.serverHandler.seen.size(), 1);
    EXPECT_EQ(bus.serverHandler.seen[0].sender, 5u);
}

TEST(AsyncIPC, BadFramesAreReportedAndTheEndpointGoesOn)
{
    ReplyCatcher<> ok; // outlives the endpoints, which tell it on their way out
    Bus bus;
    QList<QByteArray> replies;
    QObject::connect(bus.serverChannel, &AsyncMessageChannel::messageArrived,
                     [&](const QByteArray &m) { replies << m; });
    MessageHeader h;
    h.destination = 5;
    h.source = 1;
    h.transId = 3;

    bus.serverChannel->enqueueMessage(QByteArray(23, '\0'));
    h.msgType = HeaderMessage;
    bus.rawToClient(h);
    h.msgType = 99;
    bus.rawToClient(h);
    h.msgType = IgnoredMessage;
    bus.rawToClient(h);
    h.msgType = PingMessage;
    bus.rawToClient(h);
    EXPECT_EQ(bus.clientHandler.errors,
              (QStringList{QStringLiteral("Received a message smaller than the header"),
                           QStringLiteral("Unexpected header message"),
                           QStringLiteral("Unknown message type: 99")}));

    // A call of header only: the caller hears why it could not be parsed.
    h.msgType = CallMessage;
    bus.rawToClient(h);
    ASSERT_EQ(replies.size(), 1);
    MessageHeader r = MessageHeader::readFrom(replies[0].constData());
    EXPECT_EQ(r.msgType, quint32(ReplyMessage));
    EXPECT_EQ(r.flags, quint32(ErrorFlag));
    EXPECT_EQ(r.transId, 3);
    QDataStream in(replies[0].mid(24));
    in.setVersion(6);
    QString text;
    in >> text;
    EXPECT_EQ(text, QStringLiteral("Call parsing failed: Message too short"));

    // A count that promises more arguments than the body holds.
    QByteArray b = body(QStringLiteral("f"), {1});
    b[b.size() - 9] = 9; // the count, behind the name, becomes 9 * 2^24 + 1
    h.transId = 4;
    bus.rawToClient(h, b);
    ASSERT_EQ(replies.size(), 2);
    in.setDevice(nullptr);
    QDataStream in2(replies[1].mid(24));
    in2.setVersion(6);
    in2 >> text;
    EXPECT_TRUE(text.startsWith(QStringLiteral("Call parsing failed: "))) << text.toStdString();

    // A send with a bad body goes to handleError.
    h.msgType = SendMessage;
    h.transId = 5;
    bus.rawToClient(h, QByteArray("\xff\xff\xff\xf0", 4));
    EXPECT_EQ(bus.clientHandler.errors.last(),
              QStringLiteral("Send parsing failed: Message too short"));

    // A compressed call cut inside its stream.
    h.msgType = CallMessage;
    h.flags = CompressedFlag;
    h.transId = 6;
    bus.rawToClient(h, QByteArray::fromHex("789c4b"));
    ASSERT_EQ(replies.size(), 3);

    // After all that, an ordinary call still works.
    bus.server->asyncCall(5, QStringLiteral("hello"), {}, &ok);
    EXPECT_EQ(bus.clientHandler.seen.last().function, QStringLiteral("hello"));
}

TEST(AsyncIPC, CancelTimeoutPeerGoneAndClose)
{
    Bus bus;
    ReplyCatcher<> cancelled, timedOut, toSeven, toServer, closing;
    const int id = bus.client->asyncCall(QStringLiteral("echo"), {1}, &cancelled);
    bus.client->cancelAsyncCall(id);
    EXPECT_TRUE(bus.client->isCallCompleted(id));
    bus.client->asyncCall(1, QStringLiteral("never"), {}, &timedOut, 30);
    ASSERT_TRUE(timedOut.waitForAnswer());
    EXPECT_EQ(timedOut.result.error, QStringLiteral("Call timeout"));
    waitUntil([] { return false; }, 50);
    EXPECT_EQ(cancelled.calls, 0); // its reply came and was dropped

    // Peer 7 goes: only calls addressed to it fail.
    bus.client->asyncCall(7, QStringLiteral("x"), {}, &toSeven, 0);
    const int pendingId = bus.client->asyncCall(1, QStringLiteral("never"), {}, &toServer, 0);
    QList<FUInt32> gone;
    QObject::connect(bus.client, &AsyncIPC::peerGone, [&](FUInt32 p) { gone << p; });
    MessageHeader h;
    h.destination = 5;
    h.msgType = PeerGoneMessage;
    h.source = 7;
    bus.rawToClient(h);
    ASSERT_TRUE(toSeven.answered);
    EXPECT_EQ(toSeven.result.error, QStringLiteral("Peer gone"));
    EXPECT_FALSE(toServer.answered);
    h.source = 8; // nothing pending for 8: still announced
    bus.rawToClient(h);
    EXPECT_EQ(gone, (QList<FUInt32>{7, 8}));
    EXPECT_FALSE(bus.client->isCallCompleted(pendingId));

    // Closing here tells every listener before close returns, and silently.
    int closedSignals = 0;
    QObject::connect(bus.client, &AsyncIPC::connectionClosed, [&] { ++closedSignals; });
    bus.client->closeSocket();
    ASSERT_TRUE(toServer.answered);
    EXPECT_EQ(toServer.result.error, QStringLiteral("Connection closed"));
    EXPECT_EQ(closedSignals, 0);
    EXPECT_EQ(bus.clientHandler.closed, 0);

    // A call on the closed channel.
    EXPECT_EQ(bus.client->asyncCall(QStringLiteral("late"), {}, &closing), -1);
    EXPECT_TRUE(closing.result.error ==
                    QStringLiteral("Call failed: Failed enqueing message chunk") ||
                closing.result.error == QStringLiteral("Channel closed"))
        << closing.result.error.toStdString();
    EXPECT_EQ(bus.client->send(QStringLiteral("late"), {}), -1);
}

TEST(AsyncIPC, PeerEndingTheChannelAndEndpointDestroyedFailPendingCalls)
{
    Bus bus;
    ReplyCatcher<> a, b;
    bus.server->asyncCall(5, QStringLiteral("never"), {}, &a);
    bus.client->asyncCall(QStringLiteral("never"), {}, &b);
    int closedSignals = 0;
    QObject::connect(bus.client, &AsyncIPC::connectionClosed, [&] { ++closedSignals; });
    // The channel ending by itself, as a socket's end would.
    Q_EMIT bus.client->channel()->channelClosed();
    ASSERT_TRUE(b.answered);
    EXPECT_EQ(b.result.error, QStringLiteral("Connection closed by peer"));
    EXPECT_EQ(closedSignals, 1);
    EXPECT_EQ(bus.clientHandler.closed, 1);

    delete bus.server;
    ASSERT_TRUE(a.answered);
    EXPECT_EQ(a.result.error, QStringLiteral("IPC destroyed"));
    bus.server = nullptr;
}

TEST(AsyncIPC, TransactionIdsWrapToZero)
{
    auto [c, s] = DirectMessageChannel::channelPair();
    WrappingIPC ipc(c, ClientData{5, 0, 4, {}}, nullptr);
    EXPECT_EQ(ipc.newTransId(), 1);
    ipc.setLastTransId(0x7FFFFFFE);
    EXPECT_EQ(ipc.newTransId(), 0x7FFFFFFF);
    EXPECT_EQ(ipc.newTransId(), 0);
    EXPECT_EQ(ipc.newTransId(), 1);
    delete s;
}
