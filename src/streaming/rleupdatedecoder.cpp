#include "rleupdatedecoder.h"

#include "rlerectupdatecompressor.h"

#include <QtEndian>

#include <algorithm>

namespace Tolvex {

namespace {

// More rectangles than pixels of the largest desktop is no real update.
constexpr uint32_t MaxRectangles = 1u << 20;

} // namespace

bool RleUpdateDecoder::fail(const QString &error)
{
    m_error = error;
    m_words.clear();
    m_next = 0;
    return false;
}

bool RleUpdateDecoder::addSegment(const QByteArray &segment)
{
    if (isBroken())
        return false;
    QByteArray bytes = m_partial + segment;
    const qsizetype whole = bytes.size() / 4;
    m_partial = bytes.mid(whole * 4);
    // Words read before are dropped as the buffer is refilled.
    m_words.erase(m_words.begin(), m_words.begin() + qsizetype(m_next));
    m_next = 0;
    for (qsizetype i = 0; i < whole; ++i)
        m_words.push_back(qFromBigEndian<quint32>(bytes.constData() + i * 4));
    while (step()) {
    }
    return !isBroken();
}

bool RleUpdateDecoder::nextRect(QRect *rect)
{
    const uint32_t left = m_words[m_next++];
    const uint32_t top = m_words[m_next++];
    const uint32_t right = m_words[m_next++];
    const uint32_t bottom = m_words[m_next++];
    if (left > uint32_t(INT_MAX) || top > uint32_t(INT_MAX) || right < left || bottom < top ||
        right - left > uint32_t(MaxSide) || bottom - top > uint32_t(MaxSide))
        return fail(QStringLiteral("A rectangle of the stream is not one: %1,%2 to %3,%4")
                        .arg(left)
                        .arg(top)
                        .arg(right)
                        .arg(bottom));
    *rect = QRect(int(left), int(top), int(right - left), int(bottom - top));
    return true;
}

// One step of the reader; false when it needs more words or has failed.
bool RleUpdateDecoder::step()
{
    const size_t available = m_words.size() - m_next;
    switch (m_state) {
    case State::Tag:
        if (available < 1)
            return false;
        switch (m_words[m_next++]) {
        case RLERectUpdateCompressor::BoundsRecord:
            m_state = State::Bounds;
            return true;
        case RLERectUpdateCompressor::UpdateRecord:
            m_state = State::Header;
            return true;
        default:
            return fail(QStringLiteral("Unknown record %1 in the stream").arg(m_words[m_next - 1]));
        }
    case State::Bounds: {
        if (available < 6)
            return false;
        QRect bounds;
        if (!nextRect(&bounds))
            return false;
        m_scale = m_words[m_next++] / 65536.0;
        m_density = m_words[m_next++] / 65536.0;
        std::vector<uint32_t> pixels(size_t(bounds.width()) * size_t(bounds.height()), 0);
        const QRect kept = m_bounds.intersected(bounds);
        for (int y = kept.top(); y <= kept.bottom() && kept.isValid(); ++y) {
            const auto from = m_pixels.begin() + qsizetype(y - m_bounds.top()) * m_bounds.width() +
                              (kept.left() - m_bounds.left());
            std::copy(from, from + kept.width(),
                      pixels.begin() + qsizetype(y - bounds.top()) * bounds.width() +
                          (kept.left() - bounds.left()));
        }
        m_pixels.swap(pixels);
        m_bounds = bounds;
        m_state = State::Tag;
        return true;
    }
    case State::Header:
        if (available < 3)
            return false;
        m_moved = m_words[m_next++];
        m_dirtyCount = m_words[m_next++];
        m_timeMs = m_words[m_next++];
        if (m_moved > MaxRectangles || m_dirtyCount > MaxRectangles)
            return fail(QStringLiteral("An update of %1 moved and %2 changed rectangles")
                            .arg(m_moved)
                            .arg(m_dirtyCount));
        m_dirty.clear();
        m_state = State::Rectangles;
        return true;
    case State::Rectangles:
        // Moved rectangles carry their destination alone, which a reader
        // of pixels has no use for.
        while (m_moved > 0 && m_words.size() - m_next >= 4) {
            QRect moved;
            if (!nextRect(&moved))
                return false;
            --m_moved;
        }
        while (m_moved == 0 && qsizetype(m_dirtyCount) > m_dirty.size() &&
               m_words.size() - m_next >= 4) {
            QRect dirty;
            if (!nextRect(&dirty))
                return false;
            if (!dirty.isEmpty() && !m_bounds.contains(dirty))
                return fail(QStringLiteral("A changed rectangle lies outside the desktop"));
            m_dirty.append(dirty);
        }
        if (m_moved > 0 || qsizetype(m_dirtyCount) > m_dirty.size())
            return false;
        m_rectIndex = 0;
        m_position = 0;
        m_state = State::Runs;
        return true;
    case State::Runs: {
        // Empty rectangles take no words.
        while (m_rectIndex < m_dirty.size() && m_dirty.at(m_rectIndex).isEmpty())
            ++m_rectIndex;
        if (m_rectIndex == m_dirty.size()) {
            ++m_updates;
            m_lastTimeMs = m_timeMs;
            m_state = State::Tag;
            return true;
        }
        if (available < 1)
            return false;
        const QRect &rect = m_dirty.at(m_rectIndex);
        const qint64 area = qint64(rect.width()) * rect.height();
        const uint32_t word = m_words[m_next++];
        const uint32_t count = word >> 24 ? word >> 24 : word & 0xFFFFFF;
        if (count == 0 || m_position + count > area)
            return fail(QStringLiteral("A run of %1 pixels does not fit its rectangle").arg(count));
        if (word >> 24) {
            const uint32_t colour = word & 0xFFFFFF;
            for (uint32_t i = 0; i < count; ++i, ++m_position) {
                const int x = rect.left() + int(m_position % rect.width());
                const int y = rect.top() + int(m_position / rect.width());
                m_pixels[size_t(y - m_bounds.top()) * m_bounds.width() + (x - m_bounds.left())] =
                    colour;
            }
        } else {
            m_position += count;
        }
        if (m_position == area) {
            ++m_rectIndex;
            m_position = 0;
        }
        return true;
    }
    }
    return false;
}

QImage RleUpdateDecoder::frame() const
{
    QImage image(m_bounds.size(), QImage::Format_RGB32);
    for (int y = 0; y < m_bounds.height(); ++y) {
        auto *line = reinterpret_cast<uint32_t *>(image.scanLine(y));
        const uint32_t *from = m_pixels.data() + size_t(y) * m_bounds.width();
        for (int x = 0; x < m_bounds.width(); ++x)
            line[x] = 0xFF000000u | from[x];
    }
    return image;
}

} // namespace Tolvex
