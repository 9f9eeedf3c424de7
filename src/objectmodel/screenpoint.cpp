#include "screenpoint.h"

#include "intfieldsclass_impl_p.h"

namespace Tolvex {

template class IntFieldsClass<ScreenPoint>;

static const ScreenPointClass *s_screenPointClass = nullptr;

ScreenPointClass::ScreenPointClass(Namespace *nameSpace)
    : IntFieldsClass("ScreenPoint", nameSpace, {QStringLiteral("x"), QStringLiteral("y")}, {0, 2})
{
    s_screenPointClass = this;
}

const Class *screenPointClass()
{
    Inspector::self();
    return s_screenPointClass;
}

SharedPtr<Object> wrapScreenPoint(const ScreenPoint &value)
{
    Inspector::self();
    return s_screenPointClass ? s_screenPointClass->wrapValue(value) : nullptr;
}

bool unwrapScreenPoint(SharedPtr<Object> obj, ScreenPoint *value)
{
    if (!obj || !obj->data() || !obj->isA(screenPointClass()))
        return false;
    *value = *static_cast<const ScreenPoint *>(obj->data());
    return true;
}

} // namespace Tolvex
