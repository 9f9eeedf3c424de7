#include "commandexecutor.h"

#include "eventwait.h"
#include "objectmap.h"
#include "objectname.h"
#include "recordedaction.h"
#include "screenshot.h"
#include "snapshotwriter.h"
#include "uielement.h"
#include "videorecording.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QMap>

#include <cstdio>
#include <functional>
#include <optional>

namespace Tolvex {

namespace {

// One command as it was written: its words without the options, the
// options, and what stood behind "--".
struct Invocation
{
    QStringList args;
    QStringList rest;
    int timeoutMs = -1;
    QString output;
    QString objectMap;
    QString filter;
    bool noPreload = false;
    QMap<QString, QString> environment;
    // Pointer commands.
    PointerAction pointer;
    bool doubleClick = false;
    bool desktop = false;
    // --seconds: how long to highlight or to film.
    int secondsMs = -1;
    std::optional<double> fps;
    // window: the action ("move", "resize", "raise", ...) and its numbers.
    QString windowAction;
    QList<int> windowValues;
    // record.
    int forMs = 0;
    qsizetype from = -1;
    bool stop = false;
};

struct CommandInfo
{
    const char *name;
    const char *synopsis;
    const char *description;
    int minArgs;
    int maxArgs; // -1: any number
    bool needsApplication;
};

const CommandInfo Commands[] = {
    {"launch",
     "launch [--object-map FILE] [--env NAME=VALUE]... [--no-preload] [--timeout S] -- PROGRAM "
     "[ARGS...]",
     "Starts PROGRAM with the agent and waits until it has hooked up (20 s unless --timeout "
     "says otherwise). With --object-map, symbolic names from FILE can be used in place of "
     "real names. --env sets a variable for the program alone (an empty value removes it). "
     "--no-preload is for a program that starts the agent itself.",
     0, 0, false},
    {"objects", "objects [NAME]",
     "Prints the object tree with the real name of each object, from the top or from NAME.", 0, 1,
     true},
    {"find", "find NAME",
     "Prints the real name of the object NAME finds, once it exists. A name that fits more "
     "than one object fails and lists them; a name that fits none lists the closest.",
     1, 1, true},
    {"get", "get NAME PROPERTY", "Prints the value of a property of the object, once it is ready.",
     2, 2, true},
    {"set", "set NAME PROPERTY VALUE",
     "Sets a property of the object, once it is ready; VALUE is converted to the property's "
     "type.",
     3, 3, true},
    {"call", "call NAME METHOD [ARGS...]",
     "Calls a method of the object, once it is ready, and prints what it returns.", 2, -1, true},
    {"expect", "expect NAME PROPERTY VALUE [--timeout S]",
     "Waits until the property of the object reads VALUE (as text), and fails with the value "
     "it has when the time is up.",
     3, 3, true},
    {"click", "click NAME [X Y] [--button left|middle|right] [--modifiers Control+Shift...]",
     "Clicks the object at its centre, or X, Y pixels from its top left corner, once it is "
     "ready; with the left button unless --button says otherwise, and with the modifiers "
     "(Control, Shift, Alt, Win, Command) held.",
     1, 3, true},
    {"doubleclick", "doubleclick NAME [X Y] [--button B] [--modifiers M]",
     "Double-clicks the object, once it is ready, where and how click does.", 1, 3, true},
    {"clickitem",
     "clickitem NAME TEXT | clickitem NAME ROW COLUMN [--double] [--button B] [--modifiers M]",
     "Clicks an item of the item view NAME (a list, a table, a tree) by its text, or by row "
     "and column counted from 0, once the item is ready; the view scrolls to it first. "
     "--double double-clicks it.",
     2, 3, true},
    {"type", "type NAME TEXT", "Clicks the object, once it is ready, and types TEXT into it.", 2, 2,
     true},
    {"key", "key NAME KEYS",
     "Clicks the object, once it is ready, and presses KEYS: characters, and keys in angle "
     "brackets with modifiers joined by + (\"<Ctrl+A>\", \"<Return>\").",
     2, 2, true},
    {"wait", "wait NAME [--timeout S]",
     "Waits until the object exists and is ready, and prints its real name; fails with the "
     "reason it is not ready when the time is up (20 s unless --timeout says otherwise).",
     1, 1, true},
    {"screenshot", "screenshot NAME -o FILE.png | screenshot --desktop -o FILE.png",
     "Writes a picture of the object, as it is on the screen, or of the whole desktop, to "
     "FILE.png.",
     0, 1, true},
    {"properties", "properties NAME",
     "Prints every property of the object with its class and value, as the object browser "
     "shows them: CLASS#NAME=VALUE, with + before the name of a value that has properties or "
     "children of its own.",
     1, 1, true},
    {"highlight", "highlight NAME [--seconds S]",
     "Draws a frame around the object on the screen for S seconds (2 unless --seconds says "
     "otherwise; 0 keeps it until the next highlight).",
     1, 1, true},
    {"pick", "pick [--object-map FILE] [--timeout S]",
     "Waits for a click in the application and prints the real name of the object clicked; "
     "the click does not reach the application. The object under the pointer is framed "
     "meanwhile. With an object map (given here or to launch), a second line holds the "
     "object's symbolic name, or the one it would get, marked \"(not in the map)\". Waits "
     "60 s unless --timeout says otherwise.",
     0, 0, true},
    {"window",
     "window NAME [--move X Y | --resize W H | --raise | --minimize | --maximize | --restore "
     "| --fullscreen | --close]",
     "Acts on the top-level window that shows the object: moves its frame to X, Y, resizes "
     "its contents to W by H (logical pixels), raises and activates it, minimizes, maximizes, "
     "restores, shows it full screen or closes it. Prints the window's frame geometry "
     "afterwards, once a move or resize has taken effect (or after 2 s).",
     1, 1, true},
    {"video", "video NAME -o FILE.mp4 | video --desktop -o FILE.mp4 [--seconds S] [--fps N]",
     "Films the object, as it is on the screen, or the whole desktop for S seconds (10 unless "
     "--seconds says otherwise) at up to N frames a second (20 unless --fps says otherwise) "
     "into an H.264 video in FILE.mp4, and prints the file's size, frame count and length. "
     "Progress goes to standard error once a second.",
     0, 1, true},
    {"snapshot", "snapshot NAME [--filter FILE] -o FILE.json|FILE.html",
     "Writes the tree of objects under NAME as the snapshot filter takes it: each element's "
     "standard and concrete type, text, geometry, names and properties, with pictures of the "
     "windows. A file ending in .html is one page to open in a browser, with a search box; a "
     "click on an element outlines it on its window's picture. Without --filter every Qt "
     "object that is shown is taken, with all its properties, and a picture of NAME.",
     1, 1, true},
    {"screens", "screens",
     "Prints each screen of the desktop as the application sees it: its index, geometry "
     "(logical pixels) and orientation.",
     0, 0, true},
    {"record", "record [--for S] [--json] | record --stop",
     "Turns recording on and prints the user's actions in the application as they happen: "
     "each as the event the application recorded, and as the command that replays it. Stops "
     "after S seconds, or on Ctrl+C, and turns recording off. In a script, \"record --for S\" "
     "answers the actions of those S seconds as {\"events\":[...],\"next\":N}, and "
     "\"record --from N\" the ones since an earlier answer; \"record --stop\" turns recording "
     "off and answers what came last.",
     0, 0, true},
    {"quit", "quit", "Ends the application.", 0, 0, true},
};

FunctionCallResult<QString> readObjectMap(const QString &path)
{
    QFile map(path);
    if (!map.open(QIODevice::ReadOnly))
        return FunctionCallResult<QString>::failure(
            QStringLiteral("Cannot read the object map %1: %2").arg(path, map.errorString()));
    return QString::fromUtf8(map.readAll());
}

// A screen rectangle of the application as JSON.
FunctionCallResult<QJsonObject> rectangleOf(RemoteApplication &application, const QVariant &value)
{
    const FunctionCallResult<QRect> rectangle = application.rectangle(value);
    if (rectangle.isError())
        return FunctionCallResult<QJsonObject>::failure(rectangle.error);
    const QRect r = rectangle.value;
    return QJsonObject{{QStringLiteral("x"), r.x()},
                       {QStringLiteral("y"), r.y()},
                       {QStringLiteral("width"), r.width()},
                       {QStringLiteral("height"), r.height()}};
}

const CommandInfo *infoOf(const QString &name)
{
    for (const CommandInfo &info : Commands)
        if (name == QLatin1String(info.name))
            return &info;
    return nullptr;
}

QJsonValue jsonOf(const QVariant &value)
{
    if (!value.isValid() || value.isNull())
        return QJsonValue(QJsonValue::Null);
    if (value.userType() == qMetaTypeId<RemoteObject>()) {
        const RemoteObject object = value.value<RemoteObject>();
        const FunctionCallResult<QString> name = object.realName();
        return QJsonObject{{QStringLiteral("object"), name.isError() ? QString() : name.value},
                           {QStringLiteral("class"), object.className()}};
    }
    return QJsonValue::fromVariant(value);
}

FunctionCallResult<Invocation> parseWords(const QStringList &words)
{
    using Result = FunctionCallResult<Invocation>;
    Invocation call;
    for (qsizetype i = 1; i < words.size(); ++i) {
        const QString &word = words.at(i);
        const auto next = [&](const char *option) -> FunctionCallResult<QString> {
            if (i + 1 >= words.size())
                return FunctionCallResult<QString>(
                    QString(), QStringLiteral("%1 needs a value").arg(QLatin1String(option)));
            return FunctionCallResult<QString>(words.at(++i));
        };
        if (word == QLatin1String("--")) {
            call.rest = words.mid(i + 1);
            break;
        }
        // An option whose value is a number of seconds, kept in milliseconds.
        const auto seconds = [&](const char *option, int *ms) {
            *ms = CommandExecutor::millisecondsOf(next(option).value);
            return *ms >= 0;
        };
        if (word == QLatin1String("--timeout")) {
            if (!seconds("--timeout", &call.timeoutMs))
                return Result(call, QStringLiteral("--timeout needs a number of seconds"));
        } else if (word == QLatin1String("-o") || word == QLatin1String("--output")) {
            const FunctionCallResult<QString> value = next("-o");
            if (value.isError())
                return Result(call, value.error);
            call.output = value.value;
        } else if (word == QLatin1String("--object-map")) {
            const FunctionCallResult<QString> value = next("--object-map");
            if (value.isError())
                return Result(call, value.error);
            call.objectMap = value.value;
        } else if (word == QLatin1String("--filter")) {
            const FunctionCallResult<QString> value = next("--filter");
            if (value.isError())
                return Result(call, value.error);
            call.filter = value.value;
        } else if (word == QLatin1String("--env")) {
            const FunctionCallResult<QString> value = next("--env");
            const qsizetype equals = value.value.indexOf(QLatin1Char('='));
            if (value.isError() || equals <= 0)
                return Result(call, QStringLiteral("--env needs NAME=VALUE"));
            call.environment.insert(value.value.left(equals), value.value.mid(equals + 1));
        } else if (word == QLatin1String("--no-preload")) {
            call.noPreload = true;
        } else if (word == QLatin1String("--double")) {
            call.doubleClick = true;
        } else if (word == QLatin1String("--stop")) {
            call.stop = true;
        } else if (word == QLatin1String("--desktop")) {
            call.desktop = true;
        } else if (word == QLatin1String("--seconds")) {
            if (!seconds("--seconds", &call.secondsMs))
                return Result(call, QStringLiteral("--seconds needs a number of seconds"));
        } else if (word == QLatin1String("--button")) {
            const FunctionCallResult<QString> value = next("--button");
            call.pointer.button = mouseButtonValue(value.value);
            if (value.isError() || call.pointer.button < 0)
                return Result(call, QStringLiteral("--button is left, middle or right"));
        } else if (word == QLatin1String("--modifiers")) {
            const FunctionCallResult<QString> value = next("--modifiers");
            call.pointer.modifiers = modifierWord(value.value);
            if (value.isError() || call.pointer.modifiers < 0)
                return Result(call, QStringLiteral("--modifiers is Control, Shift, Alt, Win or "
                                                   "Command, joined by +"));
        } else if (word == QLatin1String("--move") || word == QLatin1String("--resize")) {
            if (!call.windowAction.isEmpty())
                return Result(call, QStringLiteral("only one window action at a time"));
            call.windowAction = word.mid(2);
            for (int n = 0; n < 2; ++n) {
                bool ok = false;
                call.windowValues.append(next(qPrintable(word)).value.toInt(&ok));
                if (!ok)
                    return Result(call,
                                  QStringLiteral("%1 needs two whole numbers of pixels").arg(word));
            }
        } else if (word == QLatin1String("--raise") || word == QLatin1String("--minimize") ||
                   word == QLatin1String("--maximize") || word == QLatin1String("--restore") ||
                   word == QLatin1String("--fullscreen") || word == QLatin1String("--close")) {
            if (!call.windowAction.isEmpty())
                return Result(call, QStringLiteral("only one window action at a time"));
            call.windowAction = word.mid(2);
        } else if (word == QLatin1String("--fps")) {
            // Its range is the recorder's to check.
            bool ok = false;
            call.fps = next("--fps").value.toDouble(&ok);
            if (!ok)
                return Result(call, QStringLiteral("--fps needs a number of frames a second"));
        } else if (word == QLatin1String("--for")) {
            if (!seconds("--for", &call.forMs))
                return Result(call, QStringLiteral("--for needs a number of seconds"));
        } else if (word == QLatin1String("--from")) {
            const FunctionCallResult<QString> value = next("--from");
            bool ok = false;
            call.from = value.value.toLongLong(&ok);
            if (value.isError() || !ok || call.from < 0)
                return Result(call, QStringLiteral("--from needs a count of events"));
        } else {
            call.args.append(word);
        }
    }
    return Result(call);
}

} // namespace

QJsonObject CommandOutcome::toJson() const
{
    if (!ok)
        return {{QStringLiteral("ok"), false}, {QStringLiteral("error"), error}};
    return {{QStringLiteral("ok"), true}, {QStringLiteral("value"), value}};
}

CommandOutcome CommandOutcome::fromJson(const QJsonObject &answer)
{
    return {answer.value(QStringLiteral("ok")).toBool(), answer.value(QStringLiteral("value")),
            answer.value(QStringLiteral("error")).toString()};
}

QString CommandOutcome::text() const
{
    if (!ok)
        return error;
    if (value.isString())
        return value.toString();
    if (value.isArray()) {
        QStringList lines;
        for (const QJsonValue &line : value.toArray())
            lines.append(line.isString()
                             ? line.toString()
                             : QString::fromUtf8(
                                   QJsonDocument(line.toObject()).toJson(QJsonDocument::Compact)));
        return lines.join(QLatin1Char('\n'));
    }
    if (value.isNull() || value.isUndefined())
        return value.isNull() ? QStringLiteral("null") : QString();
    const QJsonArray wrapped{value};
    const QString json = QString::fromUtf8(QJsonDocument(wrapped).toJson(QJsonDocument::Compact));
    return json.mid(1, json.size() - 2);
}

CommandExecutor::CommandExecutor() = default;

CommandExecutor::~CommandExecutor() = default;

void CommandExecutor::adopt(std::unique_ptr<RemoteApplication> application)
{
    m_application = std::move(application);
}

QStringList CommandExecutor::commandNames()
{
    QStringList names;
    for (const CommandInfo &info : Commands)
        names.append(QLatin1String(info.name));
    return names;
}

QString CommandExecutor::help(const QString &command)
{
    const CommandInfo *info = infoOf(command);
    if (!info)
        return QString();
    return QStringLiteral("usage: tolvex %1\n\n%2\n")
        .arg(QLatin1String(info->synopsis), QLatin1String(info->description));
}

int CommandExecutor::millisecondsOf(const QString &seconds)
{
    // A day at most: longer is no time-out a test means, and the
    // milliseconds must fit an int.
    constexpr double MaxSeconds = 24 * 3600;
    bool ok = false;
    const double value = seconds.toDouble(&ok);
    return ok && value >= 0 && value <= MaxSeconds ? int(value * 1000) : -1;
}

QStringList CommandExecutor::splitWords(const QString &line, QString *error)
{
    QStringList words;
    qsizetype i = 0;
    const qsizetype n = line.size();
    while (i < n) {
        if (line.at(i).isSpace()) {
            ++i;
            continue;
        }
        QString word;
        if (line.at(i) == QLatin1Char('{')) {
            // Up to the brace that closes this one; quoted values may hold
            // braces and blanks.
            int depth = 0;
            QChar quote;
            for (; i < n; ++i) {
                const QChar c = line.at(i);
                word += c;
                if (!quote.isNull()) {
                    if (c == QLatin1Char('\\') && i + 1 < n)
                        word += line.at(++i);
                    else if (c == quote)
                        quote = QChar();
                } else if (c == QLatin1Char('\'') || c == QLatin1Char('"')) {
                    quote = c;
                } else if (c == QLatin1Char('{')) {
                    ++depth;
                } else if (c == QLatin1Char('}') && --depth == 0) {
                    ++i;
                    break;
                }
            }
            if (depth != 0) {
                if (error)
                    *error = QStringLiteral("A name in braces is not closed: %1").arg(word);
                return {};
            }
        } else if (line.at(i) == QLatin1Char('"')) {
            bool closed = false;
            for (++i; i < n; ++i) {
                const QChar c = line.at(i);
                if (c == QLatin1Char('\\') && i + 1 < n) {
                    word += line.at(++i);
                } else if (c == QLatin1Char('"')) {
                    closed = true;
                    ++i;
                    break;
                } else {
                    word += c;
                }
            }
            if (!closed) {
                if (error)
                    *error = QStringLiteral("A quoted word is not closed: \"%1").arg(word);
                return {};
            }
        } else {
            while (i < n && !line.at(i).isSpace())
                word += line.at(i++);
        }
        words.append(word);
    }
    return words;
}

CommandOutcome CommandExecutor::runLine(const QString &line)
{
    const QString trimmed = line.trimmed();
    if (trimmed.startsWith(QLatin1String("{\""))) {
        QJsonParseError parseError;
        const QJsonDocument document = QJsonDocument::fromJson(trimmed.toUtf8(), &parseError);
        if (!document.isObject())
            return CommandOutcome::failure(
                QStringLiteral("Not a JSON request: %1").arg(parseError.errorString()));
        return run(document.object());
    }
    QString error;
    const QStringList words = splitWords(trimmed, &error);
    if (!error.isEmpty())
        return CommandOutcome::failure(error);
    return run(words);
}

CommandOutcome CommandExecutor::run(const QJsonObject &request)
{
    QStringList words{request.value(QStringLiteral("command")).toString()};
    for (const QJsonValue &arg : request.value(QStringLiteral("args")).toArray())
        words.append(arg.isString() ? arg.toString() : arg.toVariant().toString());
    if (request.contains(QStringLiteral("timeout")))
        words << QStringLiteral("--timeout")
              << QString::number(request.value(QStringLiteral("timeout")).toDouble());
    if (request.contains(QStringLiteral("output")))
        words << QStringLiteral("-o") << request.value(QStringLiteral("output")).toString();
    if (request.contains(QStringLiteral("filter")))
        words << QStringLiteral("--filter") << request.value(QStringLiteral("filter")).toString();
    if (request.contains(QStringLiteral("objectMap")))
        words << QStringLiteral("--object-map")
              << request.value(QStringLiteral("objectMap")).toString();
    const QJsonArray program = request.value(QStringLiteral("program")).toArray();
    if (!program.isEmpty()) {
        words << QStringLiteral("--");
        for (const QJsonValue &word : program)
            words << word.toString();
    }
    return run(words);
}

CommandOutcome CommandExecutor::run(const QStringList &words)
{
    if (words.isEmpty() || words.first().isEmpty())
        return CommandOutcome::failure(QStringLiteral("No command given"));
    const CommandInfo *info = infoOf(words.first());
    if (!info)
        return CommandOutcome::failure(
            QStringLiteral("Unknown command '%1'; the commands are: %2")
                .arg(words.first(), commandNames().join(QStringLiteral(", "))));
    const FunctionCallResult<Invocation> parsed = parseWords(words);
    if (parsed.isError())
        return CommandOutcome::failure(
            QStringLiteral("%1: %2").arg(QLatin1String(info->name), parsed.error));
    const Invocation &call = parsed.value;
    if (call.args.size() < info->minArgs ||
        (info->maxArgs >= 0 && call.args.size() > info->maxArgs))
        return CommandOutcome::failure(
            QStringLiteral("usage: tolvex %1").arg(QLatin1String(info->synopsis)));
    if (info->needsApplication && (!m_application || !m_application->isRunning()))
        return CommandOutcome::failure(m_application
                                           ? QStringLiteral("The application %1; launch it again")
                                                 .arg(m_application->endDescription())
                                           : QStringLiteral("No application: launch one first"));

    const QString command = QLatin1String(info->name);
    const auto fail = [&](const QString &error) { return CommandOutcome::failure(error); };

    if (command == QLatin1String("launch")) {
        if (call.rest.isEmpty())
            return fail(QStringLiteral("usage: tolvex %1").arg(QLatin1String(info->synopsis)));
        LaunchOptions options;
        options.program = call.rest.first();
        options.arguments = call.rest.mid(1);
        options.preload = !call.noPreload;
        options.outputFile = m_applicationOutput;
        options.environment = call.environment;
        if (call.timeoutMs >= 0)
            options.hookUpTimeoutMs = call.timeoutMs;
        QString error;
        std::unique_ptr<RemoteApplication> launched = RemoteApplication::launch(options, &error);
        if (!launched)
            return fail(error);
        QString mapText;
        if (!call.objectMap.isEmpty()) {
            const FunctionCallResult<QString> map = readObjectMap(call.objectMap);
            if (map.isError())
                return fail(map.error);
            mapText = map.value;
            launched->send(QStringLiteral("setObjectMap"), {mapText});
        }
        m_application = std::move(launched);
        m_objectMap = mapText;
        return {true, QStringLiteral("%1 hooked up").arg(options.program), {}};
    }
    if (command == QLatin1String("record"))
        return record(call.forMs, call.from, call.stop);
    if (command == QLatin1String("pick"))
        return pick(call.timeoutMs < 0 ? 60000 : call.timeoutMs, call.objectMap);
    if (command == QLatin1String("screens"))
        return screens();
    if (command == QLatin1String("video") && (call.desktop || call.args.isEmpty())) {
        if (!call.desktop || !call.args.isEmpty())
            return fail(QStringLiteral("usage: tolvex %1").arg(QLatin1String(info->synopsis)));
        return video(QRect(), call.output, call.secondsMs, call.fps);
    }
    if (command == QLatin1String("screenshot") && (call.desktop || call.args.isEmpty())) {
        if (!call.desktop || !call.args.isEmpty())
            return fail(QStringLiteral("usage: tolvex %1").arg(QLatin1String(info->synopsis)));
        if (call.output.isEmpty())
            return fail(QStringLiteral("screenshot: -o FILE.png is needed"));
        const FunctionCallResult<ArgumentList> shot =
            m_application->call(QStringLiteral("desktopScreenshot"));
        if (shot.isError())
            return fail(shot.error);
        const Screenshot desktop = Screenshot::fromVariant(shot.value.value(0));
        if (desktop.image.isNull())
            return fail(QStringLiteral("The application could not take a picture of the desktop"));
        if (!desktop.image.save(call.output))
            return fail(QStringLiteral("Cannot write %1").arg(call.output));
        return {true, call.output, {}};
    }
    if (command == QLatin1String("quit")) {
        if (m_recording)
            record(0, -1, true);
        m_application->quit();
        return {true, m_application->endDescription(), {}};
    }
    if (command == QLatin1String("objects")) {
        int root = 0;
        if (!call.args.isEmpty()) {
            const FunctionCallResult<RemoteObject> top = m_application->waitForObject(
                call.args.first(), call.timeoutMs, RemoteApplication::Readiness::Exists);
            if (top.isError())
                return fail(top.error);
            root = top.value.id();
        }
        QJsonArray lines;
        std::function<void(int, int)> walk = [&](int parent, int depth) {
            const FunctionCallResult<ArgumentList> children =
                m_application->call(QStringLiteral("objects"), {parent});
            if (children.isError() || depth > 64 || lines.size() > 20000)
                return;
            for (const QString &wire : children.value.value(0).toStringList()) {
                const RemoteObject child = m_application->objectFromWire(wire);
                lines.append(QString(depth * 2, QLatin1Char(' ')) + child.realName().value);
                walk(child.id(), depth + 1);
            }
        };
        walk(root, 0);
        return {true, lines, {}};
    }

    // A window may be minimized or hidden, which is not ready for input.
    const bool existsOnly = command == QLatin1String("find") || command == QLatin1String("window");
    const FunctionCallResult<RemoteObject> found = m_application->waitForObject(
        call.args.first(), call.timeoutMs,
        existsOnly ? RemoteApplication::Readiness::Exists : RemoteApplication::Readiness::Ready);
    if (found.isError())
        return fail(found.error);
    const RemoteObject &object = found.value;
    const auto done = [](const FunctionCallResult<void> &result) {
        return result.isError() ? CommandOutcome::failure(result.error)
                                : CommandOutcome{true, QJsonValue(QJsonValue::Null), {}};
    };

    if (command == QLatin1String("window"))
        return window(object, call.windowAction, call.windowValues);
    if (command == QLatin1String("snapshot"))
        return snapshot(object, call.filter, call.output);
    if (command == QLatin1String("video")) {
        const FunctionCallResult<QRect> area = object.screenBounds();
        if (area.isError())
            return fail(area.error);
        if (area.value.isEmpty())
            return fail(QStringLiteral("The object is not on the screen"));
        return video(area.value, call.output, call.secondsMs, call.fps);
    }
    if (command == QLatin1String("find") || command == QLatin1String("wait")) {
        const FunctionCallResult<QString> name = object.realName();
        return name.isError() ? fail(name.error) : CommandOutcome{true, name.value, {}};
    }
    if (command == QLatin1String("get")) {
        const FunctionCallResult<QVariant> value = object.property(call.args.at(1));
        return value.isError() ? fail(value.error) : CommandOutcome{true, jsonOf(value.value), {}};
    }
    if (command == QLatin1String("expect")) {
        // Applications update what they show a moment after the action:
        // the expectation waits for it, as the object did.
        const QDeadlineTimer deadline(call.timeoutMs < 0 ? m_application->defaultTimeoutMs()
                                                         : call.timeoutMs);
        PollPause pause;
        for (;;) {
            const FunctionCallResult<QVariant> value = object.property(call.args.at(1));
            if (value.isError())
                return fail(value.error);
            const CommandOutcome now{true, jsonOf(value.value), {}};
            if (now.text() == call.args.at(2))
                return now;
            if (deadline.hasExpired())
                return fail(
                    QStringLiteral("%1 of %2 is %3, not %4")
                        .arg(call.args.at(1), call.args.first(), now.text(), call.args.at(2)));
            pause.wait();
        }
    }
    if (command == QLatin1String("set"))
        return done(object.setProperty(call.args.at(1), call.args.at(2)));
    if (command == QLatin1String("call")) {
        QVariantList arguments;
        for (const QString &arg : call.args.mid(2))
            arguments.append(arg);
        const FunctionCallResult<QVariant> value = object.call(call.args.at(1), arguments);
        return value.isError() ? fail(value.error) : CommandOutcome{true, jsonOf(value.value), {}};
    }
    if (command == QLatin1String("click") || command == QLatin1String("doubleclick")) {
        PointerAction how = call.pointer;
        if (call.args.size() == 2)
            return fail(QStringLiteral("%1: X and Y go together").arg(command));
        if (call.args.size() == 3) {
            bool xOk = false;
            bool yOk = false;
            how.at = QPoint(call.args.at(1).toInt(&xOk), call.args.at(2).toInt(&yOk));
            if (!xOk || !yOk)
                return fail(QStringLiteral("%1: X and Y are whole numbers of pixels").arg(command));
        }
        return done(command == QLatin1String("click") ? object.click(how)
                                                      : object.doubleClick(how));
    }
    if (command == QLatin1String("clickitem")) {
        // The item may be a moment behind the view: wait for it as for
        // the view.
        const QDeadlineTimer deadline(call.timeoutMs < 0 ? m_application->defaultTimeoutMs()
                                                         : call.timeoutMs);
        bool rowOk = false;
        bool columnOk = false;
        const int row = call.args.value(1).toInt(&rowOk);
        const int column = call.args.value(2).toInt(&columnOk);
        if (call.args.size() == 3 && (!rowOk || !columnOk))
            return fail(QStringLiteral("clickitem: ROW and COLUMN are whole numbers"));
        PollPause pause;
        for (;;) {
            const FunctionCallResult<RemoteObject> item =
                call.args.size() == 3 ? object.item(row, column) : object.item(call.args.at(1));
            if (!item.isError() && !item.value.isNull())
                return done(call.doubleClick ? item.value.doubleClick(call.pointer)
                                             : item.value.click(call.pointer));
            if (deadline.hasExpired())
                return fail(item.error.isEmpty() ? QStringLiteral("No such item") : item.error);
            pause.wait();
        }
    }
    if (command == QLatin1String("type"))
        return done(object.type(call.args.at(1)));
    if (command == QLatin1String("key"))
        return done(object.key(call.args.at(1)));
    if (command == QLatin1String("properties")) {
        const FunctionCallResult<ArgumentList> components = m_application->call(
            QStringLiteral("fetchObjectComponents"), {QStringList{QString::number(object.id())}});
        if (components.isError())
            return fail(components.error);
        return {true, QJsonArray::fromStringList(components.value.value(0).toStringList()), {}};
    }
    if (command == QLatin1String("highlight")) {
        const FunctionCallResult<QVariant> answer =
            m_application->value(QStringLiteral("highlightObject"),
                                 {object.id(), call.secondsMs < 0 ? 2000 : call.secondsMs});
        if (answer.isError())
            return fail(answer.error);
        if (!answer.value.toString().isEmpty())
            return fail(answer.value.toString());
        return {true, QJsonValue(QJsonValue::Null), {}};
    }
    if (command == QLatin1String("screenshot")) {
        if (call.output.isEmpty())
            return fail(QStringLiteral("screenshot: -o FILE.png is needed"));
        const FunctionCallResult<QImage> picture = object.screenshot();
        if (picture.isError())
            return fail(picture.error);
        if (!picture.value.save(call.output))
            return fail(QStringLiteral("Cannot write %1").arg(call.output));
        return {true, call.output, {}};
    }
    return fail(QStringLiteral("%1 is not done here").arg(command));
}

CommandOutcome CommandExecutor::pick(int timeoutMs, const QString &objectMapFile)
{
    QString mapText = m_objectMap;
    if (!objectMapFile.isEmpty()) {
        const FunctionCallResult<QString> map = readObjectMap(objectMapFile);
        if (map.isError())
            return CommandOutcome::failure(map.error);
        mapText = map.value;
    }
    const QString picked = QStringLiteral("objectPicked");
    const qsizetype before = m_application->received(picked).size();
    if (!m_application->send(QStringLiteral("spyGUI"), {true}))
        return CommandOutcome::failure(QStringLiteral("The application cannot be reached"));
    const bool got = waitUntil(
        [&] {
            return m_application->received(picked).size() > before || !m_application->isRunning();
        },
        timeoutMs);
    m_application->send(QStringLiteral("spyGUI"), {false});
    const QList<ArgumentList> all = m_application->received(picked);
    if (!got || all.size() <= before)
        return CommandOutcome::failure(
            m_application->isRunning()
                ? QStringLiteral("Nothing was picked in %1 s").arg(double(timeoutMs) / 1000.0)
                : QStringLiteral("The application %1").arg(m_application->endDescription()));
    const ArgumentList &args = all.at(before);
    // The agent's handle is not kept: the name is what the tester wants.
    m_application->release(m_application->objectFromWire(args.value(0)).id());
    const QString realName = args.value(1).toString();
    if (mapText.isEmpty())
        return {true, realName, {}};
    ObjectMap map;
    map.loadFromString(mapText);
    QString symbolic = map.printableName(realName);
    // A map written by hand may hold nested names as they are printed,
    // where the tool writes them with their symbols.
    const ObjectName pickedName(realName);
    for (const QString &name : map.symbolicNames())
        if (!symbolic.startsWith(QLatin1Char(':')) && map.objectName(name) == pickedName)
            symbolic = name;
    if (!symbolic.startsWith(QLatin1Char(':')))
        symbolic = map.symbolicName(realName, true) + QStringLiteral(" (not in the map)");
    return {true, QJsonArray{realName, symbolic}, {}};
}

CommandOutcome CommandExecutor::window(const RemoteObject &object, const QString &action,
                                       const QList<int> &values)
{
    static const QMap<QString, QString> functions = {
        {QStringLiteral("move"), QStringLiteral("_tolvex_window_moveto")},
        {QStringLiteral("resize"), QStringLiteral("_tolvex_window_resizeto")},
        {QStringLiteral("raise"), QStringLiteral("_tolvex_window_foreground_set")},
        {QStringLiteral("minimize"), QStringLiteral("_tolvex_window_minimize")},
        {QStringLiteral("maximize"), QStringLiteral("_tolvex_window_maximize")},
        {QStringLiteral("restore"), QStringLiteral("_tolvex_window_restore")},
        {QStringLiteral("fullscreen"), QStringLiteral("_tolvex_window_fullscreen_set")},
        {QStringLiteral("close"), QStringLiteral("_tolvex_window_close")},
    };
    const QVariant target = QVariant::fromValue(object);
    if (!action.isEmpty()) {
        QVariantList arguments{target};
        for (int value : values)
            arguments.append(value);
        if (action == QLatin1String("fullscreen"))
            arguments.append(true);
        const FunctionCallResult<QVariant> done =
            m_application->callGlobal(functions.value(action), arguments);
        if (done.isError())
            return CommandOutcome::failure(done.error);
        if (action == QLatin1String("close"))
            return {true, QJsonValue(QJsonValue::Null), {}};
    }
    // The window system moves and resizes a moment later; wait for it, but
    // not for ever: a window manager may place the window elsewhere.
    const auto reached = [&](const QJsonObject &frame) {
        if (action == QLatin1String("move"))
            return frame.value(QStringLiteral("x")).toInt() == values.at(0) &&
                   frame.value(QStringLiteral("y")).toInt() == values.at(1);
        return action != QLatin1String("resize") ||
               (frame.value(QStringLiteral("width")).toInt() >= values.at(0) &&
                frame.value(QStringLiteral("height")).toInt() >= values.at(1));
    };
    const QDeadlineTimer deadline(2000);
    PollPause pause;
    for (;;) {
        const FunctionCallResult<QVariant> geometry =
            m_application->callGlobal(QStringLiteral("_tolvex_window_geometry_get"), {target});
        if (geometry.isError())
            return CommandOutcome::failure(geometry.error);
        const FunctionCallResult<QJsonObject> frame = rectangleOf(*m_application, geometry.value);
        if (frame.isError())
            return CommandOutcome::failure(frame.error);
        if (reached(frame.value) || deadline.hasExpired())
            return {true, frame.value, {}};
        pause.wait();
    }
}

CommandOutcome CommandExecutor::snapshot(const RemoteObject &object, const QString &filterFile,
                                         const QString &output)
{
    // Everything shown, every property, the picture of the top only.
    static const QByteArray DefaultFilter = R"(<objectdump wrapper="Qt">
  <element type="*">
    <properties><property name="*" exclude="false"/></properties>
    <screenshot exclude="true"/>
    <transparentNodes exclude="true"/>
  </element>
</objectdump>)";
    if (output.isEmpty())
        return CommandOutcome::failure(QStringLiteral("snapshot: -o FILE is needed"));
    QByteArray filter = DefaultFilter;
    if (!filterFile.isEmpty()) {
        QFile file(filterFile);
        if (!file.open(QIODevice::ReadOnly))
            return CommandOutcome::failure(QStringLiteral("Cannot read the filter %1: %2")
                                               .arg(filterFile, file.errorString()));
        filter = file.readAll();
    }
    // Pictures take their time; a large tree more.
    const FunctionCallResult<ArgumentList> answer =
        m_application->call(QStringLiteral("dumpObject"), {object.id(), filter}, 120000);
    if (answer.isError())
        return CommandOutcome::failure(answer.error);
    const QByteArray bytes = answer.value.value(0).toByteArray();
    if (bytes.isEmpty() || quint8(bytes.at(0)) != 0xC5) {
        const qsizetype reason = bytes.lastIndexOf(char(0xC4));
        return CommandOutcome::failure(reason < 0
                                           ? QStringLiteral("The application gave no snapshot")
                                           : QString::fromUtf8(bytes.mid(reason + 1)));
    }
    const QList<UIAbstraction::UIElement *> trees =
        UIAbstraction::UIElement::elementsFromByteArray(bytes.mid(1));
    const std::unique_ptr<UIAbstraction::UIElement> root(trees.value(0));
    for (qsizetype i = 1; i < trees.size(); ++i)
        delete trees.at(i);
    if (!root)
        return CommandOutcome::failure(
            QStringLiteral("The filter leaves nothing of the object: its class is excluded"));
    QString error;
    if (!SnapshotWriter::write(*root, output, &error))
        return CommandOutcome::failure(error);
    return {true, output, {}};
}

CommandOutcome CommandExecutor::video(const QRect &area, const QString &output, int secondsMs,
                                      std::optional<double> fps)
{
    VideoRequest request;
    request.output = output;
    request.area = area;
    if (secondsMs >= 0)
        request.durationMs = secondsMs;
    request.fps = fps.value_or(request.fps);
    request.progress = [&](int elapsedMs, int frames) {
        std::fprintf(stderr, "video: %d of %d s, %d frames\n", elapsedMs / 1000,
                     request.durationMs / 1000, frames);
    };
    const FunctionCallResult<QJsonObject> made = recordVideo(*m_application, request);
    return made.isError() ? CommandOutcome::failure(made.error)
                          : CommandOutcome{true, made.value, {}};
}

CommandOutcome CommandExecutor::screens()
{
    const FunctionCallResult<QVariant> count =
        m_application->callGlobal(QStringLiteral("_tolvex_screen_count_get"));
    if (count.isError())
        return CommandOutcome::failure(count.error);
    QJsonArray lines;
    for (int i = 0; i < count.value.toInt(); ++i) {
        const FunctionCallResult<QVariant> geometry =
            m_application->callGlobal(QStringLiteral("_tolvex_screen_geometry_get"), {i});
        const FunctionCallResult<QJsonObject> rectangle =
            geometry.isError() ? FunctionCallResult<QJsonObject>::failure(geometry.error)
                               : rectangleOf(*m_application, geometry.value);
        const FunctionCallResult<QVariant> orientation =
            m_application->callGlobal(QStringLiteral("_tolvex_screen_orientation_get"), {i});
        if (rectangle.isError() || orientation.isError())
            return CommandOutcome::failure(rectangle.isError() ? rectangle.error
                                                               : orientation.error);
        QJsonObject screen = rectangle.value;
        screen.insert(QStringLiteral("index"), i);
        screen.insert(QStringLiteral("orientation"), orientation.value.toInt() == 2
                                                         ? QStringLiteral("landscape")
                                                         : QStringLiteral("portrait"));
        lines.append(screen);
    }
    return {true, lines, {}};
}

CommandOutcome CommandExecutor::record(int forMs, qsizetype from, bool stop)
{
    const QString events = QStringLiteral("recordEvent");
    if (from < 0)
        from = m_application->received(events).size();
    if (stop) {
        if (m_recording) {
            // The agent sends what it still holds (a click that might have
            // become a double click, typing that might have gone on), then
            // says it is done; the connection keeps the order.
            const QString submitted = QStringLiteral("recordingSubmitted");
            const qsizetype before = m_application->received(submitted).size();
            m_application->send(QStringLiteral("stopRecord"));
            m_application->send(QStringLiteral("setEventRecordingEnabled"), {false});
            m_recording = false;
            waitUntil([&] { return m_application->received(submitted).size() > before; }, 3000);
        }
    } else {
        if (!m_recording &&
            !m_application->send(QStringLiteral("setEventRecordingEnabled"), {true}))
            return CommandOutcome::failure(QStringLiteral("The application cannot be reached"));
        m_recording = true;
        runEventsFor(forMs);
    }
    const QList<ArgumentList> received = m_application->received(events);
    QJsonArray actions;
    for (qsizetype i = from; i < received.size(); ++i) {
        const FunctionCallResult<RecordedAction> action =
            RecordedAction::fromWire(received.at(i).value(0).toByteArray());
        if (action.isError())
            actions.append(QJsonObject{{QStringLiteral("error"), action.error}});
        else
            actions.append(action.value.toJson());
    }
    return {true,
            QJsonObject{{QStringLiteral("events"), actions},
                        {QStringLiteral("next"), qint64(received.size())},
                        {QStringLiteral("recording"), m_recording}},
            {}};
}

} // namespace Tolvex
