// The remote functions of native input and the wrapper's pointer operations,
// in a Hook without a server whose plug-in writes down what it is asked.
#include "autprocess.h"
#include "clogcapture.h"
#include "delegatefactory.h"
#include "hook.h"
#include "inspector.h"
#include "nodetoolkit.h"
#include "objecthandles.h"
#include "recordingnative.h"
#include "screenpoint.h"
#include "screenrectangle.h"
#include "wrapper.h"

#include <gtest/gtest.h>

using namespace Tolvex;
using TestPlatform::RecordingPlugin;

namespace {

class OwningWrapper : public Wrapper
{
public:
    QString wrapperName() const override { return QStringLiteral("owning"); }
    bool ownsObject(SharedPtr<Object> object) const override
    {
        return object && object->className() == QLatin1String("LookupNode");
    }
    bool isObjectReady(SharedPtr<Object>) override { return true; }
    void spyModeChanged(bool) override {}
    void recordingStopped() override {}
};

// Every node lies at (100, 200), 10 by 20.
class NodeGeometry : public GeometryDelegate
{
public:
    NodeGeometry() : GeometryDelegate(QStringLiteral("LookupNode")) {}
    Rect<2> globalBounds(SharedPtr<Object>) const override { return Rect<2>(100, 200, 10, 20); }
    bool isVisible(SharedPtr<Object>) const override { return true; }
    SharedPtr<Object> window(SharedPtr<Object>) const override { return nullptr; }
};

class NativeCalls : public ::testing::Test
{
protected:
    void SetUp() override
    {
        qunsetenv("TOLVEX_RUNNERID");
        hook =
            Hook::connectAndCreateHook(&wrapper, new AUTProcess, withPlugin ? &plugin : nullptr, 0);
        ASSERT_NE(hook, nullptr);
        Inspector::self()->lastError();
    }
    void TearDown() override { hook->deleteHook(); }

    QVariant call(const char *name, const ArgumentList &args)
    {
        return hook->handleCall(0, QString::fromLatin1(name), args);
    }
    FunctionCallResult<ArgumentList> asyncCall(const char *name, const ArgumentList &args)
    {
        struct Catch : ResponseListener<ArgumentList>
        {
            FunctionCallResult<ArgumentList> result;
            void response(FunctionCallResult<ArgumentList> r) override { result = std::move(r); }
        } listener;
        hook->handleCall(0, QString::fromLatin1(name), args, &listener);
        return listener.result;
    }
    // mousePress with everything given but what flags leaves out.
    bool mousePress(int objectId, int flags, int x, int y, int button, int modifiers, bool action,
                    bool press)
    {
        return call("mousePress", {objectId, flags, x, y, button, modifiers, action, press})
            .toBool();
    }
    int handle(const SharedPtr<Object> &object)
    {
        return hook->objectHandles().objectToVariant(object).toString().section(',', 0, 0).toInt();
    }
    QStringList &calls() { return plugin.native.calls; }

    bool withPlugin = true;
    OwningWrapper wrapper;
    RecordingPlugin plugin;
    Hook *hook = nullptr;
};

class WithoutPlugin : public NativeCalls
{
protected:
    WithoutPlugin() { withPlugin = false; }
};

} // namespace

TEST_F(WithoutPlugin, EveryNativeCallSaysThatThereIsNoPlugin)
{
    const QVariant noPlugin(QStringLiteral("Platform plugin not set"));
    EXPECT_EQ(call("rawMouseEvent", {1, 5, 5, 1, 0}), noPlugin);
    EXPECT_EQ(call("rawScrollEvent", {1}), noPlugin);
    EXPECT_EQ(call("rawKeycodeEvent", {28, 0, 1, true}), noPlugin);
    EXPECT_EQ(call("rawKeyEvent", {QStringLiteral("a"), true}), noPlugin);
    EXPECT_EQ(call("rawTouchEvent", {0, 1, 1, 1, 1, 0}), noPlugin);
    EXPECT_EQ(asyncCall("rawScreenshot", {0}).error, noPlugin.toString());
    EXPECT_EQ(asyncCall("getExtraKeys", {0}).error,
              QStringLiteral("Hook::handleCall: Platform plugin not set"));
    EXPECT_TRUE(call("nativeCapabilities", {}).toStringList().isEmpty());
    EXPECT_FALSE(call("keyPress", {QStringLiteral("a"), true}).toBool());
    EXPECT_EQ(Inspector::self()->lastError(), noPlugin.toString());
    EXPECT_EQ(hook->nativeInterface(), nullptr);
}

TEST_F(NativeCalls, RawEventsReachThePlatformAndAnswerTrueOrItsWords)
{
    EXPECT_EQ(call("rawMouseEvent", {1, 10, 20, 0, 0}), QVariant(true));
    EXPECT_EQ(call("rawMouseEvent", {2, 10, 20, 3, 0}), QVariant(true));
    EXPECT_EQ(call("rawMouseEvent", {3, 10, 20, 4, 0}), QVariant(true));
    EXPECT_EQ(call("rawMouseEvent", {2, 10, 20, 9, 0}),
              QVariant(QStringLiteral("Invalid button value 9")));
    EXPECT_EQ(call("rawMouseEvent", {7, 10, 20, 1, 0}),
              QVariant(QStringLiteral("Unsupported raw mouse event type")));
    EXPECT_EQ(call("rawScrollEvent", {-2}), QVariant(true));
    EXPECT_EQ(call("rawKeycodeEvent", {28, 0, 1, false}), QVariant(true));
    EXPECT_EQ(call("rawKeyEvent", {QStringLiteral("Return"), true}), QVariant(true));
    EXPECT_EQ(call("rawTouchEvent", {0, 5, 6, 2, 2, 0}), QVariant(true));
    EXPECT_EQ(calls(), (QStringList{"move 10,20", "button 4 down 1", "button 64 up 1", "wheel -2",
                                    "keycode 28 0 1 0", "key Return down", "touch 0 5,6"}));
    plugin.native.failing = {QStringLiteral("wheel 1")};
    EXPECT_EQ(call("rawScrollEvent", {1}), QVariant(QStringLiteral("failed: wheel 1")));

    EXPECT_EQ(call("nativeCapabilities", {}).toStringList(),
              QStringList{QStringLiteral("KeycodeSupport")});
    const FunctionCallResult<ArgumentList> keys = asyncCall("getExtraKeys", {QStringLiteral("x")});
    ASSERT_TRUE(keys.isSuccess());
    EXPECT_TRUE(keys.value.value(0).toMap().isEmpty());
    // The platform's screenshot error reaches the caller; this process has
    // no screen for Qt's own capture.
    EXPECT_EQ(asyncCall("rawScreenshot", {0}).error,
              QStringLiteral("WinNativeInterface::desktopScreenshot: Cannot take screenshot "
                             "without a primary QScreen"));
}

TEST_F(NativeCalls, KeyPressChecksItsKeyAndStripsTheBrackets)
{
    EXPECT_FALSE(call("keyPress", {QString(), true}).toBool());
    EXPECT_EQ(Inspector::self()->lastError(), QStringLiteral("Empty key press requested"));
    EXPECT_FALSE(call("keyPress", {QStringLiteral("ab"), true}).toBool());
    EXPECT_EQ(Inspector::self()->lastError(),
              QStringLiteral("Single character or special key between angular brackets expected"));
    EXPECT_TRUE(call("keyPress", {QStringLiteral("<Return>"), true}).toBool());
    EXPECT_TRUE(call("keyPress", {QStringLiteral("x"), false}).toBool());
    EXPECT_EQ(calls(), (QStringList{"key Return down", "key x up"}));
    plugin.native.failing = {QStringLiteral("key y down")};
    EXPECT_FALSE(call("keyPress", {QStringLiteral("y"), true}).toBool());
    EXPECT_EQ(Inspector::self()->lastError(), QStringLiteral("failed: key y down"));
}

TEST_F(NativeCalls, MousePressOnThePlainScreenOnScreenValuesAndOnObjects)
{
    // A position only: pressed where it says, with the primary button.
    EXPECT_TRUE(mousePress(0, 8, 10, 20, 0, 0, true, true));
    EXPECT_EQ(calls(), (QStringList{"move 10,20", "modifiers 0 down", "button 16 down 1"}));
    calls().clear();
    EXPECT_TRUE(mousePress(0, 8 | 4 | 2, 10, 20, 4, 0x180, true, false));
    EXPECT_EQ(calls(), (QStringList{"move 10,20", "button 4 up 1", "modifiers 3 up"}));
    EXPECT_FALSE(mousePress(0, 8 | 2, 10, 20, 0, 0x400, true, true));
    EXPECT_EQ(Inspector::self()->lastError(), QStringLiteral("Invalid keyboard modifier(s) 1024"));
    EXPECT_FALSE(mousePress(0, 0, 0, 0, 0, 0, false, false));
    EXPECT_EQ(Inspector::self()->lastError(), QStringLiteral("Overload not found"));

    // A screen rectangle's centre takes its vertical coordinate from x too.
    calls().clear();
    const int rect = handle(wrapScreenRectangle(ScreenRectangle{100, 50, 40, 20}));
    EXPECT_TRUE(mousePress(rect, 1, 0, 0, 0, 0, false, false));
    EXPECT_TRUE(mousePress(rect, 1 | 8, 3, 4, 0, 0, false, false));
    const int point = handle(wrapScreenPoint(ScreenPoint{7, 9}));
    EXPECT_TRUE(mousePress(point, 1 | 8, 1, 1, 0, 0, false, false));
    EXPECT_EQ(calls(), (QStringList{"move 120,110", "move 103,54", "move 8,10"}));
    const int empty = handle(wrapScreenRectangle(ScreenRectangle{0, 0, -1, 5}));
    EXPECT_FALSE(mousePress(empty, 1, 0, 0, 0, 0, false, false));
    EXPECT_EQ(Inspector::self()->lastError(), QStringLiteral("Invalid screen rectangle"));

    // Any other object goes to the wrapper that owns it.
    const int stray = handle(Inspector::self()->createPrimitive(5));
    EXPECT_FALSE(mousePress(stray, 1, 0, 0, 0, 0, true, true));
    EXPECT_EQ(Inspector::self()->lastError(),
              QStringLiteral("No wrapper claimed the object ownership"));

    NodeToolkit::Node node;
    node.name = QStringLiteral("button");
    NodeGeometry geometry;
    DelegateFactory::self()->addDelegate(&geometry);
    calls().clear();
    const int nodeId = handle(NodeToolkit::wrap(&node));
    EXPECT_TRUE(mousePress(nodeId, 1 | 2 | 4, 0, 0, 0, 0x100, true, true));
    EXPECT_TRUE(mousePress(nodeId, 1 | 2 | 4 | 8, 2, 3, 4, 0x100, true, false));
    // Centre, then an offset from the corner; the button 0 means left.
    EXPECT_EQ(calls(), (QStringList{"move 105,210", "modifiers 1 down", "button 1 down 1",
                                    "move 102,203", "button 4 up 1", "modifiers 1 up"}));
}

TEST_F(NativeCalls, AnimatedMovesGlideAlongTheLongerAxisAndStopShort)
{
    hook->setAnimateMouseMove(true);
    // The recording pointer stands at (3, 4).
    EXPECT_TRUE(mousePress(0, 8, 13, 44, 0, 0, false, false));
    QStringList moves = calls();
    ASSERT_EQ(moves.takeFirst(), QStringLiteral("position?"));
    ASSERT_FALSE(moves.isEmpty());
    int lastY = 3;
    for (const QString &move : moves) {
        const QStringList xy = move.section(' ', 1).split(',');
        const int x = xy[0].toInt();
        const int y = xy[1].toInt();
        EXPECT_GT(y, lastY) << qPrintable(move);
        EXPECT_LT(y, 44) << qPrintable(move);
        // The other axis follows at a quarter of the pace.
        EXPECT_EQ(x, 3 + (y - 4) * 10 / 40) << qPrintable(move);
        lastY = y;
    }
    plugin.native.failing = {QStringLiteral("position?")};
    EXPECT_FALSE(mousePress(0, 8, 13, 44, 0, 0, false, false));
}

TEST_F(NativeCalls, TheWrappersPointerOperationsGoThroughThePlugin)
{
    NodeToolkit::Node node;
    node.name = QStringLiteral("field");
    NodeGeometry geometry;
    DelegateFactory::self()->addDelegate(&geometry);
    const SharedPtr<Object> object = NodeToolkit::wrap(&node);

    const FunctionCallResult<Point<1>> moved = wrapper.pointerMove(object, Point<1>());
    EXPECT_EQ(moved.value, Point<1>(105, 210));
    EXPECT_TRUE(
        wrapper.doubleClick(object, Point<1>(1, 1), MouseButton::NoButton, 0x80).isSuccess());
    EXPECT_EQ(calls(),
              (QStringList{"move 105,210", "move 101,201", "modifiers 2 down", "button 1 down 1",
                           "move 101,201", "button 1 up 1", "modifiers 2 up", "move 101,201",
                           "modifiers 2 down", "button 1 down 2", "move 101,201", "button 1 up 2",
                           "modifiers 2 up"}));
    EXPECT_EQ(wrapper.pointerPress(object, Point<1>(), MouseButton::Left, 0x400, true, 1).error,
              QStringLiteral("Invalid keyboard modifier(s) 1024"));
}
