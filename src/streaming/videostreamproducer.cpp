#include "videostreamproducer.h"

#include <QTimerEvent>

#include <cmath>
#include <exception>
#include <limits>

namespace Tolvex::Video {

VideoStreamProducer::VideoStreamProducer(QObject *parent) : BinaryStreamProducer(parent)
{
    setMaxBytesInFlight(DefaultMaxBytesInFlight);
    m_sinceUpdate.start();
    m_keepAliveTimerId = startTimer(KeepAliveMs, Qt::CoarseTimer);
}

FunctionCallResult<void> VideoStreamProducer::configure(const QMap<QString, QVariant> &options)
{
    const auto limit = options.constFind(QStringLiteral("fpsLimit"));
    if (limit == options.cend())
        return {};
    bool ok = false;
    const double fps = limit->toDouble(&ok);
    if (!ok)
        return FunctionCallResult<void>::failure(QStringLiteral("The fpsLimit must be a number"));
    if (std::isnan(fps) || fps < 0)
        return FunctionCallResult<void>::failure(
            QStringLiteral("The fpsLimit must be a positive number"));
    // 0 makes the delay infinite, which as an int is the lowest one: no
    // pacing at all.
    const double delay = 1000.0 / fps;
    m_frameDelayMs = delay >= double(std::numeric_limits<int>::max())
                         ? std::numeric_limits<int>::min()
                         : int(delay);
    return {};
}

bool VideoStreamProducer::canSendUpdate() const
{
    return canSendMore() && m_updateTimerId == 0 && !m_closed && !m_paused;
}

void VideoStreamProducer::markDirty()
{
    m_dirty = true;
    scheduleUpdate();
}

void VideoStreamProducer::scheduleUpdate()
{
    if (!canSendUpdate() || !m_dirty)
        return;
    const qint64 elapsed = m_sinceUpdate.elapsed();
    if (elapsed < m_frameDelayMs) {
        m_updateTimerId = startTimer(int(m_frameDelayMs - elapsed), Qt::CoarseTimer);
        return;
    }
    const int elapsedMs = int(m_sinceUpdate.restart());
    if (!closesOnFailure([&] { sendUpdate(elapsedMs); }))
        return;
    Q_EMIT updated();
    m_dirty = false;
}

void VideoStreamProducer::sendNoop(int) {}

bool VideoStreamProducer::closesOnFailure(const std::function<void()> &step)
{
    try {
        step();
        return true;
    } catch (const std::exception &e) {
        closeStream(Failure, QString::fromLocal8Bit(e.what()));
        return false;
    }
}

void VideoStreamProducer::timerEvent(QTimerEvent *event)
{
    if (event->timerId() == m_updateTimerId) {
        killTimer(m_updateTimerId);
        m_updateTimerId = 0;
        scheduleUpdate();
        return;
    }
    if (event->timerId() == m_keepAliveTimerId) {
        if (m_sinceUpdate.elapsed() > 1000 && canSendUpdate()) {
            const int elapsedMs = int(m_sinceUpdate.restart());
            closesOnFailure([&] { sendNoop(elapsedMs); });
        }
        return;
    }
    BinaryStreamProducer::timerEvent(event);
}

void VideoStreamProducer::pause()
{
    m_paused = true;
    if (m_updateTimerId) {
        killTimer(m_updateTimerId);
        m_updateTimerId = 0;
    }
}

void VideoStreamProducer::resume()
{
    m_paused = false;
    scheduleUpdate();
}

void VideoStreamProducer::stop()
{
    if (m_keepAliveTimerId) {
        killTimer(m_keepAliveTimerId);
        m_keepAliveTimerId = 0;
    }
    closeStream(NormalStop, QStringLiteral("Stream stopped"));
}

void VideoStreamProducer::bytesReceived(uint n)
{
    BinaryStreamProducer::bytesReceived(n);
    scheduleUpdate();
}

void VideoStreamProducer::closeStream(uint code, const QString &reason)
{
    if (m_closed)
        return;
    m_closed = true;
    if (m_updateTimerId) {
        killTimer(m_updateTimerId);
        m_updateTimerId = 0;
    }
    Q_EMIT closed(code, reason);
}

} // namespace Tolvex::Video
