// The call engine against what it is built from, each pair measured in one run:
//  - a small remote call round trip (IPC::call to a server thread) against a
//    bare frame ping-pong with an echoing thread;
//  - a 10 MB body sent and received through the chunked messages against
//    zlib's deflate plus inflate of the same bytes;
//  - the heap the sender holds while a 100 MB body goes out, against the body.

#include "asyncipc.h"
#include "benchsupport.h"
#include "chunkedmessage.h"
#include "fsocket.h"
#include "ipc.h"
#include "ratioreporter.h"
#include "tcpmessagechannel.h"

#include <QCoreApplication>
#include <QDataStream>
#include <QEventLoop>
#include <QThread>

#include <malloc.h>
#include <zlib.h>

#include <memory>
#include <thread>

using namespace Tolvex;
using TestSupport::SocketPair;

namespace {

constexpr int PayloadSize = 100;

// Baseline: an echo thread on bare sockets, a frame out and back.
void BM_BareFramePingPong(benchmark::State &state)
{
    TolvexBench::bareFramePingPong(state, 4 + 24 + PayloadSize);
}
BENCHMARK(BM_BareFramePingPong)->UseRealTime();

class Echo : public IPCResponseHandlerIface
{
public:
    QVariant handleCall(unsigned, const QString &, const ArgumentList &args) override
    {
        return args.value(0);
    }
};

// A remote call of the same size: header, function name and one argument.
// The server thread blocks in its channel as the echo thread blocks in its
// socket, so both sides measure the messaging, not an event loop's wake-up.
void BM_RemoteCallRoundTrip(benchmark::State &state)
{
    SocketPair p;
    if (!TolvexBench::openOrSkip(state, p))
        return;
    FSocket *serverSocket = p.b.release();
    std::thread server([serverSocket] {
        Echo echo;
        IPC ipc(new TCPMessageChannel(serverSocket), ClientData{1, 0, 0, {}}, &echo);
        while (ipc.isOpen() && ipc.waitForSingleMessage(-1).isSuccess()) {
        }
    });
    IPC client(new TCPMessageChannel(p.a.release()), ClientData{5, 0, 4, {}}, nullptr);
    const QString function = QStringLiteral("echo");
    const QByteArray payload(PayloadSize - 30, 'p');
    for (auto _ : state) {
        const QVariant v = client.call(function, {payload});
        if (!v.isValid()) {
            state.SkipWithError("call failed");
            break;
        }
    }
    client.closeSocket();
    server.join();
}
BENCHMARK(BM_RemoteCallRoundTrip)->UseRealTime();

QByteArray screenshotLike(qsizetype n)
{
    // Rows of a GUI image: long runs with some noise, compressing about 20:1.
    QByteArray b(n, '\0');
    quint32 x = 1;
    for (qsizetype i = 0; i < n; ++i) {
        x = x * 1664525 + 1013904223;
        b[i] = (x >> 28) == 0 ? char(x >> 20) : char((i / 4096) & 0xff);
    }
    return b;
}

const QByteArray &tenMegabytes()
{
    static const QByteArray body = screenshotLike(10 * 1024 * 1024);
    return body;
}

// Baseline: the same bytes through zlib at the default level, and back.
void BM_ZlibDeflateInflate10MB(benchmark::State &state)
{
    const QByteArray &body = tenMegabytes();
    QByteArray compressed(int(compressBound(uLong(body.size()))), '\0');
    QByteArray restored(body.size(), '\0');
    for (auto _ : state) {
        uLongf clen = uLongf(compressed.size());
        compress2(reinterpret_cast<Bytef *>(compressed.data()), &clen,
                  reinterpret_cast<const Bytef *>(body.constData()), uLong(body.size()),
                  Z_DEFAULT_COMPRESSION);
        uLongf rlen = uLongf(restored.size());
        uncompress(reinterpret_cast<Bytef *>(restored.data()), &rlen,
                   reinterpret_cast<const Bytef *>(compressed.constData()), clen);
        benchmark::DoNotOptimize(restored.data());
    }
    state.SetBytesProcessed(state.iterations() * body.size());
}
BENCHMARK(BM_ZlibDeflateInflate10MB)->Unit(benchmark::kMillisecond)->UseRealTime();

// Frames go straight into a receiver, as an endpoint would collect them.
class CollectingChannel : public AsyncMessageChannel
{
public:
    std::string debugName() const override { return "bench"; }
    FHostAddress peerAddress() const override { return FHostAddress(0); }
    quint16 peerPort() const override { return 0; }
    bool isOpen() const override { return true; }
    void close() override {}
    bool enqueueMessage(QByteArray message) override
    {
        if (receiver)
            receiver->addChunk(message);
        ++frames;
        bytes += message.size();
        if (sampleHeap) {
            const size_t inUse = mallinfo2().uordblks;
            peakHeap = qMax(peakHeap, inUse);
        }
        return true;
    }
    ChunkedMessageReceiver *receiver = nullptr;
    qint64 frames = 0;
    qint64 bytes = 0;
    bool sampleHeap = false;
    size_t peakHeap = 0;
};

class BodyReceiver : public ChunkedMessageReceiver
{
public:
    using ChunkedMessageReceiver::ChunkedMessageReceiver;
    void process(QDataStream &) override {}
};

void BM_ChunkedSendReceive10MB(benchmark::State &state)
{
    const QByteArray &body = tenMegabytes();
    auto *channel = new CollectingChannel;
    AsyncIPC ipc(channel, ClientData{5, 0, 4, {}}, nullptr);
    for (auto _ : state) {
        BodyReceiver receiver(&ipc);
        channel->receiver = &receiver;
        {
            ChunkedMessageSender sender(&ipc, 1, 1, SendMessage, 0);
            sender.open(QIODevice::WriteOnly);
            QDataStream out(&sender);
            out.setVersion(AsyncIPC::BodyStreamVersion);
            out << body;
            sender.close();
        }
        receiver.open(QIODevice::ReadOnly);
        QDataStream in(&receiver);
        in.setVersion(AsyncIPC::BodyStreamVersion);
        QByteArray back;
        in >> back;
        if (back.size() != body.size()) {
            state.SkipWithError("body came back wrong");
            break;
        }
        channel->receiver = nullptr;
    }
    state.SetBytesProcessed(state.iterations() * body.size());
}
BENCHMARK(BM_ChunkedSendReceive10MB)->Unit(benchmark::kMillisecond)->UseRealTime();

// Not a timing: the heap the sender holds above the body while 100 MB leave.
void BM_PeakHeapSending100MB(benchmark::State &state)
{
    const QByteArray body = screenshotLike(100 * 1024 * 1024);
    auto *channel = new CollectingChannel;
    AsyncIPC ipc(channel, ClientData{5, 0, 4, {}}, nullptr);
    size_t overhead = 0;
    for (auto _ : state) {
        malloc_trim(0);
        const size_t before = mallinfo2().uordblks;
        channel->peakHeap = before;
        channel->sampleHeap = true;
        ChunkedMessageSender sender(&ipc, 1, 1, SendMessage, 0);
        sender.open(QIODevice::WriteOnly);
        QDataStream out(&sender);
        out.setVersion(AsyncIPC::BodyStreamVersion);
        out << body;
        sender.close();
        channel->sampleHeap = false;
        overhead = channel->peakHeap - before;
    }
    state.counters["body_MB"] = double(body.size()) / (1024 * 1024);
    state.counters["sender_peak_KB"] = double(overhead) / 1024;
    state.counters["frames"] = double(channel->frames) / double(state.iterations());
}
BENCHMARK(BM_PeakHeapSending100MB)->Unit(benchmark::kMillisecond)->Iterations(1);

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    return TolvexBench::runWithRatios(
        argc, argv,
        {{"BM_RemoteCallRoundTrip", "BM_BareFramePingPong", 1.5},
         {"BM_ChunkedSendReceive10MB", "BM_ZlibDeflateInflate10MB", 1.2}});
}
