#pragma once

#include "objectname.h"

namespace Tolvex {

// A name resolved through the current object map, or, when there is none, as an empty
// map would resolve it.
ObjectName resolveObjectName(const QString &name);

} // namespace Tolvex
