#include "socketpair.h"

#include <QtEndian>

namespace TestSupport {

SocketPair::SocketPair()
{
    FSocket listener;
    if (!listener.bind(FHostAddress(0x7F000001), 0) || !listener.listen(1))
        return;
    port = listener.localPort();
    if (!a->connectToHost(QStringLiteral("127.0.0.1"), port))
        return;
    b = std::make_unique<FSocket>(listener.accept());
    m_open = b->isOpen() && a->setTcpNoDelay(true) && b->setTcpNoDelay(true);
}

QByteArray frame(const QByteArray &payload)
{
    QByteArray f(4, '\0');
    qToBigEndian<quint32>(quint32(payload.size() + 4), f.data());
    return f + payload;
}

bool writeAll(FSocket &socket, const QByteArray &bytes)
{
    qsizetype done = 0;
    while (done < bytes.size()) {
        const int n = socket.writeBlock(bytes.constData() + done, int(bytes.size() - done));
        if (n <= 0)
            return false;
        done += n;
    }
    return true;
}

bool readFrame(FSocket &socket, char *buf, int capacity)
{
    int got = 0;
    int size = 4; // until the prefix is in
    while (got < size) {
        if (socket.waitForMore(5000) <= 0)
            return false;
        const int r = socket.readBlock(buf + got, capacity - got);
        if (r <= 0)
            return false;
        got += r;
        if (got >= 4) {
            const quint32 prefix = qFromBigEndian<quint32>(buf);
            if (prefix < 4 || prefix > quint32(capacity))
                return false;
            size = int(prefix);
        }
    }
    return true;
}

} // namespace TestSupport
