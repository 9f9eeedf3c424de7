#include "x11testsupport.h"
#include "xtestdisplay.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QListWidget>

#include <atomic>
#include <memory>
#include <thread>

using namespace Tolvex;
using X11Test::EventRecorder;
using X11Test::native;
using X11Test::nativeCentre;
using X11Test::settle;
using X11Test::showActive;

namespace {

struct PointerTarget
{
    QWidget widget;
    EventRecorder recorder{&widget};

    PointerTarget() { widget.resize(300, 200); }
    std::vector<EventRecorder::Event> mouse() const
    {
        std::vector<EventRecorder::Event> events;
        for (const EventRecorder::Event &e : recorder.events())
            if (e.type == QEvent::MouseButtonPress || e.type == QEvent::MouseButtonRelease ||
                e.type == QEvent::MouseButtonDblClick)
                events.push_back(e);
        return events;
    }
};

bool near(QPoint a, QPoint b)
{
    return (a - b).manhattanLength() <= 2;
}

} // namespace

class X11Pointer : public X11Test::PluginTest
{
};

TEST_F(X11Pointer, MovesAndWarpsToWhereItWasSent)
{
    ASSERT_NE(native(), nullptr);
    ASSERT_TRUE(native()->pointerMove(Point<1>(300, 200)).isSuccess());
    int x = 0;
    int y = 0;
    ASSERT_TRUE(TestSupport::waitUntil(
        [&] { return XTestDisplay::pointerPosition(&x, &y) && x == 300 && y == 200; }));
    const FunctionCallResult<Point<1>> position = native()->pointerPosition();
    ASSERT_TRUE(position.isSuccess());
    EXPECT_EQ(position.value.x, 300);
    EXPECT_EQ(position.value.y, 200);
    EXPECT_TRUE(position.value.valid);
    EXPECT_EQ(position.value.screen, -1);

    ASSERT_TRUE(native()->pointerWarp(Point<1>(17, 1031)).isSuccess());
    ASSERT_TRUE(XTestDisplay::pointerPosition(&x, &y));
    EXPECT_EQ(x, 17);
    EXPECT_EQ(y, 1031);
}

TEST_F(X11Pointer, ClicksAndTheWheelReachAWidgetAsQtEvents)
{
    PointerTarget target;
    ASSERT_TRUE(showActive(&target.widget));
    const Point<1> centre = nativeCentre(&target.widget);
    const QPoint local = target.widget.rect().center();

    ASSERT_TRUE(native()->pointerClick(MouseButton::Left, centre, 0, 1).isSuccess());
    ASSERT_TRUE(TestSupport::waitUntil([&] { return target.mouse().size() == 2; }));
    EXPECT_EQ(target.mouse()[0].type, QEvent::MouseButtonPress);
    EXPECT_EQ(target.mouse()[0].button, Qt::LeftButton);
    EXPECT_TRUE(near(target.mouse()[0].position, local));
    EXPECT_EQ(target.mouse()[1].type, QEvent::MouseButtonRelease);
    settle(QApplication::doubleClickInterval() + 100);

    // Two clicks in a row: the toolkit makes the second a double click.
    target.recorder.clear();
    ASSERT_TRUE(native()->doubleClick(MouseButton::Left, centre, 0).isSuccess());
    ASSERT_TRUE(TestSupport::waitUntil([&] { return target.mouse().size() == 4; }));
    EXPECT_EQ(target.mouse()[2].type, QEvent::MouseButtonDblClick);
    EXPECT_EQ(target.mouse()[2].button, Qt::LeftButton);
    settle(QApplication::doubleClickInterval() + 100);

    // A right click with Ctrl held: the press carries both.
    target.recorder.clear();
    ASSERT_TRUE(
        native()->pointerClick(MouseButton::Right, centre, NativeInterface::Ctrl, 1).isSuccess());
    ASSERT_TRUE(TestSupport::waitUntil([&] { return target.mouse().size() == 2; }));
    EXPECT_EQ(target.mouse()[0].button, Qt::RightButton);
    EXPECT_EQ(target.mouse()[0].modifiers, Qt::ControlModifier);
    EXPECT_FALSE(native()->isModifierPressed(NativeInterface::Ctrl)) << "Ctrl came up again";

    // The wheel: one event of 120 per click, away from the user positive.
    target.recorder.clear();
    ASSERT_TRUE(native()->wheelRoll(2, 0).isSuccess());
    ASSERT_TRUE(native()->wheelRoll(-1, NativeInterface::Shift).isSuccess());
    ASSERT_TRUE(native()->wheelRoll(0).isSuccess());
    ASSERT_TRUE(
        TestSupport::waitUntil([&] { return target.recorder.ofType(QEvent::Wheel).size() >= 3; }));
    settle(100);
    const auto wheels = target.recorder.ofType(QEvent::Wheel);
    ASSERT_EQ(wheels.size(), 3u) << "no clicks send nothing";
    EXPECT_EQ(wheels[0].angleDelta.y(), 120);
    EXPECT_EQ(wheels[1].angleDelta.y(), 120);
    // Qt turns a vertical roll with Shift into a horizontal one.
    EXPECT_EQ(wheels[2].angleDelta.y() + wheels[2].angleDelta.x(), -120);
    EXPECT_TRUE(wheels[2].modifiers & Qt::ShiftModifier);

    // The extra buttons are the back and forward buttons.
    target.recorder.clear();
    ASSERT_TRUE(native()->pointerClick(MouseButton::FirstExtra, centre, 0, 1).isSuccess());
    ASSERT_TRUE(native()->pointerClick(MouseButton::SecondExtra, centre, 0, 1).isSuccess());
    ASSERT_TRUE(TestSupport::waitUntil([&] { return target.mouse().size() == 4; }));
    EXPECT_EQ(target.mouse()[0].button, Qt::BackButton);
    EXPECT_EQ(target.mouse()[2].button, Qt::ForwardButton);
}

TEST_F(X11Pointer, ClickHitsTheNativeCentre)
{
    // Also run with QT_SCALE_FACTOR=2: native coordinates are X pixels, the
    // widget's are logical ones.
    PointerTarget target;
    ASSERT_TRUE(showActive(&target.widget, QPoint(40, 60)));
    const Point<1> centre = nativeCentre(&target.widget);
    ASSERT_TRUE(native()->pointerClick(MouseButton::Left, centre, 0, 1).isSuccess());
    ASSERT_TRUE(TestSupport::waitUntil([&] { return target.mouse().size() == 2; }));
    EXPECT_TRUE(near(target.mouse()[0].position, target.widget.rect().center()))
        << target.mouse()[0].position.x() << "," << target.mouse()[0].position.y();
    const FunctionCallResult<Point<1>> position = native()->pointerPosition();
    EXPECT_EQ(position.value.x, centre.x);
    EXPECT_EQ(position.value.y, centre.y);
}

TEST_F(X11Pointer, PrimaryAndSecondaryFollowASwappedButtonMapping)
{
    PointerTarget target;
    ASSERT_TRUE(showActive(&target.widget));
    const Point<1> centre = nativeCentre(&target.widget);
    {
        XTestDisplay::SwappedButtons swapped;
        ASSERT_TRUE(swapped.isSwapped());
        ASSERT_TRUE(native()->pointerClick(MouseButton::Primary, centre, 0, 1).isSuccess());
        settle(QApplication::doubleClickInterval() + 50);
        ASSERT_TRUE(native()->pointerClick(MouseButton::Secondary, centre, 0, 1).isSuccess());
        // Left is the physical left button, the secondary one when swapped.
        settle(QApplication::doubleClickInterval() + 50);
        ASSERT_TRUE(native()->pointerClick(MouseButton::Left, centre, 0, 1).isSuccess());
        ASSERT_TRUE(TestSupport::waitUntil([&] { return target.mouse().size() == 6; }));
    }
    const auto presses = target.recorder.ofType(QEvent::MouseButtonPress);
    ASSERT_EQ(presses.size(), 3u);
    EXPECT_EQ(presses[0].button, Qt::LeftButton);
    EXPECT_EQ(presses[1].button, Qt::RightButton);
    EXPECT_EQ(presses[2].button, Qt::RightButton);
}

TEST_F(X11Pointer, RefusesButtonsThatDoNotExist)
{
    EXPECT_EQ(native()->pointerButton(MouseButton::Value(8), true, 1).error,
              QStringLiteral("Unsupported mouse button value: 8"));
    EXPECT_EQ(native()->pointerClick(MouseButton::NoButton, Point<1>(5, 5), 0, 1).error,
              QStringLiteral("Unsupported mouse button value: 0"));
    EXPECT_EQ(native()->pointerDragAndDropBegin(Point<1>(5, 5), MouseButton::Value(3), 9).error,
              QStringLiteral("Unsupported mouse button value: 3"));
    EXPECT_EQ(
        native()->pointerDragAndDropEnd(Point<1>(5, 5), MouseButton::Value(256), 0, true).error,
        QStringLiteral("Unsupported mouse button value: 256"));
}

TEST_F(X11Pointer, DragAndDropMovesAnItemBetweenTwoLists)
{
    QWidget window;
    window.resize(520, 300);
    auto *source = new QListWidget(&window);
    auto *target = new QListWidget(&window);
    source->setGeometry(10, 10, 240, 280);
    target->setGeometry(270, 10, 240, 280);
    source->addItems({QStringLiteral("alpha"), QStringLiteral("beta")});
    source->setDragEnabled(true);
    source->setDragDropMode(QAbstractItemView::DragDrop);
    source->setDefaultDropAction(Qt::MoveAction);
    target->setAcceptDrops(true);
    target->setDragDropMode(QAbstractItemView::DragDrop);
    target->setDefaultDropAction(Qt::MoveAction);
    ASSERT_TRUE(showActive(&window));

    const QRect itemRect = source->visualItemRect(source->item(0));
    const Point<1> from = X11Test::nativePoint(source->viewport(), itemRect.center());
    const Point<1> to = X11Test::nativeCentre(target->viewport());

    // The toolkit runs a drag in a loop of its own on the GUI thread, so the
    // drag is driven from another thread, as through a synchronizer.
    std::atomic<bool> done = false;
    FunctionCallResult<void> begun;
    FunctionCallResult<void> ended;
    std::thread driver([&] {
        std::unique_ptr<NativeInterface> copy(native()->threadSafeCopy());
        begun = copy->pointerDragAndDropBegin(from, MouseButton::Left, 9);
        ended = copy->pointerDragAndDropEnd(to, MouseButton::Left, 0, true);
        done = true;
    });
    const bool moved = TestSupport::waitUntil(
        [&] { return done && target->count() == 1 && source->count() == 1; }, 15000);
    TestSupport::waitUntil([&] { return done.load(); }, 15000);
    driver.join();
    ASSERT_TRUE(moved) << "source " << source->count() << ", target " << target->count();
    EXPECT_TRUE(begun.isSuccess()) << qPrintable(begun.error);
    EXPECT_TRUE(ended.isSuccess()) << qPrintable(ended.error);
    EXPECT_EQ(target->item(0)->text(), QStringLiteral("alpha"));
    EXPECT_EQ(source->item(0)->text(), QStringLiteral("beta"));
}

TEST_F(X11Pointer, TheOldDragMovesWithTheButtonDown)
{
    PointerTarget target;
    ASSERT_TRUE(showActive(&target.widget));
    const Point<1> start = X11Test::nativePoint(&target.widget, QPoint(20, 20));
    const FunctionCallResult<int> dragged =
        native()->pointerDrag(start, 100, 50, NativeInterface::Ctrl);
    ASSERT_TRUE(dragged.isSuccess()) << qPrintable(dragged.error);
    EXPECT_EQ(dragged.value, 1);
    const auto presses = target.recorder.ofType(QEvent::MouseButtonPress);
    const auto releases = target.recorder.ofType(QEvent::MouseButtonRelease);
    ASSERT_EQ(presses.size(), 1u);
    ASSERT_EQ(releases.size(), 1u);
    EXPECT_EQ(presses[0].button, Qt::LeftButton);
    const qreal ratio = target.widget.devicePixelRatioF();
    EXPECT_TRUE(near(releases[0].position - presses[0].position,
                     QPoint(qRound(100 / ratio), qRound(50 / ratio))));
    EXPECT_FALSE(native()->isModifierPressed(NativeInterface::Ctrl));
}
