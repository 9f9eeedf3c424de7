#include "trace.h"

namespace Tolvex {

// Debug output of these categories is off by default: tracing is for the
// developer who switches it on, never for the tester's console.
Q_LOGGING_CATEGORY(lcTraceHook, "tolvex.hook", QtInfoMsg)
Q_LOGGING_CATEGORY(lcTraceWrapper, "tolvex.wrapper", QtInfoMsg)
Q_LOGGING_CATEGORY(lcTraceNameReuse, "tolvex.namereuse", QtInfoMsg)

} // namespace Tolvex
