#pragma once

#include "tolvexexport.h"

class QDataStream;

namespace Tolvex {

// The QDataStream version that metadata and attributes travel at.
inline constexpr int MetadataStreamVersion = 3;

// The stream form of every descriptor of the model. Metadata streams are
// written at QDataStream version 3, big endian.
class TOLVEX_EXPORT Serializable
{
public:
    virtual ~Serializable() = default;
    virtual void writeObject(QDataStream &stream) const = 0;
    virtual void readObject(QDataStream &stream) = 0;
};

} // namespace Tolvex
