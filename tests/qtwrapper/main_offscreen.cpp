#include <gtest/gtest.h>

#include "qtwrappertest.h"

#include <QApplication>
#ifdef TOLVEXQT_HAVE_QUICK
#include <QQuickWindow>
#endif

// The wrapper's tests that need no real display: widgets and Quick scenes
// on the offscreen platform, Quick drawn by its software renderer.
int main(int argc, char **argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    if (GTEST_FLAG_GET(list_tests))
        return RUN_ALL_TESTS();
    qputenv("QT_QPA_PLATFORM", "offscreen");
#ifdef TOLVEXQT_HAVE_QUICK
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
#endif
    QApplication app(argc, argv);
    // Made at the start, as the start-up hook makes it.
    QtWrapperTest::wrapper();
    return RUN_ALL_TESTS();
}
