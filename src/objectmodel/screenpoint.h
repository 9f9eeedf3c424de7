#pragma once

#include "intfieldsclass.h"

namespace Tolvex {

struct ScreenPoint
{
    static constexpr int FieldCount = 2;
    int &field(int i) { return i == 0 ? x : y; }
    int x = 0;
    int y = 0;
};

class ScreenPointClass : public IntFieldsClass<ScreenPoint>
{
public:
    explicit ScreenPointClass(Namespace *nameSpace);
};

const Class *screenPointClass();
SharedPtr<Object> wrapScreenPoint(const ScreenPoint &value);
bool unwrapScreenPoint(SharedPtr<Object> obj, ScreenPoint *value);

} // namespace Tolvex
