#pragma once

// Every diagnostic category of the agent, declared here once and used through
// the qC* macros. Debug output is off unless QT_LOGGING_RULES switches it on
// (for example "tolvex.hook.debug=true"); a disabled point costs one test of
// a flag. No behaviour depends on what is logged.

#include <QLoggingCategory>
#include <QString>

#include <type_traits>

namespace Tolvex {

// "tolvex.socket": socket waits and their failures.
Q_DECLARE_LOGGING_CATEGORY(lcSocket)
// "tolvex.fkit.process": starting, watching and ending processes.
Q_DECLARE_LOGGING_CATEGORY(lcProcess)
// "tolvex.ipc": message channels and the call engine.
Q_DECLARE_LOGGING_CATEGORY(lcIpc)
// "tolvex.hook": the agent's hook-up, calls and exit.
Q_DECLARE_LOGGING_CATEGORY(lcTraceHook)
// "tolvex.wrapper": what the wrapper base does for a toolkit.
Q_DECLARE_LOGGING_CATEGORY(lcTraceWrapper)
// "tolvex.namereuse": reusing the object map's names for recorded objects.
Q_DECLARE_LOGGING_CATEGORY(lcTraceNameReuse)
// "tolvex.streaming": screen streams, their coders and recorders.
Q_DECLARE_LOGGING_CATEGORY(lcStreaming)

// One line on the log stream (std::clog, which is standard error): where
// faults of the protocol (a wrong argument count, an unknown id or
// function) and the mistakes of wrapper authors are reported.
void logLine(const QString &text);

namespace LogDetail {
inline void append(QString &line, const QString &part)
{
    line += part;
}
inline void append(QString &line, const char *part)
{
    line += QString::fromUtf8(part);
}
template <typename T>
requires std::is_arithmetic_v<T>
void append(QString &line, T part)
{
    line += QString::number(part);
}
} // namespace LogDetail

// The same line made of pieces: texts and numbers, joined as they stand.
template <typename... Parts>
requires(sizeof...(Parts) > 1) void logLine(const Parts &...parts)
{
    QString line;
    (LogDetail::append(line, parts), ...);
    logLine(line);
}

} // namespace Tolvex

#define TOLVEX_TRACE_HOOK() qCDebug(::Tolvex::lcTraceHook)
#define TOLVEX_TRACE_WRAPPER() qCDebug(::Tolvex::lcTraceWrapper)
#define TOLVEX_TRACE_NAMEREUSE() qCDebug(::Tolvex::lcTraceNameReuse)
