#pragma once

// The plug-in's diagnostic category, "tolvex.x11": what the X11 backend
// does and where it had to wait or fall back. Off unless QT_LOGGING_RULES
// switches it on. The plug-in is a library of its own, so its category
// lives here rather than with the agent's.

#include <QLoggingCategory>

namespace Tolvex {
Q_DECLARE_LOGGING_CATEGORY(lcX11)
} // namespace Tolvex
