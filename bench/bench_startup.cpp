// What the agent costs an application it is injected into: the time from
// the process's start to the agent's initDone (the server lets the
// application run) against the same application's start to its first shown
// window without the agent; and its resident memory against the same
// application without the agent. One run, both sides, since these machines
// are noisy. The application is plainwidgets, a small Qt Widgets program
// that knows nothing of the agent, started through the start-up shim.

#include "autsession.h"
#include "eventloop.h"
#include "ratioreporter.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>

#include <algorithm>
#include <vector>

namespace {

using TestSupport::AUTSession;
using TestSupport::waitUntil;

constexpr int WaitMs = 15000;
constexpr int SettleMs = 300;

std::vector<double> s_rssWithout;
std::vector<double> s_rssWith;

// VmRSS of a process in MiB; 0 when it cannot be read.
double residentMiB(qint64 pid)
{
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray &line : status.readAll().split('\n'))
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').value(0).toDouble() / 1024.0;
    return 0;
}

double median(std::vector<double> values)
{
    if (values.empty())
        return 0;
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

bool seen(AUTSession &s, const char *text)
{
    return waitUntil([&] { return s.output().contains(QLatin1String(text)); }, WaitMs, 1);
}

// The shim, behind the sanitizer runtime that this build's programs need
// first when anything is preloaded.
QString shimPreload()
{
    const QString runtime = QStringLiteral(TOLVEX_SANITIZER_PRELOAD_OWN);
    const QString shim = QStringLiteral(TOLVEX_SHIM_PATH);
    return runtime.isEmpty() ? shim : runtime + QLatin1Char(':') + shim;
}

void useDisplayIfThere(AUTSession &s)
{
    if (!qEnvironmentVariableIsEmpty("DISPLAY"))
        s.launcher.setEnvironmentValue(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
}

void BM_StartToShownWithoutAgent(benchmark::State &state)
{
    for (auto _ : state) {
        AUTSession s(QStringLiteral(PLAINWIDGETS_PATH));
        s.launcher.setConnectToServer(false);
        useDisplayIfThere(s);
        QElapsedTimer clock;
        if (!s.start() || (clock.start(), !s.launchUnmodified()) || !seen(s, "shown")) {
            state.SkipWithError("plainwidgets did not show its window");
            break;
        }
        state.SetIterationTime(double(clock.nsecsElapsed()) / 1e9);
        waitUntil([] { return false; }, SettleMs);
        s_rssWithout.push_back(residentMiB(s.launcher.processId()));
        s.launcher.kill();
    }
}
BENCHMARK(BM_StartToShownWithoutAgent)
    ->UseManualTime()
    ->Iterations(5)
    ->Unit(benchmark::kMillisecond);

void BM_StartToInitDoneWithAgent(benchmark::State &state)
{
    for (auto _ : state) {
        AUTSession s(QStringLiteral(PLAINWIDGETS_PATH));
        useDisplayIfThere(s);
        s.launcher.setEnvironmentValue(QStringLiteral("LD_PRELOAD"), shimPreload());
        QElapsedTimer clock;
        if (!s.start() || (clock.start(), !s.launchUnmodified()) ||
            !waitUntil(
                [&] { return s.server.hasReceived(QStringLiteral("requestDescriptorData")); },
                WaitMs, 1) ||
            s.server.initDone() < 0) {
            state.SkipWithError("plainwidgets did not hook up");
            break;
        }
        state.SetIterationTime(double(clock.nsecsElapsed()) / 1e9);
        if (!seen(s, "shown")) {
            state.SkipWithError("plainwidgets did not show its window after the hook-up");
            break;
        }
        waitUntil([] { return false; }, SettleMs);
        s_rssWith.push_back(residentMiB(s.launcher.processId()));
        s.end(WaitMs);
    }
}
BENCHMARK(BM_StartToInitDoneWithAgent)
    ->UseManualTime()
    ->Iterations(5)
    ->Unit(benchmark::kMillisecond);

const char *buildKind()
{
#if defined(__SANITIZE_ADDRESS__)
    return "AddressSanitizer build: the memory of both sides is inflated by its shadow and "
           "quarantine, the agent's far more than Qt's own libraries, which are not instrumented";
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
    return "AddressSanitizer build: the memory of both sides is inflated by its shadow and "
           "quarantine, the agent's far more than Qt's own libraries, which are not instrumented";
#else
    return "build without sanitizers";
#endif
#else
    return "build without sanitizers";
#endif
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const int result = TolvexBench::runWithRatios(
        argc, argv, {{"BM_StartToInitDoneWithAgent", "BM_StartToShownWithoutAgent", 0}});
    const double without = median(s_rssWithout);
    const double with = median(s_rssWith);
    std::printf("platform: %s; %s\n",
                qEnvironmentVariableIsEmpty("DISPLAY") ? "offscreen" : "xcb on $DISPLAY",
                buildKind());
    if (without > 0 && with > 0)
        std::printf("resident memory (median VmRSS once shown): %.1f MiB with the agent, %.1f "
                    "MiB without, %.1f MiB more; target under 8 MiB more: %s\n",
                    with, without, with - without, with - without < 8 ? "met" : "NOT met");
    return result;
}
