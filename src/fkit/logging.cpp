#include "logging.h"

#include <iostream>

namespace Tolvex {

// Warnings of the lower layers reach the console; their debug output (a
// socket wait that times out is routine), and all of the traces, are for
// the developer who switches them on.
Q_LOGGING_CATEGORY(lcSocket, "tolvex.socket", QtInfoMsg)
Q_LOGGING_CATEGORY(lcProcess, "tolvex.fkit.process", QtWarningMsg)
Q_LOGGING_CATEGORY(lcIpc, "tolvex.ipc", QtWarningMsg)
Q_LOGGING_CATEGORY(lcTraceHook, "tolvex.hook", QtInfoMsg)
Q_LOGGING_CATEGORY(lcTraceWrapper, "tolvex.wrapper", QtInfoMsg)
Q_LOGGING_CATEGORY(lcTraceNameReuse, "tolvex.namereuse", QtInfoMsg)
Q_LOGGING_CATEGORY(lcStreaming, "tolvex.streaming", QtWarningMsg)

void logLine(const QString &text)
{
    std::clog << text.toStdString() << std::endl;
}

} // namespace Tolvex
