#pragma once

// The commands of the command line, run against one application: from the
// words of a command line, a line of a script file, or a JSON request. The
// command line, the script mode and a session all go through here, so a
// command means the same wherever it is written.

#include "remoteapplication.h"

#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

namespace Tolvex {

struct CommandOutcome
{
    bool ok = true;
    QJsonValue value;
    QString error;

    static CommandOutcome failure(const QString &text) { return {false, QJsonValue(), text}; }
    // The JSON answer of the script mode: {"ok":true,"value":...} or
    // {"ok":false,"error":"..."}.
    QJsonObject toJson() const;
    // The outcome a JSON answer stands for.
    static CommandOutcome fromJson(const QJsonObject &answer);
    // What the command line prints: a string as it is, anything else as JSON.
    QString text() const;
};

class CommandExecutor
{
public:
    CommandExecutor();
    ~CommandExecutor();

    // "get {type='QLineEdit' objectName='name'} text"
    CommandOutcome run(const QStringList &words);
    // {"command":"get","args":["{type='QLineEdit'}","text"],"timeout":5}
    CommandOutcome run(const QJsonObject &request);
    // One line of a script: a JSON request when it starts with {", else words.
    CommandOutcome runLine(const QString &line);

    // Where a launched application's standard output and error go; by
    // default to this process's standard error.
    void setApplicationOutput(const QString &path) { m_applicationOutput = path; }

    // Takes an application launched elsewhere.
    void adopt(std::unique_ptr<RemoteApplication> application);
    RemoteApplication *application() const { return m_application.get(); }

    static QStringList commandNames();
    // One line of synopsis and a paragraph, for --help; empty for a command
    // that does not exist.
    static QString help(const QString &command);
    // Words of a line: a {...} name is one word whatever it holds, "..." a
    // word with \" and \\ inside, anything else ends at white space.
    static QStringList splitWords(const QString &line, QString *error);
    // A number of seconds from 0 to a day, as milliseconds; -1 for any other
    // text.
    static int millisecondsOf(const QString &seconds);

private:
    // Turns recording on, waits, and answers the events from the index
    // from on (or those of the wait); with stop, turns it off instead.
    CommandOutcome record(int forMs, qsizetype from, bool stop);
    // Turns picking mode on until the user clicks an object, and answers its
    // real name.
    CommandOutcome pick(int timeoutMs, const QString &objectMapFile);
    CommandOutcome window(const RemoteObject &object, const QString &action,
                          const QList<int> &values);
    CommandOutcome screens();
    // Films the area (null: the desktop) into output; a negative time or no
    // rate takes the default.
    CommandOutcome video(const QRect &area, const QString &output, int secondsMs,
                         std::optional<double> fps);
    CommandOutcome snapshot(const RemoteObject &object, const QString &filterFile,
                            const QString &output);

    std::unique_ptr<RemoteApplication> m_application;
    bool m_recording = false;
    QString m_applicationOutput;
    // The object map the application was launched with, as text.
    QString m_objectMap;
};

} // namespace Tolvex
