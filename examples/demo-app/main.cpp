// tolvex-demo-app: a registration form, a list, a table, tabs, a menu and a
// modal dialog, enough of the common widgets for a test scenario to drive.

#include "mainwindow.h"

#include <QApplication>

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("tolvex-demo-app"));
    QApplication::setOrganizationName(QStringLiteral("Tolvex"));
    MainWindow window;
    window.show();
    return QApplication::exec();
}
