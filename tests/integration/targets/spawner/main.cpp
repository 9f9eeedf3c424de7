// spawner: a Qt application that knows nothing of any test tool and starts
// a child process, itself with --child. The child is a QCoreApplication
// that runs until its standard input ends, which its parent closes on the
// way out.
//
// Options:
//   --quit-after MS   (parent) leave the event loop MS after it started
//
// Prints "child running <pid>" and, once its event loop runs, "child looping
// <pid>" (child); "child started <pid>" and on the way out "child finished
// <status>", "bye <status>" (parent).
#include "quitafter.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QProcess>
#include <QSocketNotifier>
#include <QTimer>

#include <cstdio>
#include <unistd.h>

namespace {

void say(const QByteArray &line)
{
    std::printf("%s\n", line.constData());
    std::fflush(stdout);
}

int runChild(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const QByteArray pid = QByteArray::number(QCoreApplication::applicationPid());
    say("child running " + pid);
    QTimer::singleShot(0, &app, [pid] { say("child looping " + pid); });
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &app, [&input] {
        char buffer[256];
        if (::read(STDIN_FILENO, buffer, sizeof buffer) <= 0) {
            input.setEnabled(false);
            QCoreApplication::quit();
        }
    });
    return app.exec();
}

} // namespace

int main(int argc, char **argv)
{
    if (argc > 1 && qstrcmp(argv[1], "--child") == 0)
        return runChild(argc, argv);

    QGuiApplication app(argc, argv);
    QProcess child;
    child.setProcessChannelMode(QProcess::ForwardedChannels);
    child.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--child")});
    if (!child.waitForStarted()) {
        std::fprintf(stderr, "the child did not start: %s\n", qPrintable(child.errorString()));
        return 1;
    }
    say("child started " + QByteArray::number(child.processId()));
    quitAfterOption(&app);
    const int status = app.exec();
    child.closeWriteChannel();
    if (!child.waitForFinished(5000))
        child.kill();
    child.waitForFinished(1000);
    say("child finished " + QByteArray::number(child.exitCode()));
    say("bye " + QByteArray::number(status));
    return status;
}
