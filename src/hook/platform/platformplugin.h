#pragma once

#include "functioncallresult.h"
#include "tolvexexport.h"

#include <QString>

#include <memory>
#include <string>

namespace Tolvex {

class NativeInterface;
class NullNativeInterface;
class NullWidgetHighlighter;
class WidgetHighlighter;
class WindowManager;

// What the agent needs of the window system: a name, the native interface
// for input, clipboard and screen, a highlighter and a window manager.
// Either compiled in, or a shared library loaded by name, or a null plug-in
// that carries the reason why there is none.
//
// The virtual operations keep their order: plug-ins built separately from
// this library depend on it.
class TOLVEX_EXPORT PlatformPlugin
{
public:
    virtual ~PlatformPlugin();
    virtual QString name() const = 0;
    virtual NativeInterface *nativeInterface() = 0;
    virtual WidgetHighlighter *widgetHighlighter() = 0;
    virtual FunctionCallResult<WindowManager *> windowManager() = 0;

    // Loads the library "tolvex<name>" (or "libtolvex<name>") from the lib
    // directory of TOLVEX_PREFIX and calls its entry point "<name>PlatformPlugin"
    // with the argument, whose form the caller and the library agree on. The
    // library stays loaded for the life of the process.
    static FunctionCallResult<PlatformPlugin *> load(const std::string &name, void *argument);

    // The plug-in of the agent in this process, for the code that acts
    // without being handed one (commands, the highlighter); set by the Hook.
    // Not owned.
    static PlatformPlugin *current();
    static void setCurrent(PlatformPlugin *plugin);

    // What native operations answer when there is no plug-in at all.
    static QString notSetMessage() { return QStringLiteral("Platform plugin not set"); }
};

// The signature of a plug-in library's entry point.
using PlatformPluginEntry = FunctionCallResult<PlatformPlugin *> (*)(void *argument);

// No platform: every native operation fails with the message given.
class TOLVEX_EXPORT NullPlatformPlugin : public PlatformPlugin
{
public:
    explicit NullPlatformPlugin(const QString &message);
    ~NullPlatformPlugin() override;

    QString name() const override;
    NativeInterface *nativeInterface() override;
    WidgetHighlighter *widgetHighlighter() override;
    FunctionCallResult<WindowManager *> windowManager() override;

private:
    std::unique_ptr<NullNativeInterface> m_native;
    std::unique_ptr<NullWidgetHighlighter> m_highlighter;
};

// The X11 plug-in ("xlib"), loaded by its display and two flags, or by the
// display's name (null for $DISPLAY). A load error comes back as a
// NullPlatformPlugin carrying its text. The caller owns the plug-in.
struct X11PluginArgument
{
    void *display = nullptr;
    bool ownsDisplay = false;
    bool synchronous = false;
    const char *displayName = nullptr;
};
TOLVEX_EXPORT PlatformPlugin *createX11PlatformPlugin(void *display, bool ownsDisplay,
                                                      bool synchronous);
TOLVEX_EXPORT PlatformPlugin *createX11PlatformPlugin(const char *displayName);

} // namespace Tolvex
