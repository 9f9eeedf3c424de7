#pragma once

// Screen streams fed by the X server's own account of what changed: damaged
// rectangles are gathered as they are reported, and an update reads back
// only those from the server. Rectangle update streams send them as they
// are; H.264 streams code the whole desktop kept up to date by them. When
// the screen's size changes the stream starts over at the new size in the
// same stream: a new bounds record, or new parameters before the next
// packet.

#include "compressor.h"
#include "h264streamproducer.h"
#include "rlerectupdatecompressor.h"
#include "videostreamproducer.h"

#include <QImage>
#include <QRegion>

#include <memory>
#include <string>

class QSocketNotifier;

namespace Tolvex {

class XDamageWatch;

class XUpdateStream : public Video::VideoStreamProducer
{
    Q_OBJECT
public:
    ~XUpdateStream() override;

    QRect bounds() const { return m_bounds; }

protected:
    XUpdateStream(std::unique_ptr<XDamageWatch> watch, QObject *parent);

    void sendUpdate(int elapsedMs) override;
    void closeStream(uint code, const QString &reason) override;

    // The desktop has a new size; everything is damaged.
    virtual void boundsChanged(const QRect &bounds) = 0;
    // The changed rectangles, already read into desktop().
    virtual void sendRectangles(int elapsedMs, const QList<QRect> &rectangles) = 0;
    const QImage &desktop() const { return m_desktop; }

private:
    // Adds what the server reported since the last call; true if anything.
    bool collectDamage();
    // The notifier's slot: what changed asks for an update.
    void readDamage();

    std::unique_ptr<XDamageWatch> m_watch;
    QSocketNotifier *m_notifier = nullptr;
    QRect m_bounds;
    QRegion m_damaged;
    QImage m_desktop;
};

class XRleUpdateStream : public XUpdateStream
{
    Q_OBJECT
public:
    explicit XRleUpdateStream(std::unique_ptr<XDamageWatch> watch, QObject *parent = nullptr);

protected:
    void boundsChanged(const QRect &bounds) override;
    void sendRectangles(int elapsedMs, const QList<QRect> &rectangles) override;

private:
    RLERectUpdateCompressor m_coder;
};

class XH264UpdateStream : public XUpdateStream, public Video::Compressor::PacketConsumer
{
    Q_OBJECT
public:
    explicit XH264UpdateStream(std::unique_ptr<XDamageWatch> watch, QObject *parent = nullptr);
    ~XH264UpdateStream() override;

    void appendPacket(AVPacket *packet) override;

protected:
    void boundsChanged(const QRect &bounds) override;
    void sendRectangles(int elapsedMs, const QList<QRect> &rectangles) override;
    void sendNoop(int elapsedMs) override;
    void closeStream(uint code, const QString &reason) override;

private:
    Video::H264StreamProducer m_producer;
    std::unique_ptr<Video::RGBCompressor> m_compressor;
    qint64 m_timeMs = 0;
    bool m_sendParameters = true;
};

// The stream for the allowed formats: rectangle updates when bit 1 is set,
// else H.264 with bit 2. Null with the reason when the server cannot say
// what changes, or no format is allowed.
XUpdateStream *createXUpdateStream(const std::string &displayName, uint allowedFormats,
                                   std::string *error);

} // namespace Tolvex
