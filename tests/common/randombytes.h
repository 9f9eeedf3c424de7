#pragma once

#include <QByteArray>
#include <QRandomGenerator>

namespace TestSupport {

// Incompressible bytes, the same for the same seed: bodies that zlib cannot
// shrink, so that their frames fill socket buffers.
inline QByteArray randomBytes(qsizetype size, quint32 seed)
{
    QByteArray bytes(size, '\0');
    QRandomGenerator rng(seed);
    rng.fillRange(reinterpret_cast<quint32 *>(bytes.data()), size / 4);
    for (qsizetype i = size / 4 * 4; i < size; ++i)
        bytes[i] = char(rng.generate());
    return bytes;
}

} // namespace TestSupport
