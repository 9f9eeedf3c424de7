// The global functions scripts call without an object's class: the common
// click, clipboard and native functions, the window functions over a
// toolkit's delegate, and the screen functions, in a Hook without a server
// whose plug-in writes down what it is asked.
#include "autprocess.h"
#include "commonwrapperapi.h"
#include "hook.h"
#include "inspector.h"
#include "method.h"
#include "nodetoolkit.h"
#include "recordingnative.h"
#include "screen.h"
#include "screenpoint.h"
#include "screenrectangle.h"
#include "valuewrapping.h"

#include <gtest/gtest.h>

using namespace Tolvex;
using TestPlatform::RecordingPlugin;

namespace {

class GlobalFunctions : public ::testing::Test
{
protected:
    void SetUp() override
    {
        qunsetenv("TOLVEX_RUNNERID");
        hook =
            Hook::connectAndCreateHook(nullptr, new AUTProcess, withPlugin ? &plugin : nullptr, 0);
        ASSERT_NE(hook, nullptr);
        CommonWrapperAPI::registerTypes();
        CommonWrapperAPI::registerConsoleFunctions();
        CommonWrapperAPI::registerClipboardFunctions();
        CommonWrapperAPI::registerNativeFunctions();
        Inspector::self()->lastError();
    }
    void TearDown() override { hook->deleteHook(); }

    // A call as a script makes it: by name, the overload chosen by the
    // arguments. The Inspector's error comes back beside the result.
    SharedPtr<Object> call(const char *name, const ObjectList &args, QString *error = nullptr)
    {
        Inspector::self()->lastError();
        const MethodList methods =
            Inspector::self()->globalClass()->methods(QString::fromLatin1(name));
        bool found = false;
        SharedPtr<Object> result = methods.invoke(nullptr, args, &found);
        EXPECT_TRUE(found) << name << " with " << args.size() << " arguments";
        const QString text = Inspector::self()->lastError();
        if (error)
            *error = text;
        return result;
    }
    // The first overload, called directly as the wire's invoke does: with
    // arguments no overload would be chosen for.
    static QString errorOfFirst(const char *name, const ObjectList &args)
    {
        Inspector::self()->lastError();
        const MethodList methods =
            Inspector::self()->globalClass()->methods(QString::fromLatin1(name));
        EXPECT_FALSE(methods.at(0)->invoke(nullptr, args));
        return Inspector::self()->lastError();
    }
    static SharedPtr<Object> number(int n) { return Inspector::self()->createPrimitive(n); }
    static SharedPtr<Object> text(const char *s) { return Inspector::self()->createPrimitive(s); }
    static SharedPtr<Object> rectangle(int x, int y, int w, int h)
    {
        ScreenRectangle r;
        r.x = x;
        r.y = y;
        r.width = w;
        r.height = h;
        return wrapScreenRectangle(r);
    }
    static SharedPtr<Object> point(int x, int y)
    {
        ScreenPoint p;
        p.x = x;
        p.y = y;
        return wrapScreenPoint(p);
    }
    QStringList takeCalls() { return std::exchange(plugin.native.calls, {}); }

    bool withPlugin = true;
    RecordingPlugin plugin;
    Hook *hook = nullptr;
};

class GlobalFunctionsWithoutPlugin : public GlobalFunctions
{
protected:
    GlobalFunctionsWithoutPlugin() { withPlugin = false; }
};

// Window work on nodes, written down; "broken" nodes fail.
class NodeWindows : public WindowInteractionDelegate
{
public:
    NodeWindows() : WindowInteractionDelegate(QStringLiteral("LookupNode")) {}

    mutable QStringList calls;
    SharedPtr<Object> focused;

    FunctionCallResult<void> closeWindow(SharedPtr<Object> o) const override
    {
        return note(QStringLiteral("close"), o);
    }
    FunctionCallResult<void> maximizeWindow(SharedPtr<Object> o) const override
    {
        return note(QStringLiteral("maximize"), o);
    }
    FunctionCallResult<void> minimizeWindow(SharedPtr<Object> o) const override
    {
        return note(QStringLiteral("minimize"), o);
    }
    FunctionCallResult<void> moveWindow(SharedPtr<Object> o, int x, int y) const override
    {
        return note(QStringLiteral("move %1 %2").arg(x).arg(y), o);
    }
    FunctionCallResult<void> resizeWindow(SharedPtr<Object> o, int w, int h) const override
    {
        return note(QStringLiteral("resize %1 %2").arg(w).arg(h), o);
    }
    FunctionCallResult<void> restoreWindow(SharedPtr<Object> o) const override
    {
        return note(QStringLiteral("restore"), o);
    }
    FunctionCallResult<void> setFullscreenWindow(SharedPtr<Object> o, bool on) const override
    {
        return note(QStringLiteral("fullscreen %1").arg(on), o);
    }
    FunctionCallResult<SharedPtr<Object>> focusedWindow() const override { return focused; }
    FunctionCallResult<Rect<2>> windowGeometry(SharedPtr<Object>) const override
    {
        return Rect<2>(5, 6, 70, 80);
    }

private:
    FunctionCallResult<void> note(const QString &what, const SharedPtr<Object> &o) const
    {
        calls.append(what);
        if (NodeToolkit::nodeOf(o)->name == QLatin1String("broken"))
            return FunctionCallResult<void>::failure(QStringLiteral("the window is gone"));
        return {};
    }
};

// Two screens side by side; the second one upright.
class TwoScreens : public Screen
{
public:
    FunctionCallResult<int> count() override { return 2; }
    FunctionCallResult<Rect<2>> geometry(int index) override
    {
        if (index < 0 || index > 1)
            return FunctionCallResult<Rect<2>>::failure(QStringLiteral("index out of range"));
        return index == 0 ? Rect<2>(0, 0, 1280, 1024) : Rect<2>(1280, 0, 768, 1024);
    }
    FunctionCallResult<int> orientation(int index) override { return index == 0 ? 2 : 1; }
    FunctionCallResult<void> setOrientation(int, int) override
    {
        return FunctionCallResult<void>::failure(QStringLiteral("fixed"));
    }
};

ScreenRectangle rectangleOf(const SharedPtr<Object> &object)
{
    ScreenRectangle r;
    r.width = -99;
    unwrapScreenRectangle(object, &r);
    return r;
}

} // namespace

TEST_F(GlobalFunctions, ClicksGoToTheCentreOrThePointWithTheirButtonAndModifiers)
{
    const int ctrl = NativeInterface::Ctrl;
    EXPECT_TRUE(call("mouseClick", {rectangle(10, 20, 30, 41)}));
    EXPECT_EQ(takeCalls(), (QStringList{"move 25,40", "modifiers 0 down", "button 1 down 1",
                                        "move 25,40", "button 1 up 1", "modifiers 0 up"}));

    EXPECT_TRUE(call("mouseClick", {point(7, 8), number(0x80), number(MouseButton::Right)}));
    EXPECT_EQ(takeCalls(), (QStringList{"move 7,8", QStringLiteral("modifiers %1 down").arg(ctrl),
                                        "button 4 down 1", "move 7,8", "button 4 up 1",
                                        QStringLiteral("modifiers %1 up").arg(ctrl)}));

    EXPECT_TRUE(call("doubleClick", {point(1, 2)}));
    EXPECT_EQ(
        takeCalls().filter(QStringLiteral("button")),
        (QStringList{"button 1 down 1", "button 1 up 1", "button 1 down 2", "button 1 up 2"}));

    EXPECT_TRUE(call("tapObject", {rectangle(0, 0, 10, 10), number(0x100)}));
    const QStringList tapped = takeCalls();
    EXPECT_TRUE(tapped.contains(QStringLiteral("touch 0 5,5"))) << tapped.join('|').toStdString();
    EXPECT_TRUE(tapped.contains(QStringLiteral("touch 2 5,5"))) << tapped.join('|').toStdString();

    // A failing platform call is the answer; the release still went out.
    plugin.native.failing = {QStringLiteral("button 1 up 1")};
    QString error;
    EXPECT_FALSE(call("nativeMouseClick", {number(3), number(4), number(1)}, &error));
    EXPECT_EQ(error, QStringLiteral("failed: button 1 up 1"));
    EXPECT_EQ(takeCalls(), (QStringList{"move 3,4", "button 1 down 1", "button 1 up 1"}));
}

TEST_F(GlobalFunctions, BadGeometryAndModifiersAreErrorsWithoutInput)
{
    QString error;
    EXPECT_FALSE(call("mouseClick", {rectangle(0, 0, -1, 5)}, &error));
    EXPECT_EQ(error, QStringLiteral("Invalid rectangle"));
    EXPECT_FALSE(call("doubleClick", {rectangle(0, 0, 5, 5), number(0x400)}, &error));
    EXPECT_EQ(error, QStringLiteral("Invalid keyboard modifier(s) 1024"));
    EXPECT_EQ(errorOfFirst("tapObject", {SharedPtr<Object>()}),
              QStringLiteral("Null geometry specified"));
    EXPECT_EQ(errorOfFirst("mouseClick", {text("x")}),
              QStringLiteral("Argument must be a ScreenRectangle or ScreenPoint"));
    EXPECT_TRUE(takeCalls().isEmpty());
    EXPECT_EQ(Inspector::self()->globalClass()->methods(QStringLiteral("mouseClick")).count(), 6);
    EXPECT_EQ(Inspector::self()->globalClass()->methods(QStringLiteral("tapObject")).count(), 4);
}

TEST_F(GlobalFunctions, ClipboardAndNativeKeyboardReachThePlatform)
{
    EXPECT_TRUE(call("setClipboardText", {text("copied")}));
    QString value;
    ASSERT_TRUE(unwrap(call("getClipboardText", {}), &value));
    EXPECT_EQ(value, QStringLiteral("clip"));
    EXPECT_TRUE(call("nativeType", {text("abc")}));
    EXPECT_TRUE(call("sendNativeEvent", {text("Editor"), text("hello")}));
    EXPECT_EQ(takeCalls(),
              (QStringList{"clipboard=copied", "clipboard?", "focus abc", "window Editor hello"}));
}

TEST_F(GlobalFunctionsWithoutPlugin, EveryCommonFunctionSaysThatThereIsNoPlugin)
{
    QString error;
    EXPECT_FALSE(call("mouseClick", {point(1, 1)}, &error));
    EXPECT_EQ(error, QStringLiteral("Platform plugin not set"));
    EXPECT_FALSE(call("getClipboardText", {}, &error));
    EXPECT_EQ(error, QStringLiteral("Platform plugin not set"));
}

TEST_F(GlobalFunctions, WindowFunctionsGoThroughTheDelegateOfTheObjectsClass)
{
    NodeWindows windows;
    NodeToolkit::Node node;
    node.name = QStringLiteral("main");
    NodeToolkit::Node broken;
    broken.name = QStringLiteral("broken");
    const SharedPtr<Object> window = NodeToolkit::wrap(&node);

    EXPECT_TRUE(call("_tolvex_window_moveto", {window, number(30), number(40)}));
    EXPECT_TRUE(call("_tolvex_window_resizeto", {window, number(300), number(200)}));
    EXPECT_TRUE(call("_tolvex_window_fullscreen_set", {window, number(1)}));
    EXPECT_TRUE(call("_tolvex_window_close", {window}));
    // A delegate that cannot raise or focus does nothing, without error.
    QString error;
    EXPECT_TRUE(call("_tolvex_window_foreground_set", {window}, &error));
    EXPECT_EQ(error, QString());
    EXPECT_EQ(windows.calls,
              (QStringList{"move 30 40", "resize 300 200", "fullscreen 1", "close"}));

    const ScreenRectangle frame = rectangleOf(call("_tolvex_window_geometry_get", {window}));
    EXPECT_EQ(QRect(frame.x, frame.y, frame.width, frame.height), QRect(5, 6, 70, 80));

    EXPECT_FALSE(call("_tolvex_window_minimize", {NodeToolkit::wrap(&broken)}, &error));
    EXPECT_EQ(error, QStringLiteral("the window is gone"));
    EXPECT_EQ(errorOfFirst("_tolvex_window_close", {SharedPtr<Object>()}),
              QStringLiteral("Can't close null object."));
    EXPECT_FALSE(call("_tolvex_window_moveto", {number(1), number(2), number(3)}, &error));
    EXPECT_EQ(error, QStringLiteral("Don't know how to move object of type int"));
    EXPECT_FALSE(call("_tolvex_window_geometry_get", {number(1)}, &error));
    EXPECT_EQ(error, QStringLiteral("Don't know how to fetch geometry for object of type int"));

    EXPECT_FALSE(call("_tolvex_window_focused", {}, &error));
    EXPECT_EQ(error, QStringLiteral("No focused window found"));
    windows.focused = window;
    EXPECT_EQ(call("_tolvex_window_focused", {}).get(), window.get());
}

TEST_F(GlobalFunctions, ScreensComeFromTheHooksScreen)
{
    // This test process has no GUI application: its screens are an error.
    QString error;
    EXPECT_FALSE(call("_tolvex_screen_count_get", {}, &error));
    EXPECT_EQ(error, QStringLiteral("Cannot fetch screen count"));
    EXPECT_FALSE(call("_tolvex_screen_geometry_get", {number(0)}, &error));
    EXPECT_EQ(error, QStringLiteral("Cannot fetch screen geometry"));
    EXPECT_FALSE(call("_tolvex_screen_orientation_set", {number(0), number(2)}, &error));
    EXPECT_EQ(error, QStringLiteral("Modifying screen orientation is not supported on this "
                                    "platform"));

    hook->setScreen(SharedPtr<Screen>(new TwoScreens));
    EXPECT_EQ(call("_tolvex_screen_count_get", {})->toInteger(), 2);
    const ScreenRectangle second = rectangleOf(call("_tolvex_screen_geometry_get", {number(1)}));
    EXPECT_EQ(QRect(second.x, second.y, second.width, second.height), QRect(1280, 0, 768, 1024));
    EXPECT_EQ(call("_tolvex_screen_orientation_get", {number(0)})->toInteger(), 2);
    EXPECT_EQ(call("_tolvex_screen_orientation_get", {number(1)})->toInteger(), 1);
    EXPECT_FALSE(call("_tolvex_screen_geometry_get", {number(2)}, &error));
    EXPECT_EQ(error, QStringLiteral("index out of range"));
}
