#pragma once

// Trace points of the agent. Each category is off unless enabled through
// QT_LOGGING_RULES (for example "tolvex.hook.debug=true"); a disabled point
// costs one test of the category's flag. No behaviour depends on a trace.

#include <QLoggingCategory>

namespace Tolvex {

Q_DECLARE_LOGGING_CATEGORY(lcTraceHook)
Q_DECLARE_LOGGING_CATEGORY(lcTraceWrapper)
Q_DECLARE_LOGGING_CATEGORY(lcTraceNameReuse)

} // namespace Tolvex

#define TOLVEX_TRACE_HOOK() qCDebug(::Tolvex::lcTraceHook)
#define TOLVEX_TRACE_WRAPPER() qCDebug(::Tolvex::lcTraceWrapper)
#define TOLVEX_TRACE_NAMEREUSE() qCDebug(::Tolvex::lcTraceNameReuse)
