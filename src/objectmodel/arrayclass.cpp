#include "arrayclass.h"

#include "constructor.h"
#include "inspector.h"
#include "method.h"
#include "namespace.h"
#include "object.h"
#include "objectlist.h"
#include "property.h"

namespace Tolvex {

namespace {

enum { PushId = 0, AtId = 1 };

const ArrayClass *s_local = nullptr;

const Class *voidClass()
{
    return Inspector::self()->type(VoidClassId);
}

} // namespace

ArrayClass::ArrayClass() : Class("Tolvex_Array", true)
{
    s_local = this;
    setNumConstructors(1);
    setNumMethods(2);
    setNumProperties(1);
    setNumEvents(0);
    setNumEnums(0);
}

void ArrayClass::initSuperClass()
{
    setSuperClass(nullptr);
}

Constructor *ArrayClass::createConstructor(int id) const
{
    return id == 0 ? new Constructor(this, Signature(), 0) : nullptr;
}

Method *ArrayClass::createMethod(int id) const
{
    const Argument returnsAny(voidClass(), ObjectAttribute::Value());
    switch (id) {
    case PushId:
        return new Method(
            this, returnsAny, QStringLiteral("push"),
            Signature(Argument(QStringLiteral("obj"), voidClass(), ObjectAttribute::Value())),
            PushId);
    case AtId:
        return new Method(
            this, returnsAny, QStringLiteral("at"),
            Signature(Argument(QStringLiteral("i"), Inspector::self()->type(Int64ClassId),
                               ObjectAttribute::Value())),
            AtId);
    }
    return nullptr;
}

Property *ArrayClass::createProperty(int id) const
{
    if (id != 0)
        return nullptr;
    return new Property(this,
                        Argument(Inspector::self()->type(Int64ClassId), ObjectAttribute::Value()),
                        QStringLiteral("length"), Property::Readable, 0);
}

SharedPtr<Object> ArrayClass::construct(int id, void **) const
{
    return id == 0 ? wrapObject(Native()) : nullptr;
}

void ArrayClass::deleteObjectData(void *data, const ObjectAttribute &) const
{
    delete static_cast<Native *>(data);
}

SharedPtr<Object> ArrayClass::getProperty(int id, void *data, const Class *) const
{
    if (id != 0 || !data)
        return nullptr;
    return Inspector::self()->createPrimitive(
        static_cast<long long>(static_cast<Native *>(data)->size()));
}

// Elements are objects, not data pointers: this class takes over at the
// object level.
SharedPtr<Object> ArrayClass::invoke(int id, SharedPtr<Object> self, const ObjectList &args,
                                     const Method *method) const
{
    if (!verifyMethodInvocation(self, method) ||
        !verifyMethodArgumentCount(className(), method, args) || !self->isA(this))
        return nullptr;
    Native &elements = *static_cast<Native *>(self->data());
    Inspector *in = Inspector::self();
    switch (id) {
    case PushId:
        elements.push_back(args[0]);
        return in->voidObject();
    case AtId: {
        const long long index = args[0] ? args[0]->toInt64() : 0;
        if (index < 0) {
            in->setError(QStringLiteral("Negative index not supported"));
            return nullptr;
        }
        if (static_cast<unsigned long long>(index) >= elements.size()) {
            in->setError(QStringLiteral("Out of bounds access: index: %1, size: %2")
                             .arg(index)
                             .arg(elements.size()));
            return nullptr;
        }
        return elements[size_t(index)];
    }
    }
    return nullptr;
}

Argument ArrayClass::arrayClassArg(const std::string &name)
{
    return Argument(QString::fromStdString(name), registeredClass(), ObjectAttribute::Value());
}

const Class *ArrayClass::registeredClass()
{
    return Inspector::self()->globalNamespace()->getClass(QStringLiteral("Tolvex_Array"));
}

SharedPtr<Object> ArrayClass::wrapObject(const Native &elements)
{
    Inspector::self();
    if (!s_local)
        return nullptr;
    SharedPtr<Object> result =
        s_local->Class::wrap(new Native(elements), ObjectAttribute::Pointer());
    result->setAutoDelete(true);
    return result;
}

ArrayClass::Native ArrayClass::unwrapObject(SharedPtr<Object> obj)
{
    if (!obj || !obj->data() || !obj->isA(s_local))
        return Native();
    return *static_cast<const Native *>(obj->data());
}

SharedPtr<Object> ArrayClass::createRemoteObject(const Native &elements)
{
    const Class *c = registeredClass();
    const Constructor *ctor = c ? c->constructor(0) : nullptr;
    SharedPtr<Object> array = ctor ? ctor->construct(ObjectList()) : nullptr;
    if (!array)
        return nullptr;
    const MethodList push = c->methods(QStringLiteral("push"));
    for (const SharedPtr<Object> &e : elements)
        push.invoke(array, ObjectList{e});
    return array;
}

ArrayClass::Native ArrayClass::unwrapRemoteObject(SharedPtr<Object> obj)
{
    Native result;
    if (!obj || !obj->type())
        return result;
    const Property *length = obj->type()->property(QStringLiteral("length"));
    SharedPtr<Object> n = length ? length->get(obj) : nullptr;
    if (!n)
        return result;
    const MethodList at = obj->type()->methods(QStringLiteral("at"));
    const long long count = n->toInt64();
    for (long long i = 0; i < count; ++i) {
        SharedPtr<Object> e = at.invoke(obj, ObjectList{Inspector::self()->createPrimitive(i)});
        if (!e)
            break;
        result.push_back(e);
    }
    return result;
}

} // namespace Tolvex
