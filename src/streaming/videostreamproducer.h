#pragma once

// A producer of picture updates with pacing: it sends an update when
// something changed, no sooner than its frame delay after the last one,
// never with more than its limit of bytes unacknowledged, and not while it
// is paused or closed. A keep-alive timer lets codecs whose time must go on
// send something when nothing changes.

#include "binarystream.h"

#include <QElapsedTimer>

#include <functional>

namespace Tolvex::Video {

class TOLVEX_EXPORT VideoStreamProducer : public BinaryStreamProducer
{
    Q_OBJECT
public:
    static constexpr int DefaultFrameDelayMs = 50;
    static constexpr quint32 DefaultMaxBytesInFlight = 0xA00000;
    static constexpr int KeepAliveMs = 500;

    explicit VideoStreamProducer(QObject *parent = nullptr);

    // "fpsLimit": updates a second at most; 0 lifts the limit.
    FunctionCallResult<void> configure(const QMap<QString, QVariant> &options) override;
    void pause() override;
    void resume() override;
    void stop() override;
    void bytesReceived(uint n) override;

    int frameDelayMs() const { return m_frameDelayMs; }
    bool isClosed() const { return m_closed; }
    bool isPaused() const { return m_paused; }
    bool isDirty() const { return m_dirty; }
    bool canSendUpdate() const;

    // Something changed: an update goes out as soon as pacing allows.
    void markDirty();

Q_SIGNALS:
    void updated();

protected:
    // One update, elapsedMs after the last one. A std::exception from it
    // closes the stream with code 3 and its text.
    virtual void sendUpdate(int elapsedMs) = 0;
    // Sent by the keep-alive timer when nothing changed for a second.
    virtual void sendNoop(int elapsedMs);
    void scheduleUpdate();
    // Runs a step of the codec or the capture: a std::exception from it
    // closes the stream with code 3 and its text, and gives false.
    bool closesOnFailure(const std::function<void()> &step);
    // Once: no more updates, and closed() with the code and reason.
    // Coders override it to finish what they hold first.
    virtual void closeStream(uint code, const QString &reason);
    void timerEvent(QTimerEvent *event) override;

private:
    int m_frameDelayMs = DefaultFrameDelayMs;
    int m_updateTimerId = 0;
    int m_keepAliveTimerId = 0;
    QElapsedTimer m_sinceUpdate;
    bool m_closed = false;
    bool m_paused = false;
    bool m_dirty = true;
};

} // namespace Tolvex::Video
