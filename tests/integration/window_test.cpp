// The scripts' window, screen and common functions against the demo
// application on the X display, with their effects checked where the X
// server keeps them: a window's place and size and whether it is mapped, as
// xdotool reads them; the monitors of a display made with XRandR; a click
// that toggles a check box; text through the X clipboard.
#include "demoapplication.h"
#include "eventwait.h"
#include "privatexserver.h"

#include <QProcess>
#include <QRegularExpression>

#include <gtest/gtest.h>

using namespace Tolvex;

namespace {

const QString MainWindow = QStringLiteral("{objectName='mainWindow' type='MainWindow'}");

// What xdotool says, or empty when it finds no such window.
QString xdotool(const QStringList &args, const QString &display = QString())
{
    QProcess process;
    if (!display.isEmpty()) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("DISPLAY"), display);
        process.setProcessEnvironment(environment);
    }
    process.start(QStringLiteral("xdotool"), args);
    if (!process.waitForFinished(10000) || process.exitCode() != 0)
        return QString();
    return QString::fromLocal8Bit(process.readAllStandardOutput());
}

class Windows : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_FALSE(qEnvironmentVariableIsEmpty("DISPLAY")) << "needs an X display";
        launch();
    }

    void TearDown() override
    {
        if (m_demo && m_demo->isRunning())
            m_demo->quit();
    }

    void launch(const QMap<QString, QString> &environment = {})
    {
        QString error;
        m_demo = TestSupport::launchDemo(QStringLiteral("xcb"), &error, environment);
        ASSERT_TRUE(m_demo) << qPrintable(error);
    }

    RemoteObject object(const QString &name)
    {
        const FunctionCallResult<RemoteObject> found =
            m_demo->waitForObject(name, 15000, RemoteApplication::Readiness::Exists);
        EXPECT_FALSE(found.isError()) << qPrintable(found.error);
        return found.value;
    }

    QVariant global(const char *function, const QVariantList &args = {})
    {
        const FunctionCallResult<QVariant> result =
            m_demo->callGlobal(QString::fromLatin1(function), args);
        EXPECT_FALSE(result.isError()) << function << ": " << qPrintable(result.error);
        return result.value;
    }

    QString errorOf(const char *function, const QVariantList &args = {})
    {
        return m_demo->callGlobal(QString::fromLatin1(function), args).error;
    }

    // The demo's main window as the X server has it, found by process and
    // title; a null rectangle when it is not mapped.
    QRect xGeometry()
    {
        const QString id = xdotool({QStringLiteral("search"), QStringLiteral("--onlyvisible"),
                                    QStringLiteral("--pid"), QString::number(m_demo->processId()),
                                    QStringLiteral("--name"), QStringLiteral("^Tolvex Demo$")})
                               .section(QLatin1Char('\n'), 0, 0);
        if (id.isEmpty())
            return QRect();
        const QString text = xdotool({QStringLiteral("getwindowgeometry"), id});
        const QRegularExpressionMatch m =
            QRegularExpression(
                QStringLiteral("Position: (-?\\d+),(-?\\d+).*Geometry: (\\d+)x(\\d+)"),
                QRegularExpression::DotMatchesEverythingOption)
                .match(text);
        if (!m.hasMatch())
            return QRect();
        return QRect(m.captured(1).toInt(), m.captured(2).toInt(), m.captured(3).toInt(),
                     m.captured(4).toInt());
    }

    QRect rectangleOf(const QVariant &value) { return m_demo->rectangle(value).value; }

    std::unique_ptr<RemoteApplication> m_demo;
};

} // namespace

TEST_F(Windows, MovesResizesMinimizesRestoresAndClosesTheWindowOfAnyOfItsWidgets)
{
    const QVariant window = QVariant::fromValue(object(MainWindow));
    // Any widget stands for its window.
    const QVariant field =
        QVariant::fromValue(object(QStringLiteral("{objectName='name' type='QLineEdit'}")));

    global("_tolvex_window_moveto", {field, 140, 110});
    global("_tolvex_window_resizeto", {window, 700, 520});
    const QRect wanted(140, 110, 700, 520);
    EXPECT_TRUE(waitUntil([&] { return xGeometry() == wanted; }))
        << "X has "
        << qPrintable(QStringLiteral("%1,%2 %3x%4")
                          .arg(xGeometry().x())
                          .arg(xGeometry().y())
                          .arg(xGeometry().width())
                          .arg(xGeometry().height()));
    EXPECT_EQ(rectangleOf(global("_tolvex_window_geometry_get", {field})), wanted);

    // Minimizing asks the window manager, which this display lacks: Qt
    // keeps the state, and bringing the window to the front ends it.
    const RemoteObject mainWindow = window.value<RemoteObject>();
    global("_tolvex_window_minimize", {window});
    EXPECT_TRUE(waitUntil(
        [&] { return mainWindow.property(QStringLiteral("minimized")).value == QVariant(true); }));
    global("_tolvex_window_foreground_set", {window});
    EXPECT_TRUE(waitUntil(
        [&] { return mainWindow.property(QStringLiteral("minimized")).value == QVariant(false); }));
    EXPECT_EQ(xGeometry(), wanted);

    // The focused window is the one made active.
    global("_tolvex_window_focus_set", {window});
    EXPECT_TRUE(waitUntil([&] {
        const FunctionCallResult<QVariant> focused =
            m_demo->callGlobal(QStringLiteral("_tolvex_window_focused"));
        return !focused.isError() &&
               focused.value.value<RemoteObject>().className() == QLatin1String("MainWindow");
    }));

    // Objects without a window, and sizes no window can have.
    EXPECT_EQ(errorOf("_tolvex_window_close",
                      {QVariant::fromValue(object(QStringLiteral("{type='QApplication'}")))}),
              QStringLiteral("Don't know how to close object of type QApplication"));
    EXPECT_EQ(errorOf("_tolvex_window_resizeto", {window, 0, 100}),
              QStringLiteral("Cannot resize a window to 0x100"));

    // Closing the last window ends the demo.
    global("_tolvex_window_close", {window});
    EXPECT_TRUE(waitUntil([&] { return !m_demo->isRunning(); }, 10000));
}

TEST_F(Windows, CommonFunctionsClickAtARectanglesCentreAndUseTheClipboard)
{
    const RemoteObject terms = object(QStringLiteral("{objectName='terms' type='QCheckBox'}"));
    ASSERT_EQ(terms.property(QStringLiteral("checked")).value, QVariant(false));
    // The agent's own rectangle of the check box, as a script would pass it.
    const FunctionCallResult<QVariant> bounds =
        m_demo->value(QStringLiteral("objectGlobalBounds"), {terms.id()});
    ASSERT_FALSE(bounds.isError()) << qPrintable(bounds.error);
    const QRect box = m_demo->rectangle(bounds.value).value;
    // A check box's box is at its left: click there, by point.
    global("nativeMouseClick", {box.x() + 8, box.center().y(), 1});
    EXPECT_TRUE(waitUntil(
        [&] { return terms.property(QStringLiteral("checked")).value == QVariant(true); }));

    global("setClipboardText", {QStringLiteral("Grüße vom Test")});
    EXPECT_EQ(global("getClipboardText"), QVariant(QStringLiteral("Grüße vom Test")));

    // A modifier the platform cannot press is an error, and nothing is
    // clicked.
    EXPECT_EQ(
        errorOf("mouseClick", {QVariant::fromValue(m_demo->objectFromWire(bounds.value)), 0x400}),
        QStringLiteral("Invalid keyboard modifier(s) 1024"));
    EXPECT_EQ(terms.property(QStringLiteral("checked")).value, QVariant(true));
}

TEST_F(Windows, TheScreenIsTheDisplaysRoot)
{
    const QStringList size =
        xdotool({QStringLiteral("getdisplaygeometry")}).trimmed().split(QLatin1Char(' '));
    ASSERT_EQ(size.size(), 2);
    EXPECT_EQ(global("_tolvex_screen_count_get"), QVariant(1));
    EXPECT_EQ(rectangleOf(global("_tolvex_screen_geometry_get", {0})),
              QRect(0, 0, size.at(0).toInt(), size.at(1).toInt()));
    EXPECT_EQ(errorOf("_tolvex_screen_geometry_get", {1}), QStringLiteral("index out of range"));
    EXPECT_EQ(errorOf("_tolvex_screen_orientation_set", {0, 1}),
              QStringLiteral("Modifying screen orientation is not supported on this platform"));
}

TEST_F(Windows, TwoXRandRMonitorsAreTwoScreens)
{
    // A display of its own, kept as set up when its clients go, split into
    // two monitors side by side.
    TestSupport::PrivateXServer server;
    ASSERT_TRUE(server.start(
        QStringLiteral("2560x1024x24"),
        {QStringLiteral("-noreset"), QStringLiteral("+extension"), QStringLiteral("RANDR")}));
    const QString display = server.display();
    const auto xrandr = [&](const QStringList &args) {
        QProcess process;
        process.setProcessEnvironment(server.environment());
        process.start(QStringLiteral("xrandr"), args);
        return process.waitForFinished(10000) && process.exitCode() == 0;
    };
    // The first takes the display's one output, so that the output's own
    // monitor, which spans both, is not listed beside them.
    ASSERT_TRUE(xrandr({QStringLiteral("--setmonitor"), QStringLiteral("LEFT"),
                        QStringLiteral("1280/339x1024/271+0+0"), QStringLiteral("screen")}));
    ASSERT_TRUE(xrandr({QStringLiteral("--setmonitor"), QStringLiteral("RIGHT"),
                        QStringLiteral("1280/339x1024/271+1280+0"), QStringLiteral("none")}));

    m_demo->quit();
    launch({{QStringLiteral("DISPLAY"), display}});
    EXPECT_EQ(global("_tolvex_screen_count_get"), QVariant(2));
    EXPECT_EQ(rectangleOf(global("_tolvex_screen_geometry_get", {0})), QRect(0, 0, 1280, 1024));
    EXPECT_EQ(rectangleOf(global("_tolvex_screen_geometry_get", {1})), QRect(1280, 0, 1280, 1024));
    const QVariant orientation = global("_tolvex_screen_orientation_get", {1});
    EXPECT_TRUE(orientation == QVariant(1) || orientation == QVariant(2))
        << qPrintable(orientation.toString());

    // A window moved onto the right monitor is there for the X server.
    global("_tolvex_window_moveto", {QVariant::fromValue(object(MainWindow)), 1500, 100});
    EXPECT_TRUE(waitUntil([&] {
        return xdotool({QStringLiteral("search"), QStringLiteral("--onlyvisible"),
                        QStringLiteral("--name"), QStringLiteral("^Tolvex Demo$"),
                        QStringLiteral("getwindowgeometry")},
                       display)
            .contains(QStringLiteral("Position: 1500,100"));
    }));

    // The demo goes before its display.
    m_demo->quit();
}
