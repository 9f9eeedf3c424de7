#pragma once

#include "appidhandshaker.h"
#include "asyncipc.h"

#include <QList>
#include <QObject>
#include <QPointer>

#include <memory>
#include <vector>

class FSocket;

namespace Tolvex {

class TCPMessagingServer;

// The server end of the applications under test: listens, admits each agent
// through the handshake, keeps one endpoint per agent, answers the exit
// protocol and records what the agents send and broadcast.
class ApplicationServer : public QObject
{
    Q_OBJECT
public:
    struct Message
    {
        bool broadcast = false;
        unsigned sender = 0;
        QString function;
        ArgumentList args;
    };

    explicit ApplicationServer(QObject *parent = nullptr);
    ~ApplicationServer() override;

    // Listens on 127.0.0.1; port 0 takes a free one.
    bool start(quint16 port = 0);
    quint16 port() const;
    // Drops every connection at once and stops listening, the way a server
    // that dies leaves its clients.
    void stop();

    // Only the client that announces this application id is let in.
    void admitOnly(qint32 appId) { m_handshaker.setAdmittedAppId(appId); }

    // With this off, "appAboutToExit" goes unanswered and the agent's exit
    // wait ends by its own timer or by a later exitDone().
    void setAnswerExit(bool answer) { m_answerExit = answer; }

    // What agents get when they ask for the environment of the processes
    // they start.
    void setClientEnvironment(const QStringList &environment) { m_clientEnvironment = environment; }

    int clientCount() const { return int(m_clients.size()); }
    // What the agent said of itself, with the address it was given.
    ClientData clientData(int index = 0) const;
    // The address the handshake gave the agent; 0 when there is none.
    unsigned clientAddress(int index = 0) const;
    bool isClientConnected(int index = 0) const;

    // Each returns the transaction id, or -1 when the agent is not reachable.
    int send(const QString &function, const ArgumentList &args = {}, int index = 0);
    int initDone(int index = 0) { return send(QStringLiteral("initDone"), {}, index); }
    int exitDone(int index = 0) { return send(QStringLiteral("exitDone"), {}, index); }
    int kill(int index = 0) { return send(QStringLiteral("kill"), {}, index); }
    int close(int index = 0) { return send(QStringLiteral("close"), {}, index); }
    // Writes bytes as one frame behind the endpoint's back: for peers that
    // misbehave. The frame's size prefix is filled in by the channel.
    bool sendRaw(const QByteArray &frame, int index = 0);
    // Writes bytes onto the connection as they are, with no framing at all:
    // for peers that break off in the middle of a frame.
    bool writeRawBytes(const QByteArray &bytes, int index = 0);
    // The socket of a connected agent, for socket options; null when there is none.
    FSocket *clientSocket(int index = 0) const;
    // The listener hears the reply or the error.
    int call(const QString &function, const ArgumentList &args,
             ResponseListener<ArgumentList> *listener, int index = 0);

    const QList<Message> &messages() const { return m_messages; }
    // The functions of what arrived, in order.
    QStringList functions() const;
    bool hasReceived(const QString &function) const;

Q_SIGNALS:
    void messageReceived(const Tolvex::ApplicationServer::Message &message);
    void clientConnected(int index);
    void clientDisconnected(int index);

private:
    class ClientHandler;
    struct Client
    {
        std::unique_ptr<ClientHandler> handler;
        QPointer<AsyncIPC> ipc;
        ClientData data;
        unsigned address = 0;
        bool connected = false;
    };

    void onNewClient(AsyncMessageChannel *channel, const ClientData &client);
    void record(unsigned sender, const QString &function, const ArgumentList &args, bool broadcast);
    AsyncIPC *clientIPC(int index) const;

    AppIdHandshaker m_handshaker;
    TCPMessagingServer *m_server = nullptr;
    std::vector<Client> m_clients;
    QList<Message> m_messages;
    QStringList m_clientEnvironment;
    bool m_answerExit = true;
};

} // namespace Tolvex
