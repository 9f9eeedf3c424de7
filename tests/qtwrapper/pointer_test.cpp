// Geometry in native pixels and the pointer operations of the wrapper base
// through the X11 plug-in: a click lands where the object is, whatever Qt's
// scale factor. Run once as it is and once with QT_SCALE_FACTOR=2.

#include "qtx11test.h"

#include "class.h"
#include "delegate.h"
#include "globalclass.h"
#include "inspector.h"
#include "method.h"
#include "objectlist.h"

#include <gtest/gtest.h>

#include <QPushButton>
#include <QWidget>

#ifdef TOLVEXQT_HAVE_QUICK
#include "qmlscene.h"
#endif

using namespace Tolvex;
using namespace QtX11Test;

namespace {

struct Target
{
    QWidget window;
    QWidget *area = new QWidget(&window);
    X11Test::EventRecorder recorder{area};

    Target()
    {
        window.resize(300, 240);
        area->setGeometry(40, 30, 200, 150);
        EXPECT_TRUE(X11Test::showActive(&window, QPoint(120, 90)));
    }

    std::vector<X11Test::EventRecorder::Event> presses() const
    {
        return recorder.ofType(QEvent::MouseButtonPress);
    }
};

bool near(QPoint a, QPoint b)
{
    return (a - b).manhattanLength() <= 2;
}

} // namespace

class QtPointer : public X11Test::PluginTest
{
protected:
    void SetUp() override
    {
        X11Test::PluginTest::SetUp();
        ASSERT_TRUE(hook());
    }
};

TEST_F(QtPointer, NativeBoundsAreLogicalOnesTimesTheDevicePixelRatio)
{
    Target target;
    SharedPtr<Object> area = QtWrapperTest::objectFor(target.area);
    const GeometryDelegate *geometry = geometryDelegateFor(area);
    ASSERT_NE(geometry, nullptr);
    const qreal ratio = target.area->devicePixelRatioF();
    const QPoint topLeft = target.area->mapToGlobal(QPoint(0, 0));
    EXPECT_EQ(geometry->globalBounds(area), Rect<2>(topLeft.x(), topLeft.y(), 200, 150));
    EXPECT_EQ(geometry->nativeGlobalBounds(area),
              Rect<1>(qRound(topLeft.x() * ratio), qRound(topLeft.y() * ratio), qRound(200 * ratio),
                      qRound(150 * ratio)));
    const Point<1> inside = geometry->relativeToNative(area, 10, 20);
    EXPECT_EQ(inside.x, qRound((topLeft.x() + 10) * ratio));
    EXPECT_EQ(inside.y, qRound((topLeft.y() + 20) * ratio));
}

TEST_F(QtPointer, ClicksLandAtTheCentreAndAtRelativePositions)
{
    Target target;
    SharedPtr<Object> area = QtWrapperTest::objectFor(target.area);
    QtWrapper *wrapper = QtWrapperTest::wrapper();

    ASSERT_TRUE(wrapper->pointerClick(area, Point<1>(), MouseButton::Left, 0, 1).isSuccess());
    ASSERT_TRUE(TestSupport::waitUntil([&] { return target.presses().size() == 1; }));
    EXPECT_TRUE(near(target.presses()[0].position, QPoint(100, 75)))
        << target.presses()[0].position.x() << "," << target.presses()[0].position.y();

    ASSERT_TRUE(wrapper->pointerClick(area, Point<1>(12, 9), MouseButton::Right, 0, 1).isSuccess());
    ASSERT_TRUE(TestSupport::waitUntil([&] { return target.presses().size() == 2; }));
    EXPECT_TRUE(near(target.presses()[1].position, QPoint(12, 9)))
        << target.presses()[1].position.x() << "," << target.presses()[1].position.y();
    EXPECT_EQ(target.presses()[1].button, Qt::RightButton);

    ASSERT_TRUE(wrapper->doubleClick(area, Point<1>(30, 40), MouseButton::Left, 0).isSuccess());
    EXPECT_TRUE(TestSupport::waitUntil(
        [&] { return !target.recorder.ofType(QEvent::MouseButtonDblClick).empty(); }));
}

TEST_F(QtPointer, ScreenshotsCoverTheWidgetNativelyAndAsQtDrawsIt)
{
    Target target;
    SharedPtr<Object> area = QtWrapperTest::objectFor(target.area);
    QtWrapper *wrapper = QtWrapperTest::wrapper();
    const Rect<1> native = geometryDelegateFor(area)->nativeGlobalBounds(area);

    const QImage captured = wrapper->grabObjectScreenshot(area, 0, 0);
    EXPECT_EQ(captured.size(), QSize(native.width, native.height));
    const QImage drawn = wrapper->grabObjectScreenshot(area, 2, 0);
    EXPECT_EQ(drawn.size(), QSize(native.width, native.height));

    // The script's grabWidget, with and without flags.
    const MethodList grab = Inspector::self()->globalClass()->methods(QStringLiteral("grabWidget"));
    ASSERT_EQ(grab.count(), 2);
    for (const ObjectList &args : {ObjectList{area}, ObjectList{area, QtWrapperTest::number(0)}}) {
        SharedPtr<Object> image = grab.invoke(nullptr, args);
        ASSERT_TRUE(image);
        EXPECT_EQ(image->className(), QStringLiteral("QImage"));
        EXPECT_EQ(QtWrapperTest::property(image, QStringLiteral("width"))->toInteger(),
                  native.width);
    }
}

#ifdef TOLVEXQT_HAVE_QUICK
TEST_F(QtPointer, ClicksReachQuickItems)
{
    QtWrapperTest::QmlScene scene(QPoint(500, 100));
    QQuickItem *ok = scene.item("ok");
    ASSERT_NE(ok, nullptr);
    ASSERT_TRUE(becomesReady(ok));
    SharedPtr<Object> item = QtWrapperTest::objectFor(ok);
    ASSERT_TRUE(QtWrapperTest::wrapper()
                    ->pointerClick(item, Point<1>(), MouseButton::Left, 0, 1)
                    .isSuccess());
    EXPECT_TRUE(TestSupport::waitUntil([&] { return ok->property("clicks").toInt() == 1; }));
}
#endif
