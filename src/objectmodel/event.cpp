#include "event.h"

#include "class.h"
#include "inspector.h"
#include "object.h"
#include "objectlist.h"
#include "streamlimits_p.h"

namespace Tolvex {

Event::Event(const Class *type, const QString &name, const Signature &signature, int id,
             bool isSendable)
    : m_type(type), m_name(name), m_signature(signature), m_isSendable(isSendable), m_id(id)
{}

void Event::sendEvent(SharedPtr<Object> self, const ObjectList &args) const
{
    Inspector::self()->sendEvent(this, self, args);
}

void Event::writeObject(QDataStream &stream) const
{
    stream << m_name << (m_type ? m_type->className() : QString()) << qint32(m_id)
           << qint32(m_isSendable ? 1 : 0);
    m_signature.writeObject(stream);
}

void Event::readObject(QDataStream &stream)
{
    m_name = readString(stream);
    const QString className = readString(stream);
    m_type = className.isEmpty() ? nullptr : Inspector::self()->type(className);
    m_id = readInt(stream);
    m_isSendable = readInt(stream) != 0;
    m_signature.readObject(stream);
}

} // namespace Tolvex
