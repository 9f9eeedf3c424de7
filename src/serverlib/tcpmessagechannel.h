#pragma once

#include "clientdata.h"
#include "messagechannel.h"

class FSocket;
class QSocketNotifier;

namespace Tolvex {

// A message channel over a TCP socket. Frames are read as the socket's
// notifier fires (or as a blocking wait asks), and written synchronously.
class TCPMessageChannel : public MessageChannel
{
    Q_OBJECT
public:
    // Takes ownership of the socket.
    explicit TCPMessageChannel(FSocket *sock, QObject *parent = nullptr);
    ~TCPMessageChannel() override;

    static FunctionCallResult<MessageChannel *> connectTo(const QString &host, quint16 port);
    static FunctionCallResult<MessageChannel *> connectTo(const SocketAddress &address);

    std::string debugName() const override { return m_debugName; }
    FHostAddress peerAddress() const override { return m_peerAddress; }
    quint16 peerPort() const override { return m_peerPort; }
    bool isOpen() const override;
    bool enqueueMessage(QByteArray message) override;
    void close() override;

    quint16 localPort() const override;
    FHostAddress localAddress() const override;
    FunctionCallResult<QByteArray> waitForSingleMessage(int timeoutMs) override;
    bool dispatchMessages() override;

    // The socket, or null after close(). For tests and socket options.
    FSocket *socket() const { return m_sock; }
    // How long enqueueMessage keeps trying against a peer that reads nothing
    // before it gives the connection up. 10 s unless a test shortens it.
    void setWriteStallLimit(int ms) { m_writeStallLimitMs = ms; }

private Q_SLOTS:
    void readIncomingData();

private:
    // woken: called because the socket was reported readable.
    bool dispatchMessages(bool woken);
    bool processSingleMessage(QByteArray *out);
    bool fillReadBuffer(int count);
    void closeOnEnd();

    std::string m_debugName;
    FSocket *m_sock = nullptr;
    QByteArray m_readBuffer;
    FHostAddress m_peerAddress;
    quint16 m_peerPort = 0;
    QSocketNotifier *m_notifier = nullptr;
    bool m_closing = false;
    qint64 m_writeStallLimitMs = 10000;
};

} // namespace Tolvex
