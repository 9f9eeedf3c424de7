#include "screenrectangle.h"

#include "intfieldsclass_impl_p.h"
#include "method.h"
#include "namespace.h"
#include "objectlist.h"
#include "screenpoint.h"

namespace Tolvex {

template class IntFieldsClass<ScreenRectangle>;

ScreenRectangle_class::ScreenRectangle_class(Namespace *nameSpace)
    : IntFieldsClass("ScreenRectangle", nameSpace,
                     {QStringLiteral("x"), QStringLiteral("y"), QStringLiteral("width"),
                      QStringLiteral("height")},
                     {0, 4}, 1)
{}

Method *ScreenRectangle_class::createMethod(int id) const
{
    if (id != 0)
        return nullptr;
    return new Method(this, Argument(screenPointClass(), ObjectAttribute::Value()),
                      QStringLiteral("center"), Signature(), 0);
}

SharedPtr<Object> ScreenRectangle_class::invoke(int id, void *data, void **, const Class *) const
{
    if (id != 0 || !data)
        return nullptr;
    const ScreenRectangle &r = *static_cast<const ScreenRectangle *>(data);
    ScreenPoint center;
    if (r.width >= 0 && r.height >= 0) {
        center.x = r.x + r.width / 2;
        center.y = r.y + r.height / 2;
    }
    return wrapScreenPoint(center);
}

// The class is looked up by name each time: on a side where the name is a
// class that stands for the remote one, calls go through the connection.
static const Class *registeredScreenRectangleClass()
{
    const Namespace *ns =
        Inspector::self()->nameSpaceFromFullyQualifiedName(QStringLiteral("UiTypes"));
    return ns ? ns->getClass(QStringLiteral("ScreenRectangle")) : nullptr;
}

SharedPtr<Object> createRemoteScreenRectangle(const ScreenRectangle &value)
{
    const Class *c = registeredScreenRectangleClass();
    if (!c)
        return nullptr;
    Inspector *in = Inspector::self();
    return c->construct(ObjectList{in->createPrimitive(value.x), in->createPrimitive(value.y),
                                   in->createPrimitive(value.width),
                                   in->createPrimitive(value.height)});
}

bool unwrapRemoteScreenRectangle(SharedPtr<Object> obj, ScreenRectangle *value)
{
    if (!obj || !obj->type())
        return false;
    const char *names[] = {"x", "y", "width", "height"};
    ScreenRectangle result;
    for (int i = 0; i < ScreenRectangle::FieldCount; ++i) {
        const Property *p = obj->type()->property(QString::fromLatin1(names[i]));
        SharedPtr<Object> v = p ? p->get(obj) : nullptr;
        if (!v)
            return false;
        result.field(i) = v->toInteger();
    }
    *value = result;
    return true;
}

QRect unwrapRemoteScreenRectangleAsQRect(SharedPtr<Object> obj)
{
    ScreenRectangle r;
    if (!unwrapRemoteScreenRectangle(obj, &r))
        return QRect();
    return QRect(r.x, r.y, r.width, r.height);
}

} // namespace Tolvex
