#include "arrayclass.h"

#include "containerclass_impl_p.h"

namespace Tolvex {

struct ArrayClassTraits
{
    static constexpr const char *ModelName = "Tolvex_Array";
    static constexpr const char *AddMethodName = "push";

    static ObjectList addArguments(const SharedPtr<Object> &element) { return ObjectList{element}; }

    // "length", then "at" for each index, up to the first that gives nothing.
    static void readRemote(SharedPtr<Object> obj, const MethodList &at, ArrayClass::Native *out)
    {
        const Property *length = obj->type()->property(QStringLiteral("length"));
        SharedPtr<Object> n = length ? length->get(obj) : nullptr;
        const long long count = n ? n->toInt64() : 0;
        for (long long i = 0; i < count; ++i) {
            SharedPtr<Object> e = at.invoke(obj, ObjectList{Inspector::self()->createPrimitive(i)});
            if (!e)
                break;
            out->push_back(e);
        }
    }
};

template class ContainerClass<ArrayClassTraits, ArrayClass::Native>;

namespace {

enum { PushId = 0, AtId = 1 };

} // namespace

ArrayClass::ArrayClass() : ContainerClass(2, 1) {}

Method *ArrayClass::createMethod(int id) const
{
    Inspector *in = Inspector::self();
    if (id == PushId)
        return newMethod(QStringLiteral("push"),
                         Signature(Argument(QStringLiteral("obj"), in->type(VoidClassId),
                                            ObjectAttribute::Value())),
                         PushId);
    if (id == AtId)
        return newMethod(QStringLiteral("at"),
                         Signature(Argument(QStringLiteral("i"), in->type(Int64ClassId),
                                            ObjectAttribute::Value())),
                         AtId);
    return nullptr;
}

SharedPtr<Object> ArrayClass::invokeOn(int id, Native &elements, const ObjectList &args) const
{
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

} // namespace Tolvex
