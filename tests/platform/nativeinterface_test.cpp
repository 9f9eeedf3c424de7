// The platform-neutral parts of the native layer: the compound operations
// every platform inherits, the null and forwarding interfaces, plug-in
// loading, the synchronizer, and the screenshot's wire form.
#include "platformplugin.h"
#include "platformpluginsynchronizer.h"
#include "recordingnative.h"
#include "widgethighlighter.h"

#include <QImage>
#include <QMetaObject>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

using namespace Tolvex;
using TestPlatform::RecordingNative;
using TestPlatform::RecordingPlugin;

namespace {

struct Catch : ResponseListener<NativeInterface::ExtraKeys>
{
    FunctionCallResult<NativeInterface::ExtraKeys> result;
    int answers = 0;
    void response(FunctionCallResult<NativeInterface::ExtraKeys> r) override
    {
        ++answers;
        result = std::move(r);
    }
};

// Runs each call on a thread of its own, as a toolkit wrapper would on its
// GUI thread; or drops calls, or refuses them.
class ThreadSynchronizer : public PlatformPluginSynchronizer
{
public:
    enum Mode { Deliver, Drop, Refuse };
    ThreadSynchronizer(PlatformPlugin *inner, Mode mode)
        : PlatformPluginSynchronizer(inner, false), m_mode(mode)
    {
        m_thread.start();
        m_target.moveToThread(&m_thread);
    }
    ~ThreadSynchronizer() override
    {
        m_thread.quit();
        m_thread.wait();
    }
    FunctionCallResult<void> executeCall(Call *call) override
    {
        if (m_mode == Refuse)
            return FunctionCallResult<void>::failure(QStringLiteral("GUI thread is gone"));
        if (m_mode == Deliver)
            QMetaObject::invokeMethod(
                &m_target, [call] { call->run(); }, Qt::BlockingQueuedConnection);
        return {};
    }
    QThread *thread() { return &m_thread; }

private:
    Mode m_mode;
    QThread m_thread;
    QObject m_target;
};

} // namespace

TEST(NativeInterface, CompoundOperationsStepThroughTheSingleOnes)
{
    RecordingNative n;
    const Point<1> at(5, 6);
    EXPECT_TRUE(n.pointerPress(MouseButton::Left, true, at, 2, 1).isSuccess());
    EXPECT_TRUE(n.pointerPress(MouseButton::Left, false, Point<1>(), 2, 1).isSuccess());
    // No point, no move; modifiers go down before the press and up after the release.
    EXPECT_EQ(n.calls, (QStringList{"move 5,6", "modifiers 2 down", "button 1 down 1",
                                    "button 1 up 1", "modifiers 2 up"}));

    // A failed modifier press leaves the button alone and nothing to release.
    n.calls.clear();
    n.failing = {QStringLiteral("modifiers 1 down")};
    EXPECT_EQ(n.pointerClick(MouseButton::Left, at, 1, 1).error,
              QStringLiteral("failed: modifiers 1 down"));
    EXPECT_EQ(n.calls, (QStringList{"move 5,6", "modifiers 1 down"}));

    // A double click is two clicks counted 1 and 2; the first error ends it.
    n.calls.clear();
    n.failing.clear();
    EXPECT_TRUE(n.doubleClick(MouseButton::Right, Point<1>(), 0).isSuccess());
    EXPECT_EQ(n.calls, (QStringList{"modifiers 0 down", "button 4 down 1", "button 4 up 1",
                                    "modifiers 0 up", "modifiers 0 down", "button 4 down 2",
                                    "button 4 up 2", "modifiers 0 up"}));
    n.calls.clear();
    n.failing = {QStringLiteral("button 4 up 1")};
    EXPECT_EQ(n.doubleClick(MouseButton::Right, Point<1>(), 0).error,
              QStringLiteral("failed: button 4 up 1"));
    EXPECT_FALSE(n.calls.contains(QStringLiteral("button 4 down 2")));

    // The plain click, tap and wheel run every step and report the first error.
    n.calls.clear();
    n.failing = {QStringLiteral("move 5,6")};
    EXPECT_EQ(n.pointerClick(MouseButton::Middle, at).error, QStringLiteral("failed: move 5,6"));
    EXPECT_EQ(n.calls, (QStringList{"move 5,6", "button 2 down 1", "button 2 up 1"}));
    n.calls.clear();
    n.failing = {QStringLiteral("touch 0 5,6")};
    EXPECT_EQ(n.tap(at, 4).error, QStringLiteral("failed: touch 0 5,6"));
    EXPECT_EQ(n.calls,
              (QStringList{"modifiers 4 down", "touch 0 5,6", "touch 2 5,6", "modifiers 4 up"}));
    n.calls.clear();
    n.failing.clear();
    EXPECT_TRUE(n.wheelRoll(-3, 2).isSuccess());
    EXPECT_EQ(n.calls, (QStringList{"modifiers 2 down", "wheel -3", "modifiers 2 up"}));

    // Drag and drop: begin with the fixed third argument, end animated at the offset.
    n.calls.clear();
    EXPECT_TRUE(n.pointerDragAndDrop(at, 10, -2, MouseButton::Left, 1).isSuccess());
    EXPECT_EQ(n.calls, (QStringList{"drag 5,6 1 9", "drop 15,4 1 1 1"}));

    // What no platform here implements answers in its own words.
    EXPECT_EQ(n.pointerDrag(at, 1, 1, 0).error,
              QStringLiteral("The old drag and drop API is not implemented in the current "
                             "platform plugin"));
    Catch keys;
    n.extraKeys(&keys);
    EXPECT_EQ(keys.answers, 1);
    EXPECT_TRUE(keys.result.isSuccess());
    EXPECT_TRUE(keys.result.value.empty());
}

TEST(NativeInterface, NullAndForwardingInterfaces)
{
    NullNativeInterface null(QStringLiteral("no display"));
    EXPECT_EQ(null.pointerMove(Point<1>(1, 1)).error, QStringLiteral("no display"));
    EXPECT_EQ(null.desktopScreenshot(Rect<1>(), -1).error, QStringLiteral("no display"));
    EXPECT_TRUE(null.getCapabilities().isEmpty());
    EXPECT_FALSE(null.isValidSpecialKey(QStringLiteral("Return")));
    std::unique_ptr<NativeInterface> copy(null.threadSafeCopy());
    EXPECT_EQ(copy->sendKeys(QStringLiteral("a"), true).error, QStringLiteral("no display"));

    auto *inner = new RecordingNative;
    NativeInterfaceForwarder forwarder(inner);
    EXPECT_TRUE(forwarder.keyboardPressRelease(QStringLiteral("Return"), true).isSuccess());
    EXPECT_TRUE(forwarder.isValidSpecialKey(QStringLiteral("Return")));
    EXPECT_EQ(forwarder.pointerPosition().value, Point<1>(3, 4));
    // The compound operations reach the wrapped interface one step at a time.
    EXPECT_TRUE(forwarder.pointerClick(MouseButton::Left, Point<1>(1, 2)).isSuccess());
    EXPECT_EQ(inner->calls, (QStringList{"key Return down", "position?", "move 1,2",
                                         "button 1 down 1", "button 1 up 1"}));

    NullPlatformPlugin plugin(QStringLiteral("X11 is not there"));
    EXPECT_EQ(plugin.name(), QStringLiteral("null"));
    EXPECT_EQ(plugin.nativeInterface()->wheelRoll(1).error, QStringLiteral("X11 is not there"));
    EXPECT_FALSE(plugin.widgetHighlighter()->isVisible());
    EXPECT_EQ(plugin.windowManager().value, nullptr);
    EXPECT_TRUE(plugin.windowManager().isSuccess());
}

TEST(PlatformPlugin, LoadingByNameReportsWhatWentWrong)
{
    qunsetenv("TOLVEX_PREFIX");
    EXPECT_EQ(PlatformPlugin::load("gone", nullptr).error,
              QStringLiteral("Platform plugin 'gone' library not found"));

    qputenv("TOLVEX_PREFIX", TEST_PLUGIN_PREFIX);
    const FunctionCallResult<PlatformPlugin *> loaded = PlatformPlugin::load("testplugin", nullptr);
    ASSERT_TRUE(loaded.isSuccess()) << qPrintable(loaded.error);
    std::unique_ptr<PlatformPlugin> plugin(loaded.value);
    EXPECT_EQ(plugin->name(), QStringLiteral("testplugin"));
    // The entry point hears the caller's argument.
    int argument = 41;
    std::unique_ptr<PlatformPlugin> second(PlatformPlugin::load("testplugin", &argument).value);
    EXPECT_EQ(argument, 42);

    const QString noEntry = QStringLiteral(TEST_PLUGIN_PREFIX "/lib/libtolvexnoentry.so");
    EXPECT_EQ(PlatformPlugin::load("noentry", nullptr).error,
              QStringLiteral("The '%1' library missing an entry point symbol").arg(noEntry));
    // ... and is not left loaded.
    QFile maps(QStringLiteral("/proc/self/maps"));
    ASSERT_TRUE(maps.open(QIODevice::ReadOnly));
    const QByteArray mapped = maps.readAll();
    EXPECT_FALSE(mapped.contains("libtolvexnoentry"));
    EXPECT_TRUE(mapped.contains("libtolvextestplugin"));

    // A file of that name that is no library at all.
    QTemporaryDir prefix;
    ASSERT_TRUE(QDir(prefix.path()).mkdir(QStringLiteral("lib")));
    QFile junk(prefix.filePath(QStringLiteral("lib/tolvexjunk.so")));
    ASSERT_TRUE(junk.open(QIODevice::WriteOnly));
    junk.write("not a library");
    junk.close();
    qputenv("TOLVEX_PREFIX", prefix.path().toLocal8Bit());
    EXPECT_TRUE(
        PlatformPlugin::load("junk", nullptr)
            .error.startsWith(
                QStringLiteral("Loading of the '%1' library failed: ").arg(junk.fileName())));
    // Loading the X11 plug-in where there is none gives a null plug-in
    // that says why.
    std::unique_ptr<PlatformPlugin> x11(createX11PlatformPlugin(nullptr));
    EXPECT_EQ(x11->name(), QStringLiteral("null"));
    EXPECT_EQ(x11->nativeInterface()->pointerMove(Point<1>()).error,
              QStringLiteral("Platform plugin 'xlib' library not found"));
    qunsetenv("TOLVEX_PREFIX");
}

TEST(PlatformPluginSynchronizer, NativeCallsRunOnTheChosenThread)
{
    auto *inner = new RecordingPlugin;
    ThreadSynchronizer sync(inner, ThreadSynchronizer::Deliver);
    NativeInterface *native = sync.nativeInterface();
    EXPECT_EQ(sync.name(), QStringLiteral("recording"));
    EXPECT_EQ(native->getClipboardText().value, QStringLiteral("clip"));
    EXPECT_TRUE(native->doubleClick(MouseButton::Left, Point<1>(7, 8), 0).isSuccess());
    inner->native.failing = {QStringLiteral("wheel 2")};
    EXPECT_EQ(native->wheelRoll(2).error, QStringLiteral("failed: wheel 2"));
    // The compound operation arrived one native operation at a time, and
    // every one of them ran on the synchronizer's thread.
    EXPECT_EQ(inner->native.calls.mid(1, 3),
              (QStringList{"move 7,8", "modifiers 0 down", "button 1 down 1"}));
    ASSERT_FALSE(inner->native.threads.isEmpty());
    for (QThread *thread : inner->native.threads)
        EXPECT_EQ(thread, sync.thread());
    // Capabilities and special key names are read directly.
    EXPECT_EQ(native->getCapabilities(), QList<QString>{QStringLiteral("KeycodeSupport")});

    // A call that was claimed delivered but never ran says so; a refusal is
    // the error; a modifier query that could not be asked reads as false.
    ThreadSynchronizer dropping(new RecordingPlugin, ThreadSynchronizer::Drop);
    EXPECT_EQ(dropping.nativeInterface()->pointerMove(Point<1>()).error,
              QStringLiteral("Call not executed yet"));
    ThreadSynchronizer refusing(new RecordingPlugin, ThreadSynchronizer::Refuse);
    EXPECT_EQ(refusing.nativeInterface()->setClipboardText(QStringLiteral("x")).error,
              QStringLiteral("GUI thread is gone"));
    static_cast<RecordingPlugin *>(refusing.inner())->native.modifierDown = true;
    EXPECT_FALSE(refusing.nativeInterface()->isModifierPressed(NativeInterface::Shift));
}

TEST(Screenshot, WireFormCarriesPixelsTransformAndDensity)
{
    Screenshot shot;
    EXPECT_FALSE(shot.toVariant().isValid());
    shot.image = QImage(4, 3, QImage::Format_RGB32);
    shot.image.fill(qRgb(200, 10, 30));
    shot.image.setPixel(3, 2, qRgb(1, 2, 3));
    shot.transform = QTransform::fromTranslate(-100, 50);
    shot.density = 2.0;
    const QVariantMap wire = shot.toVariant().toMap();
    EXPECT_EQ(wire.value(QStringLiteral("transform")).toList(),
              (QVariantList{1.0, 0.0, 0.0, 1.0, -100.0, 50.0}));
    EXPECT_EQ(wire.value(QStringLiteral("density")).toDouble(), 2.0);
    // The image is a BMP, compressed.
    EXPECT_TRUE(qUncompress(wire.value(QStringLiteral("image")).toByteArray()).startsWith("BM"));
    const Screenshot back = Screenshot::fromVariant(wire);
    EXPECT_EQ(back.image.pixel(3, 2), qRgb(1, 2, 3));
    EXPECT_EQ(back.image.pixel(0, 0), qRgb(200, 10, 30));
    EXPECT_EQ(back.transform, shot.transform);
    EXPECT_TRUE(Screenshot::fromVariant(QVariant(5)).image.isNull());
}
