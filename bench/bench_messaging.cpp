// Small-frame ping-pong between two TCPMessageChannels on loopback, against the
// same exchange on bare sockets: the cost the channel adds to a round trip.

#include "fsocket.h"
#include "ratioreporter.h"
#include "tcpmessagechannel.h"

#include <QCoreApplication>
#include <QtEndian>

#include <memory>

using namespace Tolvex;

namespace {

constexpr int PayloadSize = 100;

struct Pair
{
    std::unique_ptr<FSocket> a;
    std::unique_ptr<FSocket> b;
    Pair()
    {
        FSocket listener;
        listener.bind(FHostAddress(0x7F000001), 0);
        listener.listen(1);
        a = std::make_unique<FSocket>();
        a->connectToHost(QStringLiteral("127.0.0.1"), listener.localPort());
        b = std::make_unique<FSocket>(listener.accept());
        a->setTcpNoDelay(true);
        b->setTcpNoDelay(true);
    }
};

// Bare sockets, the least a framed exchange needs: one write a frame, and
// reads of whatever has arrived until the frame is complete.
bool readFrame(FSocket &s, char *buf, int capacity)
{
    int got = 0;
    while (got < 4 || got < int(qFromBigEndian<quint32>(buf))) {
        if (s.waitForMore(5000) <= 0)
            return false;
        const int r = s.readBlock(buf + got, capacity - got);
        if (r <= 0)
            return false;
        got += r;
    }
    return true;
}

void BM_BareSocketPingPong(benchmark::State &state)
{
    Pair p;
    QByteArray frame(4 + PayloadSize, 'p');
    qToBigEndian<quint32>(quint32(frame.size()), frame.data());
    char buf[4 + PayloadSize];
    for (auto _ : state) {
        p.a->writeBlock(frame.constData(), int(frame.size()));
        readFrame(*p.b, buf, sizeof buf);
        p.b->writeBlock(buf, int(sizeof buf));
        if (!readFrame(*p.a, buf, sizeof buf)) {
            state.SkipWithError("socket failed");
            break;
        }
    }
}
BENCHMARK(BM_BareSocketPingPong)->UseRealTime();

void BM_TCPMessageChannelPingPong(benchmark::State &state)
{
    Pair p;
    TCPMessageChannel a(p.a.release());
    TCPMessageChannel b(p.b.release());
    const QByteArray frame(4 + PayloadSize, 'p');
    for (auto _ : state) {
        a.enqueueMessage(frame);
        const auto request = b.waitForSingleMessage(5000);
        b.enqueueMessage(request.value);
        const auto reply = a.waitForSingleMessage(5000);
        if (reply.isError()) {
            state.SkipWithError("channel failed");
            break;
        }
    }
}
BENCHMARK(BM_TCPMessageChannelPingPong)->UseRealTime();

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    return TolvexBench::runWithRatios(
        argc, argv, {{"BM_TCPMessageChannelPingPong", "BM_BareSocketPingPong", 1.2}});
}
