// The support library's own promises, where a fault would not make another
// test fail but pass: a frame reader that overruns its buffer, a wait that
// returns before its condition holds.
#include "eventloop.h"
#include "replycatcher.h"
#include "socketpair.h"

#include <QObject>
#include <QPointer>
#include <QTimer>
#include <QtEndian>

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

using namespace TestSupport;

namespace {

bool noDelay(const FSocket &s)
{
    int on = 0;
    socklen_t size = sizeof on;
    return ::getsockopt(s.descriptor(), IPPROTO_TCP, TCP_NODELAY, &on, &size) == 0 && on != 0;
}

} // namespace

TEST(SocketPair, FramesCrossInPiecesAndBadOnesAreRefused)
{
    SocketPair p;
    ASSERT_TRUE(p.isOpen());
    EXPECT_TRUE(noDelay(*p.a));
    EXPECT_TRUE(noDelay(*p.b));
    EXPECT_EQ(p.a->peerPort(), p.port);

    // A frame written in two pieces is read whole.
    const QByteArray f = frame("payload");
    ASSERT_EQ(f.size(), 11);
    EXPECT_EQ(qFromBigEndian<quint32>(f.constData()), 11u);
    ASSERT_TRUE(writeAll(*p.a, f.left(3)));
    char buf[64] = {};
    // The rest comes a moment later, so the reader has to wait for it.
    std::thread late([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        writeAll(*p.a, f.mid(3));
    });
    EXPECT_TRUE(readFrame(*p.b, buf, sizeof buf));
    late.join();
    EXPECT_EQ(QByteArray(buf, 11), f);

    // A prefix larger than the buffer, or smaller than itself, is refused
    // before anything is read past the buffer.
    ASSERT_TRUE(writeAll(*p.a, frame(QByteArray(100, 'x'))));
    EXPECT_FALSE(readFrame(*p.b, buf, 16));
    SocketPair q;
    ASSERT_TRUE(q.isOpen());
    ASSERT_TRUE(writeAll(*q.a, QByteArray("\0\0\0\2", 4)));
    EXPECT_FALSE(readFrame(*q.b, buf, sizeof buf));

    // A peer that closes mid-frame ends the read, as does a closed socket.
    ASSERT_TRUE(writeAll(*q.b, frame("cut").left(5)));
    q.b->close();
    EXPECT_FALSE(readFrame(*q.a, buf, sizeof buf));
    EXPECT_FALSE(writeAll(*q.b, "x"));
}

TEST(WaitUntil, ReturnsWhenAnEventMakesItTrueAndFalseAtTheDeadline)
{
    bool fired = false;
    QTimer::singleShot(30, [&] { fired = true; });
    EXPECT_TRUE(waitUntil([&] { return fired; }, 5000));

    // Deferred deletes happen on the way.
    QPointer<QObject> doomed = new QObject;
    doomed->deleteLater();
    EXPECT_TRUE(waitUntil([&] { return doomed.isNull(); }, 5000));

    // A condition no event changes is still seen, through the poll.
    int checks = 0;
    EXPECT_TRUE(waitUntil([&] { return ++checks == 3; }, 5000, 5));

    EXPECT_FALSE(waitUntil([] { return false; }, 50));
}

TEST(ReplyCatcher, KeepsTheAnswerAndCountsEachOne)
{
    ReplyCatcher<> reply;
    EXPECT_FALSE(reply.waitForAnswer(20));
    QTimer::singleShot(10, [&] { reply.success(Tolvex::ArgumentList{7}); });
    ASSERT_TRUE(reply.waitForAnswer(5000));
    EXPECT_EQ(reply.result.value, Tolvex::ArgumentList{7});
    reply.error(QStringLiteral("again"));
    EXPECT_EQ(reply.calls, 2);
    EXPECT_EQ(reply.result.error, QStringLiteral("again"));
}
