#include "fsocket.h"
#include "ipc.h"
#include "ipchandshaker.h"
#include "replycatcher.h"
#include "tcpmessagingserver.h"

#include <QEventLoop>
#include <QThread>
#include <QTimer>

#include <gtest/gtest.h>

#include <atomic>
#include <future>

using namespace Tolvex;
using namespace TestSupport;

namespace {

// The server side, living in a thread of its own with its own event loop, so
// that the test's thread can block in calls as the agent does.
class ServerSide : public QObject, public IPCResponseHandlerIface
{
public:
    AsyncIPC *ipc = nullptr;
    std::atomic<int> sendsSeen = 0;

    struct InnerListener : ResponseListener<ArgumentList>
    {
        ServerSide *server;
        unsigned caller;
        int callId;
        void response(FunctionCallResult<ArgumentList> r) override
        {
            // The answer to "outer" is what the client said to "inner".
            server->ipc->callReply(caller, callId, r);
            delete this;
        }
    };

    bool callRequest(unsigned caller, int id, const QString &f, const ArgumentList &a) override
    {
        if (f == QLatin1String("outer")) {
            auto *l = new InnerListener;
            l->server = this;
            l->caller = caller;
            l->callId = id;
            ipc->asyncCall(caller, QStringLiteral("inner"), a, l);
            return true;
        }
        if (f == QLatin1String("slow")) {
            QTimer::singleShot(a.value(0).toInt(), this, [this, caller, id] {
                ipc->callReply(caller, id, {QStringLiteral("late")});
            });
            return true;
        }
        if (f == QLatin1String("vanish")) {
            QTimer::singleShot(0, this, [this] { ipc->closeSocket(); });
            return true;
        }
        if (f == QLatin1String("replyThenSend")) {
            ipc->callReply(caller, id, {1});
            ipc->send(caller, QStringLiteral("behind"), {2});
            return true;
        }
        return false;
    }
    QVariant handleCall(unsigned, const QString &f, const ArgumentList &a) override
    {
        if (f == QLatin1String("innermost"))
            return QStringLiteral("deep");
        if (f == QLatin1String("echo"))
            return a.value(0);
        if (f == QLatin1String("size"))
            return a.value(0).toByteArray().size();
        return QVariant();
    }
    void handleCall(unsigned s, const QString &f, const ArgumentList &a,
                    ResponseListener<ArgumentList> *l) override
    {
        if (f == QLatin1String("echoAll")) {
            l->success(a);
            return;
        }
        if (f == QLatin1String("refuse")) {
            l->error(QStringLiteral("refused: ") + a.value(0).toString());
            return;
        }
        IPCResponseHandlerIface::handleCall(s, f, a, l);
    }
    void handleSend(unsigned, const QString &, const ArgumentList &) override { ++sendsSeen; }
};

class AcceptAll : public IPCHandshaker
{
public:
    AcceptAll() : IPCHandshaker(nullptr, 10000) {}
    FunctionCallResult<ClientData> acceptClient(const ClientData &c) override
    {
        ClientData accepted = c;
        accepted.appId = 12;
        return accepted;
    }
};

struct ServerThread
{
    QThread *thread = nullptr;
    ServerSide *side = nullptr;
    quint16 port = 0;

    ServerThread()
    {
        std::promise<quint16> portPromise;
        auto portFuture = portPromise.get_future();
        thread = QThread::create([this, &portPromise] {
            AcceptAll handshaker;
            TCPMessagingServer server(&handshaker, FHostAddress(0x7F000001), 0);
            ServerSide serverSide;
            side = &serverSide;
            QObject::connect(
                &server, &MessagingServer::newChannel, [&](AsyncMessageChannel *channel) {
                    serverSide.ipc =
                        new AsyncIPC(channel, ClientData{1, 0, 0, QStringLiteral("server")},
                                     &serverSide, &serverSide);
                });
            server.start();
            portPromise.set_value(server.port());
            QEventLoop loop;
            QObject::connect(QThread::currentThread(), &QThread::finished, &loop,
                             &QEventLoop::quit);
            loop.exec();
        });
        thread->start();
        port = portFuture.get();
    }
    ~ServerThread()
    {
        thread->quit();
        thread->wait();
        delete thread;
    }
};

// The client's handler: on "inner" it makes a blocking call of its own while
// the outer call is still waiting on the stack below.
class ClientSide : public IPCResponseHandlerIface
{
public:
    IPC *ipc = nullptr;
    int depthSeen = -1;
    QStringList sends;
    QVariant handleCall(unsigned, const QString &f, const ArgumentList &a) override
    {
        if (f != QLatin1String("inner"))
            return QVariant();
        depthSeen = ipc->depth();
        const QVariant deep = ipc->call(QStringLiteral("innermost"), {});
        return a.value(0).toString() + QLatin1Char('/') + deep.toString();
    }
    void handleSend(unsigned, const QString &f, const ArgumentList &) override { sends << f; }
};

struct Connected
{
    ServerThread server;
    ClientSide handler;
    IPC *ipc = nullptr;
    Connected()
    {
        auto r = IPC::connectTo(QStringLiteral("127.0.0.1"), server.port,
                                ClientData{0, 3, 4, QStringLiteral("aut")});
        EXPECT_TRUE(r.isSuccess()) << r.error.toStdString();
        ipc = r.value;
        if (ipc) {
            ipc->setResponseHandler(&handler);
            handler.ipc = ipc;
        }
    }
    ~Connected() { delete ipc; }
};

QByteArray bulky(qsizetype n)
{
    // Partly compressible, as screenshots and object trees are.
    QByteArray b(n, '\0');
    quint32 x = 12345;
    for (qsizetype i = 0; i < n; ++i) {
        x = x * 1103515245 + 12345;
        b[i] = (i & 63) == 0 ? char(x >> 24) : char((i * 31) >> 6);
    }
    return b;
}

} // namespace

TEST(IPC, BlockingCallsNestOnOneStack)
{
    Connected c;
    ASSERT_NE(c.ipc, nullptr);
    EXPECT_EQ(c.ipc->appId(), 12); // the address the server gave

    EXPECT_EQ(c.ipc->call(QStringLiteral("echo"), {QStringLiteral("hi")}).toString(),
              QStringLiteral("hi"));
    // outer -> server asks the client "inner" -> client calls "innermost"
    // while the outer call waits.
    bool timedOut = true;
    const QVariant v = c.ipc->call(QStringLiteral("outer"), {QStringLiteral("x")}, &timedOut);
    EXPECT_FALSE(timedOut);
    EXPECT_EQ(v.toString(), QStringLiteral("x/deep"));
    EXPECT_EQ(c.handler.depthSeen, 1);
    EXPECT_EQ(c.ipc->depth(), 0);
    EXPECT_FALSE(c.ipc->inCall());

    const auto all = c.ipc->callFunc(QStringLiteral("echoAll"), {1, QStringLiteral("two")});
    ASSERT_TRUE(all.isSuccess());
    EXPECT_EQ(all.value, (ArgumentList{1, QStringLiteral("two")}));
    const auto refused = c.ipc->callFunc(QStringLiteral("refuse"), {QStringLiteral("no")});
    EXPECT_EQ(refused.error, QStringLiteral("refused: no"));
    EXPECT_FALSE(c.ipc->call(QStringLiteral("refuse"), {}).isValid());
    // An empty successful reply has no first value.
    EXPECT_FALSE(c.ipc->call(QStringLiteral("unknown"), {}).isValid());
}

TEST(IPC, TrafficBehindAReplyIsDeliveredInOrderWhateverTheQueueing)
{
    Connected c;
    ASSERT_NE(c.ipc, nullptr);
    for (bool keepQueued : {false, true}) {
        c.handler.sends.clear();
        EXPECT_EQ(c.ipc->call(QStringLiteral("replyThenSend"), {}, nullptr, keepQueued).toInt(), 1);
        // The send left the server before the next reply, so it has been
        // handled, once, by the time that reply is in.
        EXPECT_EQ(c.ipc->call(QStringLiteral("echo"), {5}).toInt(), 5);
        EXPECT_EQ(c.handler.sends, QStringList{QStringLiteral("behind")});
    }
}

TEST(IPC, TimeoutsDropLateRepliesAndAVanishingPeerEndsTheWait)
{
    Connected c;
    ASSERT_NE(c.ipc, nullptr);
    c.ipc->setResponseTimeout(0);
    bool timedOut = false;
    EXPECT_FALSE(c.ipc->call(QStringLiteral("slow"), {30}, &timedOut).isValid());
    EXPECT_TRUE(timedOut);
    c.ipc->setResponseTimeout(300000);
    // The late reply arrives during this call and is dropped without a word.
    QThread::msleep(60);
    EXPECT_EQ(c.ipc->call(QStringLiteral("echo"), {7}).toInt(), 7);

    // The peer goes away in the middle of a call.
    const auto r = c.ipc->callFunc(QStringLiteral("vanish"), {});
    EXPECT_EQ(r.error, QStringLiteral("Peer closed the connection"));
    EXPECT_FALSE(c.ipc->isOpen());
    EXPECT_FALSE(c.ipc->call(QStringLiteral("echo"), {1}).isValid());
    const auto after = c.ipc->callFunc(QStringLiteral("echo"), {1});
    EXPECT_FALSE(after.error.isEmpty());
}

TEST(IPC, FiftyMegabyteBodyRoundTrip)
{
    Connected c;
    ASSERT_NE(c.ipc, nullptr);
    const QByteArray body = bulky(50 * 1024 * 1024);
    EXPECT_EQ(c.ipc->call(QStringLiteral("size"), {body}).toInt(), body.size());
    const QVariant back = c.ipc->call(QStringLiteral("echo"), {body});
    EXPECT_TRUE(back.toByteArray() == body);
}

TEST(IPC, ConnectToRefusedPortGivesTheReason)
{
    quint16 freePort = 0;
    {
        FSocket probe;
        ASSERT_TRUE(probe.bind(FHostAddress(0x7F000001), 0));
        freePort = probe.localPort();
    }
    const auto r =
        IPC::connectTo(SocketAddress{QStringLiteral("127.0.0.1"), freePort}, ClientData{});
    EXPECT_EQ(r.value, nullptr);
    EXPECT_TRUE(r.error.endsWith(QStringLiteral("Connection refused"))) << r.error.toStdString();
}

TEST(IPC, EventDrivenConnectHandsOverAWorkingEndpoint)
{
    ServerThread server;
    ReplyCatcher<AsyncIPC *> listener, refused;

    AsyncIPC::connectTo(QStringLiteral("127.0.0.1"), server.port,
                        ClientData{0, 3, 4, QStringLiteral("async")}, &listener);
    ASSERT_TRUE(listener.waitForAnswer());
    ASSERT_TRUE(listener.result.isSuccess()) << listener.result.error.toStdString();
    std::unique_ptr<AsyncIPC> ipc(listener.result.value);
    EXPECT_EQ(ipc->appId(), 12);

    ReplyCatcher<> reply;
    ASSERT_GT(ipc->asyncCall(QStringLiteral("echo"), {QStringLiteral("over the loop")}, &reply), 0);
    ASSERT_TRUE(reply.waitForAnswer());
    EXPECT_EQ(reply.result.value, ArgumentList{QStringLiteral("over the loop")});

    quint16 freePort = 0;
    {
        FSocket probe;
        ASSERT_TRUE(probe.bind(FHostAddress(0x7F000001), 0));
        freePort = probe.localPort();
    }
    AsyncIPC::connectTo(QStringLiteral("127.0.0.1"), freePort, ClientData{}, &refused);
    ASSERT_TRUE(refused.answered); // no handshake starts
    EXPECT_TRUE(refused.result.error.endsWith(QStringLiteral("Connection refused")));
}
