// testaut: a small application under test for the integration tests. It
// hooks up the way a toolkit wrapper does and reports each stage on stdout.
//
// Options:
//   --output FILE          stdout and stderr (where the agent logs) go to FILE
//   --quit-after MS        leave the event loop MS after it started
//   --quit-when-unhooked   leave the event loop once the agent is gone
//   --no-wrapper           hook up without a wrapper
//   --own-socket           connect the socket here and hand it to the agent
//   --attached             tell the agent the test attached to a running AUT
#include "autprocess.h"
#include "counterkit.h"
#include "fsocket.h"
#include "hook.h"
#include "wrapper.h"

#include <QCoreApplication>
#include <QStringList>
#include <QTimer>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <memory>

using CounterKit::say;

namespace {

// A TCP connection to host:port, or -1.
int connectTo(const QString &host, quint16 port)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    if (fd < 0 || ::inet_pton(AF_INET, host.toLatin1().constData(), &address.sin_addr) != 1 ||
        ::connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0) {
        if (fd >= 0)
            ::close(fd);
        return -1;
    }
    return fd;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = QCoreApplication::arguments();
    const auto valueOf = [&args](const QString &option) {
        const qsizetype at = args.indexOf(option);
        return at >= 0 && at + 1 < args.size() ? args.at(at + 1) : QString();
    };

    const QString output = valueOf(QStringLiteral("--output"));
    if (!output.isEmpty()) {
        if (!std::freopen(output.toLocal8Bit().constData(), "a", stdout) ||
            !std::freopen(output.toLocal8Bit().constData(), "a", stderr))
            return 3;
        std::setvbuf(stdout, nullptr, _IONBF, 0);
        std::setvbuf(stderr, nullptr, _IONBF, 0);
    }
    say(QStringLiteral("started"));

    // The agent does not own its wrappers; the application does, to the end.
    std::unique_ptr<CounterKit::KitWrapper> ownedWrapper;
    if (!args.contains(QStringLiteral("--no-wrapper")))
        ownedWrapper = std::make_unique<CounterKit::KitWrapper>();
    CounterKit::KitWrapper *wrapper = ownedWrapper.get();
    Tolvex::Hook *hook = nullptr;
    if (args.contains(QStringLiteral("--own-socket"))) {
        // The application's own connection, made without the agent's help:
        // the agent only takes over the connected descriptor.
        const int descriptor = connectTo(qEnvironmentVariable("TOLVEX_SERVERADDRESS"),
                                         quint16(qEnvironmentVariableIntValue("TOLVEX_PORT")));
        if (descriptor < 0) {
            say(QStringLiteral("could not connect"));
            return 4;
        }
        hook = Tolvex::Hook::createHookForConnection(new FSocket(descriptor), wrapper,
                                                     new Tolvex::AUTProcess, nullptr, 0);
    } else {
        hook = Tolvex::Hook::connectAndCreateHook(wrapper, new Tolvex::AUTProcess, nullptr, 0);
    }
    if (!hook) {
        say(QStringLiteral("no hook"));
    } else {
        if (wrapper)
            wrapper->attach(hook);
        if (args.contains(QStringLiteral("--attached")))
            hook->setAttached(true);
        // The depth left behind tells whether exitDone ended the exit wait.
        QObject::connect(hook, &Tolvex::Hook::exitDoneReceived, [hook] {
            say(QStringLiteral("exitDone received at depth %1").arg(hook->waitForExitDepth()));
        });
        hook->completeHookUp();
        say(QStringLiteral("hook-up complete"));
    }

    // Polled rather than signalled: the agent may go without a word, and the
    // application must simply carry on.
    const bool quitWhenUnhooked = args.contains(QStringLiteral("--quit-when-unhooked"));
    QTimer unhookedCheck;
    bool reported = !hook;
    QObject::connect(&unhookedCheck, &QTimer::timeout, [&] {
        if (reported || Tolvex::Hook::instance())
            return;
        reported = true;
        say(QStringLiteral("hook gone"));
        if (quitWhenUnhooked)
            QCoreApplication::exit(0);
    });
    unhookedCheck.start(20);

    const int quitAfter = valueOf(QStringLiteral("--quit-after")).toInt();
    if (quitAfter > 0)
        QTimer::singleShot(quitAfter, &app, [] { QCoreApplication::exit(0); });

    const int code = app.exec();
    say(QStringLiteral("event loop finished %1").arg(code));
    return code;
}
