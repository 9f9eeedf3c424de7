#pragma once

#include "argument.h"
#include "shared.h"
#include "tolvexexport.h"

namespace Tolvex {

class Method;
class Object;

// A property added to a class from outside, through a StaticPropertyDelegate.
// The name-based form resolves its type and accessors on first read.
class TOLVEX_EXPORT PropertyDeclaration
{
public:
    using ReadFunction = SharedPtr<Object> (*)(SharedPtr<Object>);
    using WriteFunction = bool (*)(SharedPtr<Object>, SharedPtr<Object>);

    PropertyDeclaration(const QString &name, const Argument &type, const Class *propertyClass,
                        const Method *readMethod, const Method *writeMethod, bool isStatic = false,
                        bool stored = false);
    PropertyDeclaration(const QString &name, const Argument &type, const Class *propertyClass,
                        ReadFunction readFunction, WriteFunction writeFunction,
                        bool isStatic = false, bool stored = false);
    PropertyDeclaration(const QString &className, const QString &typeName, const QString &name,
                        const QString &readMethodName, const QString &writeMethodName,
                        bool isStatic, bool stored);

    const QString &name() const { return m_name; }
    const Argument &type() const;
    const Class *propertyClass() const { return m_propertyClass; }
    const Method *readMethod() const;
    const Method *writeMethod() const;
    ReadFunction readFunction() const { return m_readFunction; }
    WriteFunction writeFunction() const { return m_writeFunction; }
    unsigned int flags() const;
    bool isReadable() const;
    bool isWritable() const;
    bool stored() const;
    bool isStatic() const;

private:
    void lazySetup() const;

    QString m_name;
    mutable Argument m_type;
    const Class *m_propertyClass = nullptr;
    mutable const Method *m_readMethod = nullptr;
    mutable const Method *m_writeMethod = nullptr;
    ReadFunction m_readFunction = nullptr;
    WriteFunction m_writeFunction = nullptr;
    mutable unsigned int m_flags = 0;
    QString m_typeName;
    QString m_readMethodName;
    QString m_writeMethodName;
    mutable bool m_setupDone = true;
};

} // namespace Tolvex
