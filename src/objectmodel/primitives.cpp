#include "primitives.h"

#include "constructor.h"
#include "inspector.h"
#include "inspector_p.h"

#include <QDataStream>
#include <QStringList>

#include <cmath>
#include <limits>
#include <type_traits>

namespace Tolvex {

namespace {

// A C++ cast, except that a floating value outside the target's range (or
// NaN) does not become undefined behaviour: scripts send any double.
template <typename To, typename From> To castValue(From value)
{
    if constexpr (std::is_same_v<To, bool>) {
        return value != From(0);
    } else if constexpr (std::is_floating_point_v<From> && std::is_integral_v<To>) {
        if (std::isnan(value))
            return To(0);
        if (value <= static_cast<From>(std::numeric_limits<To>::min()))
            return std::numeric_limits<To>::min();
        if (value >= static_cast<From>(std::numeric_limits<To>::max()))
            return std::numeric_limits<To>::max();
        return static_cast<To>(value);
    } else {
        return static_cast<To>(value);
    }
}

template <typename T> QString numberText(T value)
{
    if constexpr (std::is_same_v<T, double>)
        return QString::number(value, 'g', 6);
    else if constexpr (std::is_same_v<T, bool> || std::is_same_v<T, char>)
        return QString::number(int(value));
    else
        return QString::number(value, 10);
}

template <typename T> QString elementText(T value)
{
    if constexpr (std::is_same_v<T, bool>)
        return value ? QStringLiteral("true") : QStringLiteral("false");
    else
        return numberText(value);
}

template <typename T> T parse(const QString &text)
{
    if constexpr (std::is_same_v<T, bool>)
        return text.toLower() == QLatin1String("true") || text.toInt(nullptr, 10) != 0;
    else if constexpr (std::is_same_v<T, double>)
        return text.toDouble();
    else if constexpr (std::is_same_v<T, long long>)
        return text.toLongLong(nullptr, 10);
    else
        return static_cast<T>(text.toInt(nullptr, 10));
}

// The wire form of one element. long travels as 32 bits, as on the
// platform whose long that is; the others in QDataStream's own forms.
template <typename T> void writeElement(QDataStream &stream, T value)
{
    if constexpr (std::is_same_v<T, short>)
        stream << qint16(value);
    else if constexpr (std::is_same_v<T, int> || std::is_same_v<T, long>)
        stream << qint32(value);
    else if constexpr (std::is_same_v<T, long long>)
        stream << qint64(value);
    else if constexpr (std::is_same_v<T, bool>)
        stream << value;
    else
        stream << value;
}

template <typename T> T readElement(QDataStream &stream)
{
    if constexpr (std::is_same_v<T, short>) {
        qint16 v = 0;
        stream >> v;
        return v;
    } else if constexpr (std::is_same_v<T, int> || std::is_same_v<T, long>) {
        qint32 v = 0;
        stream >> v;
        return v;
    } else if constexpr (std::is_same_v<T, long long>) {
        qint64 v = 0;
        stream >> v;
        return v;
    } else {
        T v{};
        stream >> v;
        return v;
    }
}

template <typename T>
SharedPtr<Object> makeValue(int classId, T value, const ObjectAttribute &attribute)
{
    const Class *c = Inspector::self()->type(classId);
    if (!c)
        return nullptr;
    SharedPtr<Object> result = c->wrap(new T(value), attribute);
    if (result)
        result->setAutoDelete(true);
    return result;
}

template <typename T> SharedPtr<Object> convertValue(T value, int targetId, bool targetIsPointer)
{
    const ObjectAttribute v = ObjectAttribute::Value();
    switch (targetId) {
    case ShortClassId:
        return makeValue<short>(targetId, castValue<short>(value), v);
    case IntClassId:
        return makeValue<int>(targetId, castValue<int>(value), v);
    case Int64ClassId:
        return makeValue<long long>(targetId, castValue<long long>(value), v);
    case LongClassId:
        return makeValue<long>(targetId, castValue<long>(value), v);
    case BoolClassId:
        return makeValue<bool>(targetId, castValue<bool>(value), v);
    case DoubleClassId:
        return makeValue<double>(targetId, castValue<double>(value), v);
    case CharClassId:
        if (targetIsPointer)
            return Inspector::self()->createPrimitive(numberText(value));
        // The low byte, through a 64-bit integer so that no value is out of range.
        return makeValue<char>(targetId, static_cast<char>(castValue<long long>(value) & 0xff), v);
    }
    return nullptr;
}

bool canConvertPrimitive(const Class *target, bool sourceIsPointer, bool targetIsPointer)
{
    if (!target || sourceIsPointer)
        return false;
    const int id = target->id();
    if (Inspector::self()->type(id) != target)
        return false;
    if (targetIsPointer)
        return id == CharClassId;
    return id == ShortClassId || id == IntClassId || id == Int64ClassId || id == LongClassId ||
           id == BoolClassId || id == DoubleClassId || id == CharClassId;
}

} // namespace

// --- Numeric and bool objects ----------------------------------------------------

template <typename T> int PrimitiveValueObject<T>::elementCount() const
{
    const int n = objectAttribute().arrayLength();
    return n < 2 ? 1 : n;
}

template <typename T> template <typename V> void PrimitiveValueObject<T>::store(V value)
{
    if (T *v = values())
        v[0] = castValue<T>(value);
}

template <typename T> QString PrimitiveValueObject<T>::toString() const
{
    const T *v = values();
    if (!v)
        return QStringLiteral("<null>");
    const int n = elementCount();
    if (n == 1)
        return elementText(v[0]);
    QStringList parts;
    for (int i = 0; i < n; ++i)
        parts << elementText(v[i]);
    return QStringLiteral("[ ") + parts.join(QStringLiteral(", ")) + QStringLiteral(" ]");
}

template <typename T> QString PrimitiveValueObject<T>::toDebugString() const
{
    const T *v = values();
    if (!v)
        return Object::toDebugString();
    const QString suffix = QStringLiteral(" : ") + className();
    const int n = elementCount();
    if (n == 1)
        return elementText(v[0]) + suffix;
    QStringList parts;
    for (int i = 0; i < n; ++i)
        parts << elementText(v[i]) + suffix;
    return QStringLiteral("[ ") + parts.join(QStringLiteral(", ")) + QStringLiteral(" ]");
}

template <typename T> int PrimitiveValueObject<T>::toInteger() const
{
    return values() ? castValue<int>(values()[0]) : 0;
}

template <typename T> long long PrimitiveValueObject<T>::toInt64() const
{
    return values() ? castValue<long long>(values()[0]) : 0;
}

template <typename T> double PrimitiveValueObject<T>::toDouble() const
{
    return values() ? castValue<double>(values()[0]) : 0.0;
}

template <typename T> bool PrimitiveValueObject<T>::toBoolean() const
{
    return values() ? castValue<bool>(values()[0]) : false;
}

template <typename T> void PrimitiveValueObject<T>::fromString(const QString &value)
{
    store(parse<T>(value));
}

template <typename T> void PrimitiveValueObject<T>::fromInteger(int value)
{
    store(value);
}

template <typename T> void PrimitiveValueObject<T>::fromInt64(long long value)
{
    store(value);
}

template <typename T> void PrimitiveValueObject<T>::fromDouble(double value)
{
    store(value);
}

template <typename T> void PrimitiveValueObject<T>::fromBoolean(bool value)
{
    store(value);
}

template <typename T> void PrimitiveValueObject<T>::streamObject(QDataStream &stream) const
{
    const T *v = values();
    const int n = elementCount();
    for (int i = 0; i < n; ++i)
        writeElement<T>(stream, v ? v[i] : T{});
}

template <typename T> void PrimitiveValueObject<T>::objectFromStream(QDataStream &stream)
{
    T *v = values();
    const int n = elementCount();
    for (int i = 0; i < n; ++i) {
        const T value = readElement<T>(stream);
        if (v && stream.status() == QDataStream::Ok)
            v[i] = value;
    }
}

// --- Value classes -----------------------------------------------------------------

template <typename T, typename ObjectT>
PrimitiveValueClass<T, ObjectT>::PrimitiveValueClass(const char *name) : Class(name, true)
{
    setNumConstructors(3);
    setNumMethods(0);
    setNumProperties(0);
    setNumEvents(0);
    setNumEnums(0);
}

template <typename T, typename ObjectT> void PrimitiveValueClass<T, ObjectT>::initSuperClass()
{
    setSuperClass(nullptr);
}

template <typename T, typename ObjectT>
Constructor *PrimitiveValueClass<T, ObjectT>::createConstructor(int id) const
{
    switch (id) {
    case 0:
        return new Constructor(this, Signature(), 0);
    case 1:
        return new Constructor(
            this, Signature(Argument(QStringLiteral("value"), this, ObjectAttribute::Value())), 1);
    case 2:
        return new Constructor(
            this, Signature(Argument(QStringLiteral("pointer"), this, ObjectAttribute::Pointer())),
            2);
    }
    return nullptr;
}

template <typename T, typename ObjectT>
Method *PrimitiveValueClass<T, ObjectT>::createMethod(int) const
{
    return nullptr;
}
template <typename T, typename ObjectT>
Property *PrimitiveValueClass<T, ObjectT>::createProperty(int) const
{
    return nullptr;
}
template <typename T, typename ObjectT>
Event *PrimitiveValueClass<T, ObjectT>::createEvent(int) const
{
    return nullptr;
}
template <typename T, typename ObjectT> Enum *PrimitiveValueClass<T, ObjectT>::createEnum(int) const
{
    return nullptr;
}

template <typename T, typename ObjectT>
SharedPtr<Object> PrimitiveValueClass<T, ObjectT>::construct(int id, void **args) const
{
    SharedPtr<Object> result;
    switch (id) {
    case 0:
        result = wrap(new T(), ObjectAttribute::Pointer());
        result->setAutoDelete(true);
        return result;
    case 1:
        if (!args || !args[0])
            return nullptr;
        result = wrap(new T(*static_cast<T *>(args[0])), ObjectAttribute::Pointer());
        result->setAutoDelete(true);
        return result;
    case 2:
        return args ? wrap(args[0], ObjectAttribute::Pointer()) : nullptr;
    }
    return nullptr;
}

template <typename T, typename ObjectT>
SharedPtr<Object> PrimitiveValueClass<T, ObjectT>::wrap(void *data,
                                                        const ObjectAttribute &attribute) const
{
    return SharedPtr<Object>(new ObjectT(this, data, attribute));
}

template <typename T, typename ObjectT>
void PrimitiveValueClass<T, ObjectT>::deleteObjectData(void *data,
                                                       const ObjectAttribute &attribute) const
{
    if (attribute.isArray())
        delete[] static_cast<T *>(data);
    else
        delete static_cast<T *>(data);
}

template <typename T, typename ObjectT>
bool PrimitiveValueClass<T, ObjectT>::compare(SharedPtr<Object> a, SharedPtr<Object> b) const
{
    if (a && b && a->type() == this && b->type() == this) {
        const T *pa = static_cast<const T *>(a->data());
        const T *pb = static_cast<const T *>(b->data());
        if (!pa || !pb)
            return pa == pb;
        return *pa == *pb;
    }
    return Class::compare(a, b);
}

template <typename T, typename ObjectT>
bool PrimitiveValueClass<T, ObjectT>::canConvertToInternal(const Class *target,
                                                           bool sourceIsPointer,
                                                           bool targetIsPointer) const
{
    return canConvertPrimitive(target, sourceIsPointer, targetIsPointer);
}

template <typename T, typename ObjectT>
SharedPtr<Object> PrimitiveValueClass<T, ObjectT>::convertToInternal(SharedPtr<Object> obj,
                                                                     const Class *target,
                                                                     bool targetIsPointer) const
{
    if (!obj || !obj->data() ||
        !canConvertPrimitive(target, obj->objectAttribute().isPointer(), targetIsPointer))
        return nullptr;
    return convertValue(*static_cast<const T *>(obj->data()), target->id(), targetIsPointer);
}

template class PrimitiveValueObject<short>;
template class PrimitiveValueObject<int>;
template class PrimitiveValueObject<long>;
template class PrimitiveValueObject<bool>;
template class PrimitiveValueObject<double>;
template class PrimitiveValueObject<long long>;
template class PrimitiveValueClass<short, TolvexObject_short>;
template class PrimitiveValueClass<int, TolvexObject_int>;
template class PrimitiveValueClass<long, TolvexObject_long>;
template class PrimitiveValueClass<bool, TolvexObject_bool>;
template class PrimitiveValueClass<double, TolvexObject_double>;
template class PrimitiveValueClass<long long, TolvexObject_int64>;
template class PrimitiveValueClass<char, TolvexObject_char>;

// --- char --------------------------------------------------------------------------

bool TolvexObject_char::isString() const
{
    return objectAttribute().isPointer() && !objectAttribute().isArray();
}

bool TolvexObject_char::isStringArray() const
{
    return objectAttribute().isPointer() && objectAttribute().isArray();
}

int TolvexObject_char::stringCount() const
{
    return qMax(0, objectAttribute().arrayLength());
}

QString TolvexObject_char::toString() const
{
    if (!data())
        return QStringLiteral("<null>");
    if (isStringArray()) {
        char **strings = static_cast<char **>(data());
        QStringList parts;
        for (int i = 0; i < stringCount(); ++i)
            parts << QString::fromUtf8(strings[i]);
        return QLatin1Char('[') + parts.join(QStringLiteral(", ")) + QLatin1Char(']');
    }
    if (isString())
        return QString::fromUtf8(static_cast<const char *>(data()));
    return QString(QLatin1Char(*static_cast<const char *>(data())));
}

QString TolvexObject_char::toDebugString() const
{
    if (!data())
        return Object::toDebugString();
    if (isStringArray())
        return toString() + QStringLiteral(" : char*[]");
    if (isString())
        return toString() + QStringLiteral(" : char[]");
    return QString::number(int(*static_cast<const char *>(data()))) + QStringLiteral(" : char");
}

int TolvexObject_char::toInteger() const
{
    if (!data() || isStringArray())
        return 0;
    if (isString())
        return QString::fromUtf8(static_cast<const char *>(data())).toInt(nullptr, 10);
    return *static_cast<const char *>(data());
}

long long TolvexObject_char::toInt64() const
{
    if (!data() || isStringArray())
        return 0;
    if (isString())
        return QString::fromUtf8(static_cast<const char *>(data())).toLongLong(nullptr, 10);
    return *static_cast<const char *>(data());
}

double TolvexObject_char::toDouble() const
{
    if (!data() || isStringArray())
        return 0.0;
    if (isString())
        return QString::fromUtf8(static_cast<const char *>(data())).toDouble();
    return *static_cast<const char *>(data());
}

bool TolvexObject_char::toBoolean() const
{
    if (!data() || isStringArray())
        return false;
    if (isString())
        return parse<bool>(QString::fromUtf8(static_cast<const char *>(data())));
    return *static_cast<const char *>(data()) != 0;
}

// Replaces the string; the new copy belongs to this object.
void TolvexObject_char::setText(const QString &text)
{
    const QByteArray utf8 = text.toUtf8();
    put(qstrdup(utf8.constData()));
    setAutoDelete(true);
}

void TolvexObject_char::fromString(const QString &value)
{
    if (isStringArray())
        return;
    if (isString())
        setText(value);
    else if (char *c = static_cast<char *>(data()))
        *c = static_cast<char>(value.toInt(nullptr, 10));
}

void TolvexObject_char::fromInteger(int value)
{
    if (isString())
        setText(numberText(value));
    else if (!isStringArray())
        if (char *c = static_cast<char *>(data()))
            *c = static_cast<char>(value);
}

void TolvexObject_char::fromInt64(long long value)
{
    if (isString())
        setText(numberText(value));
    else if (!isStringArray())
        if (char *c = static_cast<char *>(data()))
            *c = static_cast<char>(value);
}

void TolvexObject_char::fromDouble(double value)
{
    if (isString())
        setText(numberText(value));
    else if (!isStringArray())
        if (char *c = static_cast<char *>(data()))
            *c = static_cast<char>(castValue<long long>(value));
}

void TolvexObject_char::fromBoolean(bool value)
{
    if (isString())
        setText(numberText(value));
    else if (!isStringArray())
        if (char *c = static_cast<char *>(data()))
            *c = value ? 1 : 0;
}

void TolvexObject_char::streamObject(QDataStream &stream) const
{
    if (isStringArray()) {
        char **strings = static_cast<char **>(data());
        for (int i = 0; i < stringCount(); ++i)
            stream << (strings ? strings[i] : nullptr);
    } else if (isString()) {
        stream << static_cast<const char *>(data());
    } else {
        const char *c = static_cast<const char *>(data());
        stream << qint8(c ? *c : 0);
    }
}

void TolvexObject_char::objectFromStream(QDataStream &stream)
{
    if (isStringArray()) {
        char **strings = static_cast<char **>(data());
        for (int i = 0; i < stringCount() && strings; ++i) {
            char *s = nullptr;
            stream >> s;
            if (stream.status() != QDataStream::Ok) {
                delete[] s;
                return;
            }
            if (isAutoDelete())
                delete[] strings[i];
            strings[i] = s;
        }
    } else if (isString()) {
        char *s = nullptr;
        stream >> s;
        if (stream.status() != QDataStream::Ok) {
            delete[] s;
            return;
        }
        put(s);
        setAutoDelete(true);
    } else {
        qint8 c = 0;
        stream >> c;
        if (char *p = static_cast<char *>(data()); p && stream.status() == QDataStream::Ok)
            *p = char(c);
    }
}

SharedPtr<Object> TolvexClass_char::construct(int id, void **args) const
{
    SharedPtr<Object> result;
    if (id == 0 || id == 1) {
        if (id == 1 && (!args || !args[0]))
            return nullptr;
        char *text = new char[2]{id == 1 ? *static_cast<char *>(args[0]) : '\0', '\0'};
        result = wrap(text, ObjectAttribute::Pointer());
        result->setAutoDelete(true);
        return result;
    }
    if (id == 2)
        return args ? wrap(args[0], ObjectAttribute::Pointer()) : nullptr;
    return nullptr;
}

void TolvexClass_char::deleteObjectData(void *data, const ObjectAttribute &attribute) const
{
    if (attribute.isPointer() && attribute.isArray()) {
        char **strings = static_cast<char **>(data);
        if (strings)
            for (int i = 0; i < attribute.arrayLength(); ++i)
                delete[] strings[i];
        delete[] strings;
    } else if (attribute.isPointer()) {
        delete[] static_cast<char *>(data);
    } else {
        delete static_cast<char *>(data);
    }
}

bool TolvexClass_char::compare(SharedPtr<Object> a, SharedPtr<Object> b) const
{
    if (!a || !b || a->type() != this || b->type() != this)
        return Class::compare(a, b);
    const ObjectAttribute aa = a->objectAttribute();
    const ObjectAttribute ba = b->objectAttribute();
    const bool aIndirect = aa.isPointer() || aa.isArray();
    const bool bIndirect = ba.isPointer() || ba.isArray();
    if (aIndirect != bIndirect)
        return Class::compare(a, b);
    if (!a->data() || !b->data())
        return a->data() == b->data();
    if (!aIndirect)
        return *static_cast<const char *>(a->data()) == *static_cast<const char *>(b->data());
    if (aa.isArray() != ba.isArray())
        return false;
    if (aa.isArray()) {
        if (aa.arrayLength() != ba.arrayLength())
            return false;
        char **sa = static_cast<char **>(a->data());
        char **sb = static_cast<char **>(b->data());
        for (int i = 0; i < aa.arrayLength(); ++i)
            if (qstrcmp(sa[i], sb[i]) != 0)
                return false;
        return true;
    }
    return qstrcmp(static_cast<const char *>(a->data()), static_cast<const char *>(b->data())) == 0;
}

// --- void and undefined -----------------------------------------------------------

TolvexClass_void::TolvexClass_void() : Class("void", true)
{
    setNumConstructors(0);
    setNumMethods(0);
    setNumProperties(0);
    setNumEvents(0);
    setNumEnums(0);
}

SharedPtr<Object> TolvexClass_void::wrap(void *data, const ObjectAttribute &attribute) const
{
    return SharedPtr<Object>(new TolvexObject_void(this, data, attribute));
}

void TolvexClass_void::initSuperClass()
{
    setSuperClass(nullptr);
}

TolvexClass_undefined::TolvexClass_undefined() : Class("undefined", true)
{
    setNumConstructors(0);
    setNumMethods(0);
    setNumProperties(0);
    setNumEvents(0);
    setNumEnums(0);
}

void TolvexClass_undefined::initSuperClass()
{
    setSuperClass(nullptr);
}

// --- Inspector's primitive factory ---------------------------------------------------

template <typename T> static SharedPtr<Object> ownedPrimitive(int classId, T value)
{
    return makeValue<T>(classId, value, ObjectAttribute::Value());
}

SharedPtr<Object> LocalInspector::createPrimitive(bool value)
{
    return ownedPrimitive(BoolClassId, value);
}

SharedPtr<Object> LocalInspector::createPrimitive(int value)
{
    return ownedPrimitive(IntClassId, value);
}

SharedPtr<Object> LocalInspector::createPrimitive(long value)
{
    return ownedPrimitive(LongClassId, value);
}

SharedPtr<Object> LocalInspector::createPrimitive(long long value)
{
    return ownedPrimitive(Int64ClassId, value);
}

SharedPtr<Object> LocalInspector::createPrimitive(double value)
{
    return ownedPrimitive(DoubleClassId, value);
}

SharedPtr<Object> LocalInspector::createPrimitive(const char *string)
{
    const Class *c = type(CharClassId);
    if (!c)
        return nullptr;
    SharedPtr<Object> result = c->wrap(qstrdup(string), ObjectAttribute::Pointer());
    result->setAutoDelete(true);
    return result;
}

SharedPtr<Object> LocalInspector::createPrimitive(const QList<QString> &strings)
{
    const Class *c = type(CharClassId);
    if (!c)
        return nullptr;
    const int n = int(strings.size());
    char **array = new char *[size_t(n)];
    for (int i = 0; i < n; ++i)
        array[i] = qstrdup(strings[i].toUtf8().constData());
    SharedPtr<Object> result = c->wrap(
        array, ObjectAttribute(ObjectAttribute::PointerFlag | ObjectAttribute::ArrayFlag, n));
    result->setAutoDelete(true);
    return result;
}

} // namespace Tolvex
