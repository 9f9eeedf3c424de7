#include "mousebuttonclass.h"

#include "enum.h"

namespace Tolvex {

namespace {

// The values are those of the native layer's mouse buttons and modifier
// keys, which scripts and recorded events name.
const Enum::Item buttonItems[] = {
    {"None", 0},       {"LeftButton", 1},     {"MiddleButton", 2},     {"RightButton", 4},
    {"Wheel", 8},      {"PrimaryButton", 16}, {"SecondaryButton", 32}, {"XButton1", 64},
    {"XButton2", 128}, {nullptr, 0},
};

const Enum::Item modifierItems[] = {
    {"None", 0},   {"Control", 128},  {"Shift", 256}, {"Alt", 512},
    {"Win", 1024}, {"Command", 2048}, {nullptr, 0},
};

} // namespace

MouseButtonClass::MouseButtonClass() : Class("MouseButton", true)
{
    setNumConstructors(0);
    setNumMethods(0);
    setNumProperties(0);
    setNumEvents(0);
    setNumEnums(1);
}

void MouseButtonClass::initSuperClass()
{
    setSuperClass(nullptr);
}

Enum *MouseButtonClass::createEnum(int id) const
{
    return id == 0 ? new Enum(this, QStringLiteral("ButtonValue"), buttonItems, 0) : nullptr;
}

KeyboardModifierClass::KeyboardModifierClass() : Class("KeyboardModifier", true)
{
    setNumConstructors(0);
    setNumMethods(0);
    setNumProperties(0);
    setNumEvents(0);
    setNumEnums(1);
}

void KeyboardModifierClass::initSuperClass()
{
    setSuperClass(nullptr);
}

Enum *KeyboardModifierClass::createEnum(int id) const
{
    return id == 0 ? new Enum(this, QStringLiteral("Key"), modifierItems, 0) : nullptr;
}

} // namespace Tolvex
