#include <gtest/gtest.h>

#include <QApplication>

// The tests drive real widgets of this process through the X server, so
// they need a QApplication on xcb, whatever platform the rest of the run
// uses, and the plug-in of this build. Listing the tests needs neither.
int main(int argc, char **argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    if (GTEST_FLAG_GET(list_tests))
        return RUN_ALL_TESTS();
    qputenv("QT_QPA_PLATFORM", "xcb");
    qputenv("TOLVEX_PREFIX", TOLVEX_BUILD_DIR);
    QApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
