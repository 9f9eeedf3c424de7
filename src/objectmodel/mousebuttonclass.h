#pragma once

#include "class.h"

namespace Tolvex {

// "MouseButton": carries the mask enumerator "ButtonValue" for scripts and
// recorded events. Created by a wrapper, not by the Inspector.
class MouseButtonClass : public Class
{
public:
    MouseButtonClass();

private:
    void initSuperClass() override;
    Enum *createEnum(int id) const override;
};

// "KeyboardModifier": carries the enumerator "Key".
class KeyboardModifierClass : public Class
{
public:
    KeyboardModifierClass();

private:
    void initSuperClass() override;
    Enum *createEnum(int id) const override;
};

} // namespace Tolvex
