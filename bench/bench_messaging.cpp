// Small-frame ping-pong between two TCPMessageChannels on loopback, against the
// same exchange on bare sockets: the cost the channel adds to a round trip.

#include "benchsupport.h"
#include "fsocket.h"
#include "ratioreporter.h"
#include "tcpmessagechannel.h"

#include <QCoreApplication>

#include <memory>

using namespace Tolvex;
using TestSupport::readFrame;
using TestSupport::SocketPair;

namespace {

constexpr int PayloadSize = 100;

void BM_BareSocketPingPong(benchmark::State &state)
{
    SocketPair p;
    if (!TolvexBench::openOrSkip(state, p))
        return;
    const QByteArray frame = TestSupport::frame(QByteArray(PayloadSize, 'p'));
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
    SocketPair p;
    if (!TolvexBench::openOrSkip(state, p))
        return;
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
