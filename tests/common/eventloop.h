#pragma once

// Tests wait the way the server side does.

#include "eventwait.h"

namespace TestSupport {

using Tolvex::runEventsFor;
using Tolvex::waitUntil;

} // namespace TestSupport
