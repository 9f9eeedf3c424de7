// A script's property read against the messaging it rides on, in one run:
//  - getProperty of a live object, from the server into a real AUT process,
//    through its hook and object model, and back;
//  - a bare frame ping-pong of a similar size with an echoing thread.
// The AUT serves the call from its event loop, as it would in a test run.

#include "autsession.h"
#include "benchsupport.h"
#include "ratioreporter.h"

#include <QCoreApplication>

using namespace Tolvex;

namespace {

void BM_BareFramePingPong(benchmark::State &state)
{
    // A getProperty call frame is about this size: header, name, two ints.
    TolvexBench::bareFramePingPong(state, 4 + 24 + 40);
}
BENCHMARK(BM_BareFramePingPong)->UseRealTime();

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

    // The answer to a call, or an invalid value when none comes. The server
    // sleeps in its event loop until the answer wakes it, as a script waiting
    // for its call does.
    QVariant call(const QString &function, const ArgumentList &args)
    {
        const FunctionCallResult<ArgumentList> r = m_aut.call(function, args);
        return r.isSuccess() ? r.value.value(0) : QVariant();
    }

    void end() { m_aut.end(5000); }

    ApplicationServer &server() { return m_aut.server; }

private:
    Session() : m_aut(QStringLiteral(TESTAUT_PATH))
    {
        if (!m_aut.start()) {
            m_error = "server could not listen";
            return;
        }
        if (!m_aut.launch()) {
            m_error = "the AUT did not start";
            return;
        }
        if (!m_aut.waitForHookUpRequest()) {
            m_error = "the AUT did not hook up";
            return;
        }
        m_aut.server.initDone();
        m_counter = TestSupport::AUTSession::idOf(
            call(QStringLiteral("objectByName"), {0, QStringLiteral("counter")}));
        if (m_counter <= 0)
            m_error = "the AUT has no counter";
    }

    TestSupport::AUTSession m_aut;
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
        const QVariant v = session.call(function, args);
        if (!v.isValid()) {
            state.SkipWithError("call failed");
            break;
        }
        // Hand the property's handle back, as a script does with what it has
        // read, so the AUT's dictionary stays the same size. A send has no
        // answer, so it costs the round trip nothing to wait for.
        session.server().send(QStringLiteral("remoteObjectDestroyed"),
                              {TestSupport::AUTSession::idOf(v)});
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
