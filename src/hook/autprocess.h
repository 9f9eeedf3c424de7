#pragma once

#include "tolvexexport.h"

#include <QString>
#include <QStringList>

class QFile;

namespace Tolvex {

// Facts about the process under test: name, command line, times, memory and
// the output it printed. A wrapper creates it and the Hook owns it; a wrapper
// may derive from it to answer differently.
class TOLVEX_EXPORT AUTProcess
{
public:
    AUTProcess();
    virtual ~AUTProcess();
    AUTProcess(const AUTProcess &) = delete;
    AUTProcess &operator=(const AUTProcess &) = delete;

    // The base name of the first argument; null when there are no arguments.
    virtual QString name() const;
    virtual QStringList arguments() const;
    // Milliseconds since 1970; 0 when it cannot be read.
    virtual quint64 startTime() const;
    // User plus kernel time in milliseconds; 0 when it cannot be read.
    virtual qint64 totalTime() const;
    virtual int processId() const;
    virtual QString workingDirectory() const;
    // Bytes of memory in use; 0 when it cannot be read.
    virtual qint64 usedMemory() const;
    // What the process printed since the last call, when its output is logged
    // to a file (TOLVEX_LOG_AUTSTDOUT_FILE, TOLVEX_LOG_AUTSTDERR_FILE).
    virtual QString readStdout();
    virtual QString readStderr();
    virtual QString osName() const;
    virtual QString environmentVariable(const QString &name) const;

    // The file name of a path, without an "exe" suffix.
    static QString baseName(const QString &path);

private:
    static QString readLog(QFile *file);

    QFile *m_stdoutLog = nullptr;
    QFile *m_stderrLog = nullptr;
};

} // namespace Tolvex
