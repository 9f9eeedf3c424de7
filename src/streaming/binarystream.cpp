#include "binarystream.h"

namespace Tolvex {

void BinaryStream::sendNextSegment(const QByteArray &segment)
{
    Q_EMIT nextSegment(segment);
}

void BinaryStreamProducer::sendNextSegment(const QByteArray &segment)
{
    m_bytesSent += quint32(segment.size());
    BinaryStream::sendNextSegment(segment);
}

void BinaryStreamProducer::bytesReceived(uint n)
{
    // A peer that acknowledges more than was sent cannot make the count
    // wrap round and stall the stream for good.
    m_bytesSent = n >= m_bytesSent ? 0 : m_bytesSent - n;
}

} // namespace Tolvex
