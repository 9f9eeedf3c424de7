// A server that stops reading, reads a trickle, or goes away in the middle of
// a message of many frames, against a real AUT process: the AUT may lose its
// agent, as the protocol says, but it never crashes and carries on.
#include "hookuptest.h"

#include "fhostaddress.h"
#include "fsocket.h"
#include "messageframes.h"
#include "randombytes.h"

#include <QFile>
#include <QTemporaryDir>

#include <atomic>
#include <chrono>
#include <climits>
#include <thread>

namespace {

using namespace Integration;

// Sits between the AUT and the server and passes what the AUT writes on at
// 64 KB every 100 ms, the way a slow reader takes it; the other direction
// goes through at once.
class TrickleRelay
{
public:
    explicit TrickleRelay(quint16 serverPort) : m_serverPort(serverPort)
    {
        m_listener.bind(FHostAddress(0x7F000001), 0);
        m_listener.listen(1);
        m_thread = std::thread([this] { run(); });
    }
    ~TrickleRelay()
    {
        m_stop = true;
        m_thread.join();
    }
    quint16 port() const { return m_listener.localPort(); }

private:
    static constexpr int Chunk = 64 * 1024;

    // Moves up to limit bytes; false once the source has ended.
    static bool pass(FSocket &from, FSocket &to, int limit)
    {
        bool timedOut = false;
        const int ready = from.waitForMore(0, &timedOut);
        if (timedOut)
            return true;
        if (ready <= 0)
            return false;
        QByteArray bytes(qMin(ready, limit), '\0');
        const int n = from.readBlock(bytes.data(), int(bytes.size()));
        for (int done = 0; done < n;) {
            const int w = to.writeBlock(bytes.constData() + done, n - done);
            if (w < 0)
                return false;
            done += w;
        }
        return n > 0;
    }

    void run()
    {
        bool timedOut = false;
        while (!m_stop && m_listener.waitForMore(50, &timedOut) <= 0 && timedOut) {
        }
        if (m_stop)
            return;
        FSocket aut(m_listener.accept());
        aut.setReceiveBufferSize(Chunk);
        FSocket server;
        if (!server.connectToHost(QStringLiteral("127.0.0.1"), m_serverPort))
            return;
        auto next = std::chrono::steady_clock::now();
        while (!m_stop) {
            if (!pass(server, aut, INT_MAX))
                return;
            if (std::chrono::steady_clock::now() >= next) {
                if (!pass(aut, server, Chunk))
                    return;
                next += std::chrono::milliseconds(100);
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
    }

    quint16 m_serverPort;
    FSocket m_listener;
    std::atomic<bool> m_stop = false;
    std::thread m_thread;
};

class SlowPeerTest : public HookUpTest
{
protected:
    // A file of incompressible bytes in the test's own directory.
    QString writeFile(const QString &name, qsizetype size)
    {
        const QByteArray bytes = TestSupport::randomBytes(size, quint32(size));
        const QString path = m_files.filePath(name);
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        m_contents = bytes;
        return path;
    }

    QByteArray m_contents;

private:
    QTemporaryDir m_files;
};

TEST_F(SlowPeerTest, AServerThatStopsReadingDuringALargeReplyCostsTheAgentNotTheAUT)
{
    launch({QStringLiteral("--quit-when-unhooked")});
    hookUpFully();
    const QString path = writeFile(QStringLiteral("large.bin"), 8 * 1024 * 1024);
    ReplyCatcher<> reply;
    ASSERT_GE(server.call(QStringLiteral("testDataGet"), {path}, &reply), 0);

    // This thread is the server: while it sleeps nothing is read, the AUT's
    // writes fill the buffers, and after its 10 s limit the AUT gives up.
    std::this_thread::sleep_for(std::chrono::seconds(12));

    ASSERT_TRUE(waitUntil([&] { return reply.answered; }, WaitMs));
    EXPECT_TRUE(reply.result.isError());
    ASSERT_TRUE(waitForOutput(QStringLiteral("hook gone"))) << qPrintable(output());
    expectCleanExit();
    const QString out = output();
    EXPECT_TRUE(out.contains(QStringLiteral("couldn't write to socket for 10s")))
        << qPrintable(out);
    EXPECT_TRUE(out.contains(QStringLiteral("event loop finished 0"))) << qPrintable(out);
}

TEST_F(SlowPeerTest, AServerThatReadsATrickleGetsTheWholeReplyAndTheAUTStaysHooked)
{
    TrickleRelay relay(server.port());
    launcher.setServer(QStringLiteral("127.0.0.1"), relay.port());
    launch({QStringLiteral("--quit-when-unhooked")});
    hookUpFully();
    const QString path = writeFile(QStringLiteral("trickle.bin"), 2 * 1024 * 1024);
    ReplyCatcher<> reply;
    ASSERT_GE(server.call(QStringLiteral("testDataGet"), {path}, &reply), 0);

    ASSERT_TRUE(waitUntil([&] { return reply.answered; }, 60000));
    ASSERT_TRUE(reply.result.isSuccess()) << qPrintable(reply.result.error);
    EXPECT_EQ(reply.result.value.value(0).toByteArray(), m_contents);
    EXPECT_GT(call("getPID", {}).toInt(), 0);
    EXPECT_TRUE(server.isClientConnected());
    EXPECT_FALSE(output().contains(QStringLiteral("hook gone"))) << qPrintable(output());
}

// The first frame of a call of many frames, then what the test adds.
class HalfMessageTest : public SlowPeerTest
{
protected:
    void startHalfMessage()
    {
        launch({QStringLiteral("--quit-when-unhooked")});
        hookUpFully();
        const QByteArray junk = TestSupport::randomBytes(100 * 1024, 7);
        frames = TestSupport::callFrames(AsyncIPC::ServerAddress, server.clientAddress(),
                                         QStringLiteral("numClasses"), {junk}, 1000);
        ASSERT_GT(frames.size(), 2);
        ASSERT_TRUE(server.writeRawBytes(frames.first()));
        // A stall between frames holds nothing up: other calls are served.
        EXPECT_GT(call("getPID", {}).toInt(), 0);
    }

    void expectTheAUTGoesOnWithoutItsAgent()
    {
        server.stop();
        ASSERT_TRUE(waitForOutput(QStringLiteral("hook gone"))) << qPrintable(output());
        expectCleanExit();
        EXPECT_TRUE(output().contains(QStringLiteral("event loop finished 0")))
            << qPrintable(output());
    }

    QList<QByteArray> frames;
};

TEST_F(HalfMessageTest, AServerThatLeavesBetweenFramesLeavesTheAUTRunning)
{
    startHalfMessage();
    expectTheAUTGoesOnWithoutItsAgent();
}

TEST_F(HalfMessageTest, AServerThatLeavesInsideAFrameLeavesTheAUTRunning)
{
    startHalfMessage();
    ASSERT_TRUE(server.writeRawBytes(frames.at(1).left(3000)));
    expectTheAUTGoesOnWithoutItsAgent();
}

} // namespace
