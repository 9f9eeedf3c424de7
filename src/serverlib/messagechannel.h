#pragma once

#include "asyncmessagechannel.h"
#include "functioncallresult.h"

namespace Tolvex {

// A channel that can also be waited on: the blocking call paths use it.
class MessageChannel : public AsyncMessageChannel
{
    Q_OBJECT
public:
    using AsyncMessageChannel::AsyncMessageChannel;

    virtual quint16 localPort() const = 0;
    virtual FHostAddress localAddress() const = 0;
    // Blocks until one message has arrived. The message is also delivered
    // through messageArrived.
    virtual FunctionCallResult<QByteArray> waitForSingleMessage(int timeoutMs) = 0;
    // Delivers everything already buffered or readable, without blocking.
    virtual bool dispatchMessages() = 0;
};

} // namespace Tolvex
