#pragma once

#include "intfieldsclass.h"
#include "tolvexexport.h"

#include <QRect>

namespace Tolvex {

struct TOLVEX_EXPORT ScreenRectangle
{
    static constexpr int FieldCount = 4;
    int &field(int i)
    {
        int *fields[] = {&x, &y, &width, &height};
        return *fields[i];
    }
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

class TOLVEX_EXPORT ScreenRectangle_class : public IntFieldsClass<ScreenRectangle>
{
public:
    explicit ScreenRectangle_class(Namespace *nameSpace);

    SharedPtr<Object> invoke(int id, void *data, void **args,
                             const Class *returnClass) const override;

private:
    Method *createMethod(int id) const override;
};

// The class, wrap and unwrap of this value type: the shared forms of
// IntFieldsClass under the names scripts and wrappers know.
extern template class IntFieldsClass<ScreenRectangle>;

inline constexpr auto &objectModelScreenRectangleClass = ScreenRectangle_class::localClass;
inline constexpr auto &wrapScreenRectangle = ScreenRectangle_class::wrapLocal;
inline constexpr auto &unwrapScreenRectangle = ScreenRectangle_class::unwrapLocal;
// The forms that go through the constructor and the properties, so they
// work as well against a class that stands for one in another process.
TOLVEX_EXPORT SharedPtr<Object> createRemoteScreenRectangle(const ScreenRectangle &value);
TOLVEX_EXPORT bool unwrapRemoteScreenRectangle(SharedPtr<Object> obj, ScreenRectangle *value);
TOLVEX_EXPORT QRect unwrapRemoteScreenRectangleAsQRect(SharedPtr<Object> obj);

} // namespace Tolvex
