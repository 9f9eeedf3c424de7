#include <gtest/gtest.h>

#include <QApplication>

// Leaks of the libraries under Qt's X11 platform that the tests cannot
// avoid: D-Bus keeps what it allocated for a session bus that the test's
// X server runs without. Read by LeakSanitizer where it is linked in.
extern "C" const char *__lsan_default_suppressions()
{
    return "leak:libdbus-1.so\n";
}

extern "C" const char *__lsan_default_options()
{
    return "print_suppressions=0";
}

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
