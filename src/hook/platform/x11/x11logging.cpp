#include "x11logging.h"

namespace Tolvex {
Q_LOGGING_CATEGORY(lcX11, "tolvex.x11", QtWarningMsg)
} // namespace Tolvex
