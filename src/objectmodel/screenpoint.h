#pragma once

#include "intfieldsclass.h"
#include "tolvexexport.h"

namespace Tolvex {

struct TOLVEX_EXPORT ScreenPoint
{
    static constexpr int FieldCount = 2;
    int &field(int i) { return i == 0 ? x : y; }
    int x = 0;
    int y = 0;
};

class TOLVEX_EXPORT ScreenPointClass : public IntFieldsClass<ScreenPoint>
{
public:
    explicit ScreenPointClass(Namespace *nameSpace);
};

// The class, wrap and unwrap of this value type: the shared forms of
// IntFieldsClass under the names scripts and wrappers know.
extern template class IntFieldsClass<ScreenPoint>;

inline constexpr auto &screenPointClass = ScreenPointClass::localClass;
inline constexpr auto &wrapScreenPoint = ScreenPointClass::wrapLocal;
inline constexpr auto &unwrapScreenPoint = ScreenPointClass::unwrapLocal;

} // namespace Tolvex
