#include "autlauncher.h"

#include "fenvironmentvariables.h"

namespace Tolvex {

namespace {

const QStringList &agentVariables()
{
    static const QStringList names{QStringLiteral("TOLVEX_SERVERADDRESS"),
                                   QStringLiteral("TOLVEX_PORT"), QStringLiteral("TOLVEX_RUNNERID"),
                                   QStringLiteral("TOLVEX_APPID")};
    return names;
}

} // namespace

void AUTLauncher::setServer(const QString &address, quint16 port)
{
    m_serverAddress = address;
    m_port = port;
}

void AUTLauncher::setEnvironmentValue(const QString &name, const QString &value)
{
    m_extra.insert(name, value);
}

QStringList AUTLauncher::environment() const
{
    FEnvironmentVariables env(true);
    // What this process inherited from a tool of its own must not leak into
    // the child's connection.
    for (const QString &name : agentVariables())
        env.unsetKey(name);
    if (m_connect) {
        env.setValue(QStringLiteral("TOLVEX_SERVERADDRESS"), m_serverAddress);
        env.setValue(QStringLiteral("TOLVEX_PORT"), int(m_port));
        env.setValue(QStringLiteral("TOLVEX_RUNNERID"), m_runnerId);
        env.setValue(QStringLiteral("TOLVEX_APPID"), m_appId);
    }
    for (auto it = m_extra.cbegin(); it != m_extra.cend(); ++it) {
        if (it.value().isEmpty())
            env.unsetKey(it.key());
        else
            env.setValue(it.key(), it.value());
    }
    return env.environment();
}

bool AUTLauncher::start()
{
    QStringList commandLine{m_program};
    commandLine += m_arguments;
    // A shell puts the streams in place and becomes the program: the process
    // id stays the program's.
    if (!m_outputFile.isEmpty())
        commandLine = QStringList{QStringLiteral("/bin/sh"), QStringLiteral("-c"),
                                  QStringLiteral("exec \"$@\" >>\"$0\" 2>&1"), m_outputFile} +
                      commandLine;
    else if (m_outputToStandardError)
        commandLine = QStringList{QStringLiteral("/bin/sh"), QStringLiteral("-c"),
                                  QStringLiteral("exec \"$@\" 1>&2"), QStringLiteral("sh")} +
                      commandLine;
    m_process.setArguments(commandLine);
    QStringList lines = environment();
    return m_process.start(&lines);
}

bool AUTLauncher::isRunning()
{
    return m_process.isRunning();
}

void AUTLauncher::kill()
{
    m_process.kill(true);
}

int AUTLauncher::exitCode()
{
    return m_process.returnCode();
}

bool AUTLauncher::normalExit() const
{
    return m_process.normalExit();
}

qint64 AUTLauncher::processId() const
{
    return m_process.processIdentifier();
}

} // namespace Tolvex
