#include "directmessagechannel.h"

namespace Tolvex {

std::pair<DirectMessageChannel *, DirectMessageChannel *> DirectMessageChannel::channelPair()
{
    auto *a = new DirectMessageChannel;
    auto *b = new DirectMessageChannel;
    a->m_other = b;
    b->m_other = a;
    return {a, b};
}

bool DirectMessageChannel::enqueueMessage(QByteArray message)
{
    if (!m_other)
        return false;
    Q_EMIT m_other->messageArrived(message);
    return true;
}

} // namespace Tolvex
