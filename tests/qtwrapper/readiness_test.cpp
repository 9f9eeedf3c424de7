// Readiness as a tester means it, on real windows of a real X server: each
// condition that keeps a widget from taking input is named in the error.

#include "qtx11test.h"

#include <gtest/gtest.h>

#include <QDialog>
#include <QDockWidget>
#include <QLabel>
#include <QMainWindow>
#include <QPropertyAnimation>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>
#include <QWindow>

#include <memory>

using namespace Tolvex;
using namespace QtX11Test;

namespace {

// A window with a button at a known place and room around it.
struct Panel
{
    std::unique_ptr<QWidget> window = std::make_unique<QWidget>();
    QPushButton *button = new QPushButton(QStringLiteral("&Save"), window.get());

    Panel()
    {
        window->setWindowTitle(QStringLiteral("Panel"));
        window->resize(400, 300);
        button->setGeometry(50, 50, 120, 40);
        EXPECT_TRUE(X11Test::showActive(window.get()));
    }
};

// The part of the error behind "not ready: ".
QString reason(QObject *object)
{
    QString error;
    EXPECT_FALSE(ifReady(object, &error));
    const qsizetype at = error.indexOf(QStringLiteral(" not ready: "));
    EXPECT_GE(at, 0) << error;
    return error.mid(at + 12);
}

} // namespace

class QtReadiness : public X11Test::PluginTest
{
};

TEST_F(QtReadiness, AVisibleEnabledUncoveredWidgetIsReady)
{
    Panel panel;
    ASSERT_TRUE(hook());
    EXPECT_TRUE(becomesReady(panel.button));
    QString error;
    SharedPtr<Object> ready = ifReady(panel.button, &error);
    ASSERT_TRUE(ready) << error;
    EXPECT_EQ(QtWrapper::qobjectOf(ready), panel.button);
}

TEST_F(QtReadiness, SaysWhenAWidgetIsHiddenDisabledOrOffTheScreen)
{
    Panel panel;
    ASSERT_TRUE(becomesReady(panel.button));

    panel.button->hide();
    EXPECT_EQ(reason(panel.button), QStringLiteral("it is not visible"));
    panel.button->show();

    panel.button->setEnabled(false);
    EXPECT_EQ(reason(panel.button), QStringLiteral("it is disabled"));
    panel.button->setEnabled(true);

    // Moved out of what its window shows.
    panel.button->move(-200, 50);
    EXPECT_EQ(reason(panel.button),
              QStringLiteral("it is not on the screen: it lies outside what its parents show"));
    panel.button->move(50, 50);
    EXPECT_TRUE(becomesReady(panel.button));

    // The whole window out of every screen.
    panel.window->move(-3000, -3000);
    EXPECT_TRUE(TestSupport::waitUntil([&] {
        const QString text = reason(panel.button);
        return text.contains(QStringLiteral("outside every screen")) ||
               text == QStringLiteral("its window is not shown on the screen");
    }));
}

TEST_F(QtReadiness, SaysWhichModalWindowIsInTheWay)
{
    Panel panel;
    ASSERT_TRUE(becomesReady(panel.button));
    QDialog settings(panel.window.get());
    settings.setWindowTitle(QStringLiteral("Settings"));
    auto *ok = new QPushButton(QStringLiteral("OK"), &settings);
    ok->setGeometry(10, 10, 80, 30);
    settings.resize(200, 100);
    settings.move(600, 100);
    settings.setModal(true);
    settings.show();
    ASSERT_TRUE(TestSupport::waitUntil([&] { return settings.windowHandle()->isExposed(); }));
    EXPECT_EQ(reason(panel.button), QStringLiteral("it is behind the modal window 'Settings'"));
    // What the dialog itself holds is not blocked by it.
    EXPECT_TRUE(becomesReady(ok));
    settings.hide();
    EXPECT_TRUE(becomesReady(panel.button));
}

TEST_F(QtReadiness, SaysWhenAWidgetIsStillMoving)
{
    Panel panel;
    ASSERT_TRUE(becomesReady(panel.button));
    QPropertyAnimation slide(panel.button, "pos");
    slide.setStartValue(QPoint(50, 50));
    slide.setEndValue(QPoint(250, 200));
    slide.setDuration(2000);
    slide.start();
    X11Test::settle(100);
    EXPECT_EQ(reason(panel.button),
              QStringLiteral("it is moving or changing size (an animation is running)"));
    slide.stop();
    EXPECT_TRUE(becomesReady(panel.button));

    // Moving without an animation object is seen from one look to the next.
    QTimer mover;
    QObject::connect(&mover, &QTimer::timeout,
                     [&] { panel.button->move(panel.button->pos() + QPoint(1, 0)); });
    mover.start(10);
    X11Test::settle(50);
    EXPECT_TRUE(reason(panel.button).contains(QStringLiteral("moving")));
    mover.stop();
    EXPECT_TRUE(becomesReady(panel.button));
}

TEST_F(QtReadiness, SaysWhatCoversAWidgetAtItsClickPoint)
{
    Panel panel;
    ASSERT_TRUE(becomesReady(panel.button));
    auto *banner = new QLabel(QStringLiteral("Saving is off today"), panel.window.get());
    banner->setObjectName(QStringLiteral("banner"));
    banner->setAutoFillBackground(true);
    banner->setGeometry(0, 40, 400, 60);
    banner->show();
    banner->raise();
    const QString text = reason(panel.button);
    EXPECT_TRUE(text.startsWith(QStringLiteral("it is covered by {objectName='banner' "
                                               "text='Saving is off today' type='QLabel'")))
        << text;
    EXPECT_TRUE(text.contains(QStringLiteral("at the point a click would use"))) << text;
    // A widget that lets the mouse through covers nothing.
    banner->setAttribute(Qt::WA_TransparentForMouseEvents);
    EXPECT_TRUE(becomesReady(panel.button));
}

TEST_F(QtReadiness, NamesEveryConditionThatFails)
{
    Panel panel;
    ASSERT_TRUE(becomesReady(panel.button));
    panel.button->setEnabled(false);
    panel.button->move(-200, 50);
    EXPECT_EQ(reason(panel.button),
              QStringLiteral("it is disabled; it is not on the screen: it lies outside what its "
                             "parents show"));
}

TEST_F(QtReadiness, TabbedDockWidgetsInTheBackAreNotReady)
{
    QMainWindow window;
    window.setCentralWidget(new QLabel(QStringLiteral("centre")));
    auto *history = new QDockWidget(QStringLiteral("History"), &window);
    auto *log = new QDockWidget(QStringLiteral("Log"), &window);
    auto *historyButton = new QPushButton(QStringLiteral("Clear history"));
    auto *logButton = new QPushButton(QStringLiteral("Clear log"));
    history->setWidget(historyButton);
    log->setWidget(logButton);
    window.addDockWidget(Qt::LeftDockWidgetArea, history);
    window.addDockWidget(Qt::LeftDockWidgetArea, log);
    window.tabifyDockWidget(history, log);
    window.resize(500, 400);
    ASSERT_TRUE(X11Test::showActive(&window));
    log->raise();
    // One of the two is in front; the other may say it is visible, but it
    // is not where a click could reach it.
    EXPECT_TRUE(becomesReady(logButton));
    QString error;
    EXPECT_FALSE(ifReady(historyButton, &error));
    EXPECT_TRUE(error.contains(QStringLiteral("not visible")) ||
                error.contains(QStringLiteral("not on the screen")))
        << error;
}
