#include "binarytransmission.h"

#include "binarystream.h"
#include "hook.h"

namespace Tolvex {

BinaryTransmission::BinaryTransmission(BinaryStream *stream, Hook *hook, unsigned peer, unsigned id)
    : QObject(hook), m_hook(hook), m_stream(stream), m_peer(peer), m_id(id)
{
    stream->setParent(this);
    connect(stream, &BinaryStream::nextSegment, this, &BinaryTransmission::nextSegmentReady);
    connect(stream, &BinaryStreamControl::closed, this, &BinaryTransmission::closed);
}

void BinaryTransmission::nextSegmentReady(const QByteArray &segment)
{
    m_hook->send(m_peer, QStringLiteral("binaryStreamSegment"), {m_hook->ownId(), m_id, segment});
}

void BinaryTransmission::closed(uint code, const QString &reason)
{
    if (m_stream) {
        disconnect(m_stream, nullptr, this, nullptr);
        m_stream = nullptr;
    }
    m_hook->send(m_peer, QStringLiteral("binaryStreamClosed"),
                 {m_hook->ownId(), m_id, code, reason});
    // The Hook forgets this transmission and deletes it later, with the
    // stream, which may still be on the stack.
    m_hook->binaryStreamClosed(m_id);
}

} // namespace Tolvex
