#include "propertydeclaration.h"

#include "class.h"
#include "inspector.h"
#include "logging.h"
#include "method.h"
#include "property.h"

namespace Tolvex {

static unsigned int accessFlags(bool readable, bool writable, bool isStatic, bool stored)
{
    return (readable ? Property::Readable : 0u) | (writable ? Property::Writable : 0u) |
           (isStatic ? Property::Static : 0u) | (stored ? Property::Stored : 0u);
}

PropertyDeclaration::PropertyDeclaration(const QString &name, const Argument &type,
                                         const Class *propertyClass, const Method *readMethod,
                                         const Method *writeMethod, bool isStatic, bool stored)
    : m_name(name), m_type(type), m_propertyClass(propertyClass), m_readMethod(readMethod),
      m_writeMethod(writeMethod), m_flags(accessFlags(readMethod, writeMethod, isStatic, stored))
{}

PropertyDeclaration::PropertyDeclaration(const QString &name, const Argument &type,
                                         const Class *propertyClass, ReadFunction readFunction,
                                         WriteFunction writeFunction, bool isStatic, bool stored)
    : m_name(name), m_type(type), m_propertyClass(propertyClass), m_readFunction(readFunction),
      m_writeFunction(writeFunction),
      m_flags(accessFlags(readFunction, writeFunction, isStatic, stored))
{}

PropertyDeclaration::PropertyDeclaration(const QString &className, const QString &typeName,
                                         const QString &name, const QString &readMethodName,
                                         const QString &writeMethodName, bool isStatic, bool stored)
    : m_name(name), m_propertyClass(Inspector::self()->type(className)),
      m_flags(accessFlags(false, false, isStatic, stored)), m_typeName(typeName),
      m_readMethodName(readMethodName), m_writeMethodName(writeMethodName), m_setupDone(false)
{}

const Argument &PropertyDeclaration::type() const
{
    lazySetup();
    return m_type;
}

const Method *PropertyDeclaration::readMethod() const
{
    lazySetup();
    return m_readMethod;
}

const Method *PropertyDeclaration::writeMethod() const
{
    lazySetup();
    return m_writeMethod;
}

unsigned int PropertyDeclaration::flags() const
{
    lazySetup();
    return m_flags;
}

bool PropertyDeclaration::isReadable() const
{
    return flags() & Property::Readable;
}

bool PropertyDeclaration::isWritable() const
{
    return flags() & Property::Writable;
}

bool PropertyDeclaration::stored() const
{
    return flags() & Property::Stored;
}

bool PropertyDeclaration::isStatic() const
{
    return flags() & Property::Static;
}

// Whether a method's parameter or return type can stand for the declared one.
static bool fits(const Argument &methodType, const Argument &declared)
{
    const Class *m = methodType.type();
    const Class *d = declared.type();
    if (m && d && m->className() == QLatin1String("char") &&
        d->className() == QLatin1String("QCString"))
        return true;
    if (m != d)
        return false;
    return methodType.attribute() == declared.attribute() ||
           methodType.isPointer() == declared.isPointer() ||
           (methodType.isPointer() && !declared.isPointer());
}

void PropertyDeclaration::lazySetup() const
{
    if (m_setupDone)
        return;
    m_setupDone = true;
    Inspector *inspector = Inspector::self();
    const Class *typeClass = inspector->type(m_typeName);
    if (!typeClass) {
        logLine("Property ", m_propertyClass ? m_propertyClass->className() : QString(),
                "::", m_name, " has unknown type ", m_typeName, ".");
        m_type = Argument(m_name, inspector->type(UndefinedClassId), ObjectAttribute::Value());
        return;
    }
    const QString trimmed = m_typeName.trimmed();
    const unsigned int flags = trimmed.endsWith(QLatin1Char('*'))   ? ObjectAttribute::PointerFlag
                               : trimmed.endsWith(QLatin1Char('&')) ? ObjectAttribute::ReferenceFlag
                                                                    : 0u;
    m_type = Argument(m_name, typeClass, flags, 0);
    if (!m_propertyClass)
        return;

    for (const Method *m : m_propertyClass->methods(m_readMethodName)) {
        if (m->numArguments() == 0 && fits(m->returnType(), m_type)) {
            m_readMethod = m;
            m_flags |= Property::Readable;
            break;
        }
    }
    for (const Method *m : m_propertyClass->methods(m_writeMethodName)) {
        if (m->numArguments() == 1 && fits(m->signature().first(), m_type)) {
            m_writeMethod = m;
            m_flags |= Property::Writable;
            break;
        }
    }
    // The accessors' own classes win over the declared one, the setter last.
    if (m_readMethod && m_readMethod->returnType().type() != m_type.type())
        m_type.setType(m_readMethod->returnType().type());
    if (m_writeMethod && m_writeMethod->signature().first().type() != m_type.type())
        m_type.setType(m_writeMethod->signature().first().type());
}

} // namespace Tolvex
