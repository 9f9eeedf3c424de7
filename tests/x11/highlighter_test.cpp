#include "privatexserver.h"
#include "widgethighlighter.h"
#include "x11testsupport.h"
#include "xtestdisplay.h"

#include <gtest/gtest.h>

#include <QColor>
#include <QProcess>

#include <memory>

using namespace Tolvex;
using X11Test::EventRecorder;
using X11Test::native;
using X11Test::showActive;

namespace {

constexpr QRgb Blue = 0xFF0000FF;
constexpr QRgb PaleYellow = 0xFFFFFF97;

QRgb pixelAt(QPoint p)
{
    const FunctionCallResult<Screenshot> shot =
        native()->desktopScreenshot(Rect<1>(p.x(), p.y(), 1, 1), -1);
    return shot.isSuccess() ? shot.value.image.pixel(0, 0) | 0xFF000000 : 0;
}

// Red laid over blue, by blending or by covering.
bool redOverBlue(QRgb rgb)
{
    const QColor c(rgb);
    return rgb != Blue && c.red() >= 100 && c.red() > c.green() + 50;
}

Rect<1> nativeRect(const QRect &r)
{
    return Rect<1>(r.x(), r.y(), r.width(), r.height());
}

} // namespace

class X11Highlighter : public X11Test::PluginTest
{
};

TEST_F(X11Highlighter, ShowsOverAWindowTakesNoInputAndGoesAway)
{
    QWidget window;
    window.setWindowFlags(Qt::FramelessWindowHint);
    window.setAutoFillBackground(true);
    QPalette palette = window.palette();
    palette.setColor(QPalette::Window, QColor(Blue));
    window.setPalette(palette);
    window.resize(300, 200);
    EventRecorder recorder(&window);
    ASSERT_TRUE(showActive(&window, QPoint(300, 300)));
    const Point<1> corner = X11Test::nativePoint(&window, QPoint(0, 0));
    const Point<1> centre = X11Test::nativeCentre(&window);
    ASSERT_TRUE(TestSupport::waitUntil([&] { return pixelAt({centre.x, centre.y}) == Blue; }));

    WidgetHighlighter *highlighter = X11Test::plugin()->widgetHighlighter();
    const QRect marked(corner.x + 20, corner.y + 20, 200, 120);
    const QPoint edge(marked.x() + 1, marked.center().y());
    highlighter->setGeometry(nativeRect(marked));
    EXPECT_FALSE(highlighter->isVisible());
    highlighter->show();
    EXPECT_TRUE(highlighter->isVisible());
    ASSERT_TRUE(TestSupport::waitUntil([&] { return redOverBlue(pixelAt(edge)); }))
        << std::hex << pixelAt(edge);
    EXPECT_EQ(pixelAt(marked.topLeft() - QPoint(2, 2)), Blue) << "nothing outside";

    // A click on the rectangle reaches the window below it.
    ASSERT_TRUE(
        native()->pointerClick(MouseButton::Left, Point<1>(edge.x(), edge.y()), 0, 1).isSuccess());
    ASSERT_TRUE(TestSupport::waitUntil(
        [&] { return recorder.ofType(QEvent::MouseButtonRelease).size() == 1; }));

    // The tooltip sits at the pointer plus (15, 15): a black border around
    // pale yellow.
    highlighter->setToolTip(QStringLiteral("QPushButton \"Close\""));
    highlighter->updateToolTip();
    const QPoint tip = edge + QPoint(15, 15);
    ASSERT_TRUE(TestSupport::waitUntil([&] { return pixelAt(tip + QPoint(2, 2)) == PaleYellow; }))
        << std::hex << pixelAt(tip + QPoint(2, 2));
    EXPECT_EQ(pixelAt(tip), 0xFF000000u);
    EXPECT_NE(pixelAt(tip - QPoint(1, 1)), PaleYellow);

    // An empty tip hides the tooltip only.
    highlighter->setToolTip(QString());
    ASSERT_TRUE(TestSupport::waitUntil([&] { return pixelAt(tip + QPoint(2, 2)) == Blue; }))
        << std::hex << pixelAt(tip + QPoint(2, 2));
    EXPECT_TRUE(highlighter->isVisible());
    EXPECT_TRUE(redOverBlue(pixelAt(edge)));

    // Hidden, it leaves the window as it was.
    highlighter->setToolTip(QStringLiteral("again"));
    highlighter->hide();
    EXPECT_FALSE(highlighter->isVisible());
    EXPECT_TRUE(TestSupport::waitUntil(
        [&] { return pixelAt(edge) == Blue && pixelAt(tip + QPoint(2, 2)) == Blue; }));
}

TEST_F(X11Highlighter, IsTranslucentUnderACompositingManager)
{
    // A display of its own, with a compositing manager on it.
    TestSupport::PrivateXServer server;
    ASSERT_TRUE(server.start(QStringLiteral("640x480x24")));
    const QByteArray name = server.display().toLatin1();
    XTestDisplay::Connection *connection = XTestDisplay::open(name.constData());
    ASSERT_NE(connection, nullptr);

    QProcess compositor;
    compositor.setProcessEnvironment(server.environment());
    compositor.start(QStringLiteral("xcompmgr"), {});
    ASSERT_TRUE(compositor.waitForStarted()) << "xcompmgr must be installed";
    ASSERT_TRUE(TestSupport::waitUntil([&] { return XTestDisplay::compositorRunning(*connection); },
                                       10000));

    XTestDisplay::createColourWindow(*connection, 100, 100, 200, 200, 0x0000FF);
    {
        const std::unique_ptr<PlatformPlugin> plugin(createX11PlatformPlugin(name.constData()));
        ASSERT_EQ(plugin->name(), QStringLiteral("xlib"));
        WidgetHighlighter *highlighter = plugin->widgetHighlighter();
        highlighter->setGeometry(Rect<1>(150, 150, 100, 100));
        highlighter->show();
        // Half red over blue, all over the rectangle, not only its edge.
        const auto blended = [&] {
            const QColor c(XTestDisplay::rootPixel(*connection, 200, 200));
            return c.red() > 100 && c.red() < 160 && c.blue() > 100 && c.blue() < 160 &&
                   c.green() < 20;
        };
        EXPECT_TRUE(TestSupport::waitUntil(blended, 5000))
            << std::hex << XTestDisplay::rootPixel(*connection, 200, 200);
        highlighter->hide();
        EXPECT_TRUE(TestSupport::waitUntil(
            [&] { return XTestDisplay::rootPixel(*connection, 200, 200) == 0x0000FFu; }, 5000));
    }
    XTestDisplay::close(connection);
    compositor.terminate();
    compositor.waitForFinished();
}
