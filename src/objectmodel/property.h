#pragma once

#include "argument.h"
#include "shared.h"
#include "tolvexexport.h"

namespace Tolvex {

class Object;
class PropertyDeclaration;

class TOLVEX_EXPORT Property : public Serializable
{
public:
    enum Flag : unsigned int { Readable = 1, Writable = 2, Stored = 4, Static = 8 };

    Property() = default;
    Property(const Class *propertyClass, const Argument &type, const QString &name,
             unsigned int flags, int id);
    // A thin proxy for a declaration that a StaticPropertyDelegate adds.
    Property(const Class *propertyClass, const PropertyDeclaration *declaration, int id);

    const QString &name() const;
    const Argument &type() const;
    bool isReadable() const;
    bool isWritable() const;
    bool stored() const;
    bool isStatic() const;
    unsigned int flags() const;
    const Class *propertyClass() const;
    const PropertyDeclaration *declaration() const { return m_declaration; }
    int id() const { return m_id; }
    // For properties made before their class, such as global properties.
    void setPropertyClass(const Class *propertyClass, int id)
    {
        m_class = propertyClass;
        m_id = id;
    }

    SharedPtr<Object> get(SharedPtr<Object> self) const;
    bool set(SharedPtr<Object> self, SharedPtr<Object> value) const;
    QString toString() const;

    void writeObject(QDataStream &stream) const override;
    void readObject(QDataStream &stream) override;

private:
    const Class *m_class = nullptr;
    Argument m_type;
    const PropertyDeclaration *m_declaration = nullptr;
    QString m_name;
    unsigned int m_flags = 0;
    int m_id = -1;
};

// The access check shared by Property and the Class entry points.
TOLVEX_EXPORT bool verifyPropertyAccess(const SharedPtr<Object> &self, const Property *property);

} // namespace Tolvex
