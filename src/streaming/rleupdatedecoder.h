#pragma once

// The reader of a rectangle update stream: segments in, in the order they
// came, and the desktop as the updates so far have drawn it. Segments are
// one stream of words; a record may begin in one and end in another.

#include "tolvexexport.h"

#include <QByteArray>
#include <QImage>
#include <QList>
#include <QRect>
#include <QString>

#include <cstdint>
#include <vector>

namespace Tolvex {

class TOLVEX_EXPORT RleUpdateDecoder
{
public:
    // A desktop larger than this on either side is refused as broken.
    static constexpr int MaxSide = 16384;

    // False once the stream is broken: error() says how, and nothing more
    // is read.
    bool addSegment(const QByteArray &segment);

    bool isBroken() const { return !m_error.isEmpty(); }
    QString error() const { return m_error; }
    QRect bounds() const { return m_bounds; }
    double scale() const { return m_scale; }
    double density() const { return m_density; }
    // Updates read to their last word.
    int updatesCompleted() const { return m_updates; }
    uint lastUpdateTimeMs() const { return m_lastTimeMs; }
    // The desktop, its top left corner at bounds().topLeft().
    QImage frame() const;

private:
    enum class State { Tag, Bounds, Header, Rectangles, Runs };
    bool fail(const QString &error);
    bool step();
    bool nextRect(QRect *rect);

    QString m_error;
    State m_state = State::Tag;
    std::vector<uint32_t> m_words;
    size_t m_next = 0;
    QByteArray m_partial;
    QRect m_bounds;
    std::vector<uint32_t> m_pixels;
    double m_scale = 1.0;
    double m_density = 1.0;
    int m_updates = 0;
    uint m_lastTimeMs = 0;
    // The update being read.
    uint32_t m_moved = 0;
    uint32_t m_dirtyCount = 0;
    uint m_timeMs = 0;
    QList<QRect> m_dirty;
    qsizetype m_rectIndex = 0;
    qint64 m_position = 0;
};

} // namespace Tolvex
