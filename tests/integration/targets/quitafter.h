#pragma once

// The option the small target applications share: "--quit-after MS" leaves
// the event loop MS milliseconds after it started.

#include <QCoreApplication>
#include <QStringList>
#include <QTimer>

inline void quitAfterOption(QCoreApplication *app)
{
    const QStringList args = QCoreApplication::arguments();
    const qsizetype at = args.indexOf(QStringLiteral("--quit-after"));
    const int ms = at >= 0 && at + 1 < args.size() ? args.at(at + 1).toInt() : 0;
    if (ms > 0)
        QTimer::singleShot(ms, app, &QCoreApplication::quit);
}
