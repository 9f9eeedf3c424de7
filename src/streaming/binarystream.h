#pragma once

// A long run of opaque byte segments from the agent to a peer, beside the
// ordinary calls, with flow control in the other direction: the peer says
// how many bytes it has consumed, and a producer keeps at most so many in
// flight.

#include "functioncallresult.h"
#include "tolvexexport.h"

#include <QByteArray>
#include <QMap>
#include <QObject>
#include <QString>
#include <QVariant>

namespace Tolvex {

// What a stream's segments hold.
enum ScreenRecordFormat : quint32 { RleStream = 1, H264Stream = 2, Mp4File = 4 };

// How a stream ended: its code in closed().
enum TerminationCode : quint32 { NormalStop = 0, Failure = 3 };

class TOLVEX_EXPORT BinaryStreamControl : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;
    virtual FunctionCallResult<void> configure(const QMap<QString, QVariant> &options) = 0;
    virtual void pause() = 0;
    virtual void resume() = 0;
    virtual void stop() = 0;

Q_SIGNALS:
    void closed(uint code, const QString &reason);
};

class TOLVEX_EXPORT BinaryStream : public BinaryStreamControl
{
    Q_OBJECT
public:
    using BinaryStreamControl::BinaryStreamControl;

    quint32 format() const { return m_format; }
    void setFormat(quint32 format) { m_format = format; }

    virtual void sendNextSegment(const QByteArray &segment);

Q_SIGNALS:
    void nextSegment(const QByteArray &segment);

private:
    quint32 m_format = 0;
};

class TOLVEX_EXPORT BinaryStreamProducer : public BinaryStream
{
    Q_OBJECT
public:
    using BinaryStream::BinaryStream;

    // Counts the segment as in flight, then hands it on.
    void sendNextSegment(const QByteArray &segment) override;
    // The peer has consumed n bytes.
    virtual void bytesReceived(uint n);
    bool canSendMore() const { return m_bytesSent < m_maxBytesInFlight; }

    quint32 bytesSent() const { return m_bytesSent; }
    quint32 maxBytesInFlight() const { return m_maxBytesInFlight; }
    void setMaxBytesInFlight(quint32 bytes) { m_maxBytesInFlight = bytes; }

private:
    quint32 m_bytesSent = 0;
    quint32 m_maxBytesInFlight = 0;
};

} // namespace Tolvex
