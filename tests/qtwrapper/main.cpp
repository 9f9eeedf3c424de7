#include <gtest/gtest.h>

#include "qtwrappertest.h"

#include <QApplication>
#ifdef TOLVEXQT_HAVE_QUICK
#include <QQuickWindow>
#endif

// Both test programs of the wrapper start here. Those that need no real
// display run on the offscreen platform; those that drive real widgets of
// this process through the X11 plug-in of this build run on xcb, whatever
// platform the rest of the run uses (TOLVEX_BUILD_DIR says where the
// plug-in is). Listing the tests needs neither.
int main(int argc, char **argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    if (GTEST_FLAG_GET(list_tests))
        return RUN_ALL_TESTS();
#ifdef TOLVEX_BUILD_DIR
    qputenv("QT_QPA_PLATFORM", "xcb");
    qputenv("TOLVEX_PREFIX", TOLVEX_BUILD_DIR);
#else
    qputenv("QT_QPA_PLATFORM", "offscreen");
#endif
#ifdef TOLVEXQT_HAVE_QUICK
    // Quick scenes drawn in this thread by the software renderer, as on
    // machines without a GPU.
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
#endif
    QApplication app(argc, argv);
    // Made at the start, as the start-up hook makes it.
    QtWrapperTest::wrapper();
    return RUN_ALL_TESTS();
}
