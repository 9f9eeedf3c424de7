#pragma once

// The baseline the messaging benchmarks share: a framed round trip on bare
// loopback sockets.

#include "socketpair.h"

#include <benchmark/benchmark.h>

#include <QByteArray>
#include <QtEndian>

#include <thread>

namespace TolvexBench {

// Whether the loopback pair is open; a benchmark without one is skipped.
inline bool openOrSkip(benchmark::State &state, const TestSupport::SocketPair &p)
{
    if (!p.isOpen())
        state.SkipWithError("no loopback pair");
    return p.isOpen();
}

// The baseline of the round trips: a frame of this many bytes, size prefix
// included, out to an echoing thread on bare sockets and back.
inline void bareFramePingPong(benchmark::State &state, int frameSize)
{
    TestSupport::SocketPair p;
    if (!openOrSkip(state, p))
        return;
    FSocket *echo = p.b.get();
    std::thread echoer([echo] {
        char buf[1024];
        while (TestSupport::readFrame(*echo, buf, sizeof buf))
            echo->writeBlock(buf, int(qFromBigEndian<quint32>(buf)));
    });
    const QByteArray frame = TestSupport::frame(QByteArray(frameSize - 4, 'p'));
    char buf[1024];
    for (auto _ : state) {
        p.a->writeBlock(frame.constData(), int(frame.size()));
        if (!TestSupport::readFrame(*p.a, buf, sizeof buf)) {
            state.SkipWithError("socket failed");
            break;
        }
    }
    p.a->close();
    echoer.join();
}

} // namespace TolvexBench
