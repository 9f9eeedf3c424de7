#include "ipchandshaker.h"

#include "ipchandshake.h"

#include <QPointer>
#include <QTimerEvent>

namespace Tolvex {

IPCHandshaker::IPCHandshaker(QObject *parent, int timeoutMs)
    : QObject(parent), m_timeoutMs(timeoutMs)
{}

IPCHandshaker::~IPCHandshaker() = default;

void IPCHandshaker::addChannel(AsyncMessageChannel *channel)
{
    connect(channel, &AsyncMessageChannel::messageArrived, this, &IPCHandshaker::onMessageArrived);
    connect(channel, &AsyncMessageChannel::channelClosed, this, &IPCHandshaker::onChannelClosed);
    // A channel deleted by somebody else must not leave a stale entry behind.
    connect(channel, &QObject::destroyed, this,
            [this](QObject *gone) { forget(static_cast<AsyncMessageChannel *>(gone)); });
    m_timers.insert(channel, startTimer(HandshakeTimeoutMs, Qt::CoarseTimer));
}

void IPCHandshaker::forget(AsyncMessageChannel *channel)
{
    const auto it = m_timers.find(channel);
    if (it == m_timers.end())
        return;
    killTimer(it.value());
    m_timers.erase(it);
}

void IPCHandshaker::timerEvent(QTimerEvent *event)
{
    for (auto it = m_timers.cbegin(); it != m_timers.cend(); ++it) {
        if (it.value() == event->timerId()) {
            emitChannelRejected(it.key(), QStringLiteral("Handshake timeout"));
            return;
        }
    }
    // A timer of a channel that has gone: nothing to do but stop it.
    killTimer(event->timerId());
}

void IPCHandshaker::onChannelClosed()
{
    auto *channel = qobject_cast<AsyncMessageChannel *>(sender());
    if (channel)
        emitChannelRejected(channel, QStringLiteral("Connection closed during handshake"));
}

void IPCHandshaker::onMessageArrived(const QByteArray &message)
{
    auto *channel = qobject_cast<AsyncMessageChannel *>(sender());
    if (!channel || !m_timers.contains(channel))
        return;
    forget(channel);
    disconnect(channel, nullptr, this, nullptr);

    FunctionCallResult<ClientData> reply = IPCHandshake::processHanshake(message);
    if (reply.isSuccess())
        reply = acceptClient(reply.value);

    QPointer<AsyncMessageChannel> guard(channel);
    if (!IPCHandshake::sendHandshake(channel, reply)) {
        if (guard)
            emitChannelRejected(channel, QStringLiteral("Connection closed during handshake"));
        return;
    }
    if (!guard)
        return;
    if (reply.isError())
        emitChannelRejected(channel, reply.error);
    else
        Q_EMIT newChannel(channel, reply.value);
}

void IPCHandshaker::emitChannelRejected(AsyncMessageChannel *channel, const QString &reason)
{
    forget(channel);
    disconnect(channel, nullptr, this, nullptr);
    QPointer<AsyncMessageChannel> guard(channel);
    Q_EMIT channelRejected(channel, reason);
    if (guard) {
        channel->close();
        channel->deleteLater();
    }
}

} // namespace Tolvex
