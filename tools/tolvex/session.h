#pragma once

// A session keeps one application under test running between commands, so
// that a tester can work step by step from any shell: a background process
// of this tool owns the application and answers requests on a local socket
// of the user's, one JSON line in, one JSON line out.

#include "functioncallresult.h"

#include <QJsonObject>
#include <QString>
#include <QStringList>

namespace Tolvex::Session {

inline constexpr const char *DefaultName = "default";

// Where the sockets of this user's sessions are.
QString directory();
QString socketPath(const QString &name);

// Starts a session process that launches the application as the launch
// words say, and waits until it answers or says why it could not.
FunctionCallResult<QString> start(const QString &name, const QStringList &launchWords);
// The body of the session process; returns its exit code.
int serve(const QString &name, const QStringList &launchWords);

// One request to a running session and its answer.
FunctionCallResult<QJsonObject> request(const QString &name, const QJsonObject &request,
                                        int timeoutMs);
// The names of the sessions that answer.
QStringList list();

} // namespace Tolvex::Session
