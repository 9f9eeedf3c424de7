#pragma once

#include "messagingserver.h"

#include "fhostaddress.h"

class FSocket;
class QSocketNotifier;

namespace Tolvex {

class IPCHandshaker;

// Listens on a TCP port. Every accepted connection becomes a
// TCPMessageChannel that goes through the given handshaker; what the
// handshaker accepts comes out as newChannel, what it refuses as
// channelRejected (the channel is closed and deleted by then).
class TCPMessagingServer : public MessagingServer
{
    Q_OBJECT
public:
    // Port 0 takes a free port; port() tells which after start().
    TCPMessagingServer(IPCHandshaker *handshaker, const FHostAddress &address, quint16 port,
                       QObject *parent = nullptr);
    ~TCPMessagingServer() override;

    bool start() override;
    void stop();
    bool isListening() const;
    quint16 port() const;
    FHostAddress address() const { return m_address; }

private Q_SLOTS:
    void acceptConnections();

private:
    IPCHandshaker *m_handshaker;
    FHostAddress m_address;
    quint16 m_port;
    FSocket *m_listener = nullptr;
    QSocketNotifier *m_notifier = nullptr;
};

} // namespace Tolvex
