#pragma once

#include "platformplugin.h"

#include <memory>

namespace Tolvex {

class XConnection;
class XNativeInterface;
class XWidgetHighlighter;

// The X11 plug-in, "xlib": a native interface and a highlighter on one
// connection to the X server. There is no window manager interface. The
// library's entry point, xlibPlatformPlugin, takes an X11PluginArgument, or
// null for the display that $DISPLAY names.
class XPlatformPlugin : public PlatformPlugin
{
public:
    explicit XPlatformPlugin(std::shared_ptr<XConnection> connection);
    ~XPlatformPlugin() override;

    QString name() const override;
    NativeInterface *nativeInterface() override;
    // Made on first use.
    WidgetHighlighter *widgetHighlighter() override;
    FunctionCallResult<WindowManager *> windowManager() override;

private:
    std::shared_ptr<XConnection> m_connection;
    std::unique_ptr<XNativeInterface> m_native;
    std::unique_ptr<XWidgetHighlighter> m_highlighter;
};

} // namespace Tolvex
