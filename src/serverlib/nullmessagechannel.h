#pragma once

#include "messagechannel.h"

namespace Tolvex {

// A channel that is never connected: the agent runs on it when no server is
// there, and everything sent into it is refused.
class NullMessageChannel : public MessageChannel
{
    Q_OBJECT
public:
    using MessageChannel::MessageChannel;

    std::string debugName() const override { return "NULL()"; }
    FHostAddress peerAddress() const override { return FHostAddress(0); }
    quint16 peerPort() const override { return 0; }
    bool isOpen() const override { return false; }
    bool enqueueMessage(QByteArray) override { return false; }
    void close() override {}
    quint16 localPort() const override { return 0; }
    FHostAddress localAddress() const override { return FHostAddress(0); }
    FunctionCallResult<QByteArray> waitForSingleMessage(int) override
    {
        return FunctionCallResult<QByteArray>::failure(QStringLiteral("Channel not connected"));
    }
    bool dispatchMessages() override { return false; }
};

} // namespace Tolvex
