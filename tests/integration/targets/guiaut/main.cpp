// guiaut: a small Qt Widgets application under test whose agent drives the
// real X display through the platform plug-in. It reports what reaches its
// widgets on stdout, and tells the server of each click, so that a test sees
// the effect of what it sent.
//
// Options:
//   --output FILE          stdout and stderr go to FILE
//   --quit-after MS        leave the event loop MS after it started
//
// Reports: "geometry <name> x y w h" for each widget once shown (native
// screen pixels), "clicked", "text <what the line edit holds>" on Return,
// "wheel <angle delta y>", "hook-up complete".
#include "autprocess.h"
#include "hook.h"
#include "platformplugin.h"

#include <QApplication>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>
#include <QWheelEvent>
#include <QWidget>

#include <cstdio>
#include <memory>

namespace {

void say(const QString &line)
{
    std::printf("%s\n", line.toUtf8().constData());
    std::fflush(stdout);
}

// Native pixels: the platform plug-in works in those, whatever Qt's scale.
void reportGeometry(const QString &name, QWidget *widget)
{
    const qreal ratio = widget->devicePixelRatioF();
    const QPoint topLeft = widget->mapToGlobal(QPoint(0, 0));
    say(QStringLiteral("geometry %1 %2 %3 %4 %5")
            .arg(name)
            .arg(qRound(topLeft.x() * ratio))
            .arg(qRound(topLeft.y() * ratio))
            .arg(qRound(widget->width() * ratio))
            .arg(qRound(widget->height() * ratio)));
}

// A block of one colour that also reports the wheel turned over it.
class ColourBlock : public QWidget
{
public:
    ColourBlock() { setFixedSize(120, 80); }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter(this).fillRect(rect(), QColor(20, 200, 60));
    }
    void wheelEvent(QWheelEvent *event) override
    {
        say(QStringLiteral("wheel %1").arg(event->angleDelta().y()));
    }
};

} // namespace

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    const QStringList args = QApplication::arguments();
    const auto valueOf = [&args](const QString &option) {
        const qsizetype at = args.indexOf(option);
        return at >= 0 && at + 1 < args.size() ? args.at(at + 1) : QString();
    };
    const QString output = valueOf(QStringLiteral("--output"));
    if (!output.isEmpty() && (!std::freopen(output.toLocal8Bit().constData(), "a", stdout) ||
                              !std::freopen(output.toLocal8Bit().constData(), "a", stderr)))
        return 3;

    QWidget window;
    window.setWindowTitle(QStringLiteral("guiaut"));
    auto *layout = new QVBoxLayout(&window);
    auto *button = new QPushButton(QStringLiteral("Press"));
    auto *edit = new QLineEdit;
    auto *block = new ColourBlock;
    layout->addWidget(button);
    layout->addWidget(edit);
    layout->addWidget(block);
    window.move(40, 40);
    window.show();

    std::unique_ptr<Tolvex::PlatformPlugin> plugin(Tolvex::createX11PlatformPlugin(nullptr));
    say(QStringLiteral("plug-in %1").arg(plugin->name()));
    Tolvex::Hook *hook =
        Tolvex::Hook::connectAndCreateHook(nullptr, new Tolvex::AUTProcess, plugin.get(), 0);
    if (hook) {
        hook->completeHookUp();
        say(QStringLiteral("hook-up complete"));
    }

    QObject::connect(button, &QPushButton::clicked, [] {
        say(QStringLiteral("clicked"));
        if (Tolvex::Hook *h = Tolvex::Hook::instance())
            h->send(QStringLiteral("clicked"), {});
    });
    QObject::connect(edit, &QLineEdit::returnPressed,
                     [edit] { say(QStringLiteral("text ") + edit->text()); });
    // Once the window manager (or its absence) has placed the window.
    QTimer::singleShot(200, [&] {
        reportGeometry(QStringLiteral("button"), button);
        reportGeometry(QStringLiteral("edit"), edit);
        reportGeometry(QStringLiteral("block"), block);
        edit->setFocus();
    });
    const int quitAfter = valueOf(QStringLiteral("--quit-after")).toInt();
    if (quitAfter > 0)
        QTimer::singleShot(quitAfter, &app, [] { QApplication::exit(0); });
    const int code = app.exec();
    // The hook goes before the plug-in it holds.
    if (Tolvex::Hook *h = Tolvex::Hook::instance())
        h->deleteHook();
    return code;
}
