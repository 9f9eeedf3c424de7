#pragma once

#include "asyncmessagechannel.h"
#include "clientdata.h"
#include "functioncallresult.h"

#include <QObject>

namespace Tolvex {

class MessageChannel;

// The connecting side of the handshake: one message each way proves that both
// ends speak a compatible protocol and gives the client its address.
class IPCHandshake : public QObject
{
    Q_OBJECT
public:
    static constexpr qint32 ProtocolIdentification = 0;
    static constexpr quint32 OwnVersion = 0x070100F0;
    static constexpr quint32 MinimumVersion = 0x070000A0;

    IPCHandshake(const ClientData &data, AsyncMessageChannel *channel, int timeoutMs,
                 QObject *parent = nullptr);
    ~IPCHandshake() override;

    // Event-driven form: sends, then waits for the answer on the channel's
    // signals. finished() is emitted once, then the object deletes itself.
    void start();
    void startDelayed(int ms);
    AsyncMessageChannel *channel() const { return m_channel; }

    // Sends the handshake message followed by a ping frame.
    static bool sendHandshake(AsyncMessageChannel *channel,
                              const FunctionCallResult<ClientData> &data);
    static bool sendHandshake(AsyncMessageChannel *channel, const ClientData &data);
    static FunctionCallResult<ClientData> processHanshake(const QByteArray &message);
    // Blocking form: sends and waits on the channel without an event loop.
    static FunctionCallResult<ClientData> synchronous(const ClientData &data,
                                                      MessageChannel *channel, int timeoutMs);

    // "7.1.0" for 0x070100F0: the low byte does not show.
    static QString versionString(quint32 version);

    virtual void finished(const FunctionCallResult<ClientData> &result);

Q_SIGNALS:
    void finished(Tolvex::AsyncMessageChannel *channel,
                  Tolvex::FunctionCallResult<Tolvex::ClientData> result);

protected:
    void timerEvent(QTimerEvent *event) override;

private Q_SLOTS:
    void onMessageArrived(const QByteArray &message);
    void onChannelClosed();

private:
    void done(const FunctionCallResult<ClientData> &result);

    ClientData m_data;
    AsyncMessageChannel *m_channel;
    int m_timeoutMs;
    int m_timerId = -1;
    int m_delayTimerId = -1;
    bool m_done = false;
};

} // namespace Tolvex

Q_DECLARE_METATYPE(Tolvex::FunctionCallResult<Tolvex::ClientData>)
