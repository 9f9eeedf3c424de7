#include "x11testsupport.h"
#include "xtestdisplay.h"

#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QPainter>
#include <QScreen>

#include <memory>
#include <thread>

using namespace Tolvex;
using X11Test::native;
using X11Test::nativePoint;
using X11Test::showActive;

namespace {

constexpr QRgb Red = 0xFFFF0000;
constexpr QRgb Green = 0xFF00FF00;
constexpr QRgb Blue = 0xFF0000FF;
constexpr QRgb Yellow = 0xFFFFFF00;
constexpr QRgb Black = 0xFF000000;

// Four quadrants of plain colours: red, green above; blue, yellow below.
class Quadrants : public QWidget
{
public:
    Quadrants()
    {
        setWindowFlags(Qt::FramelessWindowHint);
        resize(200, 100);
    }

    // The native rectangle the window covers.
    QRect nativeRect()
    {
        const Point<1> corner = nativePoint(this, QPoint(0, 0));
        const qreal ratio = devicePixelRatioF();
        return QRect(corner.x, corner.y, qRound(width() * ratio), qRound(height() * ratio));
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        const int w = width() / 2;
        const int h = height() / 2;
        painter.fillRect(0, 0, w, h, QColor(Red));
        painter.fillRect(w, 0, width() - w, h, QColor(Green));
        painter.fillRect(0, h, w, height() - h, QColor(Blue));
        painter.fillRect(w, h, width() - w, height() - h, QColor(Yellow));
    }
};

Screenshot shoot(int x, int y, int width, int height)
{
    const FunctionCallResult<Screenshot> shot =
        native()->desktopScreenshot(Rect<1>(x, y, width, height), -1);
    EXPECT_TRUE(shot.isSuccess()) << qPrintable(shot.error);
    return shot.value;
}

Screenshot shootDesktop()
{
    return shoot(0, 0, -1, -1);
}

QRgb pixel(const Screenshot &shot, int x, int y)
{
    return shot.image.pixel(x, y) | 0xFF000000;
}

// The quadrants' centres in native coordinates.
struct Centres
{
    QPoint red, green, blue, yellow;
    explicit Centres(const QRect &r)
        : red(r.x() + r.width() / 4, r.y() + r.height() / 4),
          green(r.x() + 3 * r.width() / 4, r.y() + r.height() / 4),
          blue(r.x() + r.width() / 4, r.y() + 3 * r.height() / 4),
          yellow(r.x() + 3 * r.width() / 4, r.y() + 3 * r.height() / 4)
    {}
};

// Shows the quadrants and waits until the screen shows them.
bool showQuadrants(Quadrants *window, QPoint position)
{
    if (!showActive(window, position))
        return false;
    const QPoint red = Centres(window->nativeRect()).red;
    return TestSupport::waitUntil(
        [&] { return pixel(shoot(red.x(), red.y(), 1, 1), 0, 0) == Red; });
}

QRect desktop()
{
    QRect box;
    for (const XTestDisplay::Monitors::Area &m : XTestDisplay::Monitors::current())
        box |= QRect(m.x, m.y, m.width, m.height);
    return box;
}

} // namespace

class X11Capture : public X11Test::PluginTest
{
};

TEST_F(X11Capture, ARectangleHoldsThePaintedColours)
{
    Quadrants window;
    ASSERT_TRUE(showQuadrants(&window, QPoint(200, 150)));
    const QRect area = window.nativeRect();

    const Screenshot shot = shoot(area.x(), area.y(), area.width(), area.height());
    ASSERT_EQ(shot.image.size(), area.size());
    const Centres local(QRect(QPoint(0, 0), area.size()));
    EXPECT_EQ(pixel(shot, local.red.x(), local.red.y()), Red);
    EXPECT_EQ(pixel(shot, local.green.x(), local.green.y()), Green);
    EXPECT_EQ(pixel(shot, local.blue.x(), local.blue.y()), Blue);
    EXPECT_EQ(pixel(shot, local.yellow.x(), local.yellow.y()), Yellow);
    // The corner negated, and the screen's device pixels per logical one.
    EXPECT_EQ(shot.transform, QTransform::fromTranslate(-area.x(), -area.y()));
    EXPECT_EQ(shot.density, QGuiApplication::primaryScreen()->devicePixelRatio());
}

TEST_F(X11Capture, TheWholeDesktopAndItsVariants)
{
    Quadrants window;
    ASSERT_TRUE(showQuadrants(&window, QPoint(300, 200)));
    const QRect area = window.nativeRect();
    const Centres at(area);
    const QRect box = desktop();

    const Screenshot full = shootDesktop();
    ASSERT_EQ(full.image.size(), box.size());
    EXPECT_EQ(full.transform, QTransform::fromTranslate(box.x(), box.y()));
    EXPECT_EQ(pixel(full, at.green.x(), at.green.y()), Green);
    EXPECT_EQ(pixel(full, at.yellow.x(), at.yellow.y()), Yellow);

    // No size at all: the desktop's size from the rectangle's corner, black
    // beyond the screen.
    const Screenshot fromCorner = shoot(area.x(), area.y(), 0, 0);
    ASSERT_EQ(fromCorner.image.size(), box.size());
    EXPECT_EQ(pixel(fromCorner, area.width() / 4, area.height() / 4), Red);
    EXPECT_EQ(pixel(fromCorner, box.width() - 1, box.height() - 1), Black);
    EXPECT_EQ(fromCorner.transform, QTransform::fromTranslate(-area.x(), -area.y()));

    // Partly off the screen: the part beyond is black.
    const Screenshot edge = shoot(box.width() - 50, 0, 100, 10);
    ASSERT_EQ(edge.image.size(), QSize(100, 10));
    EXPECT_EQ(pixel(edge, 75, 5), Black);

    EXPECT_EQ(native()->desktopScreenshot(Rect<1>(0, 0, 0, 5), -1).error,
              QStringLiteral("WinNativeInterface::desktopScreenshot: Failed to take screenshot: "
                             "The area 0x5 is empty"));
}

TEST_F(X11Capture, PicturesKeptAtOnceAndOnAnotherThreadStayIntact)
{
    Quadrants window;
    ASSERT_TRUE(showQuadrants(&window, QPoint(100, 300)));
    const Centres at(window.nativeRect());

    // More pictures held at once than segments are kept for reuse.
    std::vector<Screenshot> kept;
    for (int i = 0; i < 6; ++i)
        kept.push_back(shootDesktop());
    for (const Screenshot &shot : kept) {
        EXPECT_EQ(pixel(shot, at.red.x(), at.red.y()), Red);
        EXPECT_EQ(pixel(shot, at.blue.x(), at.blue.y()), Blue);
    }
    kept.clear();

    // Taken on another thread and let go of on this one, after the copy
    // that took them is gone.
    std::vector<Screenshot> fromThread;
    std::thread worker([&] {
        std::unique_ptr<NativeInterface> copy(native()->threadSafeCopy());
        for (int i = 0; i < 5; ++i)
            fromThread.push_back(copy->desktopScreenshot(Rect<1>(), -1).value);
    });
    worker.join();
    ASSERT_EQ(fromThread.size(), 5u);
    for (const Screenshot &shot : fromThread)
        EXPECT_EQ(pixel(shot, at.yellow.x(), at.yellow.y()), Yellow);
}

TEST_F(X11Capture, TwoMonitorsMakeOneDesktop)
{
    const QRect root = desktop();
    ASSERT_GE(root.width(), 1200);
    const int half = root.width() / 2;
    // 400 by 100 device pixels across the middle, whatever Qt's scale.
    const qreal ratio = QGuiApplication::primaryScreen()->devicePixelRatio();
    Quadrants window;
    window.resize(qRound(400 / ratio), qRound(100 / ratio));
    ASSERT_TRUE(showQuadrants(&window, QPoint(qRound((half - 200) / ratio), qRound(300 / ratio))));
    const QRect area = window.nativeRect();
    ASSERT_LT(area.left(), half);
    ASSERT_GT(area.right(), half);
    const Centres at(area);
    {
        // Side by side, the window across the border between them.
        XTestDisplay::Monitors monitors(
            {{0, 0, half, root.height()}, {half, 0, root.width() - half, root.height()}});
        ASSERT_EQ(XTestDisplay::Monitors::current().size(), 2u);
        const Screenshot full = shootDesktop();
        ASSERT_EQ(full.image.size(), root.size());
        EXPECT_EQ(pixel(full, at.red.x(), at.red.y()), Red);
        EXPECT_EQ(pixel(full, at.green.x(), at.green.y()), Green);
        const Screenshot across = shoot(area.x(), area.y(), area.width(), area.height());
        EXPECT_EQ(pixel(across, area.width() / 4, area.height() / 4), Red);
        EXPECT_EQ(pixel(across, 3 * area.width() / 4, 3 * area.height() / 4), Yellow);
    }
    {
        // The right monitor shows only the upper half: the lower right of
        // the desktop is on no monitor and comes out black.
        XTestDisplay::Monitors monitors(
            {{0, 0, half, root.height()}, {half, 0, root.width() - half, root.height() / 2}});
        const Screenshot full = shootDesktop();
        ASSERT_EQ(full.image.size(), root.size());
        EXPECT_EQ(pixel(full, at.red.x(), at.red.y()), Red);
        EXPECT_EQ(pixel(full, root.width() - 1, root.height() - 1), Black);
        EXPECT_EQ(pixel(full, half + 10, root.height() / 2 + 10), Black);
    }
}
