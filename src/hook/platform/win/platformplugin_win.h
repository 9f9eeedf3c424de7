#pragma once

// The compiled-in plug-in of Windows, "win32".

#include "nativeinterface_win.h"
#include "platformplugin.h"
#include "tolvexexport.h"

#include <memory>

namespace Tolvex {

class WinWidgetHighlighter;

class TOLVEX_EXPORT WinPlatformPlugin : public PlatformPlugin
{
public:
    WinPlatformPlugin();
    ~WinPlatformPlugin() override;

    QString name() const override;
    NativeInterface *nativeInterface() override;
    // Created on first use, on the thread that asks, and kept.
    WidgetHighlighter *widgetHighlighter() override;
    // None, and no error.
    FunctionCallResult<WindowManager *> windowManager() override;

private:
    WinNativeInterface m_native;
    std::unique_ptr<WinWidgetHighlighter> m_highlighter;
};

} // namespace Tolvex
