#include "session.h"

#include "commandexecutor.h"
#include "eventwait.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLocalServer>
#include <QLocalSocket>
#include <QPointer>
#include <QProcess>
#include <QRegularExpression>

#include <climits>

#include <unistd.h>

namespace Tolvex::Session {

namespace {

QString errorPath(const QString &name)
{
    return QDir(directory()).filePath(name + QStringLiteral(".error"));
}

QString logPath(const QString &name)
{
    return QDir(directory()).filePath(name + QStringLiteral(".log"));
}

bool validName(const QString &name)
{
    static const QRegularExpression allowed(QStringLiteral("^[A-Za-z0-9_.-]{1,64}$"));
    return allowed.match(name).hasMatch() && !name.startsWith(QLatin1Char('.'));
}

} // namespace

QString directory()
{
    QString base = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (base.isEmpty() || !QFileInfo(base).isWritable())
        base = QDir::tempPath() + QStringLiteral("/tolvex-%1").arg(getuid());
    else
        base += QStringLiteral("/tolvex");
    QDir().mkpath(base);
    QFile::setPermissions(base,
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    return base;
}

QString socketPath(const QString &name)
{
    return QDir(directory()).filePath(name + QStringLiteral(".sock"));
}

FunctionCallResult<QString> start(const QString &name, const QStringList &launchWords)
{
    using Result = FunctionCallResult<QString>;
    if (!validName(name))
        return Result(QString(), QStringLiteral("A session name is letters, digits, '.', '_' "
                                                "and '-': '%1' is not one")
                                     .arg(name));
    const FunctionCallResult<QJsonObject> running =
        request(name, {{QStringLiteral("command"), QStringLiteral("__ping")}}, 2000);
    if (!running.isError())
        return Result(QString(), QStringLiteral("The session '%1' is running already; end it "
                                                "with: tolvex quit --session %1")
                                     .arg(name));
    QFile::remove(errorPath(name));
    QProcess process;
    process.setProgram(QCoreApplication::applicationFilePath());
    process.setArguments(QStringList{QStringLiteral("__session"), name} + launchWords);
    process.setStandardOutputFile(logPath(name));
    process.setStandardErrorFile(logPath(name));
    process.setStandardInputFile(QProcess::nullDevice());
    qint64 pid = 0;
    if (!process.startDetached(&pid))
        return Result(QString(), QStringLiteral("Cannot start the session process"));
    // The session answers once its application has hooked up, or leaves
    // the reason behind.
    QString error;
    const bool settled = waitUntil(
        [&] {
            if (QFile::exists(errorPath(name))) {
                QFile file(errorPath(name));
                if (file.open(QIODevice::ReadOnly))
                    error = QString::fromUtf8(file.readAll()).trimmed();
                return !error.isEmpty();
            }
            return QFile::exists(socketPath(name)) &&
                   !request(name, {{QStringLiteral("command"), QStringLiteral("__ping")}}, 1000)
                        .isError();
        },
        120000, 50);
    if (!error.isEmpty())
        return Result(QString(), error);
    if (!settled)
        return Result(QString(),
                      QStringLiteral("The session did not start; see %1").arg(logPath(name)));
    return Result(QStringLiteral("session '%1' started").arg(name));
}

int serve(const QString &name, const QStringList &launchWords)
{
    CommandExecutor executor;
    executor.setApplicationOutput(QDir(directory()).filePath(name + QStringLiteral(".aut.log")));
    const CommandOutcome launched =
        executor.run(QStringList{QStringLiteral("launch")} + launchWords);
    if (!launched.ok) {
        QFile error(errorPath(name));
        if (error.open(QIODevice::WriteOnly))
            error.write(launched.error.toUtf8());
        return 1;
    }
    QLocalServer server;
    server.setSocketOptions(QLocalServer::UserAccessOption);
    QLocalServer::removeServer(socketPath(name));
    if (!server.listen(socketPath(name))) {
        QFile error(errorPath(name));
        if (error.open(QIODevice::WriteOnly))
            error.write(QStringLiteral("Cannot listen on %1: %2")
                            .arg(socketPath(name), server.errorString())
                            .toUtf8());
        return 1;
    }
    bool quitting = false;
    bool busy = false;
    QList<QPointer<QLocalSocket>> clients;
    // One request at a time: a command waits in the event loop, and a line
    // that comes meanwhile, from this client or another, waits until it is
    // done.
    const auto answer = [&](const QPointer<QLocalSocket> &client) {
        const QByteArray line = client->readLine();
        QJsonObject answer;
        const QJsonObject request = QJsonDocument::fromJson(line).object();
        const QString command = request.value(QStringLiteral("command")).toString();
        if (command == QLatin1String("__ping")) {
            answer = CommandOutcome{true, name, {}}.toJson();
        } else {
            // The command line sends its words as they were given; a
            // script may send a request of its own.
            const QJsonArray words = request.value(QStringLiteral("words")).toArray();
            QStringList list;
            for (const QJsonValue &word : words)
                list.append(word.toString());
            answer = (words.isEmpty() ? executor.run(request) : executor.run(list)).toJson();
            quitting = list.value(0) == QLatin1String("quit") || command == QLatin1String("quit") ||
                       !executor.application() || !executor.application()->isRunning();
        }
        // The client may have given up meanwhile.
        if (client && client->state() == QLocalSocket::ConnectedState) {
            client->write(QJsonDocument(answer).toJson(QJsonDocument::Compact) + '\n');
            client->flush();
        }
    };
    const auto serveWaiting = [&] {
        if (busy)
            return;
        busy = true;
        for (bool served = true; served;) {
            served = false;
            clients.removeAll(nullptr);
            for (qsizetype i = 0; i < clients.size(); ++i)
                if (const QPointer<QLocalSocket> client = clients.at(i);
                    client && client->canReadLine()) {
                    answer(client);
                    served = true;
                    break;
                }
        }
        busy = false;
    };
    QObject::connect(&server, &QLocalServer::newConnection, [&] {
        while (QLocalSocket *client = server.nextPendingConnection()) {
            clients.append(client);
            QObject::connect(client, &QLocalSocket::readyRead, client, serveWaiting);
            QObject::connect(client, &QLocalSocket::disconnected, client, &QObject::deleteLater);
        }
    });
    // The application may also end by itself.
    waitUntil([&] { return quitting || !executor.application()->isRunning(); }, INT_MAX, 200);
    // No new requests; the last answer still gets out.
    server.close();
    QFile::remove(socketPath(name));
    runEventsFor(200);
    return 0;
}

FunctionCallResult<QJsonObject> request(const QString &name, const QJsonObject &request,
                                        int timeoutMs)
{
    using Result = FunctionCallResult<QJsonObject>;
    QLocalSocket socket;
    socket.connectToServer(socketPath(name));
    if (!socket.waitForConnected(qMin(timeoutMs, 2000)))
        return Result({}, QStringLiteral("No session '%1' is running; start one with: tolvex "
                                         "launch --session %1 -- PROGRAM")
                              .arg(name));
    socket.write(QJsonDocument(request).toJson(QJsonDocument::Compact) + '\n');
    socket.flush();
    QByteArray line;
    const bool answered = waitUntil(
        [&] {
            line += socket.readAll();
            return line.endsWith('\n') || socket.state() != QLocalSocket::ConnectedState;
        },
        timeoutMs, 20);
    line += socket.readAll();
    const QJsonDocument answer = QJsonDocument::fromJson(line);
    if (!answered || !answer.isObject())
        return Result({}, QStringLiteral("The session '%1' gave no answer").arg(name));
    return Result(answer.object());
}

QStringList list()
{
    QStringList names;
    const QDir dir(directory());
    for (const QString &file :
         dir.entryList({QStringLiteral("*.sock")}, QDir::System | QDir::Files)) {
        const QString name = file.chopped(5);
        if (!request(name, {{QStringLiteral("command"), QStringLiteral("__ping")}}, 1000).isError())
            names.append(name);
    }
    return names;
}

} // namespace Tolvex::Session
