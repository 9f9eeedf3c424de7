#include "asyncipc.h"

#include "asyncipc_p.h"
#include "ipchandshake.h"
#include "logging.h"
#include "tcpmessagechannel.h"
#include "variantreader.h"

#include <QDataStream>
#include <QPointer>
#include <QTimerEvent>

#include <new>

namespace Tolvex {

namespace {

// Used while no handler is set, so that early traffic is answered the
// default way instead of reaching a null pointer.
IPCResponseHandlerIface &defaultHandler()
{
    static IPCResponseHandlerIface handler;
    return handler;
}

} // namespace

// ---- IPCResponseHandlerIface ----

IPCResponseHandlerIface::~IPCResponseHandlerIface() = default;

void IPCResponseHandlerIface::handleSend(unsigned, const QString &, const ArgumentList &) {}

void IPCResponseHandlerIface::handleBroadcast(unsigned, const QString &, const ArgumentList &) {}

void IPCResponseHandlerIface::handleCall(unsigned sender, const QString &function,
                                         const ArgumentList &args,
                                         ResponseListener<ArgumentList> *listener)
{
    listener->success(ArgumentList{handleCall(sender, function, args)});
}

QVariant IPCResponseHandlerIface::handleCall(unsigned, const QString &, const ArgumentList &)
{
    return QVariant();
}

void IPCResponseHandlerIface::handleError(const QString &text)
{
    qCWarning(lcIpc).noquote() << text;
}

bool IPCResponseHandlerIface::callRequest(unsigned, int, const QString &, const ArgumentList &)
{
    return false;
}

void IPCResponseHandlerIface::connectionClosed() {}

// ---- AsyncIPC ----

AsyncIPC::AsyncIPC(AsyncMessageChannel *channel, const ClientData &data,
                   IPCResponseHandlerIface *handler, QObject *parent)
    : QObject(parent), m_data(data), m_channel(channel), m_handler(handler)
{
    m_channel->setParent(this);
    connect(m_channel, &AsyncMessageChannel::messageArrived, this, &AsyncIPC::onMessageArrived);
    connect(m_channel, &AsyncMessageChannel::channelClosed, this, &AsyncIPC::onChannelClosed);
}

AsyncIPC::~AsyncIPC()
{
    cancelOutgoingCalls(QStringLiteral("IPC destroyed"));
    auto table = std::move(m_pendingMessages);
    m_pendingMessages.clear();
    for (auto &[peer, receivers] : table)
        for (auto &[id, receiver] : receivers)
            receiver->abandon();
}

IPCResponseHandlerIface *AsyncIPC::responseHandler() const
{
    return m_handler ? m_handler : &defaultHandler();
}

int AsyncIPC::newTransId()
{
    m_lastTransId = m_lastTransId == 0x7FFFFFFF ? 0 : m_lastTransId + 1;
    return m_lastTransId;
}

void AsyncIPC::writeArguments(QDataStream &stream, const ArgumentList &args)
{
    stream << qint32(args.size());
    for (const QVariant &v : args) {
        stream << v;
        if (stream.status() != QDataStream::Ok)
            break;
    }
}

ArgumentList AsyncIPC::readArguments(QDataStream &stream)
{
    ArgumentList args;
    qint32 count = 0;
    stream >> count;
    auto *receiver = qobject_cast<ChunkedMessageReceiver *>(stream.device());
    // No reserve: the count comes from the peer. A stream that failed stops
    // the loop; the status tells the caller why.
    for (qint32 i = 0; i < count && stream.status() == QDataStream::Ok; ++i) {
        QVariant v;
        readVariant(stream, &v);
        if (receiver && !receiver->errorText().isEmpty())
            return ArgumentList();
        args.append(v);
    }
    return args;
}

int AsyncIPC::asyncCall(const QString &function, const ArgumentList &args,
                        ResponseListener<ArgumentList> *listener)
{
    return asyncCall(ServerAddress, function, args, listener, m_responseTimeout);
}

int AsyncIPC::asyncCall(unsigned destination, const QString &function, const ArgumentList &args,
                        ResponseListener<ArgumentList> *listener)
{
    return asyncCall(destination, function, args, listener, m_responseTimeout);
}

int AsyncIPC::asyncCall(unsigned destination, const QString &function, const ArgumentList &args,
                        ResponseListener<ArgumentList> *listener, int timeoutMs)
{
    const int transId = newTransId();
    // Sending may end the connection, and whoever hears of that may delete
    // this endpoint: nothing of it is touched before the guard is asked.
    QPointer<AsyncIPC> guard(this);
    const QString error = writeMessage(destination, transId, CallMessage, function, args);
    if (!error.isEmpty()) {
        listener->error(QStringLiteral("Call failed: %1").arg(error));
        return -1;
    }
    if (!guard || !isOpen()) {
        listener->error(QStringLiteral("Channel closed"));
        return -1;
    }
    auto *reply = new IncomingReply(this, transId, destination, listener);
    if (timeoutMs > 0)
        reply->startTimeout(timeoutMs);
    m_pendingMessages[unsigned(m_data.appId)][transId] = reply;
    return transId;
}

int AsyncIPC::send(const QString &function, const ArgumentList &args)
{
    return send(ServerAddress, function, args);
}

int AsyncIPC::send(unsigned destination, const QString &function, const ArgumentList &args)
{
    const int transId = newTransId();
    QPointer<AsyncIPC> guard(this);
    const QString error = writeMessage(destination, transId, SendMessage, function, args);
    if (!error.isEmpty() || !guard || !isOpen())
        return -1;
    return transId;
}

QString AsyncIPC::writeMessage(unsigned destination, int transId, MessageType type,
                               const QString &function, const ArgumentList &args)
{
    ChunkedMessageSender sender(this, destination, transId, type, 0);
    sender.open(QIODevice::WriteOnly);
    QDataStream out(&sender);
    out.setVersion(BodyStreamVersion);
    out << function;
    writeArguments(out, args);
    sender.close();
    return sender.errorText();
}

int AsyncIPC::broadcast(const QString &function, const ArgumentList &args)
{
    return send(BroadcastAddress, function, args);
}

void AsyncIPC::callReply(unsigned caller, int callId,
                         const FunctionCallResult<ArgumentList> &result)
{
    ChunkedMessageSender sender(this, caller, callId, ReplyMessage,
                                result.isError() ? unsigned(ErrorFlag) : 0u);
    sender.open(QIODevice::WriteOnly);
    QDataStream out(&sender);
    out.setVersion(BodyStreamVersion);
    if (result.isError())
        out << result.error;
    else
        writeArguments(out, result.value);
    // The endpoint may be gone now; the sender on the stack still is not.
    sender.close();
    if (!sender.errorText().isEmpty())
        qCDebug(lcIpc) << "Failed to send call return value " << sender.errorText();
}

void AsyncIPC::callReply(unsigned caller, int callId, const ArgumentList &result)
{
    callReply(caller, callId, FunctionCallResult<ArgumentList>(result));
}

void AsyncIPC::cancelAsyncCall(int id)
{
    const auto own = m_pendingMessages.find(unsigned(m_data.appId));
    if (own == m_pendingMessages.end())
        return;
    const auto it = own->second.find(id);
    if (it == own->second.end())
        return;
    ChunkedMessageReceiver *receiver = it->second;
    own->second.erase(it);
    receiver->abandon();
}

bool AsyncIPC::isCallCompleted(int id) const
{
    const auto own = m_pendingMessages.find(unsigned(m_data.appId));
    return own == m_pendingMessages.end() || !own->second.contains(id);
}

void AsyncIPC::forgetReceiver(unsigned peer, int transId)
{
    const auto p = m_pendingMessages.find(peer);
    if (p == m_pendingMessages.end())
        return;
    p->second.erase(transId);
    if (p->second.empty())
        m_pendingMessages.erase(p);
}

void AsyncIPC::cancelOutgoingCalls(const QString &reason)
{
    // Take the records out first: a listener may make new calls or delete
    // this endpoint while it is told.
    const auto own = m_pendingMessages.find(unsigned(m_data.appId));
    if (own == m_pendingMessages.end())
        return;
    std::map<int, ChunkedMessageReceiver *> records = std::move(own->second);
    own->second.clear();
    for (auto &[id, receiver] : records) {
        auto *reply = static_cast<IncomingReply *>(receiver);
        reply->stopTimeout();
        if (reply->listener())
            reply->listener()->error(reason);
        delete reply;
    }
}

void AsyncIPC::notifyPeerGone(unsigned peer)
{
    QPointer<AsyncIPC> guard(this);
    std::vector<IncomingReply *> failed;
    const auto own = m_pendingMessages.find(unsigned(m_data.appId));
    if (own != m_pendingMessages.end()) {
        for (auto it = own->second.begin(); it != own->second.end();) {
            auto *reply = static_cast<IncomingReply *>(it->second);
            if (reply->destination() == peer) {
                failed.push_back(reply);
                it = own->second.erase(it);
            } else {
                ++it;
            }
        }
    }
    // The peer's own half-received messages go, unless the peer is us.
    std::map<int, ChunkedMessageReceiver *> partial;
    if (peer != unsigned(m_data.appId)) {
        const auto p = m_pendingMessages.find(peer);
        if (p != m_pendingMessages.end()) {
            partial = std::move(p->second);
            m_pendingMessages.erase(p);
        }
    }
    for (IncomingReply *reply : failed) {
        reply->stopTimeout();
        if (reply->listener())
            reply->listener()->error(QStringLiteral("Peer gone"));
        delete reply;
    }
    for (auto &[id, receiver] : partial)
        receiver->abandon();
    if (guard)
        Q_EMIT peerGone(peer);
}

void AsyncIPC::onMessageArrived(const QByteArray &message)
{
    IPCResponseHandlerIface *handler = responseHandler();
    if (message.size() < MessageHeader::Size) {
        handler->handleError(QStringLiteral("Received a message smaller than the header"));
        return;
    }
    const MessageHeader h = MessageHeader::readFrom(message.constData());
    if (h.destination != unsigned(m_data.appId) && h.destination != BroadcastAddress) {
        handler->handleError(QStringLiteral("Received a misaddressed message"));
        return;
    }
    switch (h.msgType) {
    case HeaderMessage:
        handler->handleError(QStringLiteral("Unexpected header message"));
        return;
    case IgnoredMessage:
        return;
    case PeerGoneMessage:
        notifyPeerGone(h.source);
        return;
    case PingMessage:
        qCDebug(lcIpc) << "Received ping";
        return;
    case CallMessage:
    case ReplyMessage:
    case SendMessage:
        break;
    default:
        qCDebug(lcIpc) << "Unexpected messge " << h.msgType;
        handler->handleError(QStringLiteral("Unknown message type: %1").arg(h.msgType));
        return;
    }

    const unsigned key = h.msgType == ReplyMessage ? h.destination : h.source;
    ChunkedMessageReceiver *receiver = nullptr;
    const auto peer = m_pendingMessages.find(key);
    if (peer != m_pendingMessages.end()) {
        const auto found = peer->second.find(h.transId);
        if (found != peer->second.end())
            receiver = found->second;
    }
    if (!receiver) {
        if (h.msgType == CallMessage)
            receiver = new IncomingCall(this, key, h.transId);
        else if (h.msgType == SendMessage)
            receiver = new IncomingSend(this, key, h.destination);
        else
            return; // a reply nobody waits for: its call was cancelled or timed out
        m_pendingMessages[key][h.transId] = receiver;
    }

    receiver->addChunk(message);
    if (h.flags & MoreChunksFlag)
        return;

    forgetReceiver(key, h.transId);
    receiver->open(QIODevice::ReadOnly);
    QDataStream stream(receiver);
    stream.setVersion(BodyStreamVersion);
    receiver->process(stream);
}

void AsyncIPC::onChannelClosed()
{
    QPointer<AsyncIPC> guard(this);
    cancelOutgoingCalls(QStringLiteral("Connection closed by peer"));
    if (!guard)
        return;
    responseHandler()->connectionClosed();
    if (guard)
        Q_EMIT connectionClosed();
}

void AsyncIPC::close()
{
    closeSocket();
}

void AsyncIPC::closeSocket()
{
    m_channel->close();
    cancelOutgoingCalls(QStringLiteral("Connection closed"));
}

bool AsyncIPC::isOpen() const
{
    return m_channel->isOpen();
}

FHostAddress AsyncIPC::peerAddress() const
{
    return m_channel->peerAddress();
}

quint16 AsyncIPC::peerPort() const
{
    return m_channel->peerPort();
}

std::string AsyncIPC::debugName() const
{
    return m_channel->debugName();
}

// ---- incoming messages ----

QString streamStatusText(const QDataStream &stream)
{
    switch (stream.status()) {
    case QDataStream::ReadPastEnd:
        return QStringLiteral("Message too short");
    case QDataStream::ReadCorruptData:
        return QStringLiteral("Message corrupt");
    default:
        return QString::number(int(stream.status()));
    }
}

QString parseFailure(const ChunkedMessageReceiver &receiver, const QDataStream &stream)
{
    if (!receiver.errorText().isEmpty())
        return receiver.errorText();
    if (stream.status() != QDataStream::Ok)
        return streamStatusText(stream);
    return QString();
}

namespace {

// Reads function name and arguments. A body so hostile that Qt's readers ask
// for an impossible allocation counts as corrupt.
void readCallBody(QDataStream &stream, QString *function, ArgumentList *args)
{
    try {
        stream >> *function;
        *args = AsyncIPC::readArguments(stream);
    } catch (const std::bad_alloc &) {
        *args = ArgumentList();
        stream.resetStatus();
        stream.setStatus(QDataStream::ReadCorruptData);
    }
}

} // namespace

IncomingCall::IncomingCall(AsyncIPC *ipc, unsigned caller, int callId)
    : ChunkedMessageReceiver(ipc), m_caller(caller), m_callId(callId)
{}

void IncomingCall::process(QDataStream &stream)
{
    QString function;
    ArgumentList args;
    readCallBody(stream, &function, &args);
    AsyncIPC *ipc = m_ipc;
    const QString failure = parseFailure(*this, stream);
    if (!failure.isEmpty()) {
        ipc->callReply(m_caller, m_callId,
                       FunctionCallResult<ArgumentList>::failure(
                           QStringLiteral("Call parsing failed: %1").arg(failure)));
        delete this;
        return;
    }
    IPCResponseHandlerIface *handler = ipc->responseHandler();
    if (handler->callRequest(m_caller, m_callId, function, args)) {
        delete this;
        return;
    }
    // From here the handler owns the answer; this object goes with response().
    m_handedOut = true;
    handler->handleCall(m_caller, function, args, this);
}

void IncomingCall::response(FunctionCallResult<ArgumentList> result)
{
    if (m_ipc)
        m_ipc->callReply(m_caller, m_callId, result);
    delete this;
}

void IncomingCall::abandon()
{
    // A handler that holds the call finishes with it; a call still being
    // received has no other owner.
    if (m_handedOut)
        m_ipc = nullptr;
    else
        delete this;
}

IncomingSend::IncomingSend(AsyncIPC *ipc, unsigned sender, unsigned destination)
    : ChunkedMessageReceiver(ipc), m_sender(sender), m_destination(destination)
{}

void IncomingSend::process(QDataStream &stream)
{
    QString function;
    ArgumentList args;
    readCallBody(stream, &function, &args);
    IPCResponseHandlerIface *handler = m_ipc->responseHandler();
    const QString failure = parseFailure(*this, stream);
    if (!failure.isEmpty())
        handler->handleError(QStringLiteral("Send parsing failed: %1").arg(failure));
    else if (m_destination == AsyncIPC::BroadcastAddress)
        handler->handleBroadcast(m_sender, function, args);
    else
        handler->handleSend(m_sender, function, args);
    delete this;
}

IncomingReply::IncomingReply(AsyncIPC *ipc, int transId, unsigned destination,
                             ResponseListener<ArgumentList> *listener)
    : ChunkedMessageReceiver(ipc), m_transId(transId), m_destination(destination),
      m_listener(listener)
{}

void IncomingReply::startTimeout(int ms)
{
    m_timerId = startTimer(ms, Qt::CoarseTimer);
}

void IncomingReply::stopTimeout()
{
    if (m_timerId >= 0) {
        killTimer(m_timerId);
        m_timerId = -1;
    }
}

void IncomingReply::process(QDataStream &stream)
{
    stopTimeout();
    const bool isError = firstFlags() & ErrorFlag;
    QString errorText;
    ArgumentList args;
    try {
        if (isError)
            stream >> errorText;
        else
            args = AsyncIPC::readArguments(stream);
    } catch (const std::bad_alloc &) {
        stream.resetStatus();
        stream.setStatus(QDataStream::ReadCorruptData);
    }
    ResponseListener<ArgumentList> *listener = m_listener;
    const QString failure = parseFailure(*this, stream);
    delete this;
    if (!failure.isEmpty())
        listener->error(QStringLiteral("Reply parsing failed: %1").arg(failure));
    else if (isError)
        listener->error(errorText);
    else
        listener->success(args);
}

void IncomingReply::timerEvent(QTimerEvent *event)
{
    if (event->timerId() != m_timerId) {
        ChunkedMessageReceiver::timerEvent(event);
        return;
    }
    if (m_ipc)
        m_ipc->forgetReceiver(unsigned(m_ipc->appId()), m_transId);
    stopTimeout();
    ResponseListener<ArgumentList> *listener = m_listener;
    delete this;
    listener->error(QStringLiteral("Call timeout"));
}

// ---- event-driven connect ----

namespace {

class ConnectingHandshake : public IPCHandshake
{
public:
    ConnectingHandshake(const ClientData &data, AsyncMessageChannel *channel,
                        ResponseListener<AsyncIPC *> *listener)
        : IPCHandshake(data, channel, 10000), m_listener(listener)
    {}

    void finished(const FunctionCallResult<ClientData> &result) override
    {
        if (result.isError()) {
            m_listener->error(result.error);
            return;
        }
        m_listener->success(new AsyncIPC(channel(), result.value, nullptr, nullptr));
    }

private:
    ResponseListener<AsyncIPC *> *m_listener;
};

} // namespace

void AsyncIPC::connectTo(const QString &host, quint16 port, const ClientData &data,
                         ResponseListener<AsyncIPC *> *listener)
{
    const FunctionCallResult<MessageChannel *> channel = TCPMessageChannel::connectTo(host, port);
    if (channel.isError()) {
        listener->error(channel.error);
        return;
    }
    connectTo(channel.value, data, listener);
}

void AsyncIPC::connectTo(AsyncMessageChannel *channel, const ClientData &data,
                         ResponseListener<AsyncIPC *> *listener)
{
    (new ConnectingHandshake(data, channel, listener))->start();
}

} // namespace Tolvex
