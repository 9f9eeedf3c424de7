#pragma once

// Loopback sockets and the frames of the message channel on bare sockets, for
// tests that play one side of a connection by hand and for the baselines of
// the benchmarks.

#include "fsocket.h"

#include <QByteArray>

#include <memory>

namespace TestSupport {

// Two connected sockets over loopback: a connects, b is the end the listener
// accepted. Both send small writes at once (TCP_NODELAY), so that a frame
// written in pieces reaches the peer in those pieces and a round trip is not
// held back by the kernel.
struct SocketPair
{
    SocketPair();

    // Whether the pair was set up: both ends connected, TCP_NODELAY on.
    bool isOpen() const { return m_open; }

    // Never null: an end that could not be made is a closed socket.
    std::unique_ptr<FSocket> a = std::make_unique<FSocket>();
    std::unique_ptr<FSocket> b = std::make_unique<FSocket>(-1);
    // The port the pair was made on: b's local port, a's peer port.
    quint16 port = 0;

private:
    bool m_open = false;
};

// A frame of the channel: the size prefix, which counts itself, then the
// payload.
QByteArray frame(const QByteArray &payload);

// Writes every byte to a blocking socket; false when the socket fails first.
bool writeAll(FSocket &socket, const QByteArray &bytes);

// Reads one whole frame into buf: whatever has arrived until the size prefix
// says the frame is complete. False when the socket fails or closes, nothing
// arrives for 5 s, or the frame does not fit.
bool readFrame(FSocket &socket, char *buf, int capacity);

} // namespace TestSupport
