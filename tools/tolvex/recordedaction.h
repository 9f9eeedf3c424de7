#pragma once

// One user action that the application recorded, as the tool shows it: the
// event the agent sent, and the command of this tool that replays it.

#include "functioncallresult.h"

#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <QVariant>

namespace Tolvex {

struct RecordedAction
{
    // "hh:mm:ss.zzz", when the application recorded it.
    QString time;
    // The method the recorder names it by: "clickButton", "type", ...
    QString event;
    // The name of the object it happened on.
    QString object;
    // Its arguments: strings, numbers and booleans.
    QVariantList arguments;
    // The words of the command that replays it; empty when no command does,
    // and then note says why.
    QStringList replay;
    QString note;

    // Reads one "recordEvent" argument; an error for bytes that are not a
    // whole event.
    static FunctionCallResult<RecordedAction> fromWire(const QByteArray &bytes);

    // "clickItem {type='QListWidget'} "Pear" 12 7 0 1"
    QString eventText() const;
    // The replay as a shell command line: "tolvex click "{...}"", or the note
    // as a comment.
    QString commandLine() const;
    // {"time":..., "event":..., "object":..., "arguments":[...],
    //  "command":{"command":..., "args":[...]}} for the JSON output and the
    // script mode; "command" is null with a "note" when nothing replays it.
    QJsonObject toJson() const;
    // The action of such a JSON object, as a session answers it.
    static RecordedAction fromJson(const QJsonObject &json);
};

// A word as a POSIX shell reads it back unchanged.
QString shellQuoted(const QString &word);

// The pointer options of the commands, in words and as the agent's values:
// "left", "middle", "right" for the buttons 1, 2 and 4; modifiers joined by
// "+" ("Control+Shift") for the words 0x80 Control, 0x100 Shift, 0x200 Alt,
// 0x400 Win and 0x800 Command. -1 for words that are none of these.
int mouseButtonValue(const QString &name);
QString mouseButtonName(int value);
int modifierWord(const QString &names);
QString modifierNames(int word);

} // namespace Tolvex
