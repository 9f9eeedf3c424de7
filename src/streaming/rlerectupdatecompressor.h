#pragma once

// Changed rectangles of the desktop as a stream of 32-bit words: a copy of
// the last frame is kept, so that pixels that did not change cost one run
// word between them. Words go out in segments of at most 53248 bytes, and a
// record may run on from one segment into the next.

#include "tolvexexport.h"

#include <QByteArray>
#include <QList>
#include <QPoint>
#include <QRect>

#include <cstdint>
#include <vector>

namespace Tolvex {

class BinaryStream;

struct MovedRectangle
{
    QRect destination;
    QPoint source;
};

class TOLVEX_EXPORT RLERectUpdateCompressor
{
public:
    static constexpr int SegmentWords = 13312;
    static constexpr quint32 BoundsRecord = 1;
    static constexpr quint32 UpdateRecord = 2;

    // Not owned.
    explicit RLERectUpdateCompressor(BinaryStream *stream);

    QRect bounds() const { return m_bounds; }
    // The desktop's new geometry: what was inside both keeps its pixels,
    // the rest starts black. Sends the bounds record.
    void boundsChanged(const QRect &newBounds, float scale, float density);
    // The header of an update: the rectangles, moved ones as their
    // destination alone.
    void startUpdate(uint timeMs, const QList<MovedRectangle> &moved, const QList<QRect> &dirty);
    // The runs of one dirty rectangle, in the order startUpdate gave them:
    // pixels points at its top left pixel in the new frame, stride in
    // pixels. The part outside the bounds is not coded.
    void updateChunk(const QRect &rect, const uint32_t *pixels, uint stride);
    // Sends what is left of the segment.
    void updateDone();

private:
    void sendValue(quint32 value);
    void sendRect(const QRect &rect);

    BinaryStream *m_stream;
    QRect m_bounds;
    std::vector<uint32_t> m_pixels;
    QByteArray m_segment;
    int m_index = 0;
};

} // namespace Tolvex
