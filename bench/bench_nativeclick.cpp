// A click as a test script makes it: from the server's mousePress calls
// (press and release at the button's centre) through the agent and the
// platform plug-in to the X server, back into the AUT as Qt events, to the
// button's clicked(), which the AUT tells the server of. Against the bare
// frame ping-pong the messaging rides on, in the same run; the target is
// 25 ms a click.

#include "autsession.h"
#include "benchsupport.h"
#include "eventloop.h"
#include "ratioreporter.h"

#include <QCoreApplication>
#include <QRegularExpression>

using namespace Tolvex;

namespace {

void BM_BareFramePingPong(benchmark::State &state)
{
    TolvexBench::bareFramePingPong(state, 4 + 24 + 60);
}
BENCHMARK(BM_BareFramePingPong)->UseRealTime();

// One hooked-up GUI AUT for the whole run.
class Session
{
public:
    static Session &instance()
    {
        static Session session;
        return session;
    }

    const char *error() const { return m_error; }
    int x = 0;
    int y = 0;

    // Clicks and waits for the AUT to report the click; false if it does not.
    bool click()
    {
        const qsizetype before = m_aut.messagesNamed(QStringLiteral("clicked")).size();
        for (bool press : {true, false})
            if (!m_aut.call(QStringLiteral("mousePress"), {0, 8, x, y, 0, 0, true, press})
                     .value.value(0)
                     .toBool())
                return false;
        return TestSupport::waitUntil(
            [&] { return m_aut.messagesNamed(QStringLiteral("clicked")).size() > before; }, 5000,
            1);
    }

    void end() { m_aut.end(5000); }

private:
    Session() : m_aut(QStringLiteral(GUIAUT_PATH))
    {
        if (qEnvironmentVariableIsEmpty("DISPLAY")) {
            m_error = "no X display (DISPLAY)";
            return;
        }
        m_aut.launcher.setEnvironmentValue(QStringLiteral("QT_QPA_PLATFORM"),
                                           QStringLiteral("xcb"));
        m_aut.launcher.setEnvironmentValue(QStringLiteral("TOLVEX_PREFIX"),
                                           QStringLiteral(TOLVEX_BUILD_PREFIX));
        if (!m_aut.start() || !m_aut.launch() ||
            !m_aut.waitForMessage(QStringLiteral("subprocessHooked"))) {
            m_error = "the GUI AUT did not hook up";
            return;
        }
        m_aut.server.initDone();
        if (!m_aut.waitForOutput(QStringLiteral("geometry button"))) {
            m_error = "the GUI AUT did not show its button";
            return;
        }
        const QRegularExpressionMatch m =
            QRegularExpression(QStringLiteral("geometry button (\\d+) (\\d+) (\\d+) (\\d+)"))
                .match(m_aut.output());
        x = m.captured(1).toInt() + m.captured(3).toInt() / 2;
        y = m.captured(2).toInt() + m.captured(4).toInt() / 2;
    }

    TestSupport::AUTSession m_aut;
    const char *m_error = nullptr;
};

void BM_ClickRoundTrip(benchmark::State &state)
{
    Session &session = Session::instance();
    if (session.error()) {
        state.SkipWithError(session.error());
        return;
    }
    for (auto _ : state) {
        if (!session.click()) {
            state.SkipWithError("the click did not arrive");
            break;
        }
    }
}
BENCHMARK(BM_ClickRoundTrip)->UseRealTime()->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const int result =
        TolvexBench::runWithRatios(argc, argv, {{"BM_ClickRoundTrip", "BM_BareFramePingPong", 0}});
    std::printf("target: a click round trip under 25 ms\n");
    Session::instance().end();
    return result;
}
