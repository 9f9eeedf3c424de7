#include "mapclass.h"

#include "containerclass_impl_p.h"
#include "valuewrapping.h"

namespace Tolvex {

struct MapClassTraits
{
    static constexpr const char *ModelName = "Tolvex_Map";
    static constexpr const char *AddMethodName = "insert";

    // The key goes in as a string object.
    static ObjectList addArguments(const MapClass::Native::value_type &entry)
    {
        return ObjectList{Inspector::self()->createPrimitive(entry.first), entry.second};
    }

    // "keys", then "at" for each key; keys without a value are left out.
    static void readRemote(SharedPtr<Object> obj, const MethodList &at, MapClass::Native *out)
    {
        const Property *keysProperty = obj->type()->property(QStringLiteral("keys"));
        QList<QString> keys;
        if (!keysProperty || !unwrap(keysProperty->get(obj), &keys))
            return;
        for (const QString &key : keys)
            if (SharedPtr<Object> value =
                    at.invoke(obj, ObjectList{Inspector::self()->createPrimitive(key)}))
                out->emplace(key, value);
    }
};

template class ContainerClass<MapClassTraits, MapClass::Native>;

namespace {

enum { AtId = 0, InsertId = 1 };
enum { KeysId = 1 };

Argument keyArgument()
{
    return Argument(QStringLiteral("key"), Inspector::self()->type(CharClassId),
                    ObjectAttribute::Pointer());
}

} // namespace

MapClass::MapClass() : ContainerClass(2, 2) {}

Method *MapClass::createMethod(int id) const
{
    switch (id) {
    case AtId:
        return newMethod(QStringLiteral("at"), Signature(keyArgument()), AtId);
    case InsertId:
        return newMethod(QStringLiteral("insert"),
                         Signature(keyArgument(), Argument(QStringLiteral("value"),
                                                           Inspector::self()->type(VoidClassId),
                                                           ObjectAttribute::Value())),
                         InsertId);
    }
    return nullptr;
}

Property *MapClass::createProperty(int id) const
{
    if (id != KeysId)
        return ContainerClass::createProperty(id);
    return new Property(this,
                        Argument(Inspector::self()->type(CharClassId),
                                 ObjectAttribute::PointerFlag | ObjectAttribute::ArrayFlag, 0),
                        QStringLiteral("keys"), Property::Readable, KeysId);
}

SharedPtr<Object> MapClass::getProperty(int id, void *data, const Class *valueClass) const
{
    if (id != KeysId || !data)
        return ContainerClass::getProperty(id, data, valueClass);
    QList<QString> keys;
    for (const auto &entry : *static_cast<const Native *>(data))
        keys.append(entry.first);
    return Inspector::self()->createPrimitive(keys);
}

SharedPtr<Object> MapClass::invokeOn(int id, Native &entries, const ObjectList &args) const
{
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

} // namespace Tolvex
