#include "recordedaction.h"

#include "eventdata.h"
#include "primitiveclassid.h"
#include "serializable.h"

#include <QDataStream>
#include <QJsonArray>
#include <QRegularExpression>

#include <array>
#include <utility>

namespace Tolvex {

namespace {

constexpr std::array<std::pair<int, const char *>, 3> Buttons{{
    {1, "left"},
    {2, "middle"},
    {4, "right"},
}};

constexpr std::array<std::pair<int, const char *>, 5> Modifiers{{
    {0x80, "Control"},
    {0x100, "Shift"},
    {0x200, "Alt"},
    {0x400, "Win"},
    {0x800, "Command"},
}};

QVariant valueOf(const EventDataArg &arg)
{
    switch (arg.kind()) {
    case EventDataArg::EnumeratorKind:
        return arg.enumKeys().join(QLatin1Char('|'));
    case EventDataArg::ObjectKind:
        return QStringLiteral("<%1 properties>").arg(arg.numSubArguments());
    case EventDataArg::PrimitiveKind:
        break;
    }
    bool ok = false;
    switch (arg.primitiveClassId()) {
    case ShortClassId:
    case IntClassId:
    case LongClassId:
    case Int64ClassId: {
        const qlonglong number = arg.value().toLongLong(&ok);
        return ok ? QVariant(number) : QVariant(arg.value());
    }
    case DoubleClassId: {
        const double number = arg.value().toDouble(&ok);
        return ok ? QVariant(number) : QVariant(arg.value());
    }
    case BoolClassId:
        return arg.value() == QLatin1String("true") || arg.value() == QLatin1String("1");
    default:
        return arg.value();
    }
}

QString quoted(const QString &text)
{
    QString escaped = text;
    escaped.replace(QLatin1Char('\\'), QLatin1String("\\\\"));
    escaped.replace(QLatin1Char('"'), QLatin1String("\\\""));
    return QLatin1Char('"') + escaped + QLatin1Char('"');
}

// The button and modifier options of a pointer command, when they differ
// from a plain left click.
QStringList pointerOptions(int modifiers, int button)
{
    QStringList options;
    if (button != 0 && button != 1)
        options << QStringLiteral("--button")
                << (mouseButtonName(button).isEmpty() ? QString::number(button)
                                                      : mouseButtonName(button));
    if (modifiers != 0)
        options << QStringLiteral("--modifiers")
                << (modifierNames(modifiers).isEmpty() ? QString::number(modifiers)
                                                       : modifierNames(modifiers));
    return options;
}

// The command that does again what the event records; empty, with the
// reason, when no command does.
QStringList replayOf(const RecordedAction &action, QString *note)
{
    const QString &e = action.event;
    const QVariantList &a = action.arguments;
    const auto text = [&](int i) { return a.value(i).toString(); };
    const auto number = [&](int i) { return a.value(i).toInt(); };
    const QString &name = action.object;
    if (e == QLatin1String("clickButton"))
        return {QStringLiteral("click"), name};
    if ((e == QLatin1String("mouseClick") || e == QLatin1String("doubleClick")) && a.size() >= 4)
        return QStringList{e == QLatin1String("mouseClick") ? QStringLiteral("click")
                                                            : QStringLiteral("doubleclick"),
                           name, text(0), text(1)} +
               pointerOptions(number(2), number(3));
    if ((e == QLatin1String("clickItem") || e == QLatin1String("doubleClickItem")) &&
        a.size() >= 5) {
        QStringList words{QStringLiteral("clickitem"), name, text(0)};
        if (e == QLatin1String("doubleClickItem"))
            words << QStringLiteral("--double");
        return words + pointerOptions(number(3), number(4));
    }
    if (e == QLatin1String("type") && a.size() == 1) {
        // Typed text in key notation: plain text types as it is, anything
        // with a key in angle brackets goes key by key.
        const QString keys = text(0);
        if (keys.contains(QLatin1Char('<')))
            return {QStringLiteral("key"), name, keys};
        return {QStringLiteral("type"), name, keys};
    }
    if (e == QLatin1String("selectOption") && a.size() == 1)
        return {QStringLiteral("set"), name, QStringLiteral("currentText"), text(0)};
    if (e == QLatin1String("clickTab"))
        *note = QStringLiteral("no command clicks a tab by its title yet");
    else if (e == QLatin1String("activateItem"))
        *note = QStringLiteral("no command opens a menu entry by its text yet");
    else if (e == QLatin1String("mouseDrag"))
        *note = QStringLiteral("no command drags yet");
    else
        *note =
            QStringLiteral("no command replays %1").arg(e.isEmpty() ? QStringLiteral("this") : e);
    return {};
}

} // namespace

FunctionCallResult<RecordedAction> RecordedAction::fromWire(const QByteArray &bytes)
{
    using Result = FunctionCallResult<RecordedAction>;
    QDataStream in(bytes);
    in.setVersion(MetadataStreamVersion);
    EventData data;
    data.readObject(in);
    if (in.status() != QDataStream::Ok)
        return Result(RecordedAction(), QStringLiteral("A recorded event that cannot be read"));
    RecordedAction action;
    action.time = data.timeStamp().isValid()
                      ? data.timeStamp().toString(QStringLiteral("hh:mm:ss.zzz"))
                      : QString();
    action.event = data.type() == EventData::EventType ? data.eventName() : data.methodName();
    action.object = data.objectId();
    for (const EventDataArg &arg : data.arguments())
        action.arguments.append(valueOf(arg));
    action.replay = replayOf(action, &action.note);
    return Result(action);
}

QString RecordedAction::eventText() const
{
    QStringList words{event};
    if (!object.isEmpty())
        words << object;
    for (const QVariant &argument : arguments)
        words << (argument.userType() == QMetaType::QString ? quoted(argument.toString())
                                                            : argument.toString());
    return words.join(QLatin1Char(' '));
}

QString RecordedAction::commandLine() const
{
    if (replay.isEmpty())
        return QStringLiteral("# ") + note;
    QStringList words{QStringLiteral("tolvex")};
    for (const QString &word : replay)
        words << shellQuoted(word);
    return words.join(QLatin1Char(' '));
}

QJsonObject RecordedAction::toJson() const
{
    QJsonObject json{{QStringLiteral("time"), time},
                     {QStringLiteral("event"), event},
                     {QStringLiteral("object"), object},
                     {QStringLiteral("arguments"), QJsonArray::fromVariantList(arguments)}};
    if (replay.isEmpty()) {
        json.insert(QStringLiteral("command"), QJsonValue(QJsonValue::Null));
        json.insert(QStringLiteral("note"), note);
    } else {
        json.insert(
            QStringLiteral("command"),
            QJsonObject{{QStringLiteral("command"), replay.first()},
                        {QStringLiteral("args"), QJsonArray::fromStringList(replay.mid(1))}});
    }
    return json;
}

RecordedAction RecordedAction::fromJson(const QJsonObject &json)
{
    RecordedAction action;
    action.time = json.value(QStringLiteral("time")).toString();
    action.event = json.value(QStringLiteral("event")).toString();
    action.object = json.value(QStringLiteral("object")).toString();
    action.arguments = json.value(QStringLiteral("arguments")).toArray().toVariantList();
    const QJsonObject command = json.value(QStringLiteral("command")).toObject();
    if (!command.isEmpty()) {
        action.replay.append(command.value(QStringLiteral("command")).toString());
        for (const QJsonValue &arg : command.value(QStringLiteral("args")).toArray())
            action.replay.append(arg.toString());
    }
    action.note = json.value(QStringLiteral("note")).toString();
    return action;
}

QString shellQuoted(const QString &word)
{
    static const QRegularExpression plain(QStringLiteral("^[A-Za-z0-9_./:=+@%,-]+$"));
    if (plain.match(word).hasMatch())
        return word;
    if (!word.contains(QLatin1Char('\'')))
        return QLatin1Char('\'') + word + QLatin1Char('\'');
    QString escaped;
    for (const QChar c : word) {
        if (c == QLatin1Char('\\') || c == QLatin1Char('"') || c == QLatin1Char('$') ||
            c == QLatin1Char('`'))
            escaped += QLatin1Char('\\');
        escaped += c;
    }
    return QLatin1Char('"') + escaped + QLatin1Char('"');
}

int mouseButtonValue(const QString &name)
{
    for (const auto &[value, word] : Buttons)
        if (name.compare(QLatin1String(word), Qt::CaseInsensitive) == 0)
            return value;
    return -1;
}

QString mouseButtonName(int value)
{
    for (const auto &[button, word] : Buttons)
        if (button == value)
            return QLatin1String(word);
    return QString();
}

int modifierWord(const QString &names)
{
    int word = 0;
    for (const QString &name : names.split(QLatin1Char('+'))) {
        const QString wanted = name.compare(QLatin1String("Ctrl"), Qt::CaseInsensitive) == 0
                                   ? QStringLiteral("Control")
                                   : name;
        int bit = 0;
        for (const auto &[value, modifier] : Modifiers)
            if (wanted.compare(QLatin1String(modifier), Qt::CaseInsensitive) == 0)
                bit = value;
        if (bit == 0)
            return -1;
        word |= bit;
    }
    return word;
}

QString modifierNames(int word)
{
    QStringList names;
    for (const auto &[value, modifier] : Modifiers)
        if (word & value) {
            names << QLatin1String(modifier);
            word &= ~value;
        }
    return word == 0 ? names.join(QLatin1Char('+')) : QString();
}

} // namespace Tolvex
