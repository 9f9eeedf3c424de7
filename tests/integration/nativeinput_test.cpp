// The remote functions of native input over TCP into a real Qt Widgets AUT
// on a real X display: what the server sends must arrive in the widgets, and
// what the AUT captures must hold the pixels it painted.
#include "autsession.h"
#include "eventloop.h"
#include "screenshot.h"

#include <QImage>
#include <QRegularExpression>

#include <gtest/gtest.h>

namespace {

using namespace Tolvex;
using TestSupport::AUTSession;
using TestSupport::waitUntil;

struct Box
{
    int x = 0, y = 0, w = 0, h = 0;
    int cx() const { return x + w / 2; }
    int cy() const { return y + h / 2; }
};

class NativeInputTest : public ::testing::Test, protected AUTSession
{
protected:
    NativeInputTest() : AUTSession(QStringLiteral(GUIAUT_PATH)) {}

    void SetUp() override
    {
        if (qEnvironmentVariableIsEmpty("DISPLAY"))
            GTEST_FAIL() << "These tests need an X display (DISPLAY)";
        ASSERT_TRUE(start());
        launcher.setEnvironmentValue(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
        launcher.setEnvironmentValue(QStringLiteral("TOLVEX_PREFIX"),
                                     QStringLiteral(TOLVEX_BUILD_PREFIX));
        ASSERT_TRUE(launch());
        // Without a wrapper the agent asks for no descriptors: it has hooked up
        // when it says so, and waits for initDone.
        ASSERT_TRUE(waitForMessage(QStringLiteral("subprocessHooked"))) << qPrintable(output());
        ASSERT_GE(server.initDone(), 0);
        ASSERT_TRUE(waitForOutput(QStringLiteral("geometry block"))) << qPrintable(output());
        ASSERT_TRUE(output().contains(QStringLiteral("plug-in xlib"))) << qPrintable(output());
        button = geometryOf(QStringLiteral("button"));
        edit = geometryOf(QStringLiteral("edit"));
        block = geometryOf(QStringLiteral("block"));
    }
    void TearDown() override { end(); }

    Box geometryOf(const QString &name) const
    {
        const QRegularExpression line(
            QStringLiteral("geometry %1 (-?\\d+) (-?\\d+) (\\d+) (\\d+)").arg(name));
        const QRegularExpressionMatch m = line.match(output());
        return m.hasMatch() ? Box{m.captured(1).toInt(), m.captured(2).toInt(),
                                  m.captured(3).toInt(), m.captured(4).toInt()}
                            : Box{};
    }

    QVariant answer(const char *function, const ArgumentList &args)
    {
        const FunctionCallResult<ArgumentList> r = call(QString::fromLatin1(function), args);
        EXPECT_TRUE(r.isSuccess()) << function << ": " << qPrintable(r.error);
        return r.value.value(0);
    }

    // Clicks into the line edit, so that it has the keyboard. A press goes
    // where the pointer is, whatever point it names.
    void focusEdit()
    {
        EXPECT_EQ(answer("rawMouseEvent", {1, edit.cx(), edit.cy(), 0, 0}), QVariant(true));
        EXPECT_EQ(answer("rawMouseEvent", {2, edit.cx(), edit.cy(), 1, 0}), QVariant(true));
        EXPECT_EQ(answer("rawMouseEvent", {3, edit.cx(), edit.cy(), 1, 0}), QVariant(true));
    }

    Box button, edit, block;
};

} // namespace

TEST_F(NativeInputTest, RawMouseAndMousePressClickTheRealButton)
{
    ASSERT_GT(button.w, 0);
    EXPECT_EQ(answer("rawMouseEvent", {1, button.cx(), button.cy(), 0, 0}), QVariant(true));
    EXPECT_EQ(answer("rawMouseEvent", {2, button.cx(), button.cy(), 1, 0}), QVariant(true));
    EXPECT_EQ(answer("rawMouseEvent", {3, button.cx(), button.cy(), 1, 0}), QVariant(true));
    EXPECT_TRUE(waitForMessage(QStringLiteral("clicked"))) << qPrintable(output());

    // A press and a release of the primary button at a screen position.
    EXPECT_TRUE(answer("mousePress", {0, 8, button.cx(), button.cy(), 0, 0, true, true}).toBool());
    EXPECT_TRUE(answer("mousePress", {0, 8, button.cx(), button.cy(), 0, 0, true, false}).toBool());
    EXPECT_TRUE(
        waitUntil([&] { return messagesNamed(QStringLiteral("clicked")).size() == 2; }, WaitMs))
        << qPrintable(output());

    EXPECT_EQ(answer("rawMouseEvent", {2, 1, 1, 9, 0}),
              QVariant(QStringLiteral("Invalid button value 9")));
    EXPECT_EQ(answer("rawMouseEvent", {1, 1}),
              QVariant(QStringLiteral("Hook::handleCall: F_RawMouseEvent: wrong number of "
                                      "arguments")));
}

TEST_F(NativeInputTest, KeysTypedRemotelyArriveInTheLineEdit)
{
    focusEdit();
    // Printable ASCII goes by its key, as on a plain keyboard (so lower
    // case); anything else as the character itself.
    const QString text = QStringLiteral("hi äéß€ 漢字");
    for (const QChar c : text) {
        const QString key = c == QLatin1Char(' ') ? QStringLiteral("<Space>") : QString(c);
        for (bool press : {true, false})
            EXPECT_TRUE(answer("keyPress", {key, press}).toBool()) << qPrintable(key);
    }
    for (bool press : {true, false})
        EXPECT_TRUE(answer("keyPress", {QStringLiteral("<Return>"), press}).toBool());
    EXPECT_TRUE(waitForOutput(QStringLiteral("text ") + text)) << qPrintable(output());

    // A key code of the scan code set: Return is 0x1C.
    focusEdit();
    for (bool press : {true, false})
        EXPECT_EQ(answer("rawKeycodeEvent", {0x1C, 0, 1, press}), QVariant(true));
    EXPECT_TRUE(
        waitUntil([&] { return output().count(QStringLiteral("text ") + text) == 2; }, WaitMs))
        << qPrintable(output());

    // Keys as the raw event names them, without brackets: the key of "!"
    // at the end, which without Shift held is "1", then Return.
    for (const char *key : {"End", "!", "Return"})
        for (bool press : {true, false})
            EXPECT_EQ(answer("rawKeyEvent", {QString::fromLatin1(key), press}), QVariant(true))
                << key;
    EXPECT_TRUE(waitForOutput(QStringLiteral("text ") + text + QLatin1Char('1')))
        << qPrintable(output());

    EXPECT_FALSE(answer("keyPress", {QStringLiteral("<Return"), true}).toBool());
    EXPECT_EQ(answer("getLastError", {}),
              QVariant(QStringLiteral(
                  "Single character or special key between angular brackets expected")));
}

TEST_F(NativeInputTest, WheelCapabilitiesTouchAndScreenshotsOfTheRealDisplay)
{
    EXPECT_EQ(answer("rawMouseEvent", {1, block.cx(), block.cy(), 0, 0}), QVariant(true));
    EXPECT_EQ(answer("rawScrollEvent", {-2}), QVariant(true));
    EXPECT_TRUE(waitUntil([&] { return output().count(QStringLiteral("wheel ")) == 2; }, WaitMs))
        << qPrintable(output());
    EXPECT_TRUE(output().contains(QStringLiteral("wheel -120"))) << qPrintable(output());

    const QStringList capabilities = answer("nativeCapabilities", {}).toStringList();
    EXPECT_TRUE(capabilities.contains(QStringLiteral("KeycodeSupport")));
    const QVariant touched = answer("rawTouchEvent", {0, block.cx(), block.cy(), 1, 1, 0});
    if (capabilities.contains(QStringLiteral("TouchSupport")))
        EXPECT_EQ(touched, QVariant(true));
    else
        EXPECT_NE(touched.toString(), QString()) << "a refusal says why";
    EXPECT_TRUE(answer("getExtraKeys", {0}).canConvert<QVariantMap>());

    const Screenshot shot = Screenshot::fromVariant(answer("rawScreenshot", {0}));
    ASSERT_FALSE(shot.image.isNull());
    // The image maps back to the screen: the block's centre holds its colour.
    const QPoint inImage = shot.transform.inverted().map(QPoint(block.cx(), block.cy()));
    EXPECT_EQ(QColor(shot.image.pixel(inImage)), QColor(20, 200, 60));
}
