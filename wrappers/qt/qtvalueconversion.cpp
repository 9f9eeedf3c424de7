#include "qtvalueconversion.h"

#include "class.h"
#include "datetime.h"
#include "inspector.h"
#include "method.h"
#include "object.h"
#include "objectattribute.h"
#include "primitiveclassid.h"
#include "property.h"
#include "qtclass.h"
#include "qtobjectregistry.h"
#include "qtvalueclass.h"
#include "screenpoint.h"
#include "screenrectangle.h"
#include "valuewrapping.h"

#include <QDateTime>
#include <QMetaObject>
#include <QPoint>
#include <QRect>
#include <QStringList>

#include <array>

namespace Tolvex {

namespace {

bool isEnum(QMetaType type)
{
    return type.flags() & QMetaType::IsEnumeration;
}

bool isObjectPointer(QMetaType type)
{
    return type.flags() & QMetaType::PointerToQObject;
}

// Enumerators and flags are stored as integers of their size.
qint64 enumStorage(const QVariant &value)
{
    const void *data = value.constData();
    switch (value.metaType().sizeOf()) {
    case 1:
        return *static_cast<const qint8 *>(data);
    case 2:
        return *static_cast<const qint16 *>(data);
    case 4:
        return *static_cast<const qint32 *>(data);
    case 8:
        return *static_cast<const qint64 *>(data);
    }
    return value.toLongLong();
}

QVariant enumVariant(QMetaType type, qint64 n)
{
    QVariant result(type);
    void *data = result.data();
    switch (type.sizeOf()) {
    case 1:
        *static_cast<qint8 *>(data) = qint8(n);
        break;
    case 2:
        *static_cast<qint16 *>(data) = qint16(n);
        break;
    case 4:
        *static_cast<qint32 *>(data) = qint32(n);
        break;
    case 8:
        *static_cast<qint64 *>(data) = n;
        break;
    }
    return result;
}

bool isNumber(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Double:
    case QMetaType::Float:
        return true;
    }
    return false;
}

// The primitive class that values of a type read as, or -1 for none.
int primitiveClassOf(int typeId)
{
    switch (typeId) {
    case QMetaType::Bool:
        return BoolClassId;
    case QMetaType::Int:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::UChar:
        return IntClassId;
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
        return Int64ClassId;
    case QMetaType::Double:
    case QMetaType::Float:
        return DoubleClassId;
    case QMetaType::QString:
    case QMetaType::QByteArray:
    case QMetaType::QChar:
    case QMetaType::QUrl:
    case QMetaType::QUuid:
        return CharClassId;
    }
    return -1;
}

QString typeNameOf(const QVariant &value)
{
    if (isObjectPointer(value.metaType())) {
        if (const QObject *o = value.value<QObject *>())
            return QString::fromLatin1(o->metaObject()->className());
    }
    return value.isValid() ? QString::fromLatin1(value.typeName()) : QStringLiteral("nothing");
}

const Class *nearestKnownClass(const QMetaObject *mo, const Class *owner)
{
    for (; mo; mo = mo->superClass())
        if (const QtClass *c = QtClass::existing(mo))
            if (!owner || owner->id() < 0 || c->id() < owner->id())
                return c;
    return QtClass::existing(&QObject::staticMetaObject);
}

// Lists and maps are the model's own container classes, made and read
// through their constructors and members as any class's objects are.
const Class *arrayClass()
{
    return Inspector::self()->type(QStringLiteral("Tolvex_Array"));
}

const Class *mapClass()
{
    return Inspector::self()->type(QStringLiteral("Tolvex_Map"));
}

SharedPtr<Object> elementOrVoid(const QVariant &value)
{
    SharedPtr<Object> element = QtValueConversion::toObject(value);
    return element ? element : Inspector::self()->voidObject();
}

SharedPtr<Object> listObject(const QVariantList &list)
{
    const Class *c = arrayClass();
    SharedPtr<Object> array = c ? c->construct(ObjectList()) : nullptr;
    if (!array)
        return nullptr;
    const MethodList push = c->methods(QStringLiteral("push"));
    for (const QVariant &v : list)
        push.invoke(array, ObjectList{elementOrVoid(v)});
    return array;
}

template <typename Map> SharedPtr<Object> mapObject(const Map &map)
{
    const Class *c = mapClass();
    SharedPtr<Object> result = c ? c->construct(ObjectList()) : nullptr;
    if (!result)
        return nullptr;
    const MethodList insert = c->methods(QStringLiteral("insert"));
    for (auto it = map.cbegin(); it != map.cend(); ++it)
        insert.invoke(result, ObjectList{Inspector::self()->createPrimitive(it.key()),
                                         elementOrVoid(it.value())});
    return result;
}

SharedPtr<Object> readProperty(const SharedPtr<Object> &object, const char *name)
{
    const Property *p = object->type()->property(QString::fromLatin1(name));
    return p ? p->get(object) : nullptr;
}

QVariantList listVariant(const SharedPtr<Object> &array)
{
    QVariantList list;
    const SharedPtr<Object> length = readProperty(array, "length");
    const MethodList at = array->type()->methods(QStringLiteral("at"));
    const long long n = length ? length->toInt64() : 0;
    for (long long i = 0; i < n; ++i)
        list.append(QtValueConversion::toVariant(
            at.invoke(array, ObjectList{Inspector::self()->createPrimitive(i)})));
    return list;
}

QVariantMap mapVariant(const SharedPtr<Object> &object)
{
    QVariantMap map;
    const QStringList keys =
        QtValueConversion::toVariant(readProperty(object, "keys")).toStringList();
    const MethodList at = object->type()->methods(QStringLiteral("at"));
    for (const QString &key : keys)
        map.insert(key, QtValueConversion::toVariant(at.invoke(
                            object, ObjectList{Inspector::self()->createPrimitive(key)})));
    return map;
}

SharedPtr<Object> dateTimeObject(const QDate &date, const QTime &time, bool withTime)
{
    if (!date.isValid())
        return wrapDateTime(DateTime());
    if (!withTime)
        return wrapDateTime(DateTime(date.year(), date.month(), date.day()));
    return wrapDateTime(
        DateTime(date.year(), date.month(), date.day(), time.hour(), time.minute(), time.second()));
}

QVariant primitiveVariant(const SharedPtr<Object> &object)
{
    switch (object->type()->id()) {
    case ShortClassId:
    case IntClassId:
        return object->toInteger();
    case LongClassId:
    case Int64ClassId:
        return object->toInt64();
    case BoolClassId:
        return object->toBoolean();
    case DoubleClassId:
        return object->toDouble();
    case CharClassId: {
        const ObjectAttribute a = object->objectAttribute();
        QList<QString> strings;
        if (a.isArray() && unwrap(object, &strings))
            return QStringList(strings);
        return object->toString();
    }
    }
    return QVariant();
}

QVariant modelValueVariant(const SharedPtr<Object> &object)
{
    const Class *type = object->type();
    ScreenPoint point;
    if (type == screenPointClass() && unwrapScreenPoint(object, &point))
        return QPoint(point.x, point.y);
    ScreenRectangle rect;
    if (type == objectModelScreenRectangleClass() && unwrapScreenRectangle(object, &rect))
        return QRect(rect.x, rect.y, rect.width, rect.height);
    DateTime dt;
    if (type == objectModelDateTimeClass() && unwrapDateTime(object, &dt)) {
        const QDate date(dt.year, dt.month, dt.day);
        if (!dt.hasTime())
            return date;
        return QDateTime(date, QTime(dt.hour, dt.minute, dt.second));
    }
    if (type == arrayClass())
        return listVariant(object);
    if (type == mapClass())
        return mapVariant(object);
    return object->toString();
}

} // namespace

QMetaEnum QtValueConversion::metaEnum(QMetaType type)
{
    if (!isEnum(type))
        return QMetaEnum();
    const QMetaObject *scope = type.metaObject();
    if (!scope)
        return QMetaEnum();
    QByteArray name(type.name());
    if (name.startsWith("QFlags<") && name.endsWith('>'))
        name = name.mid(7, name.size() - 8);
    const qsizetype colons = name.lastIndexOf("::");
    if (colons >= 0)
        name = name.mid(colons + 2);
    for (int i = 0; i < scope->enumeratorCount(); ++i) {
        const QMetaEnum e = scope->enumerator(i);
        if (name == e.name() || name == e.enumName())
            return e;
    }
    return QMetaEnum();
}

// Flags read as the keys that make them up, each first of its value in the
// order of declaration: a key that names exactly the value, else the single
// keys whose bits the value has, and the number of what no key covers.
QString QtValueConversion::enumText(const QMetaEnum &enumerator, qint64 value)
{
    const int v = int(value);
    if (!enumerator.isFlag()) {
        const char *key = enumerator.valueToKey(v);
        return key ? QString::fromLatin1(key) : QString::number(value);
    }
    for (int k = 0; k < enumerator.keyCount(); ++k)
        if (enumerator.value(k) == v)
            return QString::fromLatin1(enumerator.key(k));
    QStringList keys;
    int remaining = v;
    for (int k = 0; k < enumerator.keyCount() && remaining; ++k) {
        const int bits = enumerator.value(k);
        if (bits != 0 && (remaining & bits) == bits) {
            keys.append(QString::fromLatin1(enumerator.key(k)));
            remaining &= ~bits;
        }
    }
    if (remaining)
        keys.append(QString::number(remaining));
    return keys.join(QLatin1Char('|'));
}

bool QtValueConversion::enumValue(const QMetaEnum &enumerator, const QString &text, qint64 *value)
{
    bool ok = false;
    const qint64 n = text.trimmed().toLongLong(&ok, 0);
    if (ok) {
        *value = n;
        return true;
    }
    if (!enumerator.isValid())
        return false;
    const QStringList parts = text.split(QLatin1Char('|'), Qt::SkipEmptyParts);
    if (parts.isEmpty() || (!enumerator.isFlag() && parts.size() > 1))
        return false;
    qint64 result = 0;
    for (QString key : parts) {
        key = key.trimmed();
        const qsizetype colons = key.lastIndexOf(QLatin1String("::"));
        if (colons >= 0)
            key = key.mid(colons + 2);
        const int v = enumerator.keyToValue(key.toLatin1().constData(), &ok);
        if (!ok)
            return false;
        result |= v;
    }
    *value = result;
    return true;
}

SharedPtr<Object> QtValueConversion::toObject(const QVariant &value)
{
    return toObject(value, QMetaEnum());
}

SharedPtr<Object> QtValueConversion::toObject(const QVariant &value, const QMetaEnum &enumerator)
{
    if (!value.isValid())
        return nullptr;
    Inspector *inspector = Inspector::self();
    const QMetaType type = value.metaType();
    if (isEnum(type) || (enumerator.isValid() && isNumber(value))) {
        const QMetaEnum e = enumerator.isValid() ? enumerator : metaEnum(type);
        const qint64 n = isEnum(type) ? enumStorage(value) : value.toLongLong();
        if (e.isValid())
            return inspector->createPrimitive(enumText(e, n));
        return inspector->createPrimitive(int(n));
    }
    switch (primitiveClassOf(type.id())) {
    case BoolClassId:
        return inspector->createPrimitive(value.toBool());
    case IntClassId:
        return inspector->createPrimitive(value.toInt());
    case Int64ClassId:
        return inspector->createPrimitive(value.toLongLong());
    case DoubleClassId:
        return inspector->createPrimitive(value.toDouble());
    case CharClassId:
        return inspector->createPrimitive(value.toString());
    }
    switch (type.id()) {
    case QMetaType::QStringList:
        return wrap(QList<QString>(value.toStringList()));
    case QMetaType::QPoint:
        return wrapScreenPoint(ScreenPoint{value.toPoint().x(), value.toPoint().y()});
    case QMetaType::QRect: {
        const QRect r = value.toRect();
        return wrapScreenRectangle(ScreenRectangle{r.x(), r.y(), r.width(), r.height()});
    }
    case QMetaType::QDateTime: {
        const QDateTime dt = value.toDateTime();
        return dateTimeObject(dt.date(), dt.time(), true);
    }
    case QMetaType::QDate:
        return dateTimeObject(value.toDate(), QTime(), false);
    case QMetaType::QVariantList:
        return listObject(value.toList());
    case QMetaType::QVariantMap:
        return mapObject(value.toMap());
    case QMetaType::QVariantHash:
        return mapObject(value.toHash());
    }
    if (isObjectPointer(type))
        return QtObjectRegistry::wrap(value.value<QObject *>());
    if (const QtValueClass *c = QtValueClass::forType(type))
        return c->wrapValue(value);
    // A value that only JavaScript knows, say, reads as what it converts to.
    if (value.canConvert<QVariantList>() && !value.canConvert<QString>())
        return listObject(value.toList());
    if (value.canConvert<QString>())
        return inspector->createPrimitive(value.toString());
    return QtValueClass::opaqueClass()->wrapValue(value);
}

QVariant QtValueConversion::toVariant(const SharedPtr<Object> &object)
{
    if (!object || object->isNull() || !object->type())
        return QVariant();
    if (QObject *o = QtObjectRegistry::qobject(object))
        return QVariant::fromValue(o);
    QVariant value;
    if (QtValueClass::valueOf(object, &value))
        return value;
    if (object->type()->id() < VoidClassId)
        return primitiveVariant(object);
    if (object->type()->id() <= UndefinedClassId)
        return QVariant();
    return modelValueVariant(object);
}

bool QtValueConversion::convert(QVariant *value, QMetaType type, const QMetaEnum &enumerator,
                                QString *error)
{
    if (!type.isValid()) {
        *error = QStringLiteral("the type is unknown to Qt's type system");
        return false;
    }
    if (type.id() == QMetaType::QVariant || value->metaType() == type)
        return true;
    if (isEnum(type)) {
        const QMetaEnum e = enumerator.isValid() ? enumerator : metaEnum(type);
        qint64 n = 0;
        bool ok = true;
        if (isEnum(value->metaType()))
            n = enumStorage(*value);
        else if (isNumber(*value))
            n = value->toLongLong(&ok);
        else
            ok = enumValue(e, value->toString(), &n);
        if (!ok) {
            *error = QStringLiteral("'%1' names no value of %2")
                         .arg(value->toString(), QString::fromLatin1(type.name()));
            return false;
        }
        *value = enumVariant(type, n);
        return true;
    }
    if (isObjectPointer(type)) {
        QObject *o = nullptr;
        if (value->isValid()) {
            if (!isObjectPointer(value->metaType())) {
                *error = QStringLiteral("a %1 is needed, not the %2 given")
                             .arg(QString::fromLatin1(type.name()), typeNameOf(*value));
                return false;
            }
            o = value->value<QObject *>();
        }
        if (o && type.metaObject() && !o->metaObject()->inherits(type.metaObject())) {
            *error = QStringLiteral("a %1 is needed, not the %2 given")
                         .arg(QString::fromLatin1(type.name()), typeNameOf(*value));
            return false;
        }
        *value = QVariant(type, &o);
        return true;
    }
    if (value->typeId() == QMetaType::QString) {
        if (const QtValueClass *c = QtValueClass::forType(type)) {
            const QVariant parsed = c->fromText(value->toString());
            if (parsed.isValid()) {
                *value = parsed;
                return true;
            }
        }
    }
    QVariant converted = *value;
    if (converted.convert(type)) {
        *value = converted;
        return true;
    }
    *error = QStringLiteral("a %1 cannot be converted to %2")
                 .arg(typeNameOf(*value), QString::fromLatin1(type.name()));
    return false;
}

QString QtValueConversion::text(const QVariant &value, const QMetaEnum &enumerator)
{
    if (value.typeId() == QMetaType::QString)
        return value.toString();
    if (!value.isValid())
        return QString();
    const QMetaType type = value.metaType();
    if (isEnum(type) || (enumerator.isValid() && isNumber(value))) {
        const QMetaEnum e = enumerator.isValid() ? enumerator : metaEnum(type);
        const qint64 n = isEnum(type) ? enumStorage(value) : value.toLongLong();
        return e.isValid() ? enumText(e, n) : QString::number(n);
    }
    switch (type.id()) {
    case QMetaType::Bool:
        return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    case QMetaType::Double:
    case QMetaType::Float:
        return QString::number(value.toDouble(), 'g', 10);
    case QMetaType::QStringList:
        return value.toStringList().join(QLatin1Char(','));
    }
    if (isObjectPointer(type))
        return QString();
    if (const QtValueClass *c = QtValueClass::forType(type))
        return c->textOf(value);
    return value.canConvert<QString>() ? value.toString() : QString();
}

Argument QtValueConversion::argumentFor(QMetaType type, const Class *owner, const Enum *enumerator,
                                        const QString &name)
{
    Inspector *inspector = Inspector::self();
    const auto of = [&](const Class *c, const ObjectAttribute &attribute) {
        return Argument(name, c, attribute, enumerator);
    };
    if (!type.isValid() || type.id() == QMetaType::Void)
        return Argument();
    if (isEnum(type))
        return of(inspector->type(CharClassId), ObjectAttribute::Pointer());
    if (isObjectPointer(type))
        return of(nearestKnownClass(type.metaObject(), owner), ObjectAttribute::Pointer());
    if (const int primitive = primitiveClassOf(type.id()); primitive >= 0)
        return of(inspector->type(primitive),
                  primitive == CharClassId ? ObjectAttribute::Pointer() : ObjectAttribute::Value());
    switch (type.id()) {
    case QMetaType::QStringList:
        return of(inspector->type(CharClassId),
                  ObjectAttribute(ObjectAttribute::PointerFlag | ObjectAttribute::ArrayFlag, 0));
    case QMetaType::QPoint:
        return of(screenPointClass(), ObjectAttribute::Value());
    case QMetaType::QRect:
        return of(objectModelScreenRectangleClass(), ObjectAttribute::Value());
    case QMetaType::QDateTime:
    case QMetaType::QDate:
        return of(objectModelDateTimeClass(), ObjectAttribute::Value());
    case QMetaType::QVariantList:
        return of(arrayClass(), ObjectAttribute::Value());
    case QMetaType::QVariantMap:
    case QMetaType::QVariantHash:
        return of(mapClass(), ObjectAttribute::Value());
    }
    if (const QtValueClass *c = QtValueClass::forType(type))
        return of(c, ObjectAttribute::Value());
    // QVariant and the types the model has no class for take any object.
    return of(inspector->type(VoidClassId), ObjectAttribute::Value());
}

bool QtValueConversion::invoke(QObject *object, const QMetaMethod &method, QVariantList args,
                               QVariant *result, QString *error)
{
    constexpr int MaxArguments = 10;
    if (!method.isValid()) {
        *error = QStringLiteral("the method is unknown to the object");
        return false;
    }
    if (args.size() != method.parameterCount() || args.size() > MaxArguments) {
        *error = QStringLiteral("%1 arguments given, %2 expected")
                     .arg(args.size())
                     .arg(method.parameterCount());
        return false;
    }
    const QList<QByteArray> typeNames = method.parameterTypes();
    std::array<QGenericArgument, MaxArguments> arguments;
    for (int i = 0; i < args.size(); ++i) {
        const QMetaType type = method.parameterMetaType(i);
        QString why;
        if (!convert(&args[i], type, metaEnum(type), &why)) {
            *error = QStringLiteral("argument %1: %2").arg(i + 1).arg(why);
            return false;
        }
        const void *data = type.id() == QMetaType::QVariant ? &args[i] : args[i].constData();
        arguments[size_t(i)] = QGenericArgument(typeNames[i].constData(), data);
    }
    const QMetaType returnType = method.returnMetaType();
    QVariant returned;
    QGenericReturnArgument returnArgument;
    if (returnType.isValid() && returnType.id() != QMetaType::Void) {
        if (returnType.id() != QMetaType::QVariant)
            returned = QVariant(returnType);
        returnArgument =
            QGenericReturnArgument(method.typeName(), returnType.id() == QMetaType::QVariant
                                                          ? static_cast<void *>(&returned)
                                                          : returned.data());
    }
    const bool called =
        method.invoke(object, Qt::DirectConnection, returnArgument, arguments[0], arguments[1],
                      arguments[2], arguments[3], arguments[4], arguments[5], arguments[6],
                      arguments[7], arguments[8], arguments[9]);
    if (!called) {
        *error = QStringLiteral("Qt refused the call of %1")
                     .arg(QString::fromLatin1(method.methodSignature()));
        return false;
    }
    if (result)
        *result = returned;
    return true;
}

bool QtValueConversion::invoke(QObject *object, const char *name, const QVariantList &args,
                               QVariant *result)
{
    const QMetaObject *mo = object->metaObject();
    for (int i = 0; i < mo->methodCount(); ++i) {
        const QMetaMethod m = mo->method(i);
        if (m.name() != name || m.parameterCount() != args.size())
            continue;
        QString error;
        if (invoke(object, m, args, result, &error))
            return true;
    }
    return false;
}

} // namespace Tolvex
