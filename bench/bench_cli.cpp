// The command line as a test written without C++ uses it, against the demo
// application started unmodified with the agent on the X display:
//  - a bare remote call from the client API (getLastError), the round trip
//    everything else is counted in;
//  - a get through the script mode (JSON line in, JSON line out), which also
//    finds the object and checks that it is ready;
//  - a click through the script mode, on one check box and then the other,
//    answered once the press and the release are done;
//  - the same click followed by an expect that waits until the box has
//    toggled: the time from the request to the widget's clicked;
//  - the demo scenario as the README's main job runs it, per step;
//  - desktopScreenshot from the call to the decoded picture on this side,
//    against a bare XShmGetImage of the root with the same BMP encoding and
//    level-1 zlib compression in this process;
//  - fetchPropertyValuesAsString of every property of every object of the
//    demo in one call.

#include "demoapplication.h"
#include "ratioreporter.h"
#include "remoteapplication.h"
#include "screenshot.h"
#include "xshmbaseline.h"

#include <QBuffer>
#include <QImage>

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <memory>

using namespace Tolvex;

namespace {

const QString Boxes[2] = {QStringLiteral("{objectName='newsletter' type='QCheckBox'}"),
                          QStringLiteral("{objectName='terms' type='QCheckBox'}")};

QProcessEnvironment benchEnvironment(const QString &home)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("TOLVEX_PREFIX"), QStringLiteral(TOLVEX_BUILD_PREFIX));
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), home);
    environment.insert(QStringLiteral("HOME"), home);
    return environment;
}

// One `tolvex script -` with the demo application launched in it.
struct ScriptMode
{
    QTemporaryDir home;
    QProcess process;
    QString error;
    bool checked[2] = {false, false};

    static ScriptMode &instance()
    {
        static ScriptMode mode;
        return mode;
    }

    // One request and its answer; an error when it fails.
    QJsonObject request(const QJsonObject &request)
    {
        process.write(QJsonDocument(request).toJson(QJsonDocument::Compact) + '\n');
        while (!process.canReadLine())
            if (!process.waitForReadyRead(60000))
                return {{QStringLiteral("ok"), false},
                        {QStringLiteral("error"), QStringLiteral("no answer")}};
        return QJsonDocument::fromJson(process.readLine()).object();
    }

    QJsonObject command(const QString &name, const QStringList &args)
    {
        return request({{QStringLiteral("command"), name},
                        {QStringLiteral("args"), QJsonArray::fromStringList(args)}});
    }

    bool isReady() const { return error.isEmpty(); }

    ~ScriptMode()
    {
        if (process.state() == QProcess::Running) {
            process.closeWriteChannel();
            if (!process.waitForFinished(20000))
                process.kill();
        }
    }

private:
    ScriptMode()
    {
        if (qEnvironmentVariableIsEmpty("DISPLAY")) {
            error = QStringLiteral("needs an X display");
            return;
        }
        process.setProcessEnvironment(benchEnvironment(home.path()));
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(QStringLiteral(TOLVEX_PATH), {QStringLiteral("script"), QStringLiteral("-")});
        const QJsonObject launched =
            request({{QStringLiteral("command"), QStringLiteral("launch")},
                     {QStringLiteral("program"), QJsonArray{QStringLiteral(DEMO_APP_PATH)}}});
        if (!launched.value(QStringLiteral("ok")).toBool()) {
            error = launched.value(QStringLiteral("error")).toString();
            return;
        }
        for (int i = 0; i < 2; ++i) {
            const QJsonObject state =
                command(QStringLiteral("get"), {Boxes[i], QStringLiteral("checked")});
            if (!state.value(QStringLiteral("ok")).toBool())
                error = state.value(QStringLiteral("error")).toString();
            checked[i] = state.value(QStringLiteral("value")).toBool();
        }
    }
};

// A second copy of the demo, off the screen, for the bare calls.
struct ClientApi
{
    std::unique_ptr<RemoteApplication> application;
    QString error;

    static ClientApi &instance()
    {
        static ClientApi api;
        return api;
    }

private:
    ClientApi() { application = TestSupport::launchDemo(QStringLiteral("offscreen"), &error); }
};

void BM_BareRoundTrip(benchmark::State &state)
{
    ClientApi &api = ClientApi::instance();
    if (!api.application) {
        state.SkipWithError(qPrintable(api.error));
        return;
    }
    for (auto _ : state)
        if (api.application->call(QStringLiteral("getLastError")).isError()) {
            state.SkipWithError("call failed");
            break;
        }
}
BENCHMARK(BM_BareRoundTrip)->UseRealTime();

void BM_ScriptModeGet(benchmark::State &state)
{
    ScriptMode &mode = ScriptMode::instance();
    if (!mode.isReady()) {
        state.SkipWithError(qPrintable(mode.error));
        return;
    }
    for (auto _ : state)
        if (!mode.command(QStringLiteral("get"), {Boxes[0], QStringLiteral("checked")})
                 .value(QStringLiteral("ok"))
                 .toBool()) {
            state.SkipWithError("get failed");
            break;
        }
}
BENCHMARK(BM_ScriptModeGet)->UseRealTime();

// Clicks the box at its left, where the box is, one and then the other, so
// that no two clicks on the same spot follow each other.
bool clickBox(ScriptMode &mode, int i, bool untilClicked)
{
    const QJsonObject clicked =
        mode.command(QStringLiteral("click"), {Boxes[i], QStringLiteral("8"), QStringLiteral("8")});
    if (!clicked.value(QStringLiteral("ok")).toBool())
        return false;
    mode.checked[i] = !mode.checked[i];
    if (!untilClicked)
        return true;
    return mode
        .command(QStringLiteral("expect"),
                 {Boxes[i], QStringLiteral("checked"),
                  mode.checked[i] ? QStringLiteral("true") : QStringLiteral("false")})
        .value(QStringLiteral("ok"))
        .toBool();
}

void clickBenchmark(benchmark::State &state, bool untilClicked)
{
    ScriptMode &mode = ScriptMode::instance();
    if (!mode.isReady()) {
        state.SkipWithError(qPrintable(mode.error));
        return;
    }
    // The other box than the last click's, across runs too: a second
    // click on the same one would wait out the double-click time.
    static int i = 0;
    for (auto _ : state) {
        if (!clickBox(mode, i, untilClicked)) {
            state.SkipWithError("click failed");
            return;
        }
        i = 1 - i;
    }
    // Every click must have reached its box (the timing has ended here).
    for (int box = 0; box < 2; ++box) {
        const QJsonObject now =
            mode.command(QStringLiteral("expect"),
                         {Boxes[box], QStringLiteral("checked"),
                          mode.checked[box] ? QStringLiteral("true") : QStringLiteral("false")});
        if (!now.value(QStringLiteral("ok")).toBool())
            state.SkipWithError(qPrintable(now.value(QStringLiteral("error")).toString()));
    }
}

void BM_ScriptModeClick(benchmark::State &state)
{
    clickBenchmark(state, false);
}
BENCHMARK(BM_ScriptModeClick)->UseRealTime();

void BM_ScriptModeClickUntilClicked(benchmark::State &state)
{
    clickBenchmark(state, true);
}
BENCHMARK(BM_ScriptModeClickUntilClicked)->UseRealTime();

// The whole demo scenario, launch and quit included; the time per step is
// the counter.
void BM_DemoScenario(benchmark::State &state)
{
    if (qEnvironmentVariableIsEmpty("DISPLAY")) {
        state.SkipWithError("needs an X display");
        return;
    }
    QTemporaryDir home;
    QProcessEnvironment environment = benchEnvironment(home.path());
    environment.insert(QStringLiteral("DEMO_DIR"), QStringLiteral(DEMO_DIR));
    environment.insert(QStringLiteral("DEMO_APP"), QStringLiteral(DEMO_APP_PATH));
    environment.insert(QStringLiteral("DEMO_OUTPUT"), home.path());
    static const QRegularExpression summary(QStringLiteral("(\\d+) steps passed in"));
    int steps = 0;
    for (auto _ : state) {
        QProcess run;
        run.setProcessEnvironment(environment);
        run.start(QStringLiteral(TOLVEX_PATH), {QStringLiteral("script"), QStringLiteral("--steps"),
                                                QStringLiteral(DEMO_DIR "/scenario.tolvex")});
        if (!run.waitForFinished(300000) || run.exitCode() != 0) {
            state.SkipWithError(run.readAllStandardError().constData());
            return;
        }
        const QRegularExpressionMatch match =
            summary.match(QString::fromUtf8(run.readAllStandardOutput()));
        steps = match.hasMatch() ? match.captured(1).toInt() : 0;
    }
    if (steps > 0)
        state.counters["step"] =
            benchmark::Counter(double(state.iterations()) * steps,
                               benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_DemoScenario)->UseRealTime()->Unit(benchmark::kMillisecond)->Iterations(2);

// The demo on the display, for the calls that need the screen; started
// after the clicks are done, so that its window is in nobody's way.
struct OnScreen
{
    std::unique_ptr<RemoteApplication> application;
    QString error;
    QStringList everyProperty;
    static inline bool made = false;

    static OnScreen &instance()
    {
        static OnScreen demo;
        return demo;
    }

private:
    OnScreen()
    {
        made = true;
        if (qEnvironmentVariableIsEmpty("DISPLAY")) {
            error = QStringLiteral("needs an X display");
            return;
        }
        application = TestSupport::launchDemo(QStringLiteral("xcb"), &error);
        if (!application)
            return;
        application->waitForObject(QStringLiteral("{objectName='submit' type='QPushButton'}"));
        // Every object of the tree, each with every property of its class.
        QList<int> parents{0};
        while (!parents.isEmpty()) {
            const FunctionCallResult<ArgumentList> children =
                application->call(QStringLiteral("objects"), {parents.takeFirst()});
            for (const QString &wire : children.value.value(0).toStringList()) {
                const RemoteObject child = application->objectFromWire(wire);
                parents.append(child.id());
                for (const QString &name : application->classes().propertyNames(child.classId()))
                    if (const Property *p = application->classes().property(child.classId(), name))
                        everyProperty << QString::number(child.id()) << QString::number(p->id());
            }
        }
    }
};

void BM_DesktopScreenshotEndToEnd(benchmark::State &state)
{
    OnScreen &demo = OnScreen::instance();
    if (!demo.application) {
        state.SkipWithError(qPrintable(demo.error));
        return;
    }
    for (auto _ : state) {
        const FunctionCallResult<ArgumentList> shot =
            demo.application->call(QStringLiteral("desktopScreenshot"));
        const Screenshot picture = Screenshot::fromVariant(shot.value.value(0));
        if (shot.isError() || picture.image.isNull()) {
            state.SkipWithError("no picture");
            return;
        }
        benchmark::DoNotOptimize(picture.image.constBits());
    }
}
BENCHMARK(BM_DesktopScreenshotEndToEnd)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_BareGrabBmpZlib(benchmark::State &state)
{
    TolvexBench::BareShmGrab grab;
    if (!grab.isOpen()) {
        state.SkipWithError("no shared memory picture of the display");
        return;
    }
    for (auto _ : state) {
        if (!grab.grab()) {
            state.SkipWithError("XShmGetImage failed");
            return;
        }
        const QImage image(grab.pixels(), grab.width(), grab.height(), grab.bytesPerLine(),
                           QImage::Format_RGB32);
        QByteArray bmp;
        QBuffer buffer(&bmp);
        buffer.open(QIODevice::WriteOnly);
        image.save(&buffer, "BMP", 100);
        const QByteArray packed = qCompress(bmp, 1);
        benchmark::DoNotOptimize(packed.constData());
    }
}
BENCHMARK(BM_BareGrabBmpZlib)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_AllPropertyValuesOfTheDemo(benchmark::State &state)
{
    OnScreen &demo = OnScreen::instance();
    if (!demo.application || demo.everyProperty.isEmpty()) {
        state.SkipWithError(qPrintable(demo.error));
        return;
    }
    qsizetype values = 0;
    for (auto _ : state) {
        const FunctionCallResult<ArgumentList> texts = demo.application->call(
            QStringLiteral("fetchPropertyValuesAsString"), {demo.everyProperty});
        values = texts.value.value(0).toStringList().size();
        if (texts.isError() || values == 0) {
            state.SkipWithError("no values");
            return;
        }
    }
    state.counters["values"] = double(values);
}
BENCHMARK(BM_AllPropertyValuesOfTheDemo)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const int result =
        TolvexBench::runWithRatios(argc, argv,
                                   {{"BM_ScriptModeGet", "BM_BareRoundTrip", 0},
                                    {"BM_ScriptModeClick", "BM_BareRoundTrip", 0},
                                    {"BM_ScriptModeClickUntilClicked", "BM_BareRoundTrip", 0},
                                    {"BM_ScriptModeClickUntilClicked", "BM_ScriptModeGet", 0},
                                    {"BM_DesktopScreenshotEndToEnd", "BM_BareGrabBmpZlib", 0}});
    if (ClientApi::instance().application)
        ClientApi::instance().application->quit();
    if (OnScreen::made && OnScreen::instance().application)
        OnScreen::instance().application->quit();
    return result;
}
