#pragma once

// The desktop's screens as scripts ask about them: how many, where each
// lies, which way round it is.

#include "functioncallresult.h"
#include "rect.h"
#include "shared.h"
#include "tolvexexport.h"

namespace Tolvex {

class TOLVEX_EXPORT Screen : public Shared
{
public:
    ~Screen() override;
    virtual FunctionCallResult<int> count() = 0;
    // In the toolkit's coordinates, with the screen's index in `screen`.
    virtual FunctionCallResult<Rect<2>> geometry(int index) = 0;
    // 1 portrait or unknown, 2 landscape.
    virtual FunctionCallResult<int> orientation(int index) = 0;
    virtual FunctionCallResult<void> setOrientation(int index, int orientation) = 0;
};

// The screens that Qt's GUI application knows, which on X11 are the XRandR
// monitors.
class TOLVEX_EXPORT StandardScreen : public Screen
{
public:
    FunctionCallResult<int> count() override;
    FunctionCallResult<Rect<2>> geometry(int index) override;
    FunctionCallResult<int> orientation(int index) override;
    FunctionCallResult<void> setOrientation(int index, int orientation) override;
};

} // namespace Tolvex
