#pragma once

#include "fsocket.h"
#include "tcpmessagechannel.h"

#include <QtEndian>

#include <gtest/gtest.h>

#include <memory>

namespace TestSupport {

// Two connected sockets over loopback.
struct SocketPair
{
    std::unique_ptr<FSocket> a;
    std::unique_ptr<FSocket> b;

    SocketPair()
    {
        FSocket listener;
        EXPECT_TRUE(listener.bind(FHostAddress(0x7F000001), 0));
        EXPECT_TRUE(listener.listen(1));
        a = std::make_unique<FSocket>();
        EXPECT_TRUE(a->connectToHost(QStringLiteral("127.0.0.1"), listener.localPort()));
        b = std::make_unique<FSocket>(listener.accept());
        EXPECT_TRUE(b->isOpen());
    }
};

// A frame of the channel: the size prefix followed by the payload.
inline QByteArray frame(const QByteArray &payload)
{
    QByteArray f(4, '\0');
    qToBigEndian<quint32>(quint32(payload.size() + 4), f.data());
    return f + payload;
}

// Writes all bytes to a raw socket.
inline void writeAll(FSocket &s, const QByteArray &bytes)
{
    qsizetype done = 0;
    while (done < bytes.size()) {
        const int n = s.writeBlock(bytes.constData() + done, int(bytes.size() - done));
        ASSERT_GT(n, 0);
        done += n;
    }
}

} // namespace TestSupport
