#pragma once

#include "asyncmessagechannel.h"

#include <QPointer>

#include <utility>

namespace Tolvex {

// One half of an in-process pair: a message enqueued on one half arrives at
// the other at once, on the caller's stack. The size prefix is left unwritten.
class DirectMessageChannel : public AsyncMessageChannel
{
    Q_OBJECT
public:
    static std::pair<DirectMessageChannel *, DirectMessageChannel *> channelPair();

    std::string debugName() const override { return "Direct()"; }
    FHostAddress peerAddress() const override { return FHostAddress(0); }
    quint16 peerPort() const override { return 0; }
    bool isOpen() const override { return !m_other.isNull(); }
    bool enqueueMessage(QByteArray message) override;
    // Forgets the other half; the other half still points here.
    void close() override { m_other = nullptr; }

private:
    DirectMessageChannel() = default;
    // Weak, so that deleting one half never leaves the other dangling.
    QPointer<DirectMessageChannel> m_other;
};

} // namespace Tolvex
