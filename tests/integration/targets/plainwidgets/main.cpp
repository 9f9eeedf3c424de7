// plainwidgets: a small Qt Widgets application that knows nothing of any
// test tool: a main window with a menu, a form and a list.
//
// Options:
//   --quit-after MS            leave the event loop MS after it started
//   --probe-application-first  make and destroy a QCoreApplication first,
//                              as programs do that read their options so
//   --leave-before-loop        return without running the event loop,
//                              printing "bye early"
//
// Prints "shown" once the window is on screen and the event loop runs, and
// "bye <status>" when the event loop has ended.
#include "quitafter.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QListWidget>
#include <QMainWindow>
#include <QMenuBar>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

#include <cstdio>

int main(int argc, char **argv)
{
    const auto hasOption = [argc, argv](const char *option) {
        for (int i = 1; i < argc; ++i)
            if (qstrcmp(argv[i], option) == 0)
                return true;
        return false;
    };
    if (hasOption("--probe-application-first")) {
        QCoreApplication probe(argc, argv);
        std::printf("probed %lld arguments\n", static_cast<long long>(probe.arguments().size()));
        std::fflush(stdout);
    }
    QApplication app(argc, argv);

    QMainWindow window;
    window.setObjectName(QStringLiteral("mainWindow"));
    window.setWindowTitle(QStringLiteral("Plain widgets"));

    auto *central = new QWidget;
    auto *form = new QFormLayout;
    auto *name = new QLineEdit;
    name->setObjectName(QStringLiteral("name"));
    auto *urgent = new QCheckBox(QStringLiteral("&Urgent"));
    urgent->setObjectName(QStringLiteral("urgent"));
    form->addRow(QStringLiteral("&Name:"), name);
    form->addRow(QString(), urgent);
    auto *add = new QPushButton(QStringLiteral("&Add"));
    add->setObjectName(QStringLiteral("add"));
    auto *list = new QListWidget;
    list->setObjectName(QStringLiteral("items"));
    list->addItems({QStringLiteral("Apples"), QStringLiteral("Pears"), QStringLiteral("Plums")});
    auto *layout = new QVBoxLayout(central);
    layout->addLayout(form);
    layout->addWidget(add);
    layout->addWidget(list);
    window.setCentralWidget(central);

    QMenu *file = window.menuBar()->addMenu(QStringLiteral("&File"));
    QAction *clear = file->addAction(QStringLiteral("&Clear"));
    file->addSeparator();
    QAction *quit = file->addAction(QStringLiteral("&Quit"));
    QObject::connect(clear, &QAction::triggered, list, &QListWidget::clear);
    QObject::connect(quit, &QAction::triggered, &app, &QApplication::quit);
    QObject::connect(add, &QPushButton::clicked, list, [name, list, urgent] {
        list->addItem(urgent->isChecked() ? name->text() + QLatin1Char('!') : name->text());
        name->clear();
    });

    window.resize(360, 320);
    window.show();
    if (hasOption("--leave-before-loop")) {
        std::printf("bye early\n");
        return 0;
    }
    QTimer::singleShot(0, &app, [] {
        std::printf("shown\n");
        std::fflush(stdout);
    });
    quitAfterOption(&app);
    const int status = app.exec();
    std::printf("bye %d\n", status);
    return status;
}
