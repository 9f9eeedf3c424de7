#include "objecthandles.h"

#include "class.h"
#include "constructor.h"
#include "delegate.h"
#include "delegatefactory.h"
#include "inspector.h"
#include "logging.h"
#include "method.h"
#include "namespace.h"
#include "objectattribute.h"
#include "property.h"
#include "screenrectangle.h"

#include <QDataStream>
#include <QIODevice>

namespace Tolvex {

// ---- the dictionary ----

QVariant ObjectHandles::objectToVariant(const SharedPtr<Object> &object)
{
    if (!object)
        return QVariant();
    const int id = object->index();
    Entry &entry = m_dictionary[id];
    if (entry.handles == 0)
        entry.object = object;
    ++entry.handles;
    const int classId = object->type() ? object->type()->id() : -1;
    return QStringLiteral("%1,%2").arg(id).arg(classId);
}

SharedPtr<Object> ObjectHandles::objectById(int id) const
{
    const auto it = m_dictionary.find(id);
    return it == m_dictionary.end() ? nullptr : it->second.object;
}

ObjectList ObjectHandles::idsToObjects(const FList<int> &ids) const
{
    ObjectList result;
    for (int id : ids)
        result.push_back(objectById(id));
    return result;
}

void ObjectHandles::remoteObjectDestroyed(int id)
{
    const auto it = m_dictionary.find(id);
    if (it == m_dictionary.end())
        return;
    if (--it->second.handles <= 0)
        m_dictionary.erase(it);
}

int ObjectHandles::handleCount(int id) const
{
    const auto it = m_dictionary.find(id);
    return it == m_dictionary.end() ? 0 : it->second.handles;
}

SharedPtr<Object> ObjectHandles::known(const char *what, int id) const
{
    SharedPtr<Object> o = objectById(id);
    if (!o)
        logLine("Hook::", what, ": invalid object id ", id);
    return o;
}

// ---- the tree ----

int ObjectHandles::numObjects(int id) const
{
    if (id == 0)
        return Inspector::self()->numObjects();
    const SharedPtr<Object> o = known("numObjects", id);
    return o ? o->numChildren() : -1;
}

SharedPtr<Object> ObjectHandles::objectByIndex(int parent, int index) const
{
    if (parent == 0) {
        if (index < 0 || index >= Inspector::self()->numObjects()) {
            logLine("Hook::objectByIndex: index out of range!");
            return nullptr;
        }
        SharedPtr<Object> o = Inspector::self()->object(index);
        if (!o)
            logLine("Hook::objectByIndex: invalid object id ", index);
        return o;
    }
    const SharedPtr<Object> p = objectById(parent);
    if (!p) {
        logLine("Hook::objectByIndex: invalid parent object id ", parent);
        return nullptr;
    }
    return p->child(index);
}

SharedPtr<Object> ObjectHandles::objectByName(int parent, const QString &name) const
{
    if (parent == 0) {
        SharedPtr<Object> o = Inspector::self()->object(name);
        if (!o)
            logLine("Hook::objectByName: invalid object name ", name);
        return o;
    }
    const SharedPtr<Object> p = objectById(parent);
    if (!p) {
        logLine("Hook::objectByName: invalid parent object id ", parent);
        return nullptr;
    }
    return p->childByName(name);
}

QStringList ObjectHandles::objects(int id)
{
    ObjectList list;
    if (id == 0) {
        list = Inspector::self()->objects();
    } else {
        const SharedPtr<Object> p = objectById(id);
        if (!p) {
            logLine("Hook::objects: invalid parent object id ", id);
            return {};
        }
        list = p->children();
    }
    QStringList wire;
    for (const SharedPtr<Object> &o : list)
        wire << objectToVariant(o).toString();
    return wire;
}

SharedPtr<Object> ObjectHandles::parent(int id) const
{
    const SharedPtr<Object> o = objectById(id);
    if (!o) {
        logLine("Hook::parent: invalid object id ", id);
        return nullptr;
    }
    const ObjectHierarchyDelegate *hierarchy = o->hierarchyDelegate();
    if (!hierarchy) {
        logLine("Hook::parent: object with id ", id, " and type ", o->className(),
                "has no HierarchyDelegate");
        return nullptr;
    }
    return hierarchy->parent(o);
}

QString ObjectHandles::objectName(int id) const
{
    const SharedPtr<Object> o = known("objectName", id);
    return o ? o->name() : QString();
}

QString ObjectHandles::qualifiedObjectName(int id) const
{
    const SharedPtr<Object> o = known("qualifiedObjectName", id);
    return o ? o->qualifiedName() : QString();
}

// ---- members ----

bool ObjectHandles::memberTarget(const char *what, const char *action, int id, const Class **type,
                                 SharedPtr<Object> *object) const
{
    if (id < 0) {
        *type = Inspector::self()->type(-id);
        if (!*type)
            logLine("Hook::", what, ": invalid class id", id);
        return *type != nullptr;
    }
    *object = objectById(id);
    if (!*object) {
        logLine("Hook::", what, ": invalid object id", id);
        return false;
    }
    if ((*object)->isNull()) {
        logLine("Hook::", what, ": Cannot ", action, " on NULL object with id ", id);
        return false;
    }
    *type = (*object)->type();
    return *type != nullptr;
}

SharedPtr<Object> ObjectHandles::getProperty(int id, int property) const
{
    const Class *type = nullptr;
    SharedPtr<Object> object;
    if (!memberTarget("getProperty", "get property", id, &type, &object))
        return nullptr;
    const Property *p = type->property(property);
    if (!p) {
        logLine("Hook::getProperty: invalid property id ", property, " for class ",
                type->fullyQualifiedClassName());
        return nullptr;
    }
    TOLVEX_TRACE_HOOK() << "getProperty" << type->className() << p->name();
    return p->get(object);
}

bool ObjectHandles::setProperty(int id, int property, int value) const
{
    const Class *type = nullptr;
    SharedPtr<Object> object;
    if (!memberTarget("setProperty", "set property", id, &type, &object))
        return false;
    const Property *p = type->property(property);
    if (!p) {
        logLine("Hook::setProperty: invalid property id ", property, " for class ",
                type->fullyQualifiedClassName());
        return false;
    }
    TOLVEX_TRACE_HOOK() << "setProperty" << type->className() << p->name();
    return p->set(object, objectById(value));
}

SharedPtr<Object> ObjectHandles::invoke(int id, int method, const FList<int> &args) const
{
    const Class *type = nullptr;
    SharedPtr<Object> object;
    if (!memberTarget("invoke", "invoke method", id, &type, &object))
        return nullptr;
    const Method *m = type->method(method);
    if (!m) {
        // The word is "property" although a method is meant: the message is
        // what scripts and logs have always read.
        logLine("Hook::invoke: invalid property id ", method, " for class ",
                type->fullyQualifiedClassName());
        return nullptr;
    }
    const ObjectList arguments = idsToObjects(args);
    TOLVEX_TRACE_HOOK() << "invoke" << m->toString();
    return m->invoke(object, arguments);
}

SharedPtr<Object> ObjectHandles::construct(int classId, int index, const FList<int> &args) const
{
    const Class *type = Inspector::self()->type(classId);
    const Constructor *c = type ? type->constructor(index) : nullptr;
    // Unchecked by design on the wire, but never a crash here.
    return c ? c->construct(idsToObjects(args)) : nullptr;
}

// ---- conversions ----

QString ObjectHandles::objectToDebugString(int id) const
{
    const SharedPtr<Object> o = known("objectToDebugString", id);
    // Empty, not null: on the wire the two are different bytes.
    return o ? o->toDebugString() : QStringLiteral("");
}

namespace {

template <typename T> T converted(const SharedPtr<Object> &o, bool *ok, T (Object::*read)() const)
{
    if (ok)
        *ok = o != nullptr;
    return o ? ((*o).*read)() : T();
}

template <typename T> void assign(const SharedPtr<Object> &o, void (Object::*write)(T), T value)
{
    if (o)
        ((*o).*write)(value);
}

} // namespace

int ObjectHandles::objectToInteger(int id, bool *ok) const
{
    return converted(known("objectToInteger", id), ok, &Object::toInteger);
}

long long ObjectHandles::objectToInt64(int id, bool *ok) const
{
    return converted(known("objectToInt64", id), ok, &Object::toInt64);
}

QString ObjectHandles::objectToString(int id, bool *ok) const
{
    return converted(known("objectToString", id), ok, &Object::toString);
}

double ObjectHandles::objectToDouble(int id, bool *ok) const
{
    return converted(known("objectToDouble", id), ok, &Object::toDouble);
}

bool ObjectHandles::objectToBoolean(int id, bool *ok) const
{
    return converted(known("objectToBoolean", id), ok, &Object::toBoolean);
}

void ObjectHandles::objectFromInteger(int id, int value) const
{
    assign(known("objectFromInteger", id), &Object::fromInteger, value);
}

void ObjectHandles::objectFromInt64(int id, long long value) const
{
    assign(known("objectFromInt64", id), &Object::fromInt64, value);
}

void ObjectHandles::objectFromString(int id, const QString &value) const
{
    assign<const QString &>(known("objectFromString", id), &Object::fromString, value);
}

void ObjectHandles::objectFromDouble(int id, double value) const
{
    assign(known("objectFromDouble", id), &Object::fromDouble, value);
}

void ObjectHandles::objectFromBoolean(int id, bool value) const
{
    assign(known("objectFromBoolean", id), &Object::fromBoolean, value);
}

bool ObjectHandles::objectCompare(int a, int b) const
{
    const SharedPtr<Object> first = objectById(a);
    if (!first) {
        logLine("Hook::objectCompare: invalid 1st object id ", a);
        return false;
    }
    const SharedPtr<Object> second = objectById(b);
    if (!second) {
        logLine("Hook::objectCompare: invalid 2nd object id ", b);
        return false;
    }
    return first->compare(second);
}

bool ObjectHandles::objectIsNull(int id) const
{
    const SharedPtr<Object> o = known("objectIsNull", id);
    return o ? o->isNull() : false;
}

int ObjectHandles::objectCast(int id, int classId) const
{
    const SharedPtr<Object> o = known("objectCast", id);
    const Class *target = Inspector::self()->type(classId);
    if (!o || !target)
        return -1;
    const SharedPtr<Object> cast = o->castTo(target);
    return cast && cast->type() ? cast->type()->id() : -1;
}

SharedPtr<Object> ObjectHandles::objectReference(int id) const
{
    const SharedPtr<Object> o = objectById(id);
    return o ? o->reference() : nullptr;
}

SharedPtr<Object> ObjectHandles::objectDereference(int id) const
{
    const SharedPtr<Object> o = objectById(id);
    return o ? o->dereference() : nullptr;
}

QByteArray ObjectHandles::getObjectAttribute(int id) const
{
    const SharedPtr<Object> o = known("getObjectAttribute", id);
    // Empty, not null: on the wire the two are different bytes.
    if (!o)
        return QByteArray("");
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setVersion(MetadataStreamVersion);
    o->objectAttribute().writeObject(out);
    return bytes;
}

// ---- conversion through classes ----

bool ObjectHandles::canConvertTo(int fromClassId, int toClassId, bool sourceIsPointer,
                                 bool targetIsPointer) const
{
    const Class *from = Inspector::self()->type(fromClassId);
    const Class *to = Inspector::self()->type(toClassId);
    return from && to && from->canConvertTo(to, sourceIsPointer, targetIsPointer, nullptr);
}

SharedPtr<Object> ObjectHandles::convertTo(int fromClassId, int id, int toClassId,
                                           bool targetIsPointer) const
{
    const Class *from = Inspector::self()->type(fromClassId);
    if (!from) {
        logLine("Hook::convertTo: invalid fromClassId ", fromClassId);
        return nullptr;
    }
    const SharedPtr<Object> o = objectById(id);
    if (!o) {
        logLine("Hook::convertTo: invalid object id", id);
        return nullptr;
    }
    const Class *to = Inspector::self()->type(toClassId);
    return to ? from->convertTo(o, to, targetIsPointer) : nullptr;
}

SharedPtr<Object> ObjectHandles::convertToInterface(int fromClassId, int id,
                                                    const QString &name) const
{
    const Class *from = Inspector::self()->type(fromClassId);
    if (!from) {
        logLine("Hook::convertToInterface: invalid fromClassId ", fromClassId);
        return nullptr;
    }
    const SharedPtr<Object> o = objectById(id);
    if (!o) {
        logLine("Hook::convertToInterface: invalid object id ", id);
        return nullptr;
    }
    return from->convertToInterface(o, name);
}

SharedPtr<Object> ObjectHandles::objectGlobalBounds(const SharedPtr<Object> &object)
{
    if (!object) {
        Inspector::self()->setError(QStringLiteral("Cannot fetch geometry for invalid object."));
        return nullptr;
    }
    const GeometryDelegate *geometry = geometryDelegateFor(object);
    if (!geometry) {
        Inspector::self()->setError(QStringLiteral("Cannot fetch geometry for object of type %1.")
                                        .arg(object->className()));
        return nullptr;
    }
    const Rect<2> bounds = geometry->globalBounds(object);
    return wrapScreenRectangle(ScreenRectangle{bounds.x, bounds.y, bounds.width, bounds.height});
}

// ---- creation ----

namespace {

// A primitive of a class that has no Inspector form of its own, made by the
// class's constructor that copies one value onto the heap.
template <typename T> SharedPtr<Object> constructed(int classId, T value)
{
    const Class *type = Inspector::self()->type(classId);
    void *args[] = {&value};
    return type ? type->construct(1, args) : nullptr;
}

// A char from its text, or, given as a number, from its low byte.
char charOf(const QVariant &value)
{
    if (value.typeId() == QMetaType::QString || value.typeId() == QMetaType::QByteArray)
        return value.toString().toUtf8().append('\0').at(0);
    return char(value.toInt());
}

} // namespace

SharedPtr<Object> ObjectHandles::createPrimitive(const QString &type, const QVariant &value) const
{
    Inspector *inspector = Inspector::self();
    if (type == QLatin1String("int"))
        return inspector->createPrimitive(value.toInt());
    if (type == QLatin1String("long"))
        return inspector->createPrimitive(long(value.toLongLong()));
    if (type == QLatin1String("short"))
        return constructed(ShortClassId, short(value.toInt()));
    if (type == QLatin1String("bool"))
        return inspector->createPrimitive(value.toBool());
    if (type == QLatin1String("char"))
        return constructed(CharClassId, charOf(value));
    if (type == QLatin1String("char*"))
        return inspector->createPrimitive(value.toString().toUtf8().constData());
    if (type == QLatin1String("double"))
        return inspector->createPrimitive(value.toDouble());
    if (type == QLatin1String("int64"))
        return inspector->createPrimitive(value.toLongLong());
    if (type == QLatin1String("[char*"))
        return inspector->createPrimitive(value.toStringList());
    if (type == QLatin1String("void"))
        return inspector->voidObject();
    logLine("Hook::handleCall: F_CreatePrimitive: ", type, "is not a primitive type");
    return nullptr;
}

SharedPtr<Object> ObjectHandles::createNull(const QString &className) const
{
    const Class *type = Inspector::self()->type(className);
    return type ? type->createNull() : nullptr;
}

SharedPtr<Object> ObjectHandles::getVoidObject() const
{
    return Inspector::self()->voidObject();
}

QByteArray ObjectHandles::allClasses()
{
    return classesFrom(0);
}

QByteArray ObjectHandles::classesFrom(int firstId)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setVersion(MetadataStreamVersion);
    Inspector *inspector = Inspector::self();
    for (int i = qMax(0, firstId); i < inspector->numClasses(); ++i)
        if (const Class *c = inspector->type(i))
            c->writeObject(out);
    return bytes;
}

QByteArray ObjectHandles::allNamespaces()
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setVersion(MetadataStreamVersion);
    Namespace *global = Inspector::self()->globalNamespace();
    if (!global)
        return bytes;
    global->writeObject(out);
    for (int i = 0; i < global->numNamespaces(); ++i)
        if (Namespace *n = global->getNamespace(i))
            n->writeObject(out);
    return bytes;
}

} // namespace Tolvex
