#include "object.h"

#include "class.h"
#include "classofthedead_p.h"
#include "delegatefactory.h"
#include "inspector.h"
#include "logging.h"
#include "objectlist.h"
#include "property.h"
#include "userdata.h"

#include <QDataStream>
#include <QMutex>
#include <QSet>

namespace Tolvex {

namespace {

enum SearchedBit { HierarchyBit = 1, SerializeBit = 2, ConversionBit = 4, ComparisonBit = 8 };

QSet<QByteArray> &qobjectTypes()
{
    static QSet<QByteArray> types;
    return types;
}

// Guards against values whose properties lead back to themselves through
// other classes: the stream and debug forms stop descending here.
constexpr int MaxValueDepth = 32;
thread_local int valueDepth = 0;

struct DepthGuard
{
    DepthGuard() { ++valueDepth; }
    ~DepthGuard() { --valueDepth; }
    bool tooDeep() const { return valueDepth > MaxValueDepth; }
};

} // namespace

void tolvex_register_qobject_type(const char *className)
{
    if (className)
        qobjectTypes().insert(QByteArray(className));
}

Object::Object(const Class *type, void *data, const ObjectAttribute &attribute)
    : m_data(data), m_type(type), m_attribute(attribute), m_autoDelete(false), m_invalid(false),
      m_delegatesSearched(0)
{}

Object::~Object()
{
    delete m_userData;
    if (m_autoDelete && m_type)
        m_type->deleteObjectData(m_data, m_attribute);
}

QString Object::className() const
{
    return m_type ? m_type->className() : QString();
}

bool Object::isA(const Class *c) const
{
    return m_type && c && m_type->isSubClassOf(c);
}

void Object::setUserData(UserData *userData)
{
    if (userData != m_userData)
        delete m_userData;
    m_userData = userData;
}

int Object::index() const
{
    static QMutex mutex;
    static int next = 1;
    if (m_index < 0) {
        QMutexLocker lock(&mutex);
        m_index = next++;
    }
    return m_index;
}

bool Object::compare(SharedPtr<Object> other) const
{
    return m_type && m_type->compare(self(), other);
}

bool Object::sameAs(SharedPtr<Object> other) const
{
    return m_type && m_type->sameObjects(self(), other);
}

void Object::put(void *data)
{
    delete m_userData;
    m_userData = nullptr;
    if (m_autoDelete && m_type)
        m_type->deleteObjectData(m_data, objectAttribute());
    m_data = data;
}

void Object::invalidate()
{
    m_invalid = true;
    m_data = nullptr;
    clearDelegateCaches();
    m_type = ClassOfTheDead::instance();
}

SharedPtr<Object> Object::zombie()
{
    return SharedPtr<Object>(new Object(ClassOfTheDead::instance(), nullptr));
}

const Class *Object::registerClassOfTheDead()
{
    return ClassOfTheDead::instance();
}

void Object::clearDelegateCaches()
{
    m_hierarchyDelegate = nullptr;
    m_serializeDelegate = nullptr;
    m_conversionDelegate = nullptr;
    m_comparisonDelegate = nullptr;
    m_delegatesSearched = 0;
}

template <typename D>
const D *Object::cachedDelegate(int kind, const D *&cache, unsigned char bit) const
{
    if (!(m_delegatesSearched & bit)) {
        m_delegatesSearched |= bit;
        cache =
            static_cast<const D *>(DelegateFactory::self()->delegate(m_type, Delegate::Type(kind)));
    }
    return cache;
}

const ObjectHierarchyDelegate *Object::hierarchyDelegate() const
{
    if (!(m_delegatesSearched & HierarchyBit)) {
        cachedDelegate(Delegate::ObjectHierarchy, m_hierarchyDelegate, HierarchyBit);
        if (!m_hierarchyDelegate && m_type &&
            qobjectTypes().contains(m_type->className().toLatin1()))
            m_hierarchyDelegate =
                static_cast<const ObjectHierarchyDelegate *>(DelegateFactory::self()->delegate(
                    QStringLiteral("QObject"), Delegate::ObjectHierarchy));
    }
    return m_hierarchyDelegate;
}

const SerializeDelegate *Object::serializeDelegate() const
{
    return cachedDelegate(Delegate::Serialize, m_serializeDelegate, SerializeBit);
}

const ConversionDelegate *Object::conversionDelegate() const
{
    return cachedDelegate(Delegate::Conversion, m_conversionDelegate, ConversionBit);
}

const ComparisonDelegate *Object::comparisonDelegate() const
{
    return cachedDelegate(Delegate::Comparison, m_comparisonDelegate, ComparisonBit);
}

const ConversionDelegate *Object::conversionFor(int capability) const
{
    const ConversionDelegate *cd = conversionDelegate();
    return cd && (cd->capabilities() & capability) ? cd : nullptr;
}

// --- Hierarchy ---------------------------------------------------------------

int Object::numChildren()
{
    const ObjectHierarchyDelegate *hd = hierarchyDelegate();
    return hd ? hd->numChildren(self()) : 0;
}

SharedPtr<Object> Object::child(int index)
{
    const ObjectHierarchyDelegate *hd = hierarchyDelegate();
    return hd ? hd->child(self(), index) : nullptr;
}

SharedPtr<Object> Object::childByName(const QString &name)
{
    if (numChildren() == 0)
        return nullptr;
    const ObjectHierarchyDelegate *hd = hierarchyDelegate();
    return hd ? hd->childByName(self(), name) : nullptr;
}

ObjectList Object::children()
{
    const ObjectHierarchyDelegate *hd = hierarchyDelegate();
    return hd ? hd->children(self()) : ObjectList();
}

SharedPtr<Object> Object::parent()
{
    const ObjectHierarchyDelegate *hd = hierarchyDelegate();
    return hd ? hd->parent(self()) : nullptr;
}

QString Object::name()
{
    const ObjectHierarchyDelegate *hd = hierarchyDelegate();
    return hd ? hd->name(self()) : QStringLiteral("unnamed");
}

QString Object::qualifiedName()
{
    const ObjectHierarchyDelegate *hd = hierarchyDelegate();
    return hd ? hd->qualifiedName(self()) : QStringLiteral("unnamed");
}

int Object::wrapperType()
{
    const ObjectHierarchyDelegate *hd = hierarchyDelegate();
    return hd ? hd->wrapperType(self()) : 0;
}

// --- Conversions to and from plain values -------------------------------------

// The end of the conversion chain: convert to the primitive class and ask
// the result. A conversion that hands back this very object ends the chain.
static SharedPtr<Object> asPrimitive(const Object *obj, int classId)
{
    const Class *target = Inspector::self()->type(classId);
    const Class *type = obj->type();
    if (!target || !type)
        return nullptr;
    const bool pointer = obj->objectAttribute().isPointer();
    if (!type->canConvertTo(target, pointer, classId == CharClassId, nullptr))
        return nullptr;
    SharedPtr<Object> self(const_cast<Object *>(obj));
    SharedPtr<Object> result = type->convertTo(self, target, classId == CharClassId);
    return result.get() == obj ? nullptr : result;
}

QString Object::toString() const
{
    if (isNull())
        return QStringLiteral("<null>");
    if (const ConversionDelegate *cd = conversionFor(ConversionDelegate::CanString))
        return cd->toString(self());
    SharedPtr<Object> p = asPrimitive(this, CharClassId);
    return p ? p->toString() : QString();
}

int Object::toInteger() const
{
    if (const ConversionDelegate *cd = conversionFor(ConversionDelegate::CanInteger))
        return cd->toInteger(self());
    SharedPtr<Object> p = asPrimitive(this, IntClassId);
    return p ? p->toInteger() : 0;
}

long long Object::toInt64() const
{
    if (const ConversionDelegate *cd = conversionFor(ConversionDelegate::CanInt64))
        return cd->toInt64(self());
    SharedPtr<Object> p = asPrimitive(this, Int64ClassId);
    return p ? p->toInt64() : 0;
}

double Object::toDouble() const
{
    if (const ConversionDelegate *cd = conversionFor(ConversionDelegate::CanDouble))
        return cd->toDouble(self());
    SharedPtr<Object> p = asPrimitive(this, DoubleClassId);
    return p ? p->toDouble() : 0.0;
}

bool Object::toBoolean() const
{
    if (const ConversionDelegate *cd = conversionFor(ConversionDelegate::CanBoolean))
        return cd->toBoolean(self());
    SharedPtr<Object> p = asPrimitive(this, BoolClassId);
    return p ? p->toBoolean() : false;
}

void Object::fromString(const QString &value)
{
    if (const ConversionDelegate *cd = conversionFor(ConversionDelegate::CanString))
        cd->fromString(value, self());
}

void Object::fromInteger(int value)
{
    if (const ConversionDelegate *cd = conversionFor(ConversionDelegate::CanInteger))
        cd->fromInteger(value, self());
}

void Object::fromInt64(long long value)
{
    if (const ConversionDelegate *cd = conversionFor(ConversionDelegate::CanInt64))
        cd->fromInt64(value, self());
}

void Object::fromDouble(double value)
{
    if (const ConversionDelegate *cd = conversionFor(ConversionDelegate::CanDouble))
        cd->fromDouble(value, self());
}

void Object::fromBoolean(bool value)
{
    if (const ConversionDelegate *cd = conversionFor(ConversionDelegate::CanBoolean))
        cd->fromBoolean(value, self());
}

ObjectAttribute Object::objectAttribute() const
{
    return m_attribute;
}

bool Object::isNull() const
{
    return m_data == nullptr;
}

SharedPtr<Object> Object::castTo(const Class *target)
{
    if (!target || !m_type)
        return self();
    const bool related = target->isSubClassOf(m_type) || m_type->isSubClassOf(target);
    const auto primitive = [](const Class *c) {
        return c->id() >= ShortClassId && c->id() <= Int64ClassId;
    };
    if (related || (primitive(m_type) && primitive(target))) {
        m_type = target;
        clearDelegateCaches();
    }
    return self();
}

SharedPtr<Object> Object::reference()
{
    const ObjectAttribute attribute = objectAttribute();
    if (attribute.isPointer() || attribute.isArray())
        return self();
    return m_type ? m_type->wrap(m_data, ObjectAttribute::Pointer()) : nullptr;
}

SharedPtr<Object> Object::dereference()
{
    const ObjectAttribute attribute = objectAttribute();
    if (attribute.isValue() || attribute.isReference())
        return self();
    if (!m_data || !m_type)
        return nullptr;
    return m_type->wrap(m_data, ObjectAttribute::Value());
}

// --- Stream form -------------------------------------------------------------

void Object::streamObject(QDataStream &stream) const
{
    if (const SerializeDelegate *sd = serializeDelegate()) {
        sd->streamObject(stream, self());
        return;
    }
    DepthGuard guard;
    bool written = false;
    if (m_type && !guard.tooDeep()) {
        for (int i = 0; i < m_type->numProperties(); ++i) {
            const Property *p = m_type->property(i);
            if (!p || !p->isReadable() || p->isStatic())
                continue;
            SharedPtr<Object> value = p->get(self());
            if (!value)
                continue;
            if (value->type() == m_type)
                stream << value->toString();
            else
                value->streamObject(stream);
            written = true;
        }
    }
    if (!written)
        stream << toString();
}

void Object::objectFromStream(QDataStream &stream)
{
    if (const SerializeDelegate *sd = serializeDelegate()) {
        sd->objectFromStream(stream, self());
        return;
    }
    DepthGuard guard;
    bool read = false;
    if (m_type && !guard.tooDeep()) {
        for (int i = 0; i < m_type->numProperties() && stream.status() == QDataStream::Ok; ++i) {
            const Property *p = m_type->property(i);
            if (!p || !p->isReadable() || p->isStatic())
                continue;
            SharedPtr<Object> value = p->get(self());
            if (!value)
                continue;
            if (value->type() == m_type) {
                QString text;
                stream >> text;
                value->fromString(text);
            } else {
                value->objectFromStream(stream);
            }
            read = true;
        }
    }
    if (!read) {
        QString text;
        stream >> text;
        fromString(text);
    }
}

void Object::writeObject(QDataStream &stream) const
{
    Object *self = const_cast<Object *>(this);
    const int count = self->numChildren();
    stream << className() << qint32(count);
    streamObject(stream);
    for (int i = 0; i < count; ++i) {
        SharedPtr<Object> c = self->child(i);
        if (c)
            c->writeObject(stream);
    }
}

void Object::readObject(QDataStream &stream)
{
    QString name;
    stream >> name;
    if (name != className()) {
        logLine("Object::readObject: trying to read an object of type ", name,
                ", but object is of type ", className());
        return;
    }
    qint32 count = 0;
    stream >> count;
    const int have = numChildren();
    if (count != have) {
        logLine("Object::readObject: number of children mismatches: have ", have, ", read ",
                int(count));
        return;
    }
    objectFromStream(stream);
    for (int i = 0; i < count && stream.status() == QDataStream::Ok; ++i)
        if (SharedPtr<Object> c = child(i))
            c->readObject(stream);
}

QString Object::toDebugString() const
{
    if (isNull())
        return QStringLiteral("0 : ") + className();
    if (serializeDelegate() || !m_type)
        return toString() + QStringLiteral(" : ") + className();
    DepthGuard guard;
    QStringList parts;
    for (int i = 0; i < m_type->numProperties() && !guard.tooDeep(); ++i) {
        const Property *p = m_type->property(i);
        if (!p || !p->isReadable())
            continue;
        SharedPtr<Object> value = p->get(self());
        parts << p->name() + QStringLiteral(" = ") + (value ? value->toString() : QString()) +
                     QStringLiteral(" : ") + (value ? value->className() : QString());
    }
    return QStringLiteral("{ ") + parts.join(QStringLiteral(", ")) + QStringLiteral(" } : ") +
           className();
}

} // namespace Tolvex
