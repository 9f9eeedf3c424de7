#pragma once

#include "fprocess.h"

#include <QMap>
#include <QString>
#include <QStringList>

namespace Tolvex {

// Starts an application under test with the environment that makes its agent
// connect back to this server: address, port, runner id and application id.
class AUTLauncher
{
public:
    // The runner id is the server's own address, so that what the agent
    // sends to its runner reaches the server.
    static constexpr int DefaultRunnerId = 1;

    void setProgram(const QString &program) { m_program = program; }
    void setArguments(const QStringList &arguments) { m_arguments = arguments; }
    void setServer(const QString &address, quint16 port);
    void setRunnerId(int id) { m_runnerId = id; }
    void setAppId(int id) { m_appId = id; }
    // Without connection the agent variables are left out altogether, so the
    // application runs as if no tool were there.
    void setConnectToServer(bool connect) { m_connect = connect; }
    // Further variables, or an empty value to remove one the parent has.
    void setEnvironmentValue(const QString &name, const QString &value);

    // Where the child's standard output and error go: appended to a file,
    // or both to this process's standard error (so that this process's own
    // output stays its own). By default the child shares both streams.
    void setOutputFile(const QString &path) { m_outputFile = path; }
    void setOutputToStandardError(bool on) { m_outputToStandardError = on; }

    // The child's environment lines, as start() hands them over.
    QStringList environment() const;
    bool start();
    bool isRunning();
    // Ends the child and its descendants if still running.
    void kill();
    int exitCode();
    bool normalExit() const;
    qint64 processId() const;

private:
    FProcess m_process;
    QString m_program;
    QStringList m_arguments;
    QString m_serverAddress = QStringLiteral("127.0.0.1");
    quint16 m_port = 0;
    int m_runnerId = DefaultRunnerId;
    int m_appId = 2;
    bool m_connect = true;
    QString m_outputFile;
    bool m_outputToStandardError = false;
    QMap<QString, QString> m_extra;
};

} // namespace Tolvex
