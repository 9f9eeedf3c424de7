#include "qtclass.h"

#include "classregistrar.h"
#include "enum.h"
#include "event.h"
#include "inspector.h"
#include "method.h"
#include "object.h"
#include "primitiveclassid.h"
#include "property.h"
#include "qtgeometrydelegate.h"
#include "qtnaming.h"
#include "qtobjectregistry.h"
#include "qtvalueconversion.h"

#include <QHash>
#include <QMetaObject>
#include <QRegularExpression>
#include <QSet>

namespace Tolvex {

struct QtClass::EnumItems
{
    std::vector<Enum::Item> items;
};

namespace {

QHash<const QMetaObject *, const QtClass *> &classesByMetaObject()
{
    static QHash<const QMetaObject *, const QtClass *> classes;
    return classes;
}

QHash<QByteArray, const QtClass *> &classesByName()
{
    static QHash<QByteArray, const QtClass *> classes;
    return classes;
}

// Meta objects whose class is being made, so that two classes whose members
// use each other's enumerators do not make each other without end.
QSet<const QMetaObject *> &inProgress()
{
    static QSet<const QMetaObject *> set;
    return set;
}

bool isCallable(const QMetaMethod &m)
{
    if (m.access() != QMetaMethod::Public)
        return false;
    if (m.methodType() != QMetaMethod::Slot && m.methodType() != QMetaMethod::Method)
        return false;
    for (int i = 0; i < m.parameterCount(); ++i)
        if (!m.parameterMetaType(i).isValid())
            return false;
    return m.returnMetaType().isValid();
}

// The meta objects that hold the enumerators the own members of a meta
// object use, other than itself, its superclasses and its subclasses.
QList<const QMetaObject *> enumeratorScopes(const QMetaObject *mo)
{
    QList<const QMetaObject *> scopes;
    const auto add = [&](const QMetaObject *scope) {
        if (scope && scope != mo && !mo->inherits(scope) && !scope->inherits(mo) &&
            !scopes.contains(scope))
            scopes.append(scope);
    };
    for (int i = mo->propertyOffset(); i < mo->propertyCount(); ++i) {
        const QMetaProperty p = mo->property(i);
        if (p.isEnumType())
            add(p.enumerator().enclosingMetaObject());
    }
    for (int i = mo->methodOffset(); i < mo->methodCount(); ++i) {
        const QMetaMethod m = mo->method(i);
        for (int k = -1; k < m.parameterCount(); ++k) {
            const QMetaType t = k < 0 ? m.returnMetaType() : m.parameterMetaType(k);
            if (t.flags() & QMetaType::IsEnumeration)
                add(QtValueConversion::metaEnum(t).enclosingMetaObject());
        }
    }
    return scopes;
}

// A name no class of the model has yet that is not this wrapper's.
QByteArray freeClassName(const QByteArray &name)
{
    QByteArray candidate = name;
    for (int n = 2; Inspector::self()->type(QString::fromLatin1(candidate)); ++n)
        candidate = name + "_" + QByteArray::number(n);
    return candidate;
}

} // namespace

const QtClass *QtClass::existing(const QMetaObject *metaObject)
{
    return classesByMetaObject().value(metaObject);
}

const QtClass *QtClass::of(const SharedPtr<Object> &object)
{
    return object ? dynamic_cast<const QtClass *>(object->type()) : nullptr;
}

const QtClass *QtClass::forMetaObject(const QMetaObject *metaObject)
{
    if (!metaObject)
        return nullptr;
    if (const QtClass *known = existing(metaObject))
        return known;
    const QByteArray name(metaObject->className());
    // QML makes a meta object per type it extends, some under one name.
    if (const QtClass *sameName = classesByName().value(name)) {
        classesByMetaObject().insert(metaObject, sameName);
        return sameName;
    }
    if (inProgress().contains(metaObject))
        return nullptr;

    const ClassRegistrar batch;
    inProgress().insert(metaObject);
    // What the class refers to is registered before it, so that a reader
    // of the classes in their order knows it when it meets it.
    forMetaObject(metaObject->superClass());
    for (const QMetaObject *scope : enumeratorScopes(metaObject))
        forMetaObject(scope);
    inProgress().remove(metaObject);

    auto *c = new QtClass(freeClassName(name).constData(), metaObject);
    classesByMetaObject().insert(metaObject, c);
    classesByName().insert(name, c);
    QtGeometryDelegate::addFor(c);
    return c;
}

QString QtClass::typeName(const QMetaObject *metaObject)
{
    static QHash<const QMetaObject *, QString> names;
    auto it = names.constFind(metaObject);
    if (it != names.cend())
        return *it;
    static const QRegularExpression qmlSuffix(QStringLiteral("_QML(TYPE)?_\\d+$"));
    QString name = QString::fromLatin1(metaObject->className());
    name.remove(qmlSuffix);
    names.insert(metaObject, name);
    return name;
}

QtClass::QtClass(const char *name, const QMetaObject *metaObject)
    : Class(name, Inspector::self()->globalNamespace(), true), m_metaObject(metaObject),
      m_typeName(typeName(metaObject))
{
    for (int i = metaObject->methodOffset(); i < metaObject->methodCount(); ++i) {
        const QMetaMethod m = metaObject->method(i);
        if (m.methodType() == QMetaMethod::Signal)
            m_signals.push_back(i);
        else if (isCallable(m))
            m_methods.push_back(i);
    }
    setNumConstructors(0);
    setNumMethods(int(m_methods.size()));
    setNumProperties(metaObject->propertyCount() - metaObject->propertyOffset());
    setNumEvents(int(m_signals.size()));
    setNumEnums(metaObject->enumeratorCount() - metaObject->enumeratorOffset());
}

QtClass::~QtClass() = default;

void QtClass::initSuperClass()
{
    setSuperClass(forMetaObject(m_metaObject->superClass()));
}

const Enum *QtClass::enumeratorOf(const QMetaEnum &metaEnum) const
{
    if (!metaEnum.isValid())
        return nullptr;
    const QMetaObject *scope = metaEnum.enclosingMetaObject();
    const QtClass *holder = scope && m_metaObject->inherits(scope) ? this : existing(scope);
    // A class made after this one is no class a reader knows yet.
    if (!holder || holder->id() > id())
        return nullptr;
    return holder->enumerator(QString::fromLatin1(metaEnum.name()));
}

Signature QtClass::signatureOf(const QMetaMethod &method) const
{
    Signature signature;
    const QList<QByteArray> names = method.parameterNames();
    for (int i = 0; i < method.parameterCount(); ++i) {
        const QMetaType type = method.parameterMetaType(i);
        signature.append(QtValueConversion::argumentFor(
            type, this, enumeratorOf(QtValueConversion::metaEnum(type)),
            i < names.size() ? QString::fromLatin1(names[i]) : QString()));
    }
    return signature;
}

Property *QtClass::createProperty(int id) const
{
    const int own = id - superClassOffset(Properties);
    const QMetaProperty p = m_metaObject->property(m_metaObject->propertyOffset() + own);
    if (!p.isValid())
        return nullptr;
    const Enum *enumerator = p.isEnumType() ? enumeratorOf(p.enumerator()) : nullptr;
    const unsigned int flags = (p.isReadable() ? Property::Readable : 0u) |
                               (p.isWritable() ? Property::Writable : 0u) |
                               (p.isStored() ? Property::Stored : 0u);
    return new Property(this, QtValueConversion::argumentFor(p.metaType(), this, enumerator),
                        QString::fromLatin1(p.name()), flags, id);
}

Method *QtClass::createMethod(int id) const
{
    const int own = id - superClassOffset(Methods);
    if (own < 0 || own >= int(m_methods.size()))
        return nullptr;
    const QMetaMethod m = m_metaObject->method(m_methods[size_t(own)]);
    const QMetaType returnType = m.returnMetaType();
    const Argument result = QtValueConversion::argumentFor(
        returnType, this, enumeratorOf(QtValueConversion::metaEnum(returnType)));
    return new Method(this, result, QString::fromLatin1(m.name()), signatureOf(m), id);
}

Event *QtClass::createEvent(int id) const
{
    const int own = id - superClassOffset(Events);
    if (own < 0 || own >= int(m_signals.size()))
        return nullptr;
    const QMetaMethod m = m_metaObject->method(m_signals[size_t(own)]);
    return new Event(this, QString::fromLatin1(m.name()), signatureOf(m), id);
}

Enum *QtClass::createEnum(int id) const
{
    const int own = id - superClassOffset(Enums);
    const QMetaEnum e = m_metaObject->enumerator(m_metaObject->enumeratorOffset() + own);
    if (!e.isValid())
        return nullptr;
    auto items = std::make_unique<EnumItems>();
    for (int k = 0; k < e.keyCount(); ++k)
        items->items.push_back({e.key(k), e.value(k)});
    items->items.push_back({nullptr, 0});
    auto *result = new Enum(this, QString::fromLatin1(e.name()), items->items.data(), id);
    result->setIsMask(e.isFlag());
    m_enumItems.push_back(std::move(items));
    return result;
}

QMetaProperty QtClass::metaProperty(const QObject *object, const Property *property) const
{
    const int own = property->id() - superClassOffset(Properties);
    const QMetaObject *actual = object->metaObject();
    if (actual->inherits(m_metaObject))
        return m_metaObject->property(m_metaObject->propertyOffset() + own);
    return actual->property(actual->indexOfProperty(property->name().toLatin1().constData()));
}

QMetaMethod QtClass::metaMethod(const QObject *object, const Method *method) const
{
    const int own = method->id() - superClassOffset(Methods);
    if (own < 0 || own >= int(m_methods.size()))
        return QMetaMethod();
    const QMetaMethod declared = m_metaObject->method(m_methods[size_t(own)]);
    const QMetaObject *actual = object->metaObject();
    if (actual->inherits(m_metaObject))
        return declared;
    return actual->method(actual->indexOfMethod(declared.methodSignature().constData()));
}

SharedPtr<Object> QtClass::getProperty(SharedPtr<Object> self, const Property *property) const
{
    QObject *object = QtObjectRegistry::qobject(self);
    if (!object) {
        Inspector::self()->setError(
            QStringLiteral("Cannot read property %1: the object is gone").arg(property->name()));
        return nullptr;
    }
    const QMetaProperty p = metaProperty(object, property);
    if (!p.isReadable()) {
        Inspector::self()->setError(
            QStringLiteral("Property %1 of %2 cannot be read").arg(property->name(), className()));
        return nullptr;
    }
    return QtValueConversion::toObject(p.read(object),
                                       p.isEnumType() ? p.enumerator() : QMetaEnum());
}

bool QtClass::setProperty(SharedPtr<Object> self, const Property *property,
                          SharedPtr<Object> value) const
{
    Inspector *inspector = Inspector::self();
    QObject *object = QtObjectRegistry::qobject(self);
    if (!object) {
        inspector->setError(
            QStringLiteral("Cannot set property %1: the object is gone").arg(property->name()));
        return false;
    }
    const QMetaProperty p = metaProperty(object, property);
    if (!p.isWritable()) {
        inspector->setError(
            QStringLiteral("Property %1 of %2 is read-only").arg(property->name(), className()));
        return false;
    }
    QVariant v = QtValueConversion::toVariant(value);
    QString error;
    if (!QtValueConversion::convert(&v, p.metaType(), p.isEnumType() ? p.enumerator() : QMetaEnum(),
                                    &error)) {
        inspector->setError(
            QStringLiteral("Cannot set property %1: %2").arg(property->name(), error));
        return false;
    }
    if (!p.write(object, v)) {
        inspector->setError(QStringLiteral("Property %1 of %2 did not take the value %3")
                                .arg(property->name(), className(), QtValueConversion::text(v)));
        return false;
    }
    return true;
}

SharedPtr<Object> QtClass::invoke(int, SharedPtr<Object> self, const ObjectList &args,
                                  const Method *method) const
{
    if (!verifyMethodInvocation(self, method) ||
        !verifyMethodArgumentCount(className(), method, args))
        return nullptr;
    Inspector *inspector = Inspector::self();
    QObject *object = QtObjectRegistry::qobject(self);
    if (!object) {
        inspector->setError(
            QStringLiteral("Cannot call %1(): the object is gone").arg(method->name()));
        return nullptr;
    }
    const QMetaMethod m = metaMethod(object, method);
    QVariantList values;
    for (const SharedPtr<Object> &arg : args)
        values.append(QtValueConversion::toVariant(arg));
    QVariant result;
    QString error;
    if (!QtValueConversion::invoke(object, m, values, &result, &error)) {
        inspector->setError(QStringLiteral("Cannot call %1(): %2").arg(method->name(), error));
        return nullptr;
    }
    const QMetaType returnType = m.returnMetaType();
    if (returnType.id() == QMetaType::Void)
        return inspector->voidObject();
    return QtValueConversion::toObject(result, QtValueConversion::metaEnum(returnType));
}

// An object reads as its real name where a string is wanted.
bool QtClass::canConvertToInternal(const Class *target, bool, bool targetIsPointer) const
{
    return target && target->id() == CharClassId && targetIsPointer;
}

SharedPtr<Object> QtClass::convertToInternal(SharedPtr<Object> obj, const Class *target,
                                             bool targetIsPointer) const
{
    QObject *object = QtObjectRegistry::qobject(obj);
    if (!object || !canConvertToInternal(target, true, targetIsPointer))
        return nullptr;
    return Inspector::self()->createPrimitive(QtNaming::realName(object));
}

} // namespace Tolvex
