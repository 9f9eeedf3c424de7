#pragma once

#include "class.h"
#include "tolvexexport.h"

namespace Tolvex {

// "MouseButton": carries the mask enumerator "ButtonValue" for scripts and
// recorded events. Created by a wrapper, not by the Inspector.
class TOLVEX_EXPORT MouseButtonClass : public Class
{
public:
    MouseButtonClass();

private:
    void initSuperClass() override;
    Enum *createEnum(int id) const override;
};

// "KeyboardModifier": carries the enumerator "Key".
class TOLVEX_EXPORT KeyboardModifierClass : public Class
{
public:
    KeyboardModifierClass();

private:
    void initSuperClass() override;
    Enum *createEnum(int id) const override;
};

} // namespace Tolvex
