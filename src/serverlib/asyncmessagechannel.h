#pragma once

#include "fhostaddress.h"

#include <QByteArray>
#include <QObject>

#include <string>

namespace Tolvex {

// Moves whole byte messages between two endpoints. Every message carries a
// 4-byte size prefix at its start, which the producer leaves spare and the
// channel fills in; receivers get the frame with the prefix still in it.
class AsyncMessageChannel : public QObject
{
    Q_OBJECT
public:
    static constexpr int MessagePrefixLength = 4;

    explicit AsyncMessageChannel(QObject *parent = nullptr) : QObject(parent) {}

    virtual std::string debugName() const = 0;
    virtual FHostAddress peerAddress() const = 0;
    virtual quint16 peerPort() const = 0;
    virtual bool isOpen() const = 0;
    virtual bool enqueueMessage(QByteArray message) = 0;
    virtual void close() = 0;

Q_SIGNALS:
    void messageArrived(QByteArray message);
    // The connection ended by itself; a deliberate close() is silent.
    void channelClosed();
};

} // namespace Tolvex
