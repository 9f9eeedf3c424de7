#include "rlerectupdatecompressor.h"

#include "binarystream.h"

#include <QtEndian>

#include <algorithm>
#include <cmath>

namespace Tolvex {

namespace {

constexpr uint32_t ColourMask = 0xFFFFFF;
constexpr uint32_t MaxSkip = 0xFFFFFF;
constexpr uint32_t MaxColourRun = 255;

quint32 fixed16(float value)
{
    return quint32(std::trunc(double(value) * 65536.0 + 0.5));
}

} // namespace

RLERectUpdateCompressor::RLERectUpdateCompressor(BinaryStream *stream)
    : m_stream(stream), m_segment(SegmentWords * 4, Qt::Uninitialized)
{}

void RLERectUpdateCompressor::sendValue(quint32 value)
{
    qToBigEndian(value, m_segment.data() + m_index * 4);
    if (++m_index < SegmentWords)
        return;
    m_stream->sendNextSegment(m_segment);
    // The stream may keep the segment; the next words go to a copy of our
    // own.
    m_segment.detach();
    m_index = 0;
}

void RLERectUpdateCompressor::sendRect(const QRect &rect)
{
    sendValue(quint32(rect.left()));
    sendValue(quint32(rect.top()));
    sendValue(quint32(rect.left() + rect.width()));
    sendValue(quint32(rect.top() + rect.height()));
}

void RLERectUpdateCompressor::boundsChanged(const QRect &newBounds, float scale, float density)
{
    const QRect bounds = newBounds.isValid() ? newBounds : QRect();
    std::vector<uint32_t> pixels(
        size_t(std::max(bounds.width(), 0)) * size_t(std::max(bounds.height(), 0)), 0);
    const QRect kept = m_bounds.intersected(bounds);
    for (int y = kept.top(); y <= kept.bottom() && kept.isValid(); ++y) {
        const uint32_t *from = m_pixels.data() + size_t(y - m_bounds.top()) * m_bounds.width() +
                               (kept.left() - m_bounds.left());
        uint32_t *to = pixels.data() + size_t(y - bounds.top()) * bounds.width() +
                       (kept.left() - bounds.left());
        std::copy(from, from + kept.width(), to);
    }
    m_pixels.swap(pixels);
    m_bounds = bounds;
    sendValue(BoundsRecord);
    sendRect(bounds);
    sendValue(fixed16(scale));
    sendValue(fixed16(density));
}

void RLERectUpdateCompressor::startUpdate(uint timeMs, const QList<MovedRectangle> &moved,
                                          const QList<QRect> &dirty)
{
    sendValue(UpdateRecord);
    sendValue(quint32(moved.size()));
    sendValue(quint32(dirty.size()));
    sendValue(timeMs);
    for (const MovedRectangle &m : moved)
        sendRect(m.destination);
    // A rectangle is coded as far as it lies on the desktop, and a reader
    // expects the runs of what it is told.
    for (const QRect &rect : dirty)
        sendRect(rect.intersected(m_bounds));
}

void RLERectUpdateCompressor::updateChunk(const QRect &rect, const uint32_t *pixels, uint stride)
{
    const QRect coded = rect.intersected(m_bounds);
    if (coded.isEmpty() || !pixels)
        return;
    pixels += size_t(coded.top() - rect.top()) * stride + (coded.left() - rect.left());
    // The current run: skipping, or a colour; a skip run is kept as the
    // colour value that no pixel can have.
    constexpr uint32_t Skip = 0xFFFFFFFFu;
    const auto storedAt = [&](int x, int y) -> uint32_t & {
        return m_pixels[size_t(y - m_bounds.top()) * m_bounds.width() + (x - m_bounds.left())];
    };
    const uint32_t first = pixels[0] & ColourMask;
    uint32_t mode = first == storedAt(coded.left(), coded.top()) ? Skip : first;
    uint32_t count = 0;
    const auto flush = [&] {
        if (count > 0)
            sendValue(mode == Skip ? count : (count << 24) | mode);
    };
    for (int y = coded.top(); y <= coded.bottom(); ++y) {
        const uint32_t *row = pixels + size_t(y - coded.top()) * stride;
        uint32_t *stored = &storedAt(coded.left(), y);
        const int width = coded.width();
        for (int x = 0; x < width; ++x) {
            // Unchanged stretches are passed sixteen pixels at a time, in a
            // loop the compiler turns into vector compares.
            if (mode == Skip) {
                while (x + 16 <= width && count <= MaxSkip - 16) {
                    uint32_t changed = 0;
                    for (int k = 0; k < 16; ++k)
                        changed |= (row[x + k] ^ stored[x + k]) & ColourMask;
                    if (changed)
                        break;
                    x += 16;
                    count += 16;
                }
                if (x >= width)
                    break;
            }
            const uint32_t c = row[x] & ColourMask;
            uint32_t pixelMode = Skip;
            if (c != stored[x]) {
                stored[x] = c;
                pixelMode = c;
            }
            if (pixelMode == mode) {
                if (count >= MaxSkip || (pixelMode != Skip && count >= MaxColourRun)) {
                    sendValue(mode == Skip ? MaxSkip : (MaxColourRun << 24) | mode);
                    count = 1;
                } else {
                    ++count;
                }
            } else {
                flush();
                mode = pixelMode;
                count = 1;
            }
        }
    }
    flush();
}

void RLERectUpdateCompressor::updateDone()
{
    if (m_index > 0) {
        QByteArray last = m_segment.left(m_index * 4);
        m_stream->sendNextSegment(last);
    }
    m_segment = QByteArray(SegmentWords * 4, Qt::Uninitialized);
    m_index = 0;
}

} // namespace Tolvex
