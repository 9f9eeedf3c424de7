#include "tcpmessagingserver.h"

#include "fsocket.h"
#include "ipchandshaker.h"
#include "tcpmessagechannel.h"

#include <QSocketNotifier>

namespace Tolvex {

TCPMessagingServer::TCPMessagingServer(IPCHandshaker *handshaker, const FHostAddress &address,
                                       quint16 port, QObject *parent)
    : MessagingServer(parent), m_handshaker(handshaker), m_address(address), m_port(port)
{
    connect(m_handshaker, &IPCHandshaker::newChannel, this,
            [this](AsyncMessageChannel *channel, const ClientData &client) {
                Q_EMIT newClient(channel, client);
                Q_EMIT newChannel(channel);
            });
    connect(m_handshaker, &IPCHandshaker::channelRejected, this, &MessagingServer::channelRejected);
}

TCPMessagingServer::~TCPMessagingServer()
{
    stop();
}

bool TCPMessagingServer::start()
{
    if (m_listener)
        return true;
    auto *sock = new FSocket;
    sock->setAddressReusable(true);
    if (!sock->isValid() || !sock->bind(m_address, m_port) || !sock->listen(50)) {
        const int error = sock->error();
        const QString text = QStringLiteral("Could not listen on %1:%2: %3")
                                 .arg(m_address.toString())
                                 .arg(m_port)
                                 .arg(QString::fromLocal8Bit(sock->errorString()));
        delete sock;
        Q_EMIT serverFailed(error, text);
        return false;
    }
    // Accepting must never block the event loop.
    sock->setBlocking(false);
    m_listener = sock;
    m_notifier = new QSocketNotifier(sock->descriptor(), QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &TCPMessagingServer::acceptConnections);
    return true;
}

void TCPMessagingServer::stop()
{
    delete m_notifier;
    m_notifier = nullptr;
    delete m_listener;
    m_listener = nullptr;
}

bool TCPMessagingServer::isListening() const
{
    return m_listener != nullptr;
}

quint16 TCPMessagingServer::port() const
{
    return m_listener ? m_listener->localPort() : m_port;
}

void TCPMessagingServer::acceptConnections()
{
    while (m_listener) {
        const int fd = m_listener->accept();
        if (fd < 0)
            return;
        auto *sock = new FSocket(fd);
        // Accepted sockets do not inherit the listener's non-blocking mode on
        // every platform; the channel expects blocking writes.
        sock->setBlocking(true);
        auto *channel = new TCPMessageChannel(sock);
        m_handshaker->addChannel(channel);
    }
}

} // namespace Tolvex
