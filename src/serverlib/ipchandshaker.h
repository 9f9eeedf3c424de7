#pragma once

#include "asyncmessagechannel.h"
#include "clientdata.h"
#include "functioncallresult.h"

#include <QHash>
#include <QObject>

namespace Tolvex {

// The accepting side of the handshake, for any number of channels at once.
// A subclass decides in acceptClient whom to let in and under which address.
class IPCHandshaker : public QObject
{
    Q_OBJECT
public:
    static constexpr int HandshakeTimeoutMs = 10000;

    // The timeout is kept for compatibility of the interface; every channel
    // gets HandshakeTimeoutMs.
    IPCHandshaker(QObject *parent, int timeoutMs);
    ~IPCHandshaker() override;

    void addChannel(AsyncMessageChannel *channel);
    int pendingChannelCount() const { return int(m_timers.size()); }

    virtual FunctionCallResult<ClientData> acceptClient(const ClientData &client) = 0;

Q_SIGNALS:
    void newChannel(Tolvex::AsyncMessageChannel *channel, const Tolvex::ClientData &client);
    void channelRejected(Tolvex::AsyncMessageChannel *channel, QString reason);

protected:
    void timerEvent(QTimerEvent *event) override;

private Q_SLOTS:
    void onMessageArrived(const QByteArray &message);
    void onChannelClosed();

private:
    void emitChannelRejected(AsyncMessageChannel *channel, const QString &reason);
    void forget(AsyncMessageChannel *channel);

    [[maybe_unused]] int m_timeoutMs;
    QHash<AsyncMessageChannel *, int> m_timers;
};

} // namespace Tolvex
