#include "argument.h"

#include "class.h"
#include "enum.h"
#include "inspector.h"
#include "namespace.h"
#include "streamlimits_p.h"

namespace Tolvex {

static const Class *orUndefined(const Class *type)
{
    return type ? type : Inspector::self()->type(UndefinedClassId);
}

Argument::Argument(const Class *type, const ObjectAttribute &attribute)
    : m_type(orUndefined(type)), m_attribute(attribute)
{}

Argument::Argument(const Class *type, unsigned int flags, int arrayLength)
    : m_type(orUndefined(type)), m_attribute(flags, arrayLength)
{}

Argument::Argument(const Class *type, const Enum *enumerator, unsigned int flags, int arrayLength)
    : m_type(orUndefined(type)), m_attribute(flags, arrayLength), m_enumerator(enumerator)
{}

Argument::Argument(const QString &name, const Class *type, const ObjectAttribute &attribute,
                   const Enum *enumerator)
    : m_name(name), m_type(orUndefined(type)), m_attribute(attribute), m_enumerator(enumerator)
{}

Argument::Argument(const QString &name, const Class *type, unsigned int flags, int arrayLength)
    : m_name(name), m_type(orUndefined(type)), m_attribute(flags, arrayLength)
{}

Argument::Argument(const QString &name, const Class *type, const Enum *enumerator,
                   unsigned int flags, int arrayLength)
    : m_name(name), m_type(orUndefined(type)), m_attribute(flags, arrayLength),
      m_enumerator(enumerator)
{}

QString Argument::typeName() const
{
    if (m_enumerator) {
        const Class *c = m_enumerator->enumClass();
        if (c && c != Inspector::self()->globalClass())
            return c->className() + QLatin1String("::") + m_enumerator->name();
        return m_enumerator->name();
    }
    return m_type ? m_type->className() : QString();
}

QString Argument::toString() const
{
    QString text;
    if (isConst1())
        text += QLatin1String("const ");
    text += typeName();
    if (isReference())
        text += QLatin1String(" &");
    if (isPointer())
        text += QLatin1String(" *");
    if (isArray()) {
        text += QLatin1String(" [");
        if (arrayLength() > 0)
            text += QString::number(arrayLength());
        text += QLatin1Char(']');
    }
    if (isConst2())
        text += QLatin1String(" const");
    if (!m_name.isEmpty())
        text += QLatin1Char(' ') + m_name;
    return text;
}

void Argument::writeObject(QDataStream &stream) const
{
    writeText(stream, m_name);
    writeText(stream, m_type ? m_type->className() : QString());
    stream << qint32(m_type && m_type->nameSpace() ? m_type->nameSpace()->id() : 0);
    m_attribute.writeObject(stream);
    const Class *enumClass = m_enumerator ? m_enumerator->enumClass() : nullptr;
    writeText(stream, enumClass ? enumClass->className() : QString());
    writeText(stream, m_enumerator ? m_enumerator->name() : QString());
}

void Argument::readObject(QDataStream &stream)
{
    m_name = readString(stream);
    const QString className = readString(stream);
    const qint32 namespaceId = readInt(stream);
    m_attribute.readObject(stream);
    const QString enumClassName = readString(stream);
    const QString enumName = readString(stream);

    m_type = nullptr;
    if (!className.isEmpty())
        if (const Namespace *ns = Inspector::self()->nameSpace(int(namespaceId)))
            m_type = ns->getClass(className);
    m_enumerator = nullptr;
    if (!enumClassName.isEmpty())
        if (const Class *c = Inspector::self()->type(enumClassName))
            m_enumerator = c->enumerator(enumName);
}

} // namespace Tolvex
