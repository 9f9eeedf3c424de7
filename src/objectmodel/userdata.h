#pragma once

#include "tolvexexport.h"

namespace Tolvex {

// What a wrapper attaches to an Object. The object owns it and asks for a
// copy when it is re-wrapped under another type (an interface, for instance).
class TOLVEX_EXPORT UserData
{
public:
    virtual ~UserData() = default;
    virtual UserData *copy() const = 0;
};

} // namespace Tolvex
