// Snapshots through the Qt wrapper: the tree of a form of 10,000 widgets
// without pictures, against walking the same tree with findChildren and
// reading the same properties; and a picture per element, against a bare
// QWidget::grab of the same widgets, with and without writing them as PNG.

#include "inspector.h"
#include "object.h"
#include "objecttreedump.h"
#include "qtwrapper.h"
#include "ratioreporter.h"

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QCheckBox>
#include <QDataStream>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QPushButton>
#include <QVBoxLayout>

#include <cstdio>
#include <memory>

using namespace Tolvex;

namespace {

constexpr int Groups = 100;
constexpr int PerKind = 25;
constexpr int Pictured = 50;

// The properties both sides read of every widget.
const QByteArray TreeFilter = R"(<objectdump wrapper="Qt"><element type="*">
  <identifyingProperties><property name="objectName"/></identifyingProperties>
  <properties><property name="text"/><property name="enabled"/></properties>
  <screenshot exclude="true"/><screenshotIfRoot exclude="true"/>
  <realname exclude="true"/><symbolicname exclude="true"/>
</element></objectdump>)";

const QByteArray PictureFilter = R"(<objectdump wrapper="Qt"><element type="*">
  <realname exclude="true"/><symbolicname exclude="true"/>
</element></objectdump>)";

struct Application
{
    std::unique_ptr<QMainWindow> form = std::make_unique<QMainWindow>();
    std::unique_ptr<QWidget> buttons = std::make_unique<QWidget>();
    QtWrapper *wrapper = new QtWrapper(qApp);
    DumpFilters treeFilters;
    DumpFilters pictureFilters;

    Application()
    {
        auto *central = new QWidget;
        for (int g = 0; g < Groups; ++g) {
            auto *box = new QGroupBox(QStringLiteral("Group %1").arg(g), central);
            for (int k = 0; k < PerKind; ++k) {
                new QLabel(QStringLiteral("Label %1").arg(k), box);
                new QLineEdit(box);
                new QCheckBox(QStringLiteral("Check %1").arg(k), box);
                new QPushButton(QStringLiteral("Button %1").arg(k), box);
            }
        }
        form->setCentralWidget(central);
        auto *layout = new QVBoxLayout(buttons.get());
        for (int i = 0; i < Pictured; ++i)
            layout->addWidget(new QPushButton(QStringLiteral("Button %1").arg(i)));
        form->show();
        buttons->show();
        QCoreApplication::processEvents();
        QString error;
        if (!ObjectTreeDump::parseFilters({TreeFilter}, &treeFilters, &error) ||
            !ObjectTreeDump::parseFilters({PictureFilter}, &pictureFilters, &error))
            std::fprintf(stderr, "filters: %s\n", qPrintable(error));
    }
    ~Application()
    {
        ObjectTreeDump::deleteFilters(&treeFilters);
        ObjectTreeDump::deleteFilters(&pictureFilters);
    }
};

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

void BM_DumpTenThousandWidgets(benchmark::State &state)
{
    Application &a = application();
    const SharedPtr<Object> root = QtWrapper::objectFor(a.form.get());
    ObjectTreeDump dump({});
    qsizetype bytes = 0;
    for (auto _ : state) {
        QString error;
        const QByteArray tree = dump.serialize(root, a.treeFilters, &error);
        if (!error.isEmpty() || tree.size() < 1000) {
            state.SkipWithError(qPrintable(error));
            break;
        }
        bytes = tree.size();
    }
    state.counters["bytes"] = double(bytes);
}
BENCHMARK(BM_DumpTenThousandWidgets)->Unit(benchmark::kMillisecond);

// The same widgets, the same properties as text, and their places.
void BM_FindChildrenAndRead(benchmark::State &state)
{
    Application &a = application();
    for (auto _ : state) {
        qsizetype n = 0;
        for (QWidget *w : a.form->findChildren<QWidget *>()) {
            QString text = w->objectName();
            text += w->property("text").toString();
            text += w->property("enabled").toString();
            const QRect place(w->mapToGlobal(QPoint(0, 0)), w->size());
            n += text.size() + place.width();
        }
        benchmark::DoNotOptimize(n);
    }
}
BENCHMARK(BM_FindChildrenAndRead)->Unit(benchmark::kMillisecond);

// A picture of each of 50 buttons and of their window, per picture.
void BM_DumpWithPictures(benchmark::State &state)
{
    Application &a = application();
    const SharedPtr<Object> root = QtWrapper::objectFor(a.buttons.get());
    ObjectTreeDump dump([&a](const SharedPtr<Object> &object) {
        // No native capture on this platform: Qt draws the picture.
        return a.wrapper->grabObjectScreenshot(object, 2, 0);
    });
    for (auto _ : state) {
        QString error;
        benchmark::DoNotOptimize(dump.serialize(root, a.pictureFilters, &error));
    }
    state.SetItemsProcessed(state.iterations() * (Pictured + 1));
}
BENCHMARK(BM_DumpWithPictures)->Unit(benchmark::kMillisecond);

void BM_BareGrab(benchmark::State &state)
{
    Application &a = application();
    for (auto _ : state) {
        benchmark::DoNotOptimize(a.buttons->grab().toImage());
        for (QPushButton *button : a.buttons->findChildren<QPushButton *>())
            benchmark::DoNotOptimize(button->grab().toImage());
    }
    state.SetItemsProcessed(state.iterations() * (Pictured + 1));
}
BENCHMARK(BM_BareGrab)->Unit(benchmark::kMillisecond);

// The same pictures written as the snapshot's stream holds them: PNG, by
// QImage's stream operator. This is the least a snapshot with pictures
// can cost.
void BM_BareGrabAndStream(benchmark::State &state)
{
    Application &a = application();
    for (auto _ : state) {
        QByteArray bytes;
        QDataStream out(&bytes, QIODevice::WriteOnly);
        out.setVersion(QDataStream::Qt_4_6);
        out << a.buttons->grab().toImage();
        for (QPushButton *button : a.buttons->findChildren<QPushButton *>())
            out << button->grab().toImage();
        benchmark::DoNotOptimize(bytes);
    }
    state.SetItemsProcessed(state.iterations() * (Pictured + 1));
}
BENCHMARK(BM_BareGrabAndStream)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const int result =
        TolvexBench::runWithRatios(argc, argv,
                                   {{"BM_DumpTenThousandWidgets", "BM_FindChildrenAndRead", 0},
                                    {"BM_DumpWithPictures", "BM_BareGrab", 0},
                                    {"BM_DumpWithPictures", "BM_BareGrabAndStream", 0}});
    instance().reset();
    std::printf("target: the tree of 10,000 widgets without pictures under 100 ms; with "
                "pictures, per picture, near a bare QWidget::grab\n");
    return result;
}
