#pragma once

#include "constructor.h"
#include "containerclass.h"
#include "inspector.h"
#include "method.h"
#include "namespace.h"
#include "object.h"
#include "objectlist.h"
#include "property.h"

namespace Tolvex {

template <typename Traits, typename NativeT>
ContainerClass<Traits, NativeT>::ContainerClass(int numMethods, int numProperties)
    : Class(Traits::ModelName, true)
{
    s_local = this;
    setNumConstructors(1);
    setNumMethods(numMethods);
    setNumProperties(numProperties);
    setNumEvents(0);
    setNumEnums(0);
}

template <typename Traits, typename NativeT>
Constructor *ContainerClass<Traits, NativeT>::createConstructor(int id) const
{
    return id == 0 ? new Constructor(this, Signature(), 0) : nullptr;
}

template <typename Traits, typename NativeT>
SharedPtr<Object> ContainerClass<Traits, NativeT>::construct(int id, void **) const
{
    return id == 0 ? wrapObject(Native()) : nullptr;
}

template <typename Traits, typename NativeT>
void ContainerClass<Traits, NativeT>::deleteObjectData(void *data, const ObjectAttribute &) const
{
    delete static_cast<Native *>(data);
}

template <typename Traits, typename NativeT>
Method *ContainerClass<Traits, NativeT>::newMethod(const QString &name, const Signature &signature,
                                                   int id) const
{
    const Argument returnsAny(Inspector::self()->type(VoidClassId), ObjectAttribute::Value());
    return new Method(this, returnsAny, name, signature, id);
}

template <typename Traits, typename NativeT>
Property *ContainerClass<Traits, NativeT>::createProperty(int id) const
{
    if (id != LengthId)
        return nullptr;
    return new Property(this,
                        Argument(Inspector::self()->type(Int64ClassId), ObjectAttribute::Value()),
                        QStringLiteral("length"), Property::Readable, LengthId);
}

template <typename Traits, typename NativeT>
SharedPtr<Object> ContainerClass<Traits, NativeT>::getProperty(int id, void *data,
                                                               const Class *) const
{
    if (id != LengthId || !data)
        return nullptr;
    return Inspector::self()->createPrimitive(
        static_cast<long long>(static_cast<const Native *>(data)->size()));
}

// Elements are objects, not data pointers: the container classes take over
// at the object level.
template <typename Traits, typename NativeT>
SharedPtr<Object> ContainerClass<Traits, NativeT>::invoke(int id, SharedPtr<Object> self,
                                                          const ObjectList &args,
                                                          const Method *method) const
{
    if (!verifyMethodInvocation(self, method) ||
        !verifyMethodArgumentCount(className(), method, args) || !self->isA(this))
        return nullptr;
    return invokeOn(id, *static_cast<Native *>(self->data()), args);
}

template <typename Traits, typename NativeT>
const Class *ContainerClass<Traits, NativeT>::registeredClass()
{
    return Inspector::self()->globalNamespace()->getClass(QString::fromLatin1(Traits::ModelName));
}

template <typename Traits, typename NativeT>
Argument ContainerClass<Traits, NativeT>::classArgument(const std::string &name)
{
    return Argument(QString::fromStdString(name), registeredClass(), ObjectAttribute::Value());
}

template <typename Traits, typename NativeT>
SharedPtr<Object> ContainerClass<Traits, NativeT>::wrapObject(const Native &elements)
{
    Inspector::self();
    if (!s_local)
        return nullptr;
    SharedPtr<Object> result =
        s_local->Class::wrap(new Native(elements), ObjectAttribute::Pointer());
    result->setAutoDelete(true);
    return result;
}

template <typename Traits, typename NativeT>
NativeT ContainerClass<Traits, NativeT>::unwrapObject(SharedPtr<Object> obj)
{
    if (!obj || !obj->data() || !obj->isA(s_local))
        return Native();
    return *static_cast<const Native *>(obj->data());
}

template <typename Traits, typename NativeT>
SharedPtr<Object> ContainerClass<Traits, NativeT>::createRemoteObject(const Native &elements)
{
    const Class *c = registeredClass();
    const Constructor *ctor = c ? c->constructor(0) : nullptr;
    SharedPtr<Object> container = ctor ? ctor->construct(ObjectList()) : nullptr;
    if (!container)
        return nullptr;
    const MethodList add = c->methods(QString::fromLatin1(Traits::AddMethodName));
    for (const auto &element : elements)
        add.invoke(container, Traits::addArguments(element));
    return container;
}

template <typename Traits, typename NativeT>
NativeT ContainerClass<Traits, NativeT>::unwrapRemoteObject(SharedPtr<Object> obj)
{
    Native result;
    if (obj && obj->type())
        Traits::readRemote(obj, obj->type()->methods(QStringLiteral("at")), &result);
    return result;
}

} // namespace Tolvex
