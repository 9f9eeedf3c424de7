#include <gtest/gtest.h>

#include "qtwrappertest.h"

#include <QApplication>
#ifdef TOLVEXQT_HAVE_QUICK
#include <QQuickWindow>
#endif

// The wrapper's tests that need a real X server: they drive real widgets
// of this process through the X11 plug-in of this build, whatever platform
// the rest of the run uses. Listing the tests needs neither.
int main(int argc, char **argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    if (GTEST_FLAG_GET(list_tests))
        return RUN_ALL_TESTS();
    qputenv("QT_QPA_PLATFORM", "xcb");
    qputenv("TOLVEX_PREFIX", TOLVEX_BUILD_DIR);
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
