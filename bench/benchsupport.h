#pragma once

// Pieces the messaging benchmarks share: a loopback socket pair and the
// bare-socket frame reader that the baselines use.

#include "fsocket.h"

#include <benchmark/benchmark.h>

#include <QByteArray>
#include <QtEndian>

#include <memory>
#include <thread>

namespace TolvexBench {

struct SocketPair
{
    std::unique_ptr<FSocket> a;
    std::unique_ptr<FSocket> b;
    SocketPair()
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

// The least a framed exchange needs on bare sockets: reads of whatever has
// arrived until the size prefix says the frame is complete.
inline bool readFrame(FSocket &s, char *buf, int capacity)
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

// The baseline of the round trips: a frame of this many bytes, size prefix
// included, out to an echoing thread on bare sockets and back.
inline void bareFramePingPong(benchmark::State &state, int frameSize)
{
    SocketPair p;
    FSocket *echo = p.b.get();
    std::thread echoer([echo] {
        char buf[1024];
        while (readFrame(*echo, buf, sizeof buf))
            echo->writeBlock(buf, int(qFromBigEndian<quint32>(buf)));
    });
    QByteArray frame(frameSize, 'p');
    qToBigEndian<quint32>(quint32(frame.size()), frame.data());
    char buf[1024];
    for (auto _ : state) {
        p.a->writeBlock(frame.constData(), int(frame.size()));
        if (!readFrame(*p.a, buf, sizeof buf)) {
            state.SkipWithError("socket failed");
            break;
        }
    }
    p.a->close();
    echoer.join();
}

} // namespace TolvexBench
