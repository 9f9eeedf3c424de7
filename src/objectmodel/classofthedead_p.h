#pragma once

#include "class.h"

namespace Tolvex {

// The type of every object whose native thing is gone: no members, never
// registered, so any call on such an object finds nothing to do.
class ClassOfTheDead : public Class
{
public:
    ClassOfTheDead();
    static const ClassOfTheDead *instance();
};

} // namespace Tolvex
