// tolvex: the server side of the test tool on the command line.

#include "appidhandshaker.h"
#include "applicationserver.h"
#include "autlauncher.h"
#include "commandexecutor.h"
#include "doctor.h"
#include "ipchandshake.h"
#include "messagechannel.h"
#include "recordedaction.h"
#include "session.h"
#include "tcpmessagechannel.h"
#include "tcpmessagingserver.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QRegularExpression>
#include <QTextStream>
#include <QTimer>

#include <csignal>
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

// The session named by --session (or the default one), with the option
// taken out of the words.
QString takeSession(QStringList *words)
{
    const qsizetype end = words->indexOf(QStringLiteral("--"));
    const qsizetype at = words->indexOf(QStringLiteral("--session"));
    if (at < 0 || (end >= 0 && at > end) || at + 1 >= words->size())
        return QString::fromLatin1(Session::DefaultName);
    const QString name = words->at(at + 1);
    words->remove(at, 2);
    return name;
}

bool asksForHelp(const QStringList &words)
{
    const qsizetype end = words.indexOf(QStringLiteral("--"));
    const QStringList before = end < 0 ? words : words.mid(0, end);
    return before.contains(QStringLiteral("--help")) || before.contains(QStringLiteral("-h"));
}

// One command of the command line, run in a session.
int runSessionCommand(QStringList words)
{
    const QString command = words.first();
    if (asksForHelp(words)) {
        out() << CommandExecutor::help(command)
              << "\nOptions of every command: --session NAME (default \"" << Session::DefaultName
              << "\"), --timeout S." << Qt::endl;
        return 0;
    }
    const QString session = takeSession(&words);
    if (command == QLatin1String("launch")) {
        const FunctionCallResult<QString> started = Session::start(session, words.mid(1));
        if (started.isError()) {
            err() << "tolvex launch: " << started.error << Qt::endl;
            return 1;
        }
        out() << started.value << Qt::endl;
        return 0;
    }
    // The session enforces the command's own time-out; this one only
    // guards against a session that stopped answering.
    const FunctionCallResult<QJsonObject> answer = Session::request(
        session, {{QStringLiteral("words"), QJsonArray::fromStringList(words)}}, 30 * 60 * 1000);
    if (answer.isError()) {
        err() << "tolvex " << command << ": " << answer.error << Qt::endl;
        return 1;
    }
    const CommandOutcome outcome = CommandOutcome::fromJson(answer.value);
    if (!outcome.ok) {
        err() << "tolvex " << command << ": " << outcome.error << Qt::endl;
        return 1;
    }
    const QString text = outcome.text();
    if (!text.isEmpty() && text != QLatin1String("null"))
        out() << text << Qt::endl;
    return 0;
}

volatile std::sig_atomic_t stopRequested = 0;

extern "C" void requestStop(int)
{
    stopRequested = 1;
}

// Prints the actions of a record answer, and gives the index to ask from
// next.
qint64 printRecorded(const QJsonObject &answer, bool json, qint64 *count)
{
    const QJsonObject value = answer.value(QStringLiteral("value")).toObject();
    for (const QJsonValue &entry : value.value(QStringLiteral("events")).toArray()) {
        const QJsonObject event = entry.toObject();
        if (json) {
            out() << QString::fromUtf8(QJsonDocument(event).toJson(QJsonDocument::Compact))
                  << Qt::endl;
        } else if (event.contains(QStringLiteral("error"))) {
            out() << "# " << event.value(QStringLiteral("error")).toString() << Qt::endl;
        } else {
            // The JSON form holds everything; the two lines are made from it.
            const RecordedAction action = RecordedAction::fromJson(event);
            const QString time =
                action.time.isEmpty() ? QStringLiteral("--:--:--.---") : action.time;
            out() << time << "  " << action.eventText() << Qt::endl
                  << QString(time.size(), QLatin1Char(' ')) << "  " << action.commandLine()
                  << Qt::endl;
        }
        ++*count;
    }
    return value.value(QStringLiteral("next")).toInteger();
}

// record: asks the session for the actions recorded since the last answer,
// a few times a second, and prints them until the time is up, Ctrl+C, or
// the application ends; then turns recording off.
int runRecord(QStringList words)
{
    if (asksForHelp(words)) {
        out() << CommandExecutor::help(QStringLiteral("record"))
              << "\nOptions: --session NAME (default \"" << Session::DefaultName
              << "\"), --json (one JSON object a line)." << Qt::endl;
        return 0;
    }
    const QString session = takeSession(&words);
    const bool json = words.removeAll(QStringLiteral("--json")) > 0;
    const auto ask = [&](const QStringList &request) {
        return Session::request(
            session, {{QStringLiteral("words"), QJsonArray::fromStringList(request)}}, 60000);
    };
    const auto failed = [&](const FunctionCallResult<QJsonObject> &answer) -> QString {
        if (answer.isError())
            return answer.error;
        const CommandOutcome outcome = CommandOutcome::fromJson(answer.value);
        return outcome.ok ? QString() : outcome.error;
    };
    int totalMs = -1;
    const qsizetype forAt = words.indexOf(QStringLiteral("--for"));
    if (forAt > 0) {
        totalMs = CommandExecutor::millisecondsOf(words.value(forAt + 1));
        if (totalMs < 0) {
            err() << "tolvex record: --for needs a number of seconds" << Qt::endl;
            return 1;
        }
        words.remove(forAt, 2);
    }
    if (words.size() > 1) {
        // "--stop", "--from N": one request, as a script sends it.
        const FunctionCallResult<QJsonObject> answer = ask(words);
        if (const QString error = failed(answer); !error.isEmpty()) {
            err() << "tolvex record: " << error << Qt::endl;
            return 1;
        }
        qint64 count = 0;
        printRecorded(answer.value, json, &count);
        return 0;
    }
    std::signal(SIGINT, requestStop);
    std::signal(SIGTERM, requestStop);
    err() << "Recording in session '" << session << "': act in the application; "
          << (totalMs >= 0
                  ? QStringLiteral("it ends after %1 s or on Ctrl+C.").arg(double(totalMs) / 1000.0)
                  : QStringLiteral("Ctrl+C ends it."))
          << Qt::endl;
    QElapsedTimer elapsed;
    elapsed.start();
    qint64 count = 0;
    qint64 next = -1;
    QString error;
    while (!stopRequested && (totalMs < 0 || elapsed.elapsed() < totalMs)) {
        QStringList request{QStringLiteral("record"), QStringLiteral("--for"),
                            QStringLiteral("0.2")};
        if (next >= 0)
            request << QStringLiteral("--from") << QString::number(next);
        const FunctionCallResult<QJsonObject> answer = ask(request);
        error = failed(answer);
        if (!error.isEmpty())
            break;
        next = printRecorded(answer.value, json, &count);
    }
    if (error.isEmpty()) {
        QStringList request{QStringLiteral("record"), QStringLiteral("--stop")};
        if (next >= 0)
            request << QStringLiteral("--from") << QString::number(next);
        const FunctionCallResult<QJsonObject> answer = ask(request);
        error = failed(answer);
        if (error.isEmpty())
            printRecorded(answer.value, json, &count);
    }
    err() << count << (count == 1 ? " action" : " actions") << " recorded" << Qt::endl;
    if (!error.isEmpty()) {
        err() << "tolvex record: " << error << Qt::endl;
        return 1;
    }
    return 0;
}

// ${NAME} in a line of a script file stands for the environment variable,
// so that one script serves any build directory or data folder.
QString expandVariables(const QString &line)
{
    static const QRegularExpression variable(QStringLiteral("\\$\\{([A-Za-z_][A-Za-z0-9_]*)\\}"));
    QString expanded;
    qsizetype from = 0;
    for (QRegularExpressionMatchIterator it = variable.globalMatch(line); it.hasNext();) {
        const QRegularExpressionMatch match = it.next();
        expanded += line.mid(from, match.capturedStart() - from);
        expanded += qEnvironmentVariable(match.captured(1).toLocal8Bit().constData());
        from = match.capturedEnd();
    }
    return expanded + line.mid(from);
}

// A script: commands from a file, one a line, stopping at the first that
// fails; or JSON requests on standard input ("-"), one JSON answer a line.
int runScript(QStringList args)
{
    const bool steps = args.value(0) == QLatin1String("--steps");
    if (steps)
        args.removeFirst();
    if (args.size() != 1 || asksForHelp(args)) {
        out()
            << "usage: tolvex script [--steps] FILE | tolvex script -\n\n"
               "Runs the commands of FILE, one a line as on the command line without\n"
               "\"tolvex\" (lines starting with # are comments), against an application\n"
               "the script launches itself, and stops at the first that fails. With -,\n"
               "reads JSON requests on standard input, one a line, such as\n"
               "  {\"command\":\"get\",\"args\":[\"{type='QLineEdit'}\",\"text\"],\"timeout\":5}\n"
               "and answers each with one line, {\"ok\":true,\"value\":...} or\n"
               "{\"ok\":false,\"error\":\"...\"}. With --steps, each step of FILE is\n"
               "printed with its time. ${NAME} in FILE stands for the environment\n"
               "variable NAME. The commands are: "
            << CommandExecutor::commandNames().join(QStringLiteral(", ")) << Qt::endl;
        return args.size() == 1 ? 0 : 1;
    }
    CommandExecutor executor;
    // The application's own output stays out of the answers.
    const QString applicationOutput =
        QDir(Session::directory())
            .filePath(QStringLiteral("script-%1.aut.log").arg(QCoreApplication::applicationPid()));
    executor.setApplicationOutput(applicationOutput);
    const bool json = args.first() == QLatin1String("-");
    QFile input;
    if (json ? !input.open(stdin, QIODevice::ReadOnly)
             : (input.setFileName(args.first()), !input.open(QIODevice::ReadOnly))) {
        err() << "tolvex script: cannot read " << args.first() << ": " << input.errorString()
              << Qt::endl;
        return 1;
    }
    int status = 0;
    int lineNumber = 0;
    int stepCount = 0;
    QElapsedTimer total;
    total.start();
    while (!input.atEnd()) {
        QString line = QString::fromUtf8(input.readLine()).trimmed();
        ++lineNumber;
        if (line.isEmpty() || line.startsWith(QLatin1Char('#')))
            continue;
        if (!json)
            line = expandVariables(line);
        QElapsedTimer step;
        step.start();
        const CommandOutcome outcome = executor.runLine(line);
        if (steps && !json) {
            ++stepCount;
            out() << QStringLiteral("%1 %2 %3 ms  %4")
                         .arg(stepCount, 3)
                         .arg(outcome.ok ? QStringLiteral("ok  ") : QStringLiteral("FAIL"))
                         .arg(step.elapsed(), 6)
                         .arg(line)
                  << Qt::endl;
        }
        if (json) {
            out() << QString::fromUtf8(
                         QJsonDocument(outcome.toJson()).toJson(QJsonDocument::Compact))
                  << Qt::endl;
            if (!outcome.ok)
                status = 1;
            continue;
        }
        if (!outcome.ok) {
            err() << args.first() << ":" << lineNumber << ": " << outcome.error << Qt::endl;
            status = 1;
            break;
        }
        const QString text = outcome.text();
        if (!text.isEmpty() && text != QLatin1String("null"))
            out() << (steps ? QStringLiteral("                   = ") : QString()) << text
                  << Qt::endl;
    }
    if (steps && !json && status == 0)
        out() << QStringLiteral("%1 steps passed in %2 s")
                     .arg(stepCount)
                     .arg(double(total.elapsed()) / 1000.0, 0, 'f', 2)
              << Qt::endl;
    if (executor.application() && executor.application()->isRunning())
        executor.application()->quit();
    if (status == 0)
        QFile::remove(applicationOutput);
    else if (QFile::exists(applicationOutput))
        err() << "tolvex script: the application's output is in " << applicationOutput << Qt::endl;
    return status;
}

// Starts a program with the agent and says whether it hooked up, and if not,
// why.
int runDoctor(QStringList args)
{
    if (args.isEmpty() || asksForHelp(args)) {
        out() << "usage: tolvex doctor [--no-preload] [--] PROGRAM [ARGS...]\n\n"
                 "Starts PROGRAM with the agent and says in plain words whether it hooked\n"
                 "up and, if not, the likely reason: not a Qt program, Qt 5, the start-up\n"
                 "library refused, no display, the tool's server not reachable, the\n"
                 "wrapper not loaded. Run it first when an application does not hook up."
              << Qt::endl;
        return args.isEmpty() ? 1 : 0;
    }
    LaunchOptions options;
    if (args.first() == QLatin1String("--no-preload")) {
        options.preload = false;
        args.removeFirst();
    }
    if (args.value(0) == QLatin1String("--"))
        args.removeFirst();
    if (args.isEmpty()) {
        err() << "tolvex doctor: which program?" << Qt::endl;
        return 1;
    }
    options.program = args.first();
    options.arguments = args.mid(1);
    const Diagnosis diagnosis = diagnose(options);
    for (const QString &finding : diagnosis.findings)
        out() << finding << Qt::endl;
    return diagnosis.hookedUp ? 0 : 1;
}

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("tolvex"));

    const QStringList words = app.arguments().mid(1);
    const QString first = words.value(0);
    if (first == QLatin1String("__session"))
        return Session::serve(words.value(1), words.mid(2));
    if (first == QLatin1String("script"))
        return runScript(words.mid(1));
    if (first == QLatin1String("sessions")) {
        for (const QString &name : Session::list())
            out() << name << Qt::endl;
        return 0;
    }
    if (first == QLatin1String("record"))
        return runRecord(words);
    if (CommandExecutor::commandNames().contains(first))
        return runSessionCommand(words);
    if (first == QLatin1String("doctor"))
        return runDoctor(words.mid(1));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "The server side of the Tolvex test tool.\n\n"
        "Commands:\n"
        "  demo      start a server, run a client process against it, shake hands\n"
        "  serve     listen for clients and print each one the handshake accepts\n"
        "  connect   connect to a server, shake hands, print both sides\n"
        "  run       run a program with the agent hooked up: run -- PROGRAM ARGS\n"
        "\n"
        "Driving an application, each command with --help:\n"
        "  launch    start a program with the agent in a session: launch -- PROGRAM\n"
        "  objects, find, get, set, call, expect, click, doubleclick, clickitem,\n"
        "  type, key, wait, screenshot, properties, highlight, pick, window,\n"
        "  screens, snapshot, quit\n"
        "            act on the session's application by object names\n"
        "  record    print the user's actions as events and as the commands that\n"
        "            replay them\n"
        "  sessions  list the running sessions\n"
        "  script    run a file of commands, or JSON requests from standard input\n"
        "  doctor    start a program with the agent and say why it hooks up or not"));
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
