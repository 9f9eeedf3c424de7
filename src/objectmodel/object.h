#pragma once

#include "objectattribute.h"
#include "serializable.h"
#include "shared.h"
#include "tolvexexport.h"

#include <QString>

namespace Tolvex {

class Class;
class ComparisonDelegate;
class ConversionDelegate;
class ObjectHierarchyDelegate;
class ObjectList;
class SerializeDelegate;
class UserData;

// A wrapped native thing. The object owns neither its class nor, unless
// autoDelete is set, its data.
class TOLVEX_EXPORT Object : public Shared, public Serializable
{
public:
    Object(const Class *type, void *data, const ObjectAttribute &attribute = ObjectAttribute());
    ~Object() override;
    Object(const Object &) = delete;
    Object &operator=(const Object &) = delete;

    virtual int numChildren();
    virtual SharedPtr<Object> child(int index);
    virtual SharedPtr<Object> childByName(const QString &name);
    virtual ObjectList children();
    virtual SharedPtr<Object> parent();
    virtual QString name();
    virtual QString qualifiedName();
    virtual void streamObject(QDataStream &stream) const;
    virtual void objectFromStream(QDataStream &stream);
    virtual QString toDebugString() const;
    virtual QString toString() const;
    virtual int toInteger() const;
    virtual long long toInt64() const;
    virtual double toDouble() const;
    virtual bool toBoolean() const;
    virtual void fromString(const QString &value);
    virtual void fromInteger(int value);
    virtual void fromInt64(long long value);
    virtual void fromDouble(double value);
    virtual void fromBoolean(bool value);
    virtual ObjectAttribute objectAttribute() const;
    virtual bool isNull() const;
    virtual SharedPtr<Object> castTo(const Class *target);
    virtual SharedPtr<Object> reference();
    virtual SharedPtr<Object> dereference();
    virtual int wrapperType();

    void writeObject(QDataStream &stream) const override;
    void readObject(QDataStream &stream) override;

    const Class *type() const { return m_type; }
    QString className() const;
    bool isA(const Class *c) const;
    bool isValid() const { return !m_invalid; }
    bool isAutoDelete() const { return m_autoDelete; }
    void setAutoDelete(bool autoDelete) { m_autoDelete = autoDelete; }
    UserData *userData() const { return m_userData; }
    void setUserData(UserData *userData);
    int index() const;
    bool compare(SharedPtr<Object> other) const;
    bool sameAs(SharedPtr<Object> other) const;
    void get(void **out) const { *out = m_data; }
    void *data() const { return m_data; }
    void put(void *data);
    // The native thing is gone: the object becomes a member-less "Dead" one
    // that stays safe to call.
    void invalidate();

    static SharedPtr<Object> zombie();
    static const Class *registerClassOfTheDead();

    // The delegates of this object's class, found once and cached.
    const ObjectHierarchyDelegate *hierarchyDelegate() const;
    const SerializeDelegate *serializeDelegate() const;
    const ConversionDelegate *conversionDelegate() const;
    const ComparisonDelegate *comparisonDelegate() const;

protected:
    void setObjectAttribute(const ObjectAttribute &attribute) { m_attribute = attribute; }
    void clearDelegateCaches();

private:
    friend class Class;
    friend class Interface;

    // This object as a SharedPtr, for delegate calls. The caller always holds
    // a reference already, so the count never falls to 0 here.
    SharedPtr<Object> self() const
    {
        Q_ASSERT_X(refCount() > 0, "Object", "objects are used through SharedPtr");
        return SharedPtr<Object>(const_cast<Object *>(this));
    }
    const ConversionDelegate *conversionFor(int capability) const;
    // The class's delegate of a kind, looked up once and kept in cache; bit
    // marks the search as done in m_delegatesSearched, a null result too.
    template <typename D>
    const D *cachedDelegate(int kind, const D *&cache, unsigned char bit) const;

    void *m_data = nullptr;
    UserData *m_userData = nullptr;
    const Class *m_type = nullptr;
    ObjectAttribute m_attribute;
    mutable const ObjectHierarchyDelegate *m_hierarchyDelegate = nullptr;
    mutable const SerializeDelegate *m_serializeDelegate = nullptr;
    mutable const ConversionDelegate *m_conversionDelegate = nullptr;
    mutable const ComparisonDelegate *m_comparisonDelegate = nullptr;
    mutable int m_index = -1;
    bool m_autoDelete : 1;
    bool m_invalid : 1;
    mutable unsigned char m_delegatesSearched : 4;
};

// Marks a class name whose objects are QObjects, so that a class a wrapper
// knows only by name finds the hierarchy delegate of "QObject".
TOLVEX_EXPORT void tolvex_register_qobject_type(const char *className);

} // namespace Tolvex
