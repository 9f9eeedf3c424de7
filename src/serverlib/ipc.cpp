#include "ipc.h"

#include "ipchandshake.h"
#include "logging.h"
#include "tcpmessagechannel.h"

#include <QElapsedTimer>
#include <QPointer>

#include <climits>

namespace Tolvex {

namespace {

constexpr int HandshakeTimeoutMs = 10000;

// Stores the first value of a reply, for call().
class ValueListener : public ResponseListener<ArgumentList>
{
public:
    void response(FunctionCallResult<ArgumentList> result) override
    {
        if (result.isError()) {
            qCDebug(lcIpc) << "Error during call:" << result.error;
            value = QVariant();
            return;
        }
        // An empty reply has no first value.
        value = result.value.isEmpty() ? QVariant() : result.value.first();
    }
    QVariant value;
};

// Stores the whole result, for callFunc().
class ResultListener : public ResponseListener<ArgumentList>
{
public:
    void response(FunctionCallResult<ArgumentList> r) override { result = std::move(r); }
    FunctionCallResult<ArgumentList> result =
        FunctionCallResult<ArgumentList>::failure(QStringLiteral("Not executed yet"));
};

} // namespace

IPC::IPC(MessageChannel *channel, const ClientData &data, IPCResponseHandlerIface *handler,
         QObject *parent)
    : AsyncIPC(channel, data, handler, parent), m_messageChannel(channel)
{}

FunctionCallResult<IPC *> IPC::connectTo(const QString &host, quint16 port, const ClientData &data)
{
    const FunctionCallResult<MessageChannel *> channel = TCPMessageChannel::connectTo(host, port);
    if (channel.isError())
        return FunctionCallResult<IPC *>(nullptr, channel.error);
    return connectTo(channel.value, data);
}

FunctionCallResult<IPC *> IPC::connectTo(const SocketAddress &address, const ClientData &data)
{
    return connectTo(address.host, address.port, data);
}

FunctionCallResult<IPC *> IPC::connectTo(MessageChannel *channel, const ClientData &data)
{
    const FunctionCallResult<ClientData> shake =
        IPCHandshake::synchronous(data, channel, HandshakeTimeoutMs);
    if (shake.isError()) {
        channel->close();
        channel->deleteLater();
        return FunctionCallResult<IPC *>(nullptr, shake.error);
    }
    return FunctionCallResult<IPC *>(new IPC(channel, shake.value, nullptr, nullptr));
}

FunctionCallResult<void> IPC::awaitAsyncCall(int id, bool *timedOut, bool keepQueued)
{
    if (timedOut)
        *timedOut = false;
    ++m_depth;
    m_inCall = m_depth > 0;
    QPointer<IPC> guard(this);
    QElapsedTimer timer;
    timer.start();
    for (;;) {
        if (isCallCompleted(id)) {
            --m_depth;
            m_inCall = m_depth > 0;
            if (!keepQueued)
                m_messageChannel->dispatchMessages();
            return {};
        }
        const qint64 remaining = qint64(getResponseTimeout()) * 1000 - timer.elapsed();
        if (remaining < 1) {
            qCDebug(lcIpc) << "response timeout reached during call, aborting";
            if (timedOut)
                *timedOut = true;
            return FunctionCallResult<void>(QStringLiteral("Call timed out"));
        }
        if (!m_inCall || !isOpen()) {
            m_depth = 0;
            qCDebug(lcIpc) << "error during call";
            return FunctionCallResult<void>(QStringLiteral("Connection closed"));
        }
        const FunctionCallResult<QByteArray> wait =
            m_messageChannel->waitForSingleMessage(int(qMin<qint64>(remaining, INT_MAX)));
        if (!guard)
            return FunctionCallResult<void>(QStringLiteral("Connection closed"));
        if (wait.isError())
            return FunctionCallResult<void>(wait.error);
    }
}

QVariant IPC::callImpl(unsigned destination, const QString &function, const ArgumentList &args,
                       bool *timedOut, bool keepQueued)
{
    ValueListener listener;
    const int id = asyncCall(destination, function, args, &listener, -1);
    qCDebug(lcIpc) << "expectId" << id;
    if (id < 0)
        return QVariant();
    QPointer<IPC> guard(this);
    const FunctionCallResult<void> waited = awaitAsyncCall(id, timedOut, keepQueued);
    if (waited.isError()) {
        // The listener is about to leave the stack: it must never be called.
        if (guard)
            cancelAsyncCall(id);
        return QVariant();
    }
    return listener.value;
}

FunctionCallResult<ArgumentList> IPC::callFuncImpl(unsigned destination, const QString &function,
                                                   const ArgumentList &args, bool keepQueued)
{
    ResultListener listener;
    const int id = asyncCall(destination, function, args, &listener, -1);
    if (id < 0)
        return listener.result;
    QPointer<IPC> guard(this);
    const FunctionCallResult<void> waited = awaitAsyncCall(id, nullptr, keepQueued);
    if (waited.isError()) {
        if (guard)
            cancelAsyncCall(id);
        return FunctionCallResult<ArgumentList>(ArgumentList(), waited.error);
    }
    return listener.result;
}

QVariant IPC::call(const QString &function, const ArgumentList &args, bool *timedOut,
                   bool keepQueued)
{
    return callImpl(ServerAddress, function, args, timedOut, keepQueued);
}

QVariant IPC::call(unsigned destination, const QString &function, const ArgumentList &args,
                   bool *timedOut)
{
    return callImpl(destination, function, args, timedOut, false);
}

FunctionCallResult<ArgumentList> IPC::callFunc(const QString &function, const ArgumentList &args,
                                               bool keepQueued)
{
    return callFuncImpl(ServerAddress, function, args, keepQueued);
}

FunctionCallResult<ArgumentList> IPC::callFunc(unsigned destination, const QString &function,
                                               const ArgumentList &args)
{
    return callFuncImpl(destination, function, args, false);
}

bool IPC::dispatchMessages()
{
    return m_messageChannel->dispatchMessages();
}

FunctionCallResult<QByteArray> IPC::waitForSingleMessage(int timeoutMs)
{
    return m_messageChannel->waitForSingleMessage(timeoutMs);
}

} // namespace Tolvex
