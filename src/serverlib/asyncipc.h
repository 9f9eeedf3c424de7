#pragma once

#include "argumentlist.h"
#include "asyncmessagechannel.h"
#include "clientdata.h"
#include "ftypes.h"
#include "functioncallresult.h"
#include "ipcresponsehandler.h"
#include "messageheader.h"

#include <QObject>

#include <map>

namespace Tolvex {

class ChunkedMessageReceiver;

// A bus of named remote calls over a message channel: calls with replies,
// one-way sends and broadcasts, each message a header and a streamed body.
class AsyncIPC : public QObject
{
    Q_OBJECT
public:
    using ClientData = Tolvex::ClientData;

    static constexpr unsigned InvalidAddress = 0;
    static constexpr unsigned ServerAddress = 1;
    static constexpr unsigned BroadcastAddress = 0xFFFFFFFF;
    static constexpr int BodyStreamVersion = 6;

    // Becomes the channel's parent.
    AsyncIPC(AsyncMessageChannel *channel, const ClientData &data, IPCResponseHandlerIface *handler,
             QObject *parent = nullptr);
    ~AsyncIPC() override;

    // Event-driven connect: the listener hears the new endpoint or the error.
    static void connectTo(const QString &host, quint16 port, const ClientData &data,
                          ResponseListener<AsyncIPC *> *listener);
    static void connectTo(AsyncMessageChannel *channel, const ClientData &data,
                          ResponseListener<AsyncIPC *> *listener);

    // Each returns the transaction id, or -1 after the listener has had the error.
    int asyncCall(const QString &function, const ArgumentList &args,
                  ResponseListener<ArgumentList> *listener);
    int asyncCall(unsigned destination, const QString &function, const ArgumentList &args,
                  ResponseListener<ArgumentList> *listener);
    int asyncCall(unsigned destination, const QString &function, const ArgumentList &args,
                  ResponseListener<ArgumentList> *listener, int timeoutMs);

    int send(const QString &function, const ArgumentList &args);
    int send(unsigned destination, const QString &function, const ArgumentList &args);
    int broadcast(const QString &function, const ArgumentList &args);

    void callReply(unsigned caller, int callId, const FunctionCallResult<ArgumentList> &result);
    void callReply(unsigned caller, int callId, const ArgumentList &result);

    // The listener of a cancelled call hears nothing and may go at once.
    void cancelAsyncCall(int id);
    bool isCallCompleted(int id) const;

    void close();
    void closeSocket();
    bool isOpen() const;
    bool socketClosed() const { return !isOpen(); }
    FHostAddress peerAddress() const;
    quint16 peerPort() const;
    std::string debugName() const;
    std::string description() const { return debugName(); }
    qint32 appId() const { return m_data.appId; }
    const ClientData &clientData() const { return m_data; }
    int getResponseTimeout() const { return m_responseTimeout; }
    void setResponseTimeout(int timeout) { m_responseTimeout = timeout; }
    void setResponseHandler(IPCResponseHandlerIface *handler) { m_handler = handler; }
    IPCResponseHandlerIface *responseHandler() const;
    AsyncMessageChannel *channel() const { return m_channel; }

    // Writes a count and the values; stops after the first value that leaves
    // the stream in a bad state.
    static void writeArguments(QDataStream &stream, const ArgumentList &args);
    // Reads a count and that many values. Gives an empty list when the
    // device reports an error on the way.
    static ArgumentList readArguments(QDataStream &stream);

Q_SIGNALS:
    void connectionClosed();
    void peerGone(FUInt32 peer);

protected:
    int newTransId();
    // Where the transaction counter stands; the next id follows it.
    void setLastTransId(int id) { m_lastTransId = id; }
    void cancelOutgoingCalls(const QString &reason);
    void notifyPeerGone(unsigned peer);
    void forgetReceiver(unsigned peer, int transId);

private Q_SLOTS:
    void onMessageArrived(const QByteArray &message);
    void onChannelClosed();

private:
    friend class IncomingReply;

    // Writes a call or send body of function name and arguments; the sender's
    // error text, empty when every frame went out. May delete this endpoint.
    QString writeMessage(unsigned destination, int transId, MessageType type,
                         const QString &function, const ArgumentList &args);

    // Receivers by peer and transaction: partly received calls and sends
    // under their source, awaited replies under the own address.
    std::map<unsigned, std::map<int, ChunkedMessageReceiver *>> m_pendingMessages;
    int m_responseTimeout = 300000;
    int m_lastTransId = 0;
    ClientData m_data;
    AsyncMessageChannel *m_channel;
    IPCResponseHandlerIface *m_handler;
};

} // namespace Tolvex
