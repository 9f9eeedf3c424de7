#include "fsocket.h"
#include "fsocketerrors_p.h"
#include "socketpair.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <vector>

using TestSupport::SocketPair;

TEST(FHostAddress, PrintsMostSignificantByteFirstAndResolvesLocalhost)
{
    EXPECT_EQ(FHostAddress(2130706433).toString(), QStringLiteral("127.0.0.1"));
    EXPECT_EQ(FHostAddress(0xC0A80001).toString(), QStringLiteral("192.168.0.1"));
    FHostAddress a;
    ASSERT_TRUE(FHostAddress::getHostByName(QStringLiteral("localhost"), &a));
    EXPECT_EQ(a.ip4Addr() >> 24, 127u);
    EXPECT_FALSE(FHostAddress::getHostByName(QStringLiteral("no-such-host.invalid"), &a));
}

TEST(FSocket, ConnectErrorsSetTheirConditions)
{
    FSocket unresolved;
    EXPECT_FALSE(unresolved.connectToHost(QStringLiteral("no-such-host.invalid"), 1));
    EXPECT_EQ(unresolved.error(), FSocket::HostNotFound);

    // A port that was bound a moment ago and released is refused.
    quint16 freePort = 0;
    {
        FSocket probe;
        ASSERT_TRUE(probe.bind(FHostAddress(0x7F000001), 0));
        freePort = probe.localPort();
    }
    FSocket refused;
    EXPECT_FALSE(refused.connectToHost(QStringLiteral("127.0.0.1"), freePort));
    EXPECT_EQ(refused.error(), FSocket::ConnectionRefused);
    EXPECT_STRNE(refused.errorString(), "Unknown Error");

    FSocket fresh;
    EXPECT_STREQ(fresh.errorString(), "Unknown Error");
}

TEST(FSocket, BindTwiceReportsAddressInUse)
{
    FSocket first;
    ASSERT_TRUE(first.bind(FHostAddress(0x7F000001), 0));
    ASSERT_TRUE(first.listen(1));
    FSocket second;
    EXPECT_FALSE(second.bind(FHostAddress(0x7F000001), first.localPort()));
    EXPECT_EQ(second.error(), FSocket::AlreadyBound);
}

TEST(FSocket, TransfersDataAndSeesPeerClose)
{
    SocketPair p;
    ASSERT_TRUE(p.isOpen());
    ASSERT_TRUE(p.b->isOpen());
    EXPECT_EQ(p.a->peerPort(), p.port);
    EXPECT_EQ(p.b->peerPort(), p.a->localPort());

    ASSERT_EQ(p.a->writeBlock("hello", 5), 5);
    bool timedOut = true;
    EXPECT_EQ(p.b->waitForMore(2000, &timedOut), 5);
    EXPECT_FALSE(timedOut);
    char buf[16] = {};
    EXPECT_EQ(p.b->readBlock(buf, sizeof buf), 5);
    EXPECT_STREQ(buf, "hello");

    // Nothing to read: the wait times out.
    EXPECT_EQ(p.b->waitForMore(20, &timedOut), 0);
    EXPECT_TRUE(timedOut);

    // A closed peer reads as readable with 0 bytes, not as a timeout.
    p.a->close();
    p.a->close(); // twice is harmless
    EXPECT_EQ(p.b->waitForMore(2000, &timedOut), 0);
    EXPECT_FALSE(timedOut);
    EXPECT_EQ(p.b->readBlock(buf, sizeof buf), 0);
    EXPECT_FALSE(p.b->isOpen());
    EXPECT_EQ(p.b->peerPort(), 0);
    EXPECT_EQ(p.b->readBlock(buf, sizeof buf), -1);
    EXPECT_EQ(p.b->waitForMore(10), -1);
    EXPECT_EQ(p.b->bytesAvailable(), -1);
}

TEST(FSocket, NonBlockingWriteIntoFullBufferReturnsZero)
{
    SocketPair p;
    ASSERT_TRUE(p.isOpen());
    p.a->setSendBufferSize(4096);
    p.a->setBlocking(false);
    EXPECT_FALSE(p.a->isBlocking());
    std::vector<char> chunk(65536, 'x');
    int total = 0;
    int r = 1;
    for (int i = 0; i < 10000 && r > 0; ++i) {
        r = p.a->writeBlock(chunk.data(), int(chunk.size()));
        total += r > 0 ? r : 0;
    }
    EXPECT_EQ(r, 0);
    EXPECT_EQ(p.a->error(), FSocket::NoError);
    EXPECT_GT(total, 0);
}

TEST(FSocket, ResetConnectionClosesOnRead)
{
    SocketPair p;
    ASSERT_TRUE(p.isOpen());
    p.a->writeBlock("x", 1);
    // Closing with unread data makes the kernel send a reset to the peer.
    char buf[4];
    ASSERT_EQ(p.b->waitForMore(2000), 1);
    p.b->writeBlock("abc", 3);
    ASSERT_EQ(p.a->waitForMore(2000), 3);
    p.a.reset(); // closes with 3 unread bytes -> RST
    p.b->waitForMore(2000);
    int r = p.b->readBlock(buf, 1); // the "x"
    EXPECT_EQ(r, 1);
    r = p.b->readBlock(buf, sizeof buf);
    EXPECT_EQ(r, 0);
    EXPECT_FALSE(p.b->isOpen());
}

TEST(FSocket, WaitForDisconnectedSeesPeerGoAndTimesOutOtherwise)
{
    SocketPair p;
    ASSERT_TRUE(p.isOpen());
    EXPECT_FALSE(p.b->waitForDisconnected(50));
    p.a->writeBlock("leftover", 8);
    p.a->shutdown();
    EXPECT_TRUE(p.b->waitForDisconnected(2000));
    EXPECT_FALSE(p.b->isOpen());
}

TEST(FSocket, InvalidSocketRefusesEverything)
{
    FSocket s(-1);
    char buf[4];
    EXPECT_FALSE(s.isValid());
    EXPECT_EQ(s.readBlock(buf, 4), -1);
    EXPECT_EQ(s.writeBlock(buf, 4), -1);
    EXPECT_EQ(s.bytesAvailable(), -1);
    EXPECT_EQ(s.waitForMore(10), -1);
    EXPECT_FALSE(s.connectToHost(QStringLiteral("127.0.0.1"), 1));
    EXPECT_EQ(s.accept(), -1);
    EXPECT_EQ(s.sendBufferSize(), -1);
    s.close();
}

// What the real sockets above cannot provoke: each operation reads the same
// platform error its own way.
TEST(FSocketErrors, EachOperationReadsAPlatformErrorItsOwnWay)
{
    using namespace FSocketErrors;
    using FSocketPlatform::Err;
    const auto gives = [](Operation op, Err e, Outcome outcome,
                          FSocket::ErrorCondition condition = FSocket::NoError) {
        const Rule &rule = ruleFor(op, e);
        return rule.outcome == outcome && rule.condition == condition;
    };

    // Would-block is where a non-blocking connect begins; a blocking one
    // fails without a condition, as it does on an invalid argument.
    EXPECT_TRUE(gives(Operation::BlockingConnect, Err::WouldBlock, Outcome::FailQuietly));
    EXPECT_TRUE(gives(Operation::NonBlockingConnect, Err::WouldBlock, Outcome::Succeed));
    EXPECT_TRUE(gives(Operation::BlockingConnect, Err::Invalid, Outcome::FailQuietly));
    EXPECT_TRUE(
        gives(Operation::NonBlockingConnect, Err::Invalid, Outcome::Fail, FSocket::Impossible));
    EXPECT_TRUE(gives(Operation::BlockingConnect, Err::IsConnected, Outcome::Connected));
    // Otherwise both, and a pending error, give the reasons of a failed connect.
    for (Operation op :
         {Operation::BlockingConnect, Operation::NonBlockingConnect, Operation::PendingConnect}) {
        EXPECT_TRUE(gives(op, Err::AddressNotAvailable, Outcome::Fail, FSocket::ConnectionRefused));
        EXPECT_TRUE(gives(op, Err::TimedOut, Outcome::Fail, FSocket::NetworkFailure));
        EXPECT_TRUE(gives(op, Err::Other, Outcome::Fail, FSocket::UnknownError));
    }

    // Reads and writes tell a connection that is gone from one that fails.
    EXPECT_TRUE(gives(Operation::Read, Err::TimedOut, Outcome::Closed));
    EXPECT_TRUE(gives(Operation::Write, Err::TimedOut, Outcome::Fail, FSocket::UnknownError));
    EXPECT_TRUE(gives(Operation::Read, Err::Interrupted, Outcome::NothingMoved));
    EXPECT_TRUE(gives(Operation::Write, Err::Interrupted, Outcome::Retry));
    EXPECT_TRUE(gives(Operation::Write, Err::WouldBlock, Outcome::NothingMoved));
    EXPECT_TRUE(gives(Operation::Read, Err::WouldBlock, Outcome::FailQuietly));
    EXPECT_TRUE(gives(Operation::Write, Err::NoBuffers, Outcome::ShrinkAndRetry));
    EXPECT_TRUE(gives(Operation::Write, Err::Access, Outcome::Fail, FSocket::NetworkFailure));
    EXPECT_TRUE(gives(Operation::Read, Err::Access, Outcome::Fail, FSocket::UnknownError));

    // Only bind knows an address it may not use; a failed wait sets nothing.
    EXPECT_TRUE(
        gives(Operation::Bind, Err::AddressNotAvailable, Outcome::Fail, FSocket::Inaccessible));
    EXPECT_TRUE(
        gives(Operation::Listen, Err::AddressNotAvailable, Outcome::Fail, FSocket::UnknownError));
    EXPECT_TRUE(gives(Operation::Accept, Err::Interrupted, Outcome::Retry));
    EXPECT_TRUE(gives(Operation::Wait, Err::NetworkDown, Outcome::FailQuietly));
    EXPECT_TRUE(gives(Operation::Create, Err::TooManyFiles, Outcome::Fail, FSocket::NoResources));

    // The platform's numbers fall into these groups; an unknown one is Other.
    EXPECT_EQ(FSocketPlatform::classify(ECONNREFUSED), Err::ConnectionRefused);
    EXPECT_EQ(FSocketPlatform::classify(EPIPE), Err::Shutdown);
    EXPECT_EQ(FSocketPlatform::classify(-12345), Err::Other);
}
