#pragma once

#include "objectattribute.h"
#include "serializable.h"
#include "tolvexexport.h"

#include <QString>

namespace Tolvex {

class Class;
class Enum;

// One typed slot: a parameter, a return type or a property's type.
class TOLVEX_EXPORT Argument : public Serializable
{
public:
    Argument() = default;
    Argument(const Class *type, const ObjectAttribute &attribute);
    Argument(const Class *type, unsigned int flags, int arrayLength);
    Argument(const Class *type, const Enum *enumerator, unsigned int flags, int arrayLength);
    Argument(const QString &name, const Class *type, const ObjectAttribute &attribute,
             const Enum *enumerator = nullptr);
    Argument(const QString &name, const Class *type, unsigned int flags, int arrayLength);
    Argument(const QString &name, const Class *type, const Enum *enumerator, unsigned int flags,
             int arrayLength);

    bool isValid() const { return m_type != nullptr; }
    const QString &name() const { return m_name; }
    const Class *type() const { return m_type; }
    const ObjectAttribute &attribute() const { return m_attribute; }
    const Enum *enumerator() const { return m_enumerator; }
    void setType(const Class *type) { m_type = type; }

    bool isPointer() const { return m_attribute.isPointer(); }
    bool isReference() const { return m_attribute.isReference(); }
    bool isArray() const { return m_attribute.isArray(); }
    int arrayLength() const { return m_attribute.arrayLength(); }
    bool isConst1() const { return m_attribute.isConst1(); }
    bool isConst2() const { return m_attribute.isConst2(); }

    // Type and attribute only: the name and the enumerator don't change what
    // a slot accepts.
    bool operator==(const Argument &o) const
    {
        return m_type == o.m_type && m_attribute == o.m_attribute;
    }
    bool operator!=(const Argument &o) const { return !(*this == o); }

    // The type name as listings print it: an enumerator's qualified name
    // where there is one, otherwise the class name.
    QString typeName() const;
    QString toString() const;

    void writeObject(QDataStream &stream) const override;
    void readObject(QDataStream &stream) override;

private:
    QString m_name;
    const Class *m_type = nullptr;
    ObjectAttribute m_attribute;
    const Enum *m_enumerator = nullptr;
};

} // namespace Tolvex
