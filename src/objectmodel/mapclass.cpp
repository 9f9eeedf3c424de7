#include "mapclass.h"

#include "constructor.h"
#include "inspector.h"
#include "method.h"
#include "namespace.h"
#include "object.h"
#include "objectlist.h"
#include "property.h"
#include "valuewrapping.h"

namespace Tolvex {

namespace {

enum { AtId = 0, InsertId = 1 };
enum { LengthId = 0, KeysId = 1 };

const MapClass *s_local = nullptr;

Argument keyArgument()
{
    return Argument(QStringLiteral("key"), Inspector::self()->type(CharClassId),
                    ObjectAttribute::Pointer());
}

} // namespace

MapClass::MapClass() : Class("Tolvex_Map", true)
{
    s_local = this;
    setNumConstructors(1);
    setNumMethods(2);
    setNumProperties(2);
    setNumEvents(0);
    setNumEnums(0);
}

void MapClass::initSuperClass()
{
    setSuperClass(nullptr);
}

Constructor *MapClass::createConstructor(int id) const
{
    return id == 0 ? new Constructor(this, Signature(), 0) : nullptr;
}

Method *MapClass::createMethod(int id) const
{
    const Class *any = Inspector::self()->type(VoidClassId);
    const Argument returnsAny(any, ObjectAttribute::Value());
    switch (id) {
    case AtId:
        return new Method(this, returnsAny, QStringLiteral("at"), Signature(keyArgument()), AtId);
    case InsertId:
        return new Method(this, returnsAny, QStringLiteral("insert"),
                          Signature(keyArgument(), Argument(QStringLiteral("value"), any,
                                                            ObjectAttribute::Value())),
                          InsertId);
    }
    return nullptr;
}

Property *MapClass::createProperty(int id) const
{
    Inspector *in = Inspector::self();
    switch (id) {
    case LengthId:
        return new Property(this, Argument(in->type(Int64ClassId), ObjectAttribute::Value()),
                            QStringLiteral("length"), Property::Readable, LengthId);
    case KeysId:
        return new Property(this,
                            Argument(in->type(CharClassId),
                                     ObjectAttribute::PointerFlag | ObjectAttribute::ArrayFlag, 0),
                            QStringLiteral("keys"), Property::Readable, KeysId);
    }
    return nullptr;
}

SharedPtr<Object> MapClass::construct(int id, void **) const
{
    return id == 0 ? wrapObject(Native()) : nullptr;
}

void MapClass::deleteObjectData(void *data, const ObjectAttribute &) const
{
    delete static_cast<Native *>(data);
}

SharedPtr<Object> MapClass::getProperty(int id, void *data, const Class *) const
{
    if (!data)
        return nullptr;
    const Native &entries = *static_cast<const Native *>(data);
    if (id == LengthId)
        return Inspector::self()->createPrimitive(static_cast<long long>(entries.size()));
    if (id == KeysId) {
        QList<QString> keys;
        for (const auto &entry : entries)
            keys.append(entry.first);
        return Inspector::self()->createPrimitive(keys);
    }
    return nullptr;
}

SharedPtr<Object> MapClass::invoke(int id, SharedPtr<Object> self, const ObjectList &args,
                                   const Method *method) const
{
    if (!verifyMethodInvocation(self, method) ||
        !verifyMethodArgumentCount(className(), method, args) || !self->isA(this))
        return nullptr;
    Native &entries = *static_cast<Native *>(self->data());
    Inspector *in = Inspector::self();
    const QString key = args[0] ? args[0]->toString() : QString();
    switch (id) {
    case AtId: {
        auto it = entries.find(key);
        if (it == entries.end()) {
            in->setError(QStringLiteral("Map key not found"));
            return nullptr;
        }
        return it->second;
    }
    case InsertId:
        // Plain insertion: a key that exists keeps its value.
        entries.emplace(key, args[1]);
        return in->voidObject();
    }
    return nullptr;
}

Argument MapClass::mapClassArg(const std::string &name)
{
    return Argument(QString::fromStdString(name), registeredClass(), ObjectAttribute::Value());
}

const Class *MapClass::registeredClass()
{
    return Inspector::self()->globalNamespace()->getClass(QStringLiteral("Tolvex_Map"));
}

SharedPtr<Object> MapClass::wrapObject(const Native &entries)
{
    Inspector::self();
    if (!s_local)
        return nullptr;
    SharedPtr<Object> result =
        s_local->Class::wrap(new Native(entries), ObjectAttribute::Pointer());
    result->setAutoDelete(true);
    return result;
}

MapClass::Native MapClass::unwrapObject(SharedPtr<Object> obj)
{
    if (!obj || !obj->data() || !obj->isA(s_local))
        return Native();
    return *static_cast<const Native *>(obj->data());
}

SharedPtr<Object> MapClass::createRemoteObject(const Native &entries)
{
    const Class *c = registeredClass();
    const Constructor *ctor = c ? c->constructor(0) : nullptr;
    SharedPtr<Object> map = ctor ? ctor->construct(ObjectList()) : nullptr;
    if (!map)
        return nullptr;
    const MethodList insert = c->methods(QStringLiteral("insert"));
    for (const auto &entry : entries)
        insert.invoke(map,
                      ObjectList{Inspector::self()->createPrimitive(entry.first), entry.second});
    return map;
}

MapClass::Native MapClass::unwrapRemoteObject(SharedPtr<Object> obj)
{
    Native result;
    if (!obj || !obj->type())
        return result;
    const Property *keysProperty = obj->type()->property(QStringLiteral("keys"));
    QList<QString> keys;
    if (!keysProperty || !unwrap(keysProperty->get(obj), &keys))
        return result;
    const MethodList at = obj->type()->methods(QStringLiteral("at"));
    for (const QString &key : keys)
        if (SharedPtr<Object> value =
                at.invoke(obj, ObjectList{Inspector::self()->createPrimitive(key)}))
            result.emplace(key, value);
    return result;
}

} // namespace Tolvex
