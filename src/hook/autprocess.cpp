#include "autprocess.h"

#include "autprocessplatform_p.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSysInfo>

#include <cstdio>

namespace Tolvex {

namespace {

QFile *openLog(const char *variable)
{
    const QString path = qEnvironmentVariable(variable);
    if (path.isEmpty())
        return nullptr;
    auto *file = new QFile(path);
    if (!file->open(QIODevice::ReadOnly | QIODevice::Text)) {
        delete file;
        return nullptr;
    }
    return file;
}

} // namespace

AUTProcess::AUTProcess()
    : m_stdoutLog(openLog("TOLVEX_LOG_AUTSTDOUT_FILE")),
      m_stderrLog(openLog("TOLVEX_LOG_AUTSTDERR_FILE"))
{}

AUTProcess::~AUTProcess()
{
    delete m_stdoutLog;
    delete m_stderrLog;
}

QString AUTProcess::baseName(const QString &path)
{
    const QFileInfo info(path);
    if (info.suffix() == QLatin1String("exe"))
        return info.completeBaseName();
    return info.fileName();
}

QString AUTProcess::name() const
{
    const QStringList args = arguments();
    return args.isEmpty() ? QString() : baseName(args.first());
}

QStringList AUTProcess::arguments() const
{
    QStringList args;
    for (const std::string &a : AUTProcessPlatform::commandLine())
        args << QString::fromUtf8(a.data(), qsizetype(a.size()));
    return args;
}

quint64 AUTProcess::startTime() const
{
    return AUTProcessPlatform::startTimeMs();
}

qint64 AUTProcess::totalTime() const
{
    return AUTProcessPlatform::cpuTimeMs();
}

int AUTProcess::processId() const
{
    return AUTProcessPlatform::processId();
}

QString AUTProcess::workingDirectory() const
{
    return QDir::toNativeSeparators(QDir::currentPath());
}

qint64 AUTProcess::usedMemory() const
{
    return AUTProcessPlatform::usedMemory();
}

QString AUTProcess::readStdout()
{
    return readLog(m_stdoutLog);
}

QString AUTProcess::readStderr()
{
    return readLog(m_stderrLog);
}

QString AUTProcess::readLog(QFile *file)
{
    // Whatever this process printed must be in the log before it is read.
    std::fflush(stdout);
    std::fflush(stderr);
    if (!file || !file->isOpen())
        return QString();
    QString text;
    char line[4096];
    for (;;) {
        const qint64 n = file->readLine(line, sizeof line);
        if (n <= 0)
            break;
        text += QString::fromLocal8Bit(line, qsizetype(n));
    }
    return text;
}

QString AUTProcess::osName() const
{
    return QString::fromLocal8Bit(QSysInfo::prettyProductName().toLocal8Bit());
}

QString AUTProcess::environmentVariable(const QString &name) const
{
    return QString::fromUtf8(qgetenv(name.toUtf8().constData()));
}

} // namespace Tolvex
