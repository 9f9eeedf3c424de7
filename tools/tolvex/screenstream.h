#pragma once

// The tool's end of a screen stream: opened in the application, its segments
// read as they come, either as rectangle updates or as H.264, into pictures
// of the desktop. What has been read is acknowledged, so the application
// sends more; a test can hold the acknowledgements back to see the agent
// stop at its limit.

#include "h264streamreader.h"
#include "rleupdatedecoder.h"

#include "functioncallresult.h"

#include <QElapsedTimer>
#include <QImage>
#include <QObject>
#include <QVariantMap>

#include <memory>

namespace Tolvex {

class RemoteApplication;

class ScreenStream : public QObject
{
    Q_OBJECT
public:
    // Asks the application for a stream in one of the allowed formats
    // (1 rectangle updates, 2 H.264), and configures it with options.
    static FunctionCallResult<std::shared_ptr<ScreenStream>>
    open(RemoteApplication &application, uint allowedFormats, const QVariantMap &options = {});
    ~ScreenStream() override;

    uint id() const { return m_id; }
    uint format() const { return m_format; }

    FunctionCallResult<void> configure(const QVariantMap &options);
    void pause();
    void resume();
    void stop();

    // On by default. Off, segments are still read, but the application
    // hears of them only through acknowledge().
    void setAutoAcknowledge(bool on) { m_autoAcknowledge = on; }
    void acknowledge(quint32 bytes);
    quint64 bytesReceived() const { return m_bytes; }
    quint64 bytesUnacknowledged() const { return m_bytes - m_acknowledged; }
    int segments() const { return m_segments; }

    bool isClosed() const { return m_closed; }
    uint closeCode() const { return m_closeCode; }
    QString closeReason() const { return m_closeReason; }
    // A stream whose bytes could not be read; the error says why.
    QString readError() const { return m_readError; }

    // The desktop as the stream has drawn it so far, and how many pictures
    // came: updates of a rectangle stream, decoded frames of H.264.
    QImage frame() const { return m_frame; }
    int frames() const { return m_frames; }
    // The stream's time of the last picture, in milliseconds since its first.
    qint64 frameTimeMs() const { return m_timeMs; }
    // The desktop's top left corner in the stream's pictures.
    QPoint origin() const;

Q_SIGNALS:
    void frameReady();
    void closed(uint code, const QString &reason);

private:
    ScreenStream(RemoteApplication &application, uint id, uint format);
    void segmentArrived(const QByteArray &bytes);
    void streamClosed(uint code, const QString &reason);

    RemoteApplication *m_application;
    uint m_id;
    uint m_format;
    bool m_autoAcknowledge = true;
    quint64 m_bytes = 0;
    quint64 m_acknowledged = 0;
    int m_segments = 0;
    bool m_closed = false;
    uint m_closeCode = 0;
    QString m_closeReason;
    QString m_readError;
    RleUpdateDecoder m_rle;
    std::unique_ptr<Video::H264StreamReader> m_h264;
    QImage m_frame;
    int m_frames = 0;
    qint64 m_timeMs = 0;
    QElapsedTimer m_clock;
};

} // namespace Tolvex
