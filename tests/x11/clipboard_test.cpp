#include "x11testsupport.h"
#include "xtestdisplay.h"

#include <gtest/gtest.h>

#include <QClipboard>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QProcess>

#include <chrono>
#include <thread>

using namespace Tolvex;
using X11Test::native;

namespace {

// Another X client's view of the CLIPBOARD selection, read while this
// process's event loop runs to serve it.
QString readByAnotherClient()
{
    QProcess xclip;
    xclip.start(QStringLiteral("xclip"),
                {QStringLiteral("-o"), QStringLiteral("-selection"), QStringLiteral("clipboard")});
    TestSupport::waitUntil([&] { return xclip.state() == QProcess::NotRunning; }, 10000);
    return QString::fromUtf8(xclip.readAllStandardOutput());
}

} // namespace

class X11Clipboard : public X11Test::PluginTest
{
};

TEST_F(X11Clipboard, TextRoundTripsThroughTheXSelection)
{
    QWidget window;
    ASSERT_TRUE(X11Test::showActive(&window));

    const QString text = QStringLiteral("Gr\u00FC\u00DFe \u20AC \u4E2D\U0001F680 and more");
    ASSERT_TRUE(native()->setClipboardText(text).isSuccess());
    EXPECT_EQ(QGuiApplication::clipboard()->text(QClipboard::Clipboard), text);
    EXPECT_EQ(readByAnotherClient(), text) << "xclip must be installed";
    const unsigned long ours = XTestDisplay::clipboardOwner();
    ASSERT_NE(ours, 0u);

    // Another client takes the clipboard while this process reads no
    // events, so Qt's idea of the time stays behind the other's claim.
    const QString other = QStringLiteral("from another client \u00E4");
    QProcess xclip;
    xclip.start(QStringLiteral("xclip"),
                {QStringLiteral("-i"), QStringLiteral("-selection"), QStringLiteral("clipboard")});
    ASSERT_TRUE(xclip.waitForStarted());
    xclip.write(other.toUtf8());
    xclip.waitForBytesWritten();
    xclip.closeWriteChannel();
    QElapsedTimer waited;
    waited.start();
    while (XTestDisplay::clipboardOwner() == ours && waited.elapsed() < 10000)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    ASSERT_NE(XTestDisplay::clipboardOwner(), ours);

    // Taken back all the same, and read back.
    ASSERT_TRUE(native()->setClipboardText(QStringLiteral("taken back")).isSuccess());
    EXPECT_EQ(XTestDisplay::clipboardOwner(), ours);
    EXPECT_TRUE(TestSupport::waitUntil([&] { return xclip.state() == QProcess::NotRunning; }));
    EXPECT_EQ(readByAnotherClient(), QStringLiteral("taken back"));

    // Set by another client, read through the interface.
    QProcess again;
    again.start(QStringLiteral("xclip"),
                {QStringLiteral("-i"), QStringLiteral("-selection"), QStringLiteral("clipboard")});
    ASSERT_TRUE(again.waitForStarted());
    again.write(other.toUtf8());
    again.closeWriteChannel();
    EXPECT_TRUE(
        TestSupport::waitUntil([&] { return native()->getClipboardText().value == other; }, 10000))
        << qPrintable(native()->getClipboardText().value);
    again.kill();
    again.waitForFinished();
}
