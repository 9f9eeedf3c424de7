// tolvex: the server side of the test tool on the command line.

#include "appidhandshaker.h"
#include "applicationserver.h"
#include "autlauncher.h"
#include "ipchandshake.h"
#include "messagechannel.h"
#include "tcpmessagechannel.h"
#include "tcpmessagingserver.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QProcess>
#include <QTextStream>
#include <QTimer>

#include <cstdio>

using namespace Tolvex;

namespace {

QTextStream &out()
{
    static QTextStream stream(stdout);
    return stream;
}

QTextStream &err()
{
    static QTextStream stream(stderr);
    return stream;
}

QString describe(const ClientData &d)
{
    return QStringLiteral("appId=%1 runnerId=%2 clientKind=%3 clientName=\"%4\"")
        .arg(d.appId)
        .arg(d.runnerId)
        .arg(d.clientKind)
        .arg(d.clientName);
}

// Connects to a server, shakes hands and prints what each side said.
int runConnect(const QString &host, quint16 port, const ClientData &own)
{
    const FunctionCallResult<MessageChannel *> channel = TCPMessageChannel::connectTo(host, port);
    if (channel.isError()) {
        err() << "tolvex connect: " << channel.error << Qt::endl;
        return 2;
    }
    out() << "client: connected over " << QString::fromStdString(channel.value->debugName())
          << Qt::endl;
    out() << "client: sent    " << describe(own) << Qt::endl;
    const FunctionCallResult<ClientData> reply =
        IPCHandshake::synchronous(own, channel.value, 10000);
    if (reply.isError()) {
        err() << "tolvex connect: handshake failed: " << reply.error << Qt::endl;
        channel.value->close();
        delete channel.value;
        return 3;
    }
    out() << "client: server answered " << describe(reply.value) << Qt::endl;
    channel.value->close();
    delete channel.value;
    return 0;
}

// Listens and prints every client the handshake lets in. With maxClients > 0
// it quits after that many clients.
int runServe(QCoreApplication &app, quint16 port, int maxClients, const QString &refusal,
             const QStringList &childArguments)
{
    AppIdHandshaker handshaker;
    handshaker.setRefusal(refusal);
    TCPMessagingServer server(&handshaker, FHostAddress(0x7F000001), port);
    int exitCode = 0;
    int seen = 0;
    QObject::connect(&server, &MessagingServer::serverFailed, [&](int, const QString &text) {
        err() << "tolvex serve: " << text << Qt::endl;
    });
    auto countClient = [&] {
        if (maxClients > 0 && ++seen >= maxClients)
            QTimer::singleShot(0, &app, [&app] { app.exit(0); });
    };
    QObject::connect(&server, &MessagingServer::newClient,
                     [&](AsyncMessageChannel *channel, const ClientData &client) {
                         out() << "server: accepted " << describe(client) << " on "
                               << QString::fromStdString(channel->debugName()) << Qt::endl;
                         channel->close();
                         channel->deleteLater();
                         countClient();
                     });
    QObject::connect(&server, &MessagingServer::channelRejected,
                     [&](AsyncMessageChannel *, const QString &reason) {
                         out() << "server: rejected a client: " << reason << Qt::endl;
                         countClient();
                     });
    if (!server.start())
        return 2;
    out() << "server: listening on " << server.address().toString() << ":" << server.port()
          << Qt::endl;

    QProcess child;
    if (!childArguments.isEmpty()) {
        // The demo: run a client as a separate process against this server.
        QStringList args = childArguments;
        args << QStringLiteral("--port") << QString::number(server.port());
        child.setProcessChannelMode(QProcess::ForwardedChannels);
        QObject::connect(&child, &QProcess::finished, [&](int code, QProcess::ExitStatus) {
            if (code != 0) {
                err() << "tolvex demo: client exited with " << code << Qt::endl;
                exitCode = code;
                app.exit(code);
            }
        });
        child.start(QCoreApplication::applicationFilePath(), args);
    }
    const int loop = app.exec();
    if (child.state() != QProcess::NotRunning)
        child.waitForFinished(5000);
    return exitCode ? exitCode : loop;
}

QString describe(const ArgumentList &args)
{
    QStringList values;
    for (const QVariant &value : args)
        values.append(value.toString());
    return values.join(QStringLiteral(", "));
}

// Launches an application with the agent's environment, hooks it up, lets it
// run and prints what its agent sends, until it ends.
int runApplication(QCoreApplication &app, const QStringList &command)
{
    ApplicationServer server;
    if (!server.start()) {
        err() << "tolvex run: could not listen" << Qt::endl;
        return 2;
    }
    QObject::connect(&server, &ApplicationServer::messageReceived,
                     [&](const ApplicationServer::Message &message) {
                         out() << "application " << message.sender
                               << (message.broadcast ? " broadcast " : " sent ") << message.function
                               << "(" << describe(message.args) << ")" << Qt::endl;
                         // The test side has nothing to prepare: let it run.
                         if (message.function == QLatin1String("subprocessHooked"))
                             server.initDone();
                     });
    AUTLauncher launcher;
    launcher.setProgram(command.first());
    launcher.setArguments(command.mid(1));
    launcher.setServer(QStringLiteral("127.0.0.1"), server.port());
    if (!launcher.start()) {
        err() << "tolvex run: could not start " << command.first() << Qt::endl;
        return 2;
    }
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, [&] {
        if (!launcher.isRunning())
            app.exit(0);
    });
    watch.start(50);
    app.exec();
    out() << "tolvex run: application exited with " << launcher.exitCode() << Qt::endl;
    return launcher.exitCode();
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("tolvex"));

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("The server side of the Tolvex test tool.\n\n"
                       "Commands:\n"
                       "  demo      start a server, run a client process against it, shake hands\n"
                       "  serve     listen for clients and print each one the handshake accepts\n"
                       "  connect   connect to a server, shake hands, print both sides\n"
                       "  run       run a program with the agent hooked up: run -- PROGRAM ARGS"));
    parser.addHelpOption();
    parser.addPositionalArgument(QStringLiteral("command"),
                                 QStringLiteral("demo, serve, connect or run"));
    QCommandLineOption hostOption(QStringLiteral("host"), QStringLiteral("Server host (connect)."),
                                  QStringLiteral("host"), QStringLiteral("127.0.0.1"));
    QCommandLineOption portOption(QStringLiteral("port"),
                                  QStringLiteral("Port; 0 lets serve pick a free one."),
                                  QStringLiteral("port"), QStringLiteral("0"));
    QCommandLineOption nameOption(QStringLiteral("name"), QStringLiteral("Client name (connect)."),
                                  QStringLiteral("name"), QStringLiteral("tolvex-client"));
    QCommandLineOption runnerOption(QStringLiteral("runner-id"),
                                    QStringLiteral("Runner id the client announces (connect)."),
                                    QStringLiteral("id"), QStringLiteral("0"));
    QCommandLineOption clientsOption(QStringLiteral("clients"),
                                     QStringLiteral("Quit after this many clients (serve)."),
                                     QStringLiteral("n"), QStringLiteral("0"));
    QCommandLineOption refuseOption(QStringLiteral("refuse"),
                                    QStringLiteral("Refuse every client with this text (serve)."),
                                    QStringLiteral("text"));
    parser.addOptions(
        {hostOption, portOption, nameOption, runnerOption, clientsOption, refuseOption});
    parser.process(app);

    const QStringList positional = parser.positionalArguments();
    if (positional.size() > 1 && positional.first() == QLatin1String("run"))
        return runApplication(app, positional.mid(1));
    if (positional.size() != 1) {
        err() << "tolvex: expected one command; see --help" << Qt::endl;
        return 1;
    }
    bool ok = false;
    const uint port = parser.value(portOption).toUInt(&ok);
    if (!ok || port > 65535) {
        err() << "tolvex: invalid port '" << parser.value(portOption) << "'" << Qt::endl;
        return 1;
    }
    const QString &command = positional.first();
    if (command == QLatin1String("connect")) {
        ClientData own;
        own.runnerId = parser.value(runnerOption).toInt();
        own.clientKind = 4;
        own.clientName = parser.value(nameOption);
        return runConnect(parser.value(hostOption), quint16(port), own);
    }
    if (command == QLatin1String("serve"))
        return runServe(app, quint16(port), parser.value(clientsOption).toInt(),
                        parser.value(refuseOption), {});
    if (command == QLatin1String("demo"))
        return runServe(app, 0, 1, {},
                        {QStringLiteral("connect"), QStringLiteral("--name"),
                         QStringLiteral("demo-client"), QStringLiteral("--runner-id"),
                         QStringLiteral("42")});
    if (command == QLatin1String("run")) {
        err() << "tolvex run: expected a program to run" << Qt::endl;
        return 1;
    }
    err() << "tolvex: unknown command '" << command << "'; see --help" << Qt::endl;
    return 1;
}
