#include "ipchandshake.h"

#include "messagechannel.h"
#include "messageheader.h"

#include <QDataStream>
#include <QIODevice>
#include <QPointer>
#include <QTimerEvent>

namespace Tolvex {

namespace {

// The handshake and the call bodies use this stream version (Qt 3.3).
constexpr int HandshakeStreamVersion = 6;
constexpr int MinimumHandshakeSize = 28;

QByteArray pingFrame()
{
    MessageHeader ping;
    ping.destination = 0xFFFFFFFF;
    ping.msgType = PingMessage;
    return ping.toFrame();
}

} // namespace

IPCHandshake::IPCHandshake(const ClientData &data, AsyncMessageChannel *channel, int timeoutMs,
                           QObject *parent)
    : QObject(parent), m_data(data), m_channel(channel), m_timeoutMs(timeoutMs)
{}

IPCHandshake::~IPCHandshake() = default;

QString IPCHandshake::versionString(quint32 version)
{
    return QStringLiteral("%1.%2.%3")
        .arg((version >> 24) & 0xff, 0, 16)
        .arg((version >> 16) & 0xff, 0, 16)
        .arg((version >> 8) & 0xff, 0, 16);
}

bool IPCHandshake::sendHandshake(AsyncMessageChannel *channel, const ClientData &data)
{
    return sendHandshake(channel, FunctionCallResult<ClientData>(data));
}

bool IPCHandshake::sendHandshake(AsyncMessageChannel *channel,
                                 const FunctionCallResult<ClientData> &data)
{
    if (!channel)
        return false;
    QByteArray message;
    {
        QDataStream out(&message, QIODevice::WriteOnly);
        out.setVersion(HandshakeStreamVersion);
        out.writeRawData("\0\0\0\0", AsyncMessageChannel::MessagePrefixLength);
        out << qint32(ProtocolIdentification) << qint32(OwnVersion) << qint32(MinimumVersion);
        if (data.isError()) {
            out << qint32(1) << data.error;
        } else {
            out << qint32(0) << qint32(data.value.appId) << qint32(data.value.runnerId)
                << qint32(data.value.clientKind) << data.value.clientName;
        }
    }
    if (!channel->enqueueMessage(message))
        return false;
    return channel->enqueueMessage(pingFrame());
}

FunctionCallResult<ClientData> IPCHandshake::processHanshake(const QByteArray &message)
{
    using Result = FunctionCallResult<ClientData>;
    if (message.size() < MinimumHandshakeSize)
        return Result::failure(QStringLiteral("Protocol error: handshake header too short"));

    QDataStream in(message);
    in.setVersion(HandshakeStreamVersion);
    in.skipRawData(AsyncMessageChannel::MessagePrefixLength);
    qint32 identification = -1;
    in >> identification;
    if (identification != ProtocolIdentification)
        return Result::failure(QStringLiteral("Protocol error: invalid protocol identification"));

    qint32 peerVersion = 0;
    qint32 peerMinimum = 0;
    in >> peerVersion >> peerMinimum;
    if (quint32(peerVersion) < MinimumVersion)
        return Result::failure(
            QStringLiteral("Incompatible protocol versions. Remote side is "
                           "version %1 but we need at least %2")
                .arg(versionString(quint32(peerVersion)), versionString(MinimumVersion)));
    if (!(quint32(peerMinimum) < OwnVersion + 1))
        return Result::failure(
            QStringLiteral("Incompatible protocol versions. We are version "
                           "%1 but remote side expects at least %2")
                .arg(versionString(OwnVersion), versionString(quint32(peerMinimum))));

    qint32 errorFlag = 0;
    in >> errorFlag;
    if (errorFlag != 0) {
        QString text;
        in >> text;
        return Result::failure(text);
    }
    // A message truncated inside the name parses with the stream's defaults.
    ClientData data;
    in >> data.appId >> data.runnerId >> data.clientKind >> data.clientName;
    return Result(data);
}

FunctionCallResult<ClientData> IPCHandshake::synchronous(const ClientData &data,
                                                         MessageChannel *channel, int timeoutMs)
{
    using Result = FunctionCallResult<ClientData>;
    if (!sendHandshake(channel, data))
        return Result::failure(QStringLiteral("Connection closed while sending handshake"));
    const FunctionCallResult<QByteArray> reply = channel->waitForSingleMessage(timeoutMs);
    if (reply.isError())
        return Result::failure(QStringLiteral("%1 during handshake").arg(reply.error));
    return processHanshake(reply.value);
}

void IPCHandshake::start()
{
    // Listen before sending: on an in-process channel the answer arrives
    // inside the send itself.
    QPointer<IPCHandshake> guard(this);
    connect(m_channel, &AsyncMessageChannel::messageArrived, this, &IPCHandshake::onMessageArrived);
    connect(m_channel, &AsyncMessageChannel::channelClosed, this, &IPCHandshake::onChannelClosed);
    m_timerId = startTimer(m_timeoutMs, Qt::CoarseTimer);
    if (!sendHandshake(m_channel, m_data) && guard)
        done(FunctionCallResult<ClientData>::failure(
            QStringLiteral("Connection closed when sending handshake")));
}

void IPCHandshake::startDelayed(int ms)
{
    m_delayTimerId = startTimer(ms, Qt::CoarseTimer);
}

void IPCHandshake::timerEvent(QTimerEvent *event)
{
    if (event->timerId() == m_delayTimerId) {
        killTimer(m_delayTimerId);
        m_delayTimerId = -1;
        start();
    } else if (event->timerId() == m_timerId) {
        done(FunctionCallResult<ClientData>::failure(QStringLiteral("Handshake timeout")));
    } else {
        QObject::timerEvent(event);
    }
}

void IPCHandshake::onMessageArrived(const QByteArray &message)
{
    done(processHanshake(message));
}

void IPCHandshake::onChannelClosed()
{
    done(FunctionCallResult<ClientData>::failure(
        QStringLiteral("Connection closed during handshake")));
}

void IPCHandshake::done(const FunctionCallResult<ClientData> &result)
{
    // Only the first outcome counts: the ping frame behind the answer, or a
    // close that follows a refusal, must not finish the handshake again.
    if (m_done)
        return;
    m_done = true;
    if (m_timerId >= 0) {
        killTimer(m_timerId);
        m_timerId = -1;
    }
    if (m_channel)
        disconnect(m_channel, nullptr, this, nullptr);
    finished(result);
    Q_EMIT finished(m_channel, result);
    deleteLater();
}

void IPCHandshake::finished(const FunctionCallResult<ClientData> &) {}

} // namespace Tolvex
