#include "applicationserver.h"

#include "fhostaddress.h"
#include "fsocket.h"
#include "tcpmessagechannel.h"
#include "tcpmessagingserver.h"

namespace Tolvex {

class ApplicationServer::ClientHandler : public IPCResponseHandlerIface
{
public:
    ClientHandler(ApplicationServer *server, int index) : m_server(server), m_index(index) {}

    void handleSend(unsigned sender, const QString &function, const ArgumentList &args) override
    {
        m_server->record(sender, function, args, false);
        if (function == QLatin1String("appAboutToExit") && m_server->m_answerExit)
            m_server->send(QStringLiteral("exitDone"), {}, m_index);
    }
    void handleBroadcast(unsigned sender, const QString &function,
                         const ArgumentList &args) override
    {
        m_server->record(sender, function, args, true);
    }
    using IPCResponseHandlerIface::handleCall;
    QVariant handleCall(unsigned sender, const QString &function, const ArgumentList &args) override
    {
        m_server->record(sender, function, args, false);
        if (function == QLatin1String("clientEnvironment"))
            return m_server->m_clientEnvironment;
        return QVariant();
    }
    void connectionClosed() override
    {
        m_server->m_clients[size_t(m_index)].connected = false;
        Q_EMIT m_server->clientDisconnected(m_index);
    }

private:
    ApplicationServer *m_server;
    int m_index;
};

ApplicationServer::ApplicationServer(QObject *parent) : QObject(parent) {}

ApplicationServer::~ApplicationServer()
{
    stop();
}

bool ApplicationServer::start(quint16 port)
{
    if (m_server)
        return m_server->isListening();
    m_server = new TCPMessagingServer(&m_handshaker, FHostAddress(0x7F000001), port, this);
    connect(m_server, &MessagingServer::newClient, this, &ApplicationServer::onNewClient);
    return m_server->start();
}

quint16 ApplicationServer::port() const
{
    return m_server ? m_server->port() : 0;
}

void ApplicationServer::stop()
{
    for (Client &client : m_clients) {
        if (client.ipc) {
            // Quietly: a dying server tells its clients nothing.
            client.ipc->setResponseHandler(nullptr);
            client.ipc->closeSocket();
            delete client.ipc;
        }
        client.connected = false;
    }
    delete m_server;
    m_server = nullptr;
}

void ApplicationServer::onNewClient(AsyncMessageChannel *channel, const ClientData &client)
{
    const int index = int(m_clients.size());
    ClientData own;
    own.appId = int(AsyncIPC::ServerAddress);
    own.clientName = QStringLiteral("tolvex");
    Client entry;
    entry.handler = std::make_unique<ClientHandler>(this, index);
    entry.ipc = new AsyncIPC(channel, own, entry.handler.get(), this);
    entry.data = client;
    entry.address = unsigned(client.appId);
    entry.connected = true;
    m_clients.push_back(std::move(entry));
    Q_EMIT clientConnected(index);
}

void ApplicationServer::record(unsigned sender, const QString &function, const ArgumentList &args,
                               bool broadcast)
{
    Message message;
    message.broadcast = broadcast;
    message.sender = sender;
    message.function = function;
    message.args = args;
    // Stream segments are read as they come and would pile up unbounded:
    // they go to the listeners alone.
    if (function != QLatin1String("binaryStreamSegment"))
        m_messages.append(message);
    Q_EMIT messageReceived(message);
}

AsyncIPC *ApplicationServer::clientIPC(int index) const
{
    if (index < 0 || size_t(index) >= m_clients.size())
        return nullptr;
    return m_clients[size_t(index)].ipc;
}

unsigned ApplicationServer::clientAddress(int index) const
{
    return clientIPC(index) ? m_clients[size_t(index)].address : 0;
}

ClientData ApplicationServer::clientData(int index) const
{
    return clientIPC(index) ? m_clients[size_t(index)].data : ClientData();
}

bool ApplicationServer::sendRaw(const QByteArray &frame, int index)
{
    AsyncIPC *ipc = clientIPC(index);
    return ipc && isClientConnected(index) && ipc->channel()->enqueueMessage(frame);
}

FSocket *ApplicationServer::clientSocket(int index) const
{
    AsyncIPC *ipc = isClientConnected(index) ? clientIPC(index) : nullptr;
    auto *channel = ipc ? qobject_cast<TCPMessageChannel *>(ipc->channel()) : nullptr;
    return channel ? channel->socket() : nullptr;
}

bool ApplicationServer::writeRawBytes(const QByteArray &bytes, int index)
{
    FSocket *socket = clientSocket(index);
    if (!socket)
        return false;
    for (qsizetype done = 0; done < bytes.size();) {
        const int n = socket->writeBlock(bytes.constData() + done, int(bytes.size() - done));
        if (n < 0)
            return false;
        done += n;
    }
    return true;
}

bool ApplicationServer::isClientConnected(int index) const
{
    return clientIPC(index) && m_clients[size_t(index)].connected;
}

int ApplicationServer::send(const QString &function, const ArgumentList &args, int index)
{
    AsyncIPC *ipc = clientIPC(index);
    if (!ipc || !isClientConnected(index))
        return -1;
    return ipc->send(m_clients[size_t(index)].address, function, args);
}

int ApplicationServer::call(const QString &function, const ArgumentList &args,
                            ResponseListener<ArgumentList> *listener, int index)
{
    AsyncIPC *ipc = clientIPC(index);
    if (!ipc || !isClientConnected(index)) {
        listener->error(QStringLiteral("No such application"));
        return -1;
    }
    return ipc->asyncCall(m_clients[size_t(index)].address, function, args, listener);
}

QStringList ApplicationServer::functions() const
{
    QStringList names;
    for (const Message &message : m_messages)
        names.append(message.function);
    return names;
}

bool ApplicationServer::hasReceived(const QString &function) const
{
    return functions().contains(function);
}

} // namespace Tolvex
