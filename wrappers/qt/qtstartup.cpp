#include "qtstartup.h"

#include "autprocess.h"
#include "hook.h"
#include "platformplugin.h"
#include "qtwrapper.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QPointer>
#include <QTimer>

#include <cstdio>

namespace Tolvex {

namespace {

// What the start brought up. The Hook owns neither the wrapper nor the
// plug-in, so they are held here and go after it. Never freed: whatever way
// the process takes out, what it holds stays reachable.
struct Agent
{
    QPointer<QCoreApplication> scheduledFor;
    bool started = false;
    bool quitting = false;
    QPointer<Hook> hook;
    QPointer<QtWrapper> wrapper;
    PlatformPlugin *plugin = nullptr;
};

Agent &agent()
{
    static Agent *const theAgent = new Agent;
    return *theAgent;
}

void say(const QString &line)
{
    std::fprintf(stderr, "tolvex: %s\n", line.toLocal8Bit().constData());
}

// The native side of the agent: none without a GUI, the X11 plug-in on X11,
// and elsewhere (or when it cannot be loaded) the null plug-in, which makes
// each native operation fail with the reason given here once.
PlatformPlugin *createPlatformPlugin(QCoreApplication *app)
{
    if (!qobject_cast<QGuiApplication *>(app))
        return nullptr;
    QString whyNone;
    const QString platform = QGuiApplication::platformName();
    if (platform == QLatin1String("xcb")) {
        // Its own connection to the display of $DISPLAY.
        X11PluginArgument argument;
        const FunctionCallResult<PlatformPlugin *> loaded = PlatformPlugin::load("xlib", &argument);
        if (loaded.isSuccess() && loaded.value)
            return loaded.value;
        whyNone =
            loaded.isError() ? loaded.error : QStringLiteral("The 'xlib' library gave no plug-in");
    } else {
        whyNone = QStringLiteral("No platform plugin for the Qt platform '%1'").arg(platform);
    }
    say(QStringLiteral("native input and screen capture are not available: ") + whyNone);
    return new NullPlatformPlugin(whyNone);
}

// Where the wrapper and the Hook meet: the Hook is made for the wrapper and
// hooks up before this returns; null when it went during the hook-up.
Hook *hookUpWrapper(QtWrapper *wrapper, PlatformPlugin *plugin)
{
    return Hook::connectAndCreateHook(wrapper, new AUTProcess, plugin, 0);
}

// The way out: the Hook first (its exit protocol has run on aboutToQuit, by
// the connection completeHookUp made before this one), then the wrapper and
// the plug-in. A Hook that stays because a wait of its own is still running
// keeps them too.
void stopAgent()
{
    Agent &a = agent();
    a.quitting = true;
    if (a.hook)
        a.hook->deleteHook();
    if (a.hook) {
        if (a.wrapper)
            a.wrapper->setParent(nullptr);
        return;
    }
    delete a.wrapper;
    delete a.plugin;
    a.plugin = nullptr;
}

void startAgent(QCoreApplication *app)
{
    Agent &a = agent();
    if (a.started || a.quitting || QCoreApplication::closingDown())
        return;
    a.started = true;
    a.wrapper = new QtWrapper(app);
    a.plugin = createPlatformPlugin(app);
    a.hook = hookUpWrapper(a.wrapper, a.plugin);
    if (a.hook)
        a.hook->completeHookUp();
    QObject::connect(app, &QCoreApplication::aboutToQuit, &stopAgent);
    // An application that ends without leaving an event loop emits no
    // aboutToQuit; this runs as its application object goes.
    qAddPostRoutine(&stopAgent);
}

// Called inside the construction of the application object at the latest:
// nothing happens here but a start posted to the application, which runs
// when its event loop does.
void scheduleStart(QCoreApplication *app)
{
    Agent &a = agent();
    if (a.started || a.scheduledFor == app)
        return;
    a.scheduledFor = app;
    a.quitting = false;
    QObject::connect(app, &QCoreApplication::aboutToQuit, [] { agent().quitting = true; });
    QTimer::singleShot(0, app, [app] { startAgent(app); });
}

} // namespace

bool startQtAgent()
{
    QCoreApplication *app = QCoreApplication::instance();
    if (!app) {
        say(QStringLiteral("the agent cannot start before the application object exists"));
        return false;
    }
    scheduleStart(app);
    return true;
}

} // namespace Tolvex

void tolvexQtStartup()
{
    if (!QCoreApplication::instance()) {
        std::fputs("tolvex: Qt's start-up hook ran without a Qt 6 application object; the agent "
                   "does not start\n",
                   stderr);
        return;
    }
    Tolvex::startQtAgent();
}
