// The Qt wrapper in an application of 10,000 widgets: findObject by a real
// name, and listing every object through the object model, each against a
// bare walk of QObject::children over the same tree. The Inspector's
// one-entry cache is off, so that every lookup walks the tree.

#include "inspector.h"
#include "object.h"
#include "objectlist.h"
#include "qtwrapper.h"
#include "ratioreporter.h"

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QPushButton>

#include <cstdio>
#include <memory>
#include <vector>

using namespace Tolvex;

namespace {

constexpr int Groups = 100;
constexpr int PerKind = 25;

// A form of a hundred group boxes of a hundred widgets each, and a window
// of 10,000 buttons side by side.
struct Application
{
    std::unique_ptr<QMainWindow> form = std::make_unique<QMainWindow>();
    std::unique_ptr<QWidget> flat = std::make_unique<QWidget>();
    QPushButton *lastOfForm = nullptr;
    QPushButton *lastOfFlat = nullptr;
    QtWrapper *wrapper = new QtWrapper(qApp);
    QString formName;
    QString flatName;

    Application()
    {
        form->setWindowTitle(QStringLiteral("Orders"));
        auto *central = new QWidget;
        for (int g = 0; g < Groups; ++g) {
            auto *box = new QGroupBox(QStringLiteral("Group %1").arg(g), central);
            for (int k = 0; k < PerKind; ++k) {
                new QLabel(QStringLiteral("Label %1").arg(k), box);
                new QLineEdit(box);
                new QCheckBox(QStringLiteral("Check %1").arg(k), box);
                lastOfForm = new QPushButton(QStringLiteral("Button %1").arg(k), box);
            }
        }
        form->setCentralWidget(central);
        flat->setWindowTitle(QStringLiteral("Flat"));
        for (int i = 0; i < Groups * 4 * PerKind; ++i)
            lastOfFlat = new QPushButton(QStringLiteral("Button %1").arg(i), flat.get());
        // Shown, as an application's windows are.
        form->show();
        flat->show();
        QCoreApplication::processEvents();
        Inspector::self()->enableObjectCache(false);
        formName = QtWrapper::objectFor(lastOfForm)->qualifiedName();
        flatName = QtWrapper::objectFor(lastOfFlat)->qualifiedName();
    }
};

// Made on first use, gone before the QApplication.
std::unique_ptr<Application> &instance()
{
    static std::unique_ptr<Application> a;
    return a;
}

Application &application()
{
    if (!instance())
        instance() = std::make_unique<Application>();
    return *instance();
}

int bareWalk(QObject *object)
{
    int n = 1;
    for (QObject *child : object->children())
        n += bareWalk(child);
    return n;
}

int modelWalk(const SharedPtr<Object> &object)
{
    int n = 1;
    for (const SharedPtr<Object> &child : object->children())
        n += modelWalk(child);
    return n;
}

void findLast(benchmark::State &state, const QString &name, QObject *wanted)
{
    for (auto _ : state) {
        SharedPtr<Object> found = Inspector::self()->findObject(name);
        if (QtWrapper::qobjectOf(found) != wanted) {
            state.SkipWithError("not found");
            break;
        }
        benchmark::DoNotOptimize(found.get());
    }
}

// The baselines: the objects of a window, and of both windows, by
// QObject::children alone.
void bareWalkOf(benchmark::State &state, const std::vector<QObject *> &roots)
{
    int n = 0;
    for (auto _ : state) {
        n = 0;
        for (QObject *root : roots)
            n += bareWalk(root);
        benchmark::DoNotOptimize(n);
    }
    state.counters["objects"] = n;
}

void BM_BareWalkForm(benchmark::State &state)
{
    bareWalkOf(state, {application().form.get()});
}
BENCHMARK(BM_BareWalkForm)->Unit(benchmark::kMicrosecond);

void BM_BareWalkFlat(benchmark::State &state)
{
    bareWalkOf(state, {application().flat.get()});
}
BENCHMARK(BM_BareWalkFlat)->Unit(benchmark::kMicrosecond);

void BM_BareWalkAll(benchmark::State &state)
{
    bareWalkOf(state, {qApp, application().form.get(), application().flat.get()});
}
BENCHMARK(BM_BareWalkAll)->Unit(benchmark::kMicrosecond);

// The last button of the last group box of the form: the lookup finds the
// group box by its title, then the button below it.
void BM_FindObjectInGroups(benchmark::State &state)
{
    Application &a = application();
    findLast(state, a.formName, a.lastOfForm);
}
BENCHMARK(BM_FindObjectInGroups)->Unit(benchmark::kMicrosecond);

// The last of 10,000 buttons of one window: the text of every button before
// it is read.
void BM_FindObjectAmong10000Buttons(benchmark::State &state)
{
    Application &a = application();
    findLast(state, a.flatName, a.lastOfFlat);
}
BENCHMARK(BM_FindObjectAmong10000Buttons)->Unit(benchmark::kMicrosecond);

// Every object of the application as the object browser lists them: the
// top-level objects, then the children of each, through the object model.
void BM_ListAllObjects(benchmark::State &state)
{
    application();
    int n = 0;
    for (auto _ : state) {
        n = 0;
        for (const SharedPtr<Object> &top : Inspector::self()->objects())
            n += modelWalk(top);
        benchmark::DoNotOptimize(n);
    }
    state.counters["objects"] = n;
}
BENCHMARK(BM_ListAllObjects)->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const int result =
        TolvexBench::runWithRatios(argc, argv,
                                   {{"BM_FindObjectInGroups", "BM_BareWalkForm", 0},
                                    {"BM_FindObjectAmong10000Buttons", "BM_BareWalkFlat", 0},
                                    {"BM_ListAllObjects", "BM_BareWalkAll", 0}});
    instance().reset();
    std::printf("target: findObject by a real name among 10,000 widgets under 2 ms (2000 us) a "
                "lookup\n");
    return result;
}
