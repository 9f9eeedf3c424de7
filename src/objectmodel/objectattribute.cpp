#include "objectattribute.h"

#include <QDataStream>

namespace Tolvex {

static bool isValueOrReference(unsigned int flags)
{
    return !(flags & (ObjectAttribute::ReferenceFlag | ObjectAttribute::PointerFlag)) ||
           (flags & ObjectAttribute::ReferenceFlag);
}

bool ObjectAttribute::tolerantMatch(const ObjectAttribute &other) const
{
    if (isValueOrReference(m_flags) && isValueOrReference(other.m_flags))
        return true;
    const unsigned int indirect = PointerFlag | ArrayFlag;
    return (m_flags & indirect) && (other.m_flags & indirect);
}

void ObjectAttribute::writeObject(QDataStream &stream) const
{
    stream << quint32(m_flags) << qint32(m_arrayLength);
}

void ObjectAttribute::readObject(QDataStream &stream)
{
    quint32 flags = 0;
    qint32 length = 0;
    stream >> flags >> length;
    m_flags = flags;
    m_arrayLength = length;
}

} // namespace Tolvex
