#include "widgethighlighter.h"
#include "x11testsupport.h"

#include <gtest/gtest.h>

#include <QString>

#include <memory>
#include <thread>

using namespace Tolvex;
using X11Test::native;
using X11Test::plugin;

class X11Plugin : public X11Test::PluginTest
{
};

TEST_F(X11Plugin, LoadsByNameAndOffersItsParts)
{
    PlatformPlugin *loaded = plugin();
    ASSERT_NE(loaded, nullptr);
    EXPECT_EQ(loaded->name(), QStringLiteral("xlib"));
    ASSERT_NE(loaded->nativeInterface(), nullptr);

    WidgetHighlighter *highlighter = loaded->widgetHighlighter();
    ASSERT_NE(highlighter, nullptr);
    EXPECT_EQ(loaded->widgetHighlighter(), highlighter) << "made once, then kept";
    EXPECT_FALSE(highlighter->isVisible());

    const FunctionCallResult<WindowManager *> manager = loaded->windowManager();
    EXPECT_EQ(manager.value, nullptr);
    EXPECT_TRUE(manager.isSuccess());

    // Keycodes yes; touch no, since the X server takes none.
    EXPECT_EQ(loaded->nativeInterface()->getCapabilities(),
              QList<QString>{NativeInterface::capKeycodeSupport});
}

TEST_F(X11Plugin, ADisplayThatCannotBeOpenedGivesANullPluginWithTheReason)
{
    const std::unique_ptr<PlatformPlugin> missing(createX11PlatformPlugin(":987"));
    ASSERT_NE(missing, nullptr);
    EXPECT_EQ(missing->name(), QStringLiteral("null"));
    EXPECT_EQ(missing->nativeInterface()->pointerPosition().error,
              QStringLiteral("Cannot open X display ':987'"));

    // By name, through the loader as a wrapper does, the display of $DISPLAY.
    const std::unique_ptr<PlatformPlugin> byName(
        createX11PlatformPlugin(qgetenv("DISPLAY").constData()));
    ASSERT_NE(byName, nullptr);
    EXPECT_EQ(byName->name(), QStringLiteral("xlib"));
    EXPECT_TRUE(byName->nativeInterface()->pointerPosition().isSuccess());
}

TEST_F(X11Plugin, AThreadSafeCopyWorksOnAnotherThread)
{
    std::unique_ptr<NativeInterface> copy(native()->threadSafeCopy());
    ASSERT_NE(copy, nullptr);
    FunctionCallResult<void> moved;
    FunctionCallResult<Point<1>> position;
    std::thread worker([&] {
        moved = copy->pointerMove(Point<1>(123, 45));
        position = copy->pointerPosition();
    });
    worker.join();
    EXPECT_TRUE(moved.isSuccess()) << qPrintable(moved.error);
    ASSERT_TRUE(position.isSuccess()) << qPrintable(position.error);
    EXPECT_EQ(position.value.x, 123);
    EXPECT_EQ(position.value.y, 45);
    // The copy has a connection of its own: the original still works after
    // the copy is gone.
    copy.reset();
    EXPECT_TRUE(native()->pointerPosition().isSuccess());
}
