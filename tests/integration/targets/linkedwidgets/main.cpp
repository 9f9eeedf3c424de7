// linkedwidgets: a Qt Widgets application that links the Qt wrapper and
// asks for the agent itself, rather than having it preloaded.
//
// Options:
//   --quit-after MS   leave the event loop MS after it started
//
// Prints "startQtAgent <first answer> <second answer>" (it asks twice), and
// "bye <status>" when the event loop has ended.
#include "qtstartup.h"
#include "quitafter.h"

#include <QApplication>
#include <QLabel>

#include <cstdio>

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    const bool first = Tolvex::startQtAgent();
    const bool second = Tolvex::startQtAgent();
    std::printf("startQtAgent %s %s\n", first ? "true" : "false", second ? "true" : "false");
    std::fflush(stdout);

    QLabel label(QStringLiteral("Linked"));
    label.show();
    quitAfterOption(&app);
    const int status = app.exec();
    std::printf("bye %d\n", status);
    return status;
}
