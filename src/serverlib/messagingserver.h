#pragma once

#include "asyncmessagechannel.h"
#include "clientdata.h"

#include <QObject>

namespace Tolvex {

// A server that listens for clients and hands out channels whose handshake
// has succeeded.
class MessagingServer : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

    // Starts listening; false with serverFailed emitted when that is impossible.
    virtual bool start() = 0;

Q_SIGNALS:
    void newChannel(Tolvex::AsyncMessageChannel *channel);
    // The same event with what the client said of itself, as accepted.
    void newClient(Tolvex::AsyncMessageChannel *channel, const Tolvex::ClientData &client);
    void channelRejected(Tolvex::AsyncMessageChannel *channel, QString reason);
    void serverFailed(int error, QString message);
};

} // namespace Tolvex
