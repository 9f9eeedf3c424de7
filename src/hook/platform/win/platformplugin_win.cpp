#include "platformplugin_win.h"

#include "widgethighlighter_win.h"

namespace Tolvex {

WinPlatformPlugin::WinPlatformPlugin() = default;

WinPlatformPlugin::~WinPlatformPlugin() = default;

QString WinPlatformPlugin::name() const
{
    return QStringLiteral("win32");
}

NativeInterface *WinPlatformPlugin::nativeInterface()
{
    return &m_native;
}

WidgetHighlighter *WinPlatformPlugin::widgetHighlighter()
{
    if (!m_highlighter)
        m_highlighter = std::make_unique<WinWidgetHighlighter>();
    return m_highlighter.get();
}

FunctionCallResult<WindowManager *> WinPlatformPlugin::windowManager()
{
    return FunctionCallResult<WindowManager *>(nullptr);
}

} // namespace Tolvex
