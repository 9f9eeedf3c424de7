#pragma once

// One open stream of the agent: it owns the stream, hands each segment to
// the peer that asked for it as "binaryStreamSegment", and tells the peer
// and the Hook once the stream has closed.

#include "binarystream.h"

#include <QByteArray>
#include <QObject>
#include <QPointer>
#include <QString>

namespace Tolvex {

class Hook;

class BinaryTransmission : public QObject
{
    Q_OBJECT
public:
    // Takes the stream, whose parent it becomes; the Hook is its parent.
    BinaryTransmission(BinaryStream *stream, Hook *hook, unsigned peer, unsigned id);

    unsigned id() const { return m_id; }
    unsigned peer() const { return m_peer; }
    // Null once the stream has closed.
    BinaryStream *stream() const { return m_stream; }

private Q_SLOTS:
    void nextSegmentReady(const QByteArray &segment);
    void closed(uint code, const QString &reason);

private:
    Hook *m_hook;
    QPointer<BinaryStream> m_stream;
    unsigned m_peer;
    unsigned m_id;
};

} // namespace Tolvex
