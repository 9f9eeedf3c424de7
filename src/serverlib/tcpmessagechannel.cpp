#include "tcpmessagechannel.h"

#include "fsocket.h"
#include "logging.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QSocketNotifier>
#include <QtEndian>

namespace Tolvex {

namespace {

constexpr int MinimumBufferSize = 49152;
constexpr int DisconnectWaitMs = 30000;
// A blocked send wakes this often to check the stall limit, so a peer that
// stops reading can never hang the writer.
constexpr int SendWakeupMs = 250;

} // namespace

TCPMessageChannel::TCPMessageChannel(FSocket *sock, QObject *parent)
    : MessageChannel(parent), m_sock(sock)
{
    m_peerAddress = m_sock->peerAddress();
    m_peerPort = m_sock->peerPort();

    if (m_sock->sendBufferSize() < MinimumBufferSize)
        m_sock->setSendBufferSize(MinimumBufferSize);
    if (m_sock->receiveBufferSize() < MinimumBufferSize)
        m_sock->setReceiveBufferSize(MinimumBufferSize);
    m_sock->setTcpNoDelay(true);
    m_sock->setSendTimeout(SendWakeupMs);

    if (!m_sock->isOpen())
        qCDebug(lcIpc, "TCPIPC:setSocket: Unconnected socket for IPC");

    if (m_sock->isValid()) {
        m_notifier = new QSocketNotifier(m_sock->descriptor(), QSocketNotifier::Read, this);
        connect(m_notifier, &QSocketNotifier::activated, this,
                &TCPMessageChannel::readIncomingData);
    }

    m_debugName = "TCP(fd=" + std::to_string(m_sock->descriptor()) +
                  ",addr=" + m_sock->localAddress().toString().toStdString() + ":" +
                  std::to_string(m_sock->localPort()) +
                  ",peer=" + m_peerAddress.toString().toStdString() + ":" +
                  std::to_string(m_peerPort) + ")";
}

TCPMessageChannel::~TCPMessageChannel()
{
    delete m_notifier;
    delete m_sock;
}

FunctionCallResult<MessageChannel *> TCPMessageChannel::connectTo(const QString &host, quint16 port)
{
    auto *sock = new FSocket;
    if (sock->connectToHost(host, port))
        return FunctionCallResult<MessageChannel *>(new TCPMessageChannel(sock));

    QString reason;
    switch (sock->error()) {
    case FSocket::HostNotFound:
        reason = QStringLiteral("Host name not found");
        break;
    case FSocket::ConnectionRefused:
        reason = QStringLiteral("Connection refused");
        break;
    default:
        reason = QString::fromLocal8Bit(sock->errorString());
    }
    delete sock;
    return FunctionCallResult<MessageChannel *>(
        nullptr, QStringLiteral("Could not connect to Tolvex server at host %1, port %2: %3")
                     .arg(host)
                     .arg(port)
                     .arg(reason));
}

FunctionCallResult<MessageChannel *> TCPMessageChannel::connectTo(const SocketAddress &address)
{
    return connectTo(address.host, address.port);
}

bool TCPMessageChannel::isOpen() const
{
    return m_sock && m_sock->isOpen();
}

quint16 TCPMessageChannel::localPort() const
{
    return m_sock ? m_sock->localPort() : 0;
}

FHostAddress TCPMessageChannel::localAddress() const
{
    return m_sock ? m_sock->localAddress() : FHostAddress(0);
}

bool TCPMessageChannel::enqueueMessage(QByteArray message)
{
    if (message.size() < MessagePrefixLength)
        return false;
    qToBigEndian<quint32>(quint32(message.size()), message.data());

    QElapsedTimer timer;
    timer.start();
    qsizetype written = 0;
    const char *data = message.constData();
    while (written < message.size()) {
        if (!m_sock || !m_sock->isValid())
            return false;
        const qsizetype left = message.size() - written;
        const int n = m_sock->writeBlock(data + written, int(qMin<qsizetype>(left, 0x7fffffff)));
        const int condition = m_sock ? m_sock->error() : 0;
        if (n < 1 && !isOpen())
            return false;
        if (n == -1) {
            if (!m_sock) {
                qCWarning(lcIpc, "IPC::sendData: write failed, socket suddenly is NULL");
                return false;
            }
            if (condition != 0) {
                qCWarning(lcIpc, "IPC::sendData: write to socket %d failed with error %d",
                          m_sock->descriptor(), condition);
                return false;
            }
        }
        if (n <= 0) {
            // Out of buffer space or timed out in a full buffer: the peer is
            // not reading. The bound holds for the whole message, not per write.
            if (timer.elapsed() > m_writeStallLimitMs) {
                qCWarning(lcIpc,
                          "IPC::sendData: couldn't write to socket for 10s, assume that the peer "
                          "closed the connection");
                closeOnEnd();
                return false;
            }
            continue;
        }
        written += n;
    }
    return true;
}

bool TCPMessageChannel::processSingleMessage(QByteArray *out)
{
    if (m_readBuffer.size() < MessagePrefixLength)
        return false;
    const quint32 size = qFromBigEndian<quint32>(m_readBuffer.constData());
    if (size < quint32(MessagePrefixLength)) {
        qCWarning(lcIpc, "Invalid message size prefix");
        closeOnEnd();
        return false;
    }
    if (quint64(m_readBuffer.size()) < size)
        return false;
    *out = m_readBuffer.left(qsizetype(size));
    m_readBuffer.remove(0, qsizetype(size));
    Q_EMIT messageArrived(*out);
    return true;
}

bool TCPMessageChannel::fillReadBuffer(int count)
{
    const qsizetype old = m_readBuffer.size();
    m_readBuffer.resize(old + count);
    const int n = m_sock->readBlock(m_readBuffer.data() + old, count);
    if (n == -1) {
        // Drop the unfilled part again: left in place it would be framed as data.
        m_readBuffer.resize(old);
        return false;
    }
    if (n == 0) {
        m_readBuffer.resize(old);
        closeOnEnd();
        return false;
    }
    if (n < count)
        m_readBuffer.resize(old + n);
    return true;
}

void TCPMessageChannel::readIncomingData()
{
    dispatchMessages(true);
}

bool TCPMessageChannel::dispatchMessages()
{
    return dispatchMessages(false);
}

bool TCPMessageChannel::dispatchMessages(bool woken)
{
    // Every message runs foreign code, which may delete this channel.
    QPointer<TCPMessageChannel> guard(this);
    QByteArray message;
    for (;;) {
        while (guard && processSingleMessage(&message)) {
        }
        if (!guard || !isOpen())
            return false;
        const int available = m_sock->bytesAvailable();
        if (available < 0) {
            closeOnEnd();
            return false;
        }
        if (available == 0) {
            // Woken as readable with nothing to read is the peer's end of
            // stream; without this look that wake-up would be lost.
            bool timedOut = false;
            if (woken && m_sock->waitForMore(0, &timedOut) == 0 && !timedOut) {
                closeOnEnd();
                return false;
            }
            return true;
        }
        if (!fillReadBuffer(available))
            return false;
    }
}

FunctionCallResult<QByteArray> TCPMessageChannel::waitForSingleMessage(int timeoutMs)
{
    using Result = FunctionCallResult<QByteArray>;
    QPointer<TCPMessageChannel> guard(this);
    QByteArray message;
    if (processSingleMessage(&message))
        return Result(message);
    if (!guard || !isOpen())
        return Result::failure(QStringLiteral("Connection is closed"));

    for (;;) {
        bool timedOut = false;
        const int ready = m_sock->waitForMore(timeoutMs, &timedOut);
        if (timedOut)
            return Result::failure(QStringLiteral("Timeout expired"));
        if (ready == 0) {
            closeOnEnd();
            return Result::failure(QStringLiteral("Peer closed the connection"));
        }
        if (ready < 0) {
            closeOnEnd();
            return Result::failure(QStringLiteral("I/O error"));
        }
        if (!fillReadBuffer(ready))
            return Result::failure(QStringLiteral("Read error"));
        if (processSingleMessage(&message))
            return Result(message);
        if (!guard || !isOpen())
            return Result::failure(QStringLiteral("Connection is closed"));
    }
}

void TCPMessageChannel::closeOnEnd()
{
    if (m_notifier) {
        m_notifier->setEnabled(false);
        delete m_notifier;
        m_notifier = nullptr;
    }
    if (m_sock)
        m_sock->close();
    if (!m_closing)
        Q_EMIT channelClosed();
}

void TCPMessageChannel::close()
{
    m_closing = true;
    if (m_notifier)
        m_notifier->setEnabled(false);
    if (m_sock) {
        m_sock->shutdown();
        m_sock->waitForDisconnected(DisconnectWaitMs);
        m_sock->close();
        delete m_sock;
        m_sock = nullptr;
    }
}

} // namespace Tolvex
