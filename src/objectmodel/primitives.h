#pragma once

#include "class.h"
#include "object.h"
#include "tolvexexport.h"

namespace Tolvex {

// The nine primitive classes, class ids 0 to 8. An object's data points to
// the native value, or to the first element of a native array whose length
// the attribute gives (below 2 means one element).

template <typename T> class TOLVEX_EXPORT PrimitiveValueObject : public Object
{
public:
    PrimitiveValueObject(const Class *type, void *data, const ObjectAttribute &attribute)
        : Object(type, data, attribute)
    {}

    int numChildren() override { return 0; }
    void streamObject(QDataStream &stream) const override;
    void objectFromStream(QDataStream &stream) override;
    QString toDebugString() const override;
    QString toString() const override;
    int toInteger() const override;
    long long toInt64() const override;
    double toDouble() const override;
    bool toBoolean() const override;
    void fromString(const QString &value) override;
    void fromInteger(int value) override;
    void fromInt64(long long value) override;
    void fromDouble(double value) override;
    void fromBoolean(bool value) override;

    T *values() const { return static_cast<T *>(data()); }
    int elementCount() const;
    template <typename V> void store(V value);
};

template <typename T, typename ObjectT> class TOLVEX_EXPORT PrimitiveValueClass : public Class
{
public:
    explicit PrimitiveValueClass(const char *name);

    SharedPtr<Object> construct(int id, void **args) const override;
    SharedPtr<Object> wrap(void *data, const ObjectAttribute &attribute) const override;
    void deleteObjectData(void *data, const ObjectAttribute &attribute) const override;
    bool compare(SharedPtr<Object> a, SharedPtr<Object> b) const override;

private:
    void initSuperClass() override;
    Constructor *createConstructor(int id) const override;
    Method *createMethod(int id) const override;
    Property *createProperty(int id) const override;
    Event *createEvent(int id) const override;
    Enum *createEnum(int id) const override;
    bool canConvertToInternal(const Class *target, bool sourceIsPointer,
                              bool targetIsPointer) const override;
    SharedPtr<Object> convertToInternal(SharedPtr<Object> obj, const Class *target,
                                        bool targetIsPointer) const override;
};

class TOLVEX_EXPORT TolvexObject_short : public PrimitiveValueObject<short>
{
    using PrimitiveValueObject::PrimitiveValueObject;
};
class TOLVEX_EXPORT TolvexObject_int : public PrimitiveValueObject<int>
{
    using PrimitiveValueObject::PrimitiveValueObject;
};
class TOLVEX_EXPORT TolvexObject_long : public PrimitiveValueObject<long>
{
    using PrimitiveValueObject::PrimitiveValueObject;
};
class TOLVEX_EXPORT TolvexObject_bool : public PrimitiveValueObject<bool>
{
    using PrimitiveValueObject::PrimitiveValueObject;
};
class TOLVEX_EXPORT TolvexObject_double : public PrimitiveValueObject<double>
{
    using PrimitiveValueObject::PrimitiveValueObject;
};
class TOLVEX_EXPORT TolvexObject_int64 : public PrimitiveValueObject<long long>
{
    using PrimitiveValueObject::PrimitiveValueObject;
};

class TOLVEX_EXPORT TolvexClass_short : public PrimitiveValueClass<short, TolvexObject_short>
{
public:
    TolvexClass_short() : PrimitiveValueClass("short") {}
};
class TOLVEX_EXPORT TolvexClass_int : public PrimitiveValueClass<int, TolvexObject_int>
{
public:
    TolvexClass_int() : PrimitiveValueClass("int") {}
};
class TOLVEX_EXPORT TolvexClass_long : public PrimitiveValueClass<long, TolvexObject_long>
{
public:
    TolvexClass_long() : PrimitiveValueClass("long") {}
};
class TOLVEX_EXPORT TolvexClass_bool : public PrimitiveValueClass<bool, TolvexObject_bool>
{
public:
    TolvexClass_bool() : PrimitiveValueClass("bool") {}
};
class TOLVEX_EXPORT TolvexClass_double : public PrimitiveValueClass<double, TolvexObject_double>
{
public:
    TolvexClass_double() : PrimitiveValueClass("double") {}
};
class TOLVEX_EXPORT TolvexClass_int64 : public PrimitiveValueClass<long long, TolvexObject_int64>
{
public:
    TolvexClass_int64() : PrimitiveValueClass("int64") {}
};

// A char object holds a single char, a zero-terminated string (pointer
// bit), or an array of strings (pointer and array bits, flags 18).
class TOLVEX_EXPORT TolvexObject_char : public Object
{
public:
    TolvexObject_char(const Class *type, void *data, const ObjectAttribute &attribute)
        : Object(type, data, attribute)
    {}

    int numChildren() override { return 0; }
    void streamObject(QDataStream &stream) const override;
    void objectFromStream(QDataStream &stream) override;
    QString toDebugString() const override;
    QString toString() const override;
    int toInteger() const override;
    long long toInt64() const override;
    double toDouble() const override;
    bool toBoolean() const override;
    void fromString(const QString &value) override;
    void fromInteger(int value) override;
    void fromInt64(long long value) override;
    void fromDouble(double value) override;
    void fromBoolean(bool value) override;

    bool isString() const;
    bool isStringArray() const;
    int stringCount() const;

private:
    void setText(const QString &text);
};

class TOLVEX_EXPORT TolvexClass_char : public PrimitiveValueClass<char, TolvexObject_char>
{
public:
    TolvexClass_char() : PrimitiveValueClass("char") {}

    // Constructors 0 and 1 make a heap string (of none or one char), as the
    // Pointer attribute says; constructor 2 wraps a given C string.
    SharedPtr<Object> construct(int id, void **args) const override;
    void deleteObjectData(void *data, const ObjectAttribute &attribute) const override;
    bool compare(SharedPtr<Object> a, SharedPtr<Object> b) const override;
};

class TOLVEX_EXPORT TolvexObject_void : public Object
{
public:
    using Object::Object;
    QString toString() const override { return QStringLiteral("<null>"); }
};

class TOLVEX_EXPORT TolvexClass_void : public Class
{
public:
    TolvexClass_void();
    SharedPtr<Object> wrap(void *data, const ObjectAttribute &attribute) const override;

private:
    void initSuperClass() override;
};

// What an Argument's type becomes when its type name is unknown.
class TOLVEX_EXPORT TolvexClass_undefined : public Class
{
public:
    TolvexClass_undefined();

private:
    void initSuperClass() override;
};

} // namespace Tolvex
