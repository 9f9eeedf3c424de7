#pragma once

#include <QDataStream>
#include <QVariant>

namespace Tolvex {

// Reads a QVariant written by QDataStream's own operator<< at stream version
// 6, as a peer sends it, without trusting the peer: containers grow with the
// elements actually present rather than by the count announced (Qt's own
// readers reserve that count up front), and nesting is limited, since Qt's
// readers recurse once per level and a deep enough body would exhaust the
// stack. Other values are read by Qt's loaders.
//
// Sets the stream's status as Qt's reader would: ReadPastEnd for a short
// body, ReadCorruptData for a value that cannot be loaded or nests too deep.
void readVariant(QDataStream &stream, QVariant *value);

// How deep lists and maps may nest inside one value.
inline constexpr int MaxVariantNesting = 64;

} // namespace Tolvex
