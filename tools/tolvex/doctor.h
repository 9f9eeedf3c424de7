#pragma once

// What a user runs first when an application does not hook up: starts it
// with the agent, and says in plain words whether it hooked up and, if not,
// the likely reason, from what the program links and what it said.

#include "remoteapplication.h"

#include <QString>
#include <QStringList>

namespace Tolvex {

struct Diagnosis
{
    bool hookedUp = false;
    // Findings in order, each a sentence; the last says what to do.
    QStringList findings;
};

// The Qt major version a program links (5 or 6), 0 for none, -1 when its
// libraries cannot be listed. From the loader's listing of the program.
int linkedQtVersion(const QString &program, QString *detail = nullptr);

Diagnosis diagnose(const LaunchOptions &options);

} // namespace Tolvex
