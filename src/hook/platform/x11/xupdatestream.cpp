#include "xupdatestream.h"

#include "binarystream.h"
#include "x11logging.h"
#include "xdamagewatch.h"

#include <QSocketNotifier>
#include <QTimer>

#include <cstring>
#include <stdexcept>

namespace Tolvex {

namespace {

// Past this many rectangles an update reads their bounding box instead:
// one round trip to the server instead of hundreds.
constexpr int MaxRectangles = 64;

QRect toRect(const XRectangleArea &area)
{
    return {area.x, area.y, area.width, area.height};
}

} // namespace

XUpdateStream::XUpdateStream(std::unique_ptr<XDamageWatch> watch, QObject *parent)
    : VideoStreamProducer(parent), m_watch(std::move(watch))
{
    m_notifier = new QSocketNotifier(m_watch->fileDescriptor(), QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &XUpdateStream::readDamage);
    // The first update is the whole screen, as soon as the loop runs.
    QTimer::singleShot(0, this, &XUpdateStream::markDirty);
}

XUpdateStream::~XUpdateStream() = default;

bool XUpdateStream::collectDamage()
{
    std::vector<XRectangleArea> areas;
    m_watch->takeDamage(&areas);
    for (const XRectangleArea &area : areas)
        m_damaged += toRect(area);
    return !areas.empty();
}

void XUpdateStream::readDamage()
{
    if (!isClosed() && collectDamage())
        markDirty();
}

void XUpdateStream::sendUpdate(int elapsedMs)
{
    collectDamage();
    const auto [width, height] = m_watch->rootSize();
    const QRect bounds(0, 0, width, height);
    if (bounds != m_bounds) {
        if (bounds.isEmpty())
            throw std::runtime_error("The screen has no size");
        m_bounds = bounds;
        m_desktop = QImage(bounds.size(), QImage::Format_RGB32);
        if (m_desktop.isNull())
            throw std::runtime_error("Out of memory for a picture of the screen");
        m_desktop.fill(Qt::black);
        m_damaged = bounds;
        boundsChanged(bounds);
    }
    const QRegion damaged = m_damaged & m_bounds;
    m_damaged = QRegion();
    QList<QRect> rectangles;
    if (damaged.rectCount() > MaxRectangles)
        rectangles.append(damaged.boundingRect());
    else
        rectangles = QList<QRect>(damaged.begin(), damaged.end());
    for (const QRect &rect : std::as_const(rectangles)) {
        CapturedPixels pixels;
        std::string error;
        if (!m_watch->capture().grab({rect.x(), rect.y(), rect.width(), rect.height()}, &pixels,
                                     &error))
            throw std::runtime_error("Reading the screen failed: " + error);
        uchar *target = m_desktop.scanLine(rect.y()) + rect.x() * 4;
        for (int row = 0; row < pixels.height; ++row)
            std::memcpy(target + row * m_desktop.bytesPerLine(),
                        pixels.data + row * pixels.bytesPerLine, size_t(pixels.width) * 4);
        if (pixels.release)
            pixels.release(pixels.context);
    }
    if (!rectangles.isEmpty())
        sendRectangles(elapsedMs, rectangles);
    // Reading the pixels may have queued damage behind the socket's back:
    // the notifier would not see it until something else arrived.
    if (m_watch->hasQueuedEvents())
        QTimer::singleShot(0, this, &XUpdateStream::readDamage);
}

void XUpdateStream::closeStream(uint code, const QString &reason)
{
    if (m_notifier)
        m_notifier->setEnabled(false);
    VideoStreamProducer::closeStream(code, reason);
}

XRleUpdateStream::XRleUpdateStream(std::unique_ptr<XDamageWatch> watch, QObject *parent)
    : XUpdateStream(std::move(watch), parent), m_coder(this)
{
    setFormat(RleStream);
}

void XRleUpdateStream::boundsChanged(const QRect &bounds)
{
    m_coder.boundsChanged(bounds, 1.0f, 1.0f);
}

void XRleUpdateStream::sendRectangles(int elapsedMs, const QList<QRect> &rectangles)
{
    m_coder.startUpdate(uint(elapsedMs), {}, rectangles);
    const auto *pixels = reinterpret_cast<const uint32_t *>(desktop().constBits());
    const uint stride = uint(desktop().bytesPerLine() / 4);
    for (const QRect &rect : rectangles)
        m_coder.updateChunk(rect, pixels + rect.y() * stride + rect.x(), stride);
    m_coder.updateDone();
}

XH264UpdateStream::XH264UpdateStream(std::unique_ptr<XDamageWatch> watch, QObject *parent)
    : XUpdateStream(std::move(watch), parent), m_producer(this)
{
    setFormat(H264Stream);
}

XH264UpdateStream::~XH264UpdateStream()
{
    closeStream(NormalStop, QStringLiteral("AUT exited"));
}

void XH264UpdateStream::boundsChanged(const QRect &bounds)
{
    // What the old coder holds goes out before the new size starts.
    if (m_compressor)
        m_compressor->finish();
    m_compressor = std::make_unique<Video::RGBCompressor>(bounds.size());
    m_compressor->start(this);
    m_sendParameters = true;
}

void XH264UpdateStream::sendRectangles(int elapsedMs, const QList<QRect> &)
{
    m_timeMs += elapsedMs;
    m_compressor->appendFrame(desktop().constBits(), int(desktop().bytesPerLine()), m_timeMs);
}

void XH264UpdateStream::sendNoop(int elapsedMs)
{
    if (!m_compressor)
        return;
    m_timeMs += elapsedMs;
    m_compressor->repeatFrame(m_timeMs);
}

void XH264UpdateStream::appendPacket(AVPacket *packet)
{
    if (m_sendParameters) {
        m_sendParameters = false;
        m_producer.sendParameters(1.0f, 1.0f, m_compressor->parameters());
    }
    m_producer.appendPacket(packet);
}

void XH264UpdateStream::closeStream(uint code, const QString &reason)
{
    if (isClosed())
        return;
    if (m_compressor) {
        try {
            m_compressor->finish();
        } catch (const std::exception &e) {
            qCWarning(lcX11) << "Finishing the video failed:" << e.what();
        }
        m_compressor.reset();
    }
    XUpdateStream::closeStream(code, reason);
}

XUpdateStream *createXUpdateStream(const std::string &displayName, uint allowedFormats,
                                   std::string *error)
{
    if (!(allowedFormats & (RleStream | H264Stream))) {
        *error = "None of the allowed formats is supported";
        return nullptr;
    }
    std::unique_ptr<XDamageWatch> watch = XDamageWatch::open(displayName, error);
    if (!watch)
        return nullptr;
    if (allowedFormats & RleStream)
        return new XRleUpdateStream(std::move(watch));
    return new XH264UpdateStream(std::move(watch));
}

} // namespace Tolvex
