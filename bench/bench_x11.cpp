// The X11 plug-in against its peers, each pair measured in one run, on the
// X server of $DISPLAY:
//  - typing 1,000 mixed characters into a Qt text field of this process
//    until every one has arrived, against xdotool type at its default pace,
//    with the characters it lost on the way;
//  - a picture of the whole desktop through the plug-in against a bare
//    XShmGetImage of the root window.

#include "eventloop.h"
#include "mixedtext.h"
#include "nativeinterface.h"
#include "platformplugin.h"
#include "ratioreporter.h"
#include "xshmbaseline.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QPlainTextEdit>
#include <QProcess>
#include <QWindow>

#include <cstdio>
#include <memory>

using namespace Tolvex;

namespace {

constexpr int Characters = 1000;

std::unique_ptr<PlatformPlugin> s_plugin;
QPlainTextEdit *s_edit = nullptr;

// Without ÄÖÜ, which xdotool cannot type at any pace; the tests type them.
const QString &text()
{
    static const QString typed = MixedText::make(Characters, 11, false);
    return typed;
}

bool arrived(int timeoutMs)
{
    return TestSupport::waitUntil([] { return s_edit->toPlainText() == text(); }, timeoutMs, 1);
}

void BM_TolvexType(benchmark::State &state)
{
    NativeInterface *native = s_plugin->nativeInterface();
    for (auto _ : state) {
        s_edit->clear();
        const FunctionCallResult<void> typed = native->sendKeyEventToFocusWindow(text());
        if (typed.isError() || !arrived(60000)) {
            state.SkipWithError("characters lost");
            break;
        }
    }
    state.counters["chars/s"] = benchmark::Counter(double(Characters) * double(state.iterations()),
                                                   benchmark::Counter::kIsRate);
}
BENCHMARK(BM_TolvexType)->Unit(benchmark::kMillisecond)->UseRealTime();

// How many characters of the text are missing from what arrived: the text's
// length less the longest common subsequence of the two, in code points.
int lostCharacters(const QString &arrivedText)
{
    const QList<uint> want = text().toUcs4();
    const QList<uint> got = arrivedText.toUcs4();
    QList<int> previous(got.size() + 1, 0);
    QList<int> row(got.size() + 1, 0);
    for (const uint w : want) {
        for (qsizetype j = 1; j <= got.size(); ++j)
            row[j] = w == got[j - 1] ? previous[j - 1] + 1 : qMax(row[j - 1], previous[j]);
        std::swap(previous, row);
    }
    return int(want.size()) - previous.back();
}

// xdotool types the text into the field; the characters it lost, or -1 when
// it could not be started.
int xdotoolTypes(int delayMs)
{
    s_edit->clear();
    QProcess xdotool;
    xdotool.start(QStringLiteral("xdotool"),
                  {QStringLiteral("type"), QStringLiteral("--delay"), QString::number(delayMs),
                   QStringLiteral("--"), text()});
    if (!xdotool.waitForStarted())
        return -1;
    TestSupport::waitUntil([&] { return xdotool.state() == QProcess::NotRunning; }, 120000, 1);
    // What is on its way still counts; a lost character never comes.
    arrived(1000);
    return lostCharacters(s_edit->toPlainText());
}

// xdotool at its default pace, 12 ms between keys: the time it takes and the
// characters it loses on the way, counted against the text.
void BM_XdotoolType(benchmark::State &state)
{
    constexpr int DefaultDelayMs = 12;
    int lost = 0;
    for (auto _ : state) {
        const int lostNow = xdotoolTypes(DefaultDelayMs);
        if (lostNow < 0) {
            state.SkipWithError("xdotool did not start (is it installed?)");
            return;
        }
        lost += lostNow;
    }
    state.counters["delay ms"] = DefaultDelayMs;
    state.counters["lost/run"] = double(lost) / double(state.iterations());
    state.counters["chars/s"] = benchmark::Counter(double(Characters) * double(state.iterations()),
                                                   benchmark::Counter::kIsRate);
}
BENCHMARK(BM_XdotoolType)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_DesktopScreenshot(benchmark::State &state)
{
    NativeInterface *native = s_plugin->nativeInterface();
    for (auto _ : state) {
        const FunctionCallResult<Screenshot> shot = native->desktopScreenshot(Rect<1>(), -1);
        if (shot.isError() || shot.value.image.isNull()) {
            state.SkipWithError("no picture");
            break;
        }
        benchmark::DoNotOptimize(shot.value.image.constBits()[0]);
        state.counters["width"] = shot.value.image.width();
        state.counters["height"] = shot.value.image.height();
    }
}
BENCHMARK(BM_DesktopScreenshot)->Unit(benchmark::kMicrosecond)->UseRealTime();

void BM_BareXShmGetImage(benchmark::State &state)
{
    TolvexBench::BareShmGrab grab;
    if (!grab.isOpen()) {
        state.SkipWithError("no shared memory picture of the root");
        return;
    }
    for (auto _ : state) {
        if (!grab.grab()) {
            state.SkipWithError("XShmGetImage failed");
            break;
        }
        benchmark::DoNotOptimize(grab.firstPixel());
    }
    state.counters["width"] = grab.width();
    state.counters["height"] = grab.height();
}
BENCHMARK(BM_BareXShmGetImage)->Unit(benchmark::kMicrosecond)->UseRealTime();

} // namespace

int main(int argc, char **argv)
{
    // The plug-in of this build, and widgets that the X server's input reaches.
    qputenv("QT_QPA_PLATFORM", "xcb");
    qputenv("TOLVEX_PREFIX", TOLVEX_BUILD_DIR);
    QApplication app(argc, argv);
    const FunctionCallResult<PlatformPlugin *> loaded = PlatformPlugin::load("xlib", nullptr);
    if (loaded.isError()) {
        std::fprintf(stderr, "bench_x11: %s\n", qPrintable(loaded.error));
        return 1;
    }
    s_plugin.reset(loaded.value);
    QPlainTextEdit edit;
    s_edit = &edit;
    edit.resize(800, 600);
    edit.show();
    edit.activateWindow();
    if (!TestSupport::waitUntil([&] { return edit.isActiveWindow(); }, 5000)) {
        std::fprintf(stderr, "bench_x11: the text field did not become active\n");
        return 1;
    }
    const int result =
        TolvexBench::runWithRatios(argc, argv,
                                   {{"BM_TolvexType", "BM_XdotoolType", 0.2},
                                    {"BM_DesktopScreenshot", "BM_BareXShmGetImage", 1.2}});
    std::printf("typing: %d characters (ASCII, shifted, Latin-1, euro, CJK, Hangul, emoji) "
                "until all arrived; xdotool at its default delay, with what it lost\n",
                Characters);
    std::printf("targets: typing at least 5x xdotool's pace (ratio at most 0.20x), the "
                "desktop picture at most 1.2x a bare XShmGetImage\n");
    s_plugin.reset();
    return result;
}
