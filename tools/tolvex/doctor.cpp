#include "doctor.h"

#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <sys/stat.h>

namespace Tolvex {

int linkedQtVersion(const QString &program, QString *detail)
{
    QProcess ldd;
    ldd.start(QStringLiteral("ldd"), {program});
    if (!ldd.waitForFinished(10000) || ldd.exitCode() != 0) {
        if (detail)
            *detail = QString::fromLocal8Bit(ldd.readAllStandardError()).trimmed();
        return -1;
    }
    const QString listing = QString::fromLocal8Bit(ldd.readAllStandardOutput());
    if (listing.contains(QLatin1String("libQt6Core.so")))
        return 6;
    if (listing.contains(QLatin1String("libQt5Core.so")))
        return 5;
    return 0;
}

Diagnosis diagnose(const LaunchOptions &given)
{
    Diagnosis result;
    QStringList &say = result.findings;
    const QString found = QStandardPaths::findExecutable(given.program);
    const QString program = found.isEmpty() ? given.program : found;
    if (!QFileInfo(program).isExecutable()) {
        say << QStringLiteral("%1 is not a program that can be run: check the path and that "
                              "it is executable.")
                   .arg(given.program);
        return result;
    }

    QString detail;
    const int qt = linkedQtVersion(program, &detail);
    if (qt == 6)
        say << QStringLiteral("%1 links Qt 6.").arg(program);
    else if (qt == 5)
        say << QStringLiteral("%1 links Qt 5: the agent works only in Qt 6 applications.")
                   .arg(program);
    else if (qt == 0)
        say << QStringLiteral("%1 does not link Qt: unless it loads Qt 6 later (a script or a "
                              "launcher that starts the real application), there is no agent "
                              "to hook up.")
                   .arg(program);
    else
        say << QStringLiteral("The libraries of %1 cannot be listed (%2).").arg(program, detail);
    struct stat status = {};
    if (::stat(QFile::encodeName(program).constData(), &status) == 0 &&
        (status.st_mode & (S_ISUID | S_ISGID)))
        say << QStringLiteral("%1 is set-user-id or set-group-id: the loader ignores "
                              "LD_PRELOAD for it, so the agent cannot start in it.")
                   .arg(program);

    const bool x11 = qEnvironmentVariable("QT_QPA_PLATFORM").isEmpty() ||
                     qEnvironmentVariable("QT_QPA_PLATFORM").startsWith(QLatin1String("xcb"));
    if (qt == 6 && x11 && qEnvironmentVariableIsEmpty("DISPLAY") &&
        qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        say << QStringLiteral("No display is set (DISPLAY is empty): a GUI application will "
                              "not start. Start an X server (Xvfb :99 &, then DISPLAY=:99) or "
                              "set QT_QPA_PLATFORM=offscreen.");

    QTemporaryDir dir;
    LaunchOptions options = given;
    options.outputFile = dir.filePath(QStringLiteral("output.txt"));
    if (options.hookUpTimeoutMs <= 0 || options.hookUpTimeoutMs == LaunchOptions().hookUpTimeoutMs)
        options.hookUpTimeoutMs = 15000;
    QString error;
    std::unique_ptr<RemoteApplication> application = RemoteApplication::launch(options, &error);
    QFile outputFile(options.outputFile);
    const QString output = outputFile.open(QIODevice::ReadOnly)
                               ? QString::fromLocal8Bit(outputFile.readAll())
                               : QString();

    if (application) {
        result.hookedUp = true;
        say << QStringLiteral("It hooked up: the agent runs in it and knows %1 classes.")
                   .arg(application->classes().count());
        const FunctionCallResult<ArgumentList> capabilities =
            application->call(QStringLiteral("nativeCapabilities"));
        const QStringList native = capabilities.value.value(0).toStringList();
        say << (native.isEmpty()
                    ? QStringLiteral("Native input and screen capture are not available in it "
                                     "(no platform plug-in).")
                    : QStringLiteral("Native input and screen capture work (%1).")
                          .arg(native.join(QStringLiteral(", "))));
        application->quit();
        say << QStringLiteral("All is well: tolvex launch -- %1").arg(given.program);
        return result;
    }

    while (error.endsWith(QLatin1Char('.')) || error.endsWith(QLatin1Char('?')))
        error.chop(1);
    say << QStringLiteral("It did not hook up: %1.").arg(error);
    // What the program and the agent said on the way, in the order that
    // explains the most.
    const auto said = [&](const char *text) { return output.contains(QLatin1String(text)); };
    if (said("cannot be preloaded") || said("ld.so: object"))
        say << QStringLiteral("The loader refused the start-up library (a set-user-id program, "
                              "or a library of another architecture): start the application "
                              "in a way that lets LD_PRELOAD through.");
    if (said("could not connect to display") || said("Could not load the Qt platform plugin"))
        say << QStringLiteral("Qt could not open its display: check DISPLAY, or use "
                              "QT_QPA_PLATFORM=offscreen.");
    if (said("Could not connect to Tolvex server"))
        say << QStringLiteral("The agent started but could not reach the tool's server on "
                              "127.0.0.1: a firewall or a network namespace may be in the way.");
    if (said("the application runs without the agent"))
        say << QStringLiteral("The agent's wrapper was not loaded: ") +
                   output.section(QStringLiteral("tolvex: "), 1).section(QLatin1Char('\n'), 0, 0);
    if (qt == 6 && output.trimmed().isEmpty())
        say << QStringLiteral("The program said nothing: it may have ended before its "
                              "application object was made, or it waits on something first.");
    if (!output.trimmed().isEmpty()) {
        const QStringList lines = output.trimmed().split(QLatin1Char('\n'));
        say << QStringLiteral("Its last words:\n  ") +
                   lines.mid(qMax(0, lines.size() - 12)).join(QStringLiteral("\n  "));
    }
    return result;
}

} // namespace Tolvex
