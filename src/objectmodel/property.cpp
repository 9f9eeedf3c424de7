#include "property.h"

#include "class.h"
#include "inspector.h"
#include "memberresolution_p.h"
#include "namespace.h"
#include "object.h"
#include "propertydeclaration.h"
#include "streamlimits_p.h"

namespace Tolvex {

Property::Property(const Class *propertyClass, const Argument &type, const QString &name,
                   unsigned int flags, int id)
    : m_class(propertyClass), m_type(type), m_name(name), m_flags(flags), m_id(id)
{}

Property::Property(const Class *propertyClass, const PropertyDeclaration *declaration, int id)
    : m_class(propertyClass), m_declaration(declaration), m_id(id)
{}

const QString &Property::name() const
{
    return m_declaration ? m_declaration->name() : m_name;
}

const Argument &Property::type() const
{
    return m_declaration ? m_declaration->type() : m_type;
}

unsigned int Property::flags() const
{
    return m_declaration ? m_declaration->flags() : m_flags;
}

bool Property::isReadable() const
{
    return flags() & Readable;
}

bool Property::isWritable() const
{
    return flags() & Writable;
}

bool Property::stored() const
{
    return flags() & Stored;
}

bool Property::isStatic() const
{
    return flags() & Static;
}

const Class *Property::propertyClass() const
{
    if (m_declaration && m_declaration->propertyClass())
        return m_declaration->propertyClass();
    return m_class;
}

bool verifyPropertyAccess(const SharedPtr<Object> &self, const Property *property)
{
    QString error;
    if (self && self->isNull())
        error = QStringLiteral("Cannot access property %1 on null object reference");
    else if (self && !self->isValid())
        error = QStringLiteral("Cannot access property %1 on invalidated object reference");
    else if (!self && !property->isStatic())
        error = QStringLiteral("Cannot access non-static property %1 without object reference");
    if (error.isEmpty())
        return true;
    Inspector::self()->setError(error.arg(property->name()));
    return false;
}

SharedPtr<Object> Property::get(SharedPtr<Object> self) const
{
    const Class *c = propertyClass();
    if (!c || !verifyPropertyAccess(self, this))
        return nullptr;
    return c->getProperty(m_id, self, this);
}

bool Property::set(SharedPtr<Object> self, SharedPtr<Object> value) const
{
    const Class *c = propertyClass();
    if (!c || !verifyPropertyAccess(self, this))
        return false;
    return c->setProperty(m_id, self, value, this);
}

QString Property::toString() const
{
    return returnTypeText(type(), false) + QLatin1Char(' ') + name();
}

void Property::writeObject(QDataStream &stream) const
{
    const Class *c = propertyClass();
    stream << name();
    type().writeObject(stream);
    stream << (c ? c->className() : QString())
           << qint32(c && c->nameSpace() ? c->nameSpace()->id() : 0) << qint32(m_id)
           << quint32(flags());
}

void Property::readObject(QDataStream &stream)
{
    m_declaration = nullptr;
    m_name = readString(stream);
    m_type.readObject(stream);
    const QString className = readString(stream);
    const qint32 namespaceId = readInt(stream);
    m_class = nullptr;
    if (!className.isEmpty())
        if (const Namespace *ns = Inspector::self()->nameSpace(int(namespaceId)))
            m_class = ns->getClass(className);
    m_id = readInt(stream);
    quint32 flags = 0;
    stream >> flags;
    m_flags = flags;
}

} // namespace Tolvex
