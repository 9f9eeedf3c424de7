#include "remoteapplication.h"

#include "applicationserver.h"
#include "autlauncher.h"
#include "eventwait.h"
#include "objectname.h"
#include "primitiveclassid.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QStandardPaths>

#include <algorithm>
#include <vector>

namespace Tolvex {

namespace {

// Keeps what it heard. Owned by the application object, which outlives the
// server that may still answer a call given up on.
struct Reply : ResponseListener<ArgumentList>
{
    bool answered = false;
    FunctionCallResult<ArgumentList> result;
    void response(FunctionCallResult<ArgumentList> r) override
    {
        answered = true;
        result = std::move(r);
    }
};

// TOLVEX_PREFIX, else the nearest directory above this program that holds
// the start-up library: the prefix of an installation (bin/tolvex) and the
// top of a build tree (tools/tolvex/tolvex) alike; else the one above.
QString defaultPrefix()
{
    const QString fromEnvironment = qEnvironmentVariable("TOLVEX_PREFIX");
    if (!fromEnvironment.isEmpty())
        return fromEnvironment;
    const QDir programDir(QCoreApplication::applicationDirPath());
    QDir dir = programDir;
    for (int up = 0; up < 3 && dir.cdUp(); ++up)
        if (QFileInfo::exists(dir.filePath(QStringLiteral("lib/libtolvexpreload.so"))))
            return dir.absolutePath();
    return QFileInfo(programDir.filePath(QStringLiteral(".."))).absoluteFilePath();
}

// The same name restricted to one occurrence.
QString withOccurrence(const QString &name, int occurrence)
{
    ObjectName parsed(name);
    parsed.setProperty(
        QStringLiteral("occurrence"),
        PropertyValue(QString::number(occurrence), PropertyValue::Exact, PropertyValue::String));
    return parsed.qualifiedName();
}

bool namesOneOfMany(const QString &name)
{
    if (!isMultiPropertyName(name))
        return false;
    const QMap<QString, PropertyValue> properties = parseNameByProperties(name, nullptr);
    return !properties.isEmpty() && !properties.contains(QStringLiteral("occurrence"));
}

// How alike two names are: shared properties count most, then shared keys.
int likeness(const QMap<QString, PropertyValue> &wanted, const QString &candidate)
{
    const QMap<QString, PropertyValue> have = parseNameByProperties(candidate, nullptr);
    int score = 0;
    for (auto it = wanted.cbegin(); it != wanted.cend(); ++it) {
        const auto found = have.constFind(it.key());
        if (found == have.cend())
            continue;
        score += 1;
        if (it.value().stringValue() == found.value().stringValue())
            score += 4;
        else if (found.value().stringValue().contains(it.value().stringValue(),
                                                      Qt::CaseInsensitive))
            score += 2;
    }
    return score;
}

} // namespace

RemoteApplication::RemoteApplication()
    : m_server(std::make_unique<ApplicationServer>()), m_launcher(std::make_unique<AUTLauncher>())
{
    connect(m_server.get(), &ApplicationServer::messageReceived, this,
            [this](const ApplicationServer::Message &message) {
                // Classes the application makes after the first read come
                // as they are made.
                if (message.function == QLatin1String("registerClasses") &&
                    message.args.size() >= 2)
                    m_classes.add(message.args.at(1).toByteArray());
                Q_EMIT messageArrived(message.function, message.args);
            });
}

RemoteApplication::~RemoteApplication()
{
    if (m_launcher->isRunning())
        quit(2000);
}

std::unique_ptr<RemoteApplication> RemoteApplication::launch(const LaunchOptions &options,
                                                             QString *error)
{
    std::unique_ptr<RemoteApplication> application(new RemoteApplication);
    if (!application->hookUp(options, error))
        return nullptr;
    return application;
}

bool RemoteApplication::hookUp(const LaunchOptions &options, QString *error)
{
    const auto fail = [error](const QString &text) {
        if (error)
            *error = text;
        return false;
    };
    const QString program = QStandardPaths::findExecutable(options.program);
    if (program.isEmpty() && !QFileInfo(options.program).isExecutable())
        return fail(QStringLiteral("Cannot find the program %1, or it is not executable")
                        .arg(options.program));
    if (!m_server->start())
        return fail(QStringLiteral("Cannot listen on 127.0.0.1"));
    // Only the process started here gets in: it announces the id it was given.
    m_appId = int(QRandomGenerator::global()->bounded(1000, 1 << 30));
    m_server->admitOnly(m_appId);

    m_launcher->setProgram(options.program);
    m_launcher->setArguments(options.arguments);
    m_launcher->setServer(QStringLiteral("127.0.0.1"), m_server->port());
    m_launcher->setAppId(m_appId);
    const QString prefix = options.prefix.isEmpty() ? defaultPrefix() : options.prefix;
    m_launcher->setEnvironmentValue(QStringLiteral("TOLVEX_PREFIX"), prefix);
    if (options.preload) {
        const QString shim = QDir(prefix).filePath(QStringLiteral("lib/libtolvexpreload.so"));
        if (!QFileInfo::exists(shim))
            return fail(QStringLiteral("The start-up library %1 is missing; is the prefix right?")
                            .arg(shim));
        // What is preloaded already stays first (a sanitizer runtime, say).
        const QString inherited = options.environment.value(QStringLiteral("LD_PRELOAD"),
                                                            qEnvironmentVariable("LD_PRELOAD"));
        m_launcher->setEnvironmentValue(QStringLiteral("LD_PRELOAD"),
                                        inherited.isEmpty() ? shim
                                                            : inherited + QLatin1Char(':') + shim);
    }
    if (options.outputFile.isEmpty())
        m_launcher->setOutputToStandardError(true);
    else
        m_launcher->setOutputFile(options.outputFile);
    for (auto it = options.environment.cbegin(); it != options.environment.cend(); ++it)
        if (!options.preload || it.key() != QLatin1String("LD_PRELOAD"))
            m_launcher->setEnvironmentValue(it.key(), it.value());
    if (!m_launcher->start())
        return fail(QStringLiteral("Cannot start %1").arg(options.program));

    const bool hooked = waitUntil(
        [&] { return m_server->hasReceived(QStringLiteral("subprocessHooked")) || !isRunning(); },
        options.hookUpTimeoutMs, 20);
    if (!hooked || !m_server->hasReceived(QStringLiteral("subprocessHooked"))) {
        const QString why = isRunning() ? QStringLiteral("did not hook up within %1 s")
                                              .arg(options.hookUpTimeoutMs / 1000.0)
                                        : endDescription();
        m_launcher->kill();
        return fail(QStringLiteral("%1 %2").arg(options.program, why));
    }
    const FunctionCallResult<ArgumentList> classes = call(QStringLiteral("allClasses"));
    QString classError;
    if (classes.isError() || !m_classes.add(classes.value.value(0).toByteArray(), &classError))
        return fail(QStringLiteral("Cannot read the application's classes: %1")
                        .arg(classes.isError() ? classes.error : classError));
    if (m_server->initDone() < 0)
        return fail(QStringLiteral("The application left during its hook-up"));
    return true;
}

bool RemoteApplication::isRunning() const
{
    return m_launcher->isRunning();
}

qint64 RemoteApplication::processId() const
{
    return m_launcher->processId();
}

quint16 RemoteApplication::port() const
{
    return m_server->port();
}

QString RemoteApplication::endDescription() const
{
    if (m_launcher->isRunning())
        return QString();
    if (m_launcher->normalExit())
        return QStringLiteral("exited with status %1").arg(m_launcher->exitCode());
    return QStringLiteral("crashed");
}

FunctionCallResult<ArgumentList> RemoteApplication::call(const QString &function,
                                                         const ArgumentList &args, int timeoutMs)
{
    auto reply = std::make_unique<Reply>();
    if (m_server->call(function, args, reply.get()) < 0) {
        // Gone: the process may take a moment to be reaped after its
        // connection closed.
        waitUntil([&] { return !isRunning(); }, 1000, 10);
        return FunctionCallResult<ArgumentList>::failure(
            isRunning() ? QStringLiteral("The application closed its connection to the tool")
                        : QStringLiteral("The application %1").arg(endDescription()));
    }
    const int limit = timeoutMs < 0 ? m_timeoutMs : timeoutMs;
    waitUntil([&] { return reply->answered || !m_server->isClientConnected(); }, limit, 5);
    if (!reply->answered) {
        // The server may still answer or fail it: the listener stays.
        m_unanswered.push_back(std::move(reply));
        return FunctionCallResult<ArgumentList>::failure(
            isRunning()
                ? QStringLiteral("No answer to %1 within %2 s").arg(function).arg(limit / 1000.0)
                : QStringLiteral("The application %1").arg(endDescription()));
    }
    return reply->result;
}

bool RemoteApplication::send(const QString &function, const ArgumentList &args)
{
    return m_server->send(function, args) >= 0;
}

QList<ArgumentList> RemoteApplication::received(const QString &function) const
{
    QList<ArgumentList> found;
    for (const ApplicationServer::Message &message : m_server->messages())
        if (message.function == function)
            found.append(message.args);
    return found;
}

QString RemoteApplication::lastError()
{
    const FunctionCallResult<ArgumentList> error = call(QStringLiteral("getLastError"));
    return error.isError() ? error.error : error.value.value(0).toString();
}

FunctionCallResult<QVariant> RemoteApplication::value(const QString &function,
                                                      const ArgumentList &args)
{
    const FunctionCallResult<ArgumentList> answer = call(function, args);
    if (answer.isError())
        return FunctionCallResult<QVariant>::failure(answer.error);
    const QVariant first = answer.value.value(0);
    if (first.isValid())
        return FunctionCallResult<QVariant>(first);
    const QString error = lastError();
    return FunctionCallResult<QVariant>(
        QVariant(), error.isEmpty() ? QStringLiteral("%1 gave no answer").arg(function) : error);
}

RemoteObject RemoteApplication::objectFromWire(const QVariant &wire)
{
    const QString text = wire.toString();
    const qsizetype comma = text.indexOf(QLatin1Char(','));
    const int id = comma > 0 ? text.left(comma).toInt() : 0;
    if (id <= 0)
        return RemoteObject();
    return RemoteObject(this, id, text.mid(comma + 1).toInt());
}

FunctionCallResult<QVariant> RemoteApplication::callGlobal(const QString &function,
                                                           const QVariantList &arguments)
{
    if (!m_classes.method(GlobalClassId, function, int(arguments.size())))
        return FunctionCallResult<QVariant>::failure(
            QStringLiteral("The application has no global function %1 that takes %2 arguments")
                .arg(function)
                .arg(arguments.size()));
    return RemoteObject::ofClass(this, GlobalClassId).call(function, arguments);
}

void RemoteApplication::release(int id)
{
    if (id > 0 && m_server->isClientConnected())
        m_server->send(QStringLiteral("remoteObjectDestroyed"), {id});
}

FunctionCallResult<RemoteObject> RemoteApplication::resolve(const QString &name)
{
    using Result = FunctionCallResult<RemoteObject>;
    const FunctionCallResult<QVariant> found = value(QStringLiteral("objectFind"), {name});
    if (found.isError())
        return Result(RemoteObject(), found.error);
    const RemoteObject object = objectFromWire(found.value);
    if (!namesOneOfMany(name))
        return Result(object);

    // Strict names: a name that fits a second object says which are meant.
    const FunctionCallResult<QVariant> second =
        value(QStringLiteral("objectFind"), {withOccurrence(name, 2)});
    if (second.isError())
        return Result(object);
    release(objectFromWire(second.value).id());
    QStringList candidates;
    for (int occurrence = 1; occurrence <= 10; ++occurrence) {
        const FunctionCallResult<QVariant> next =
            value(QStringLiteral("objectFind"), {withOccurrence(name, occurrence)});
        if (next.isError())
            break;
        const RemoteObject candidate = objectFromWire(next.value);
        const FunctionCallResult<QString> real = candidate.realName();
        candidates.append(QStringLiteral("  ") + (real.isError() ? real.error : real.value));
        if (candidate.id() != object.id())
            release(candidate.id());
    }
    release(object.id());
    return Result(RemoteObject(),
                  QStringLiteral("The name %1 fits more than one object; add occurrence to "
                                 "pick one:\n%2")
                      .arg(name, candidates.join(QLatin1Char('\n'))));
}

FunctionCallResult<RemoteObject> RemoteApplication::findObject(const QString &name)
{
    return resolve(name);
}

QStringList RemoteApplication::realNames(int limit)
{
    QStringList names;
    std::vector<int> pending{0};
    while (!pending.empty() && names.size() < limit) {
        const int parent = pending.back();
        pending.pop_back();
        const FunctionCallResult<ArgumentList> children = call(QStringLiteral("objects"), {parent});
        if (children.isError())
            continue;
        const QStringList wires = children.value.value(0).toStringList();
        // Depth first, in the order the application gives.
        for (auto it = wires.crbegin(); it != wires.crend(); ++it)
            pending.push_back(objectFromWire(*it).id());
        for (const QString &wire : wires) {
            const FunctionCallResult<ArgumentList> name =
                call(QStringLiteral("qualifiedObjectName"), {objectFromWire(wire).id()});
            if (!name.isError() && name.value.value(0).isValid())
                names.append(name.value.value(0).toString());
        }
    }
    return names;
}

FunctionCallResult<RemoteObject>
RemoteApplication::waitForObject(const QString &name, int timeoutMs, Readiness readiness)
{
    using Result = FunctionCallResult<RemoteObject>;
    const QDeadlineTimer deadline(timeoutMs < 0 ? m_timeoutMs : timeoutMs);
    QString why;
    bool found = false;
    PollPause pause;
    for (;;) {
        const Result resolved = resolve(name);
        // Ambiguity does not go away by waiting for it.
        if (resolved.isError() && resolved.error.contains(QLatin1String("more than one object")))
            return resolved;
        found = !resolved.isError();
        if (found && readiness == Readiness::Exists)
            return resolved;
        if (found) {
            const FunctionCallResult<QVariant> ready =
                value(QStringLiteral("objectReady2"), {resolved.value.id()});
            if (!ready.isError())
                return Result(objectFromWire(ready.value));
            why = ready.error;
            release(resolved.value.id());
        } else {
            why = resolved.error;
        }
        if (!isRunning())
            return Result(RemoteObject(),
                          QStringLiteral("The application %1").arg(endDescription()));
        if (deadline.hasExpired())
            break;
        pause.wait();
    }
    if (found)
        return Result(RemoteObject(), why);
    // Nothing of that name: show the names that come closest.
    const QMap<QString, PropertyValue> wanted = parseNameByProperties(name, nullptr);
    QStringList names = realNames();
    std::stable_sort(names.begin(), names.end(), [&](const QString &a, const QString &b) {
        return likeness(wanted, a) > likeness(wanted, b);
    });
    names = names.mid(0, 3);
    return Result(RemoteObject(), names.isEmpty()
                                      ? why
                                      : QStringLiteral("%1\nClosest names:\n  %2")
                                            .arg(why, names.join(QStringLiteral("\n  "))));
}

void RemoteApplication::quit(int timeoutMs)
{
    // The agent ends the application through its toolkit, as the user would.
    if (m_server->isClientConnected()) {
        const QString leaving = QStringLiteral("appAboutToExit");
        const qsizetype before = received(leaving).size();
        m_server->kill();
        // After the exit handshake the agent keeps the application alive
        // for a grace period in case the server has more to say; it has
        // not, and closing the connection lets the application go at once.
        if (waitUntil([&] { return received(leaving).size() > before || !isRunning(); }, timeoutMs,
                      5) &&
            m_server->isClientConnected())
            m_server->close();
    }
    if (!waitUntil([&] { return !m_launcher->isRunning(); }, timeoutMs, 20))
        m_launcher->kill();
}

void RemoteApplication::settleBeforeClick(int objectId)
{
    // Longer than the double-click interval of the common desktops (400 to
    // 500 ms).
    constexpr qint64 DoubleClickGuardMs = 550;
    if (objectId != m_lastClickedObject || !m_lastClick.isValid())
        return;
    const qint64 since = m_lastClick.elapsed();
    if (since < DoubleClickGuardMs)
        runEventsFor(int(DoubleClickGuardMs - since));
}

void RemoteApplication::noteClick(int objectId)
{
    m_lastClickedObject = objectId;
    m_lastClick.start();
}

FunctionCallResult<QRect> RemoteApplication::rectangle(const QVariant &value)
{
    const RemoteObject object =
        value.value<RemoteObject>().isNull() ? objectFromWire(value) : value.value<RemoteObject>();
    if (object.isNull())
        return FunctionCallResult<QRect>::failure(
            QStringLiteral("The application answered no rectangle"));
    int geometry[4] = {};
    const char *fields[4] = {"x", "y", "width", "height"};
    for (int i = 0; i < 4; ++i) {
        const FunctionCallResult<QVariant> field = object.property(QString::fromLatin1(fields[i]));
        if (field.isError())
            return FunctionCallResult<QRect>::failure(field.error);
        geometry[i] = field.value.toInt();
    }
    return QRect(geometry[0], geometry[1], geometry[2], geometry[3]);
}

} // namespace Tolvex
