#include "constructor.h"

#include "class.h"
#include "inspector.h"
#include "object.h"
#include "objectlist.h"
#include "streamlimits_p.h"

namespace Tolvex {

Constructor::Constructor(const Class *type, const Signature &signature, int id)
    : m_type(type), m_signature(signature), m_id(id)
{}

SharedPtr<Object> Constructor::construct(const ObjectList &args) const
{
    return m_type ? m_type->construct(m_id, args, this) : nullptr;
}

QString Constructor::toString() const
{
    return (m_type ? m_type->className() : QString()) + m_signature.toString();
}

void Constructor::writeObject(QDataStream &stream) const
{
    stream << (m_type ? m_type->className() : QString()) << qint32(m_id);
    m_signature.writeObject(stream);
}

void Constructor::readObject(QDataStream &stream)
{
    const QString className = readString(stream);
    m_type = className.isEmpty() ? nullptr : Inspector::self()->type(className);
    m_id = readInt(stream);
    m_signature.readObject(stream);
}

} // namespace Tolvex
