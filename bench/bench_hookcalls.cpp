// A script's property read against the messaging it rides on, in one run:
//  - getProperty of a live object, from the server into a real AUT process,
//    through its hook and object model, and back;
//  - a bare frame ping-pong of a similar size with an echoing thread.
// The AUT serves the call from its event loop, as it would in a test run.

#include "applicationserver.h"
#include "autlauncher.h"
#include "benchsupport.h"
#include "ratioreporter.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

using namespace Tolvex;

namespace {

void BM_BareFramePingPong(benchmark::State &state)
{
    // A getProperty call frame is about this size: header, name, two ints.
    TolvexBench::bareFramePingPong(state, 4 + 24 + 40);
}
BENCHMARK(BM_BareFramePingPong)->UseRealTime();

struct Reply : ResponseListener<ArgumentList>
{
    bool answered = false;
    FunctionCallResult<ArgumentList> result;
    void response(FunctionCallResult<ArgumentList> r) override
    {
        answered = true;
        result = std::move(r);
    }
};

// Answers the AUT's call, or an invalid value when it does not come. The
// server sleeps in its event loop until the answer wakes it, as a script
// waiting for its call does; a slow timer wakes it to check the deadline.
QVariant call(ApplicationServer &server, const QString &function, const ArgumentList &args)
{
    static QTimer *heartbeat = [] {
        auto *t = new QTimer(QCoreApplication::instance());
        t->start(500);
        return t;
    }();
    Q_UNUSED(heartbeat);
    Reply reply;
    if (server.call(function, args, &reply) < 0)
        return {};
    QDeadlineTimer deadline(10000);
    while (!reply.answered && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    return reply.answered && reply.result.isSuccess() ? reply.result.value.value(0) : QVariant();
}

// One hooked-up AUT for the whole run, since the benchmark body runs several
// times while the library settles on an iteration count.
class Session
{
public:
    static Session &instance()
    {
        static Session session;
        return session;
    }

    // The counter's id in the AUT, or 0 with the reason in error().
    int counter() const { return m_counter; }
    const char *error() const { return m_error; }

    void end()
    {
        if (m_launcher.isRunning()) {
            m_server.kill();
            QDeadlineTimer deadline(5000);
            while (m_launcher.isRunning() && !deadline.hasExpired())
                QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
            m_launcher.kill();
        }
    }

    ApplicationServer &server() { return m_server; }

private:
    Session()
    {
        if (!m_server.start()) {
            m_error = "server could not listen";
            return;
        }
        m_launcher.setProgram(QStringLiteral(TESTAUT_PATH));
        m_launcher.setServer(QStringLiteral("127.0.0.1"), m_server.port());
        m_launcher.setArguments({QStringLiteral("--output"), QStringLiteral("/dev/null")});
        QDeadlineTimer deadline(15000);
        if (!m_launcher.start()) {
            m_error = "the AUT did not start";
            return;
        }
        while (!m_server.hasReceived(QStringLiteral("requestDescriptorData"))) {
            if (deadline.hasExpired()) {
                m_error = "the AUT did not hook up";
                return;
            }
            QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        }
        m_server.initDone();
        m_counter = call(m_server, QStringLiteral("objectByName"), {0, QStringLiteral("counter")})
                        .toString()
                        .section(QLatin1Char(','), 0, 0)
                        .toInt();
        if (m_counter <= 0)
            m_error = "the AUT has no counter";
    }

    ApplicationServer m_server;
    AUTLauncher m_launcher;
    int m_counter = 0;
    const char *m_error = nullptr;
};

void BM_GetPropertyRoundTrip(benchmark::State &state)
{
    Session &session = Session::instance();
    if (session.counter() <= 0) {
        state.SkipWithError(session.error());
        return;
    }
    const QString function = QStringLiteral("getProperty");
    const ArgumentList args{session.counter(), 0};
    for (auto _ : state) {
        const QVariant v = call(session.server(), function, args);
        if (!v.isValid()) {
            state.SkipWithError("call failed");
            break;
        }
        // Hand the property's handle back, as a script does with what it has
        // read, so the AUT's dictionary stays the same size. A send has no
        // answer, so it costs the round trip nothing to wait for.
        session.server().send(QStringLiteral("remoteObjectDestroyed"),
                              {v.toString().section(QLatin1Char(','), 0, 0).toInt()});
    }
}
BENCHMARK(BM_GetPropertyRoundTrip)->UseRealTime();

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const int result = TolvexBench::runWithRatios(
        argc, argv, {{"BM_GetPropertyRoundTrip", "BM_BareFramePingPong", 2.0}});
    Session::instance().end();
    return result;
}
