#include "screenpoint.h"

#include "intfieldsclass_impl_p.h"

namespace Tolvex {

template class IntFieldsClass<ScreenPoint>;

ScreenPointClass::ScreenPointClass(Namespace *nameSpace)
    : IntFieldsClass("ScreenPoint", nameSpace, {QStringLiteral("x"), QStringLiteral("y")}, {0, 2})
{}

} // namespace Tolvex
