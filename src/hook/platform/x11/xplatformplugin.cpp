#include "xplatformplugin.h"

#include "xconnection.h"
#include "xnativeinterface.h"
#include "xwidgethighlighter.h"

namespace Tolvex {

XPlatformPlugin::XPlatformPlugin(std::shared_ptr<XConnection> connection)
    : m_connection(std::move(connection)),
      m_native(std::make_unique<XNativeInterface>(m_connection))
{}

XPlatformPlugin::~XPlatformPlugin() = default;

QString XPlatformPlugin::name() const
{
    return QStringLiteral("xlib");
}

NativeInterface *XPlatformPlugin::nativeInterface()
{
    return m_native.get();
}

WidgetHighlighter *XPlatformPlugin::widgetHighlighter()
{
    if (!m_highlighter)
        m_highlighter = std::make_unique<XWidgetHighlighter>(m_connection);
    return m_highlighter.get();
}

FunctionCallResult<WindowManager *> XPlatformPlugin::windowManager()
{
    return FunctionCallResult<WindowManager *>(nullptr);
}

} // namespace Tolvex

using Tolvex::FunctionCallResult;
using Tolvex::PlatformPlugin;

// The loader is C++ and knows the result type; only the symbol's name wants
// C linkage, which clang would warn about.
#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wreturn-type-c-linkage"
#endif
extern "C" Q_DECL_EXPORT FunctionCallResult<PlatformPlugin *> xlibPlatformPlugin(void *argument)
{
    Tolvex::X11PluginArgument defaults;
    const auto *given =
        argument ? static_cast<const Tolvex::X11PluginArgument *>(argument) : &defaults;
    std::shared_ptr<Tolvex::XConnection> connection;
    if (given->display) {
        connection = std::make_shared<Tolvex::XConnection>(static_cast<_XDisplay *>(given->display),
                                                           given->ownsDisplay, given->synchronous);
    } else {
        std::string error;
        connection = Tolvex::XConnection::open(given->displayName, &error, given->synchronous);
        if (!connection)
            return FunctionCallResult<PlatformPlugin *>(nullptr, QString::fromStdString(error));
    }
    return FunctionCallResult<PlatformPlugin *>(new Tolvex::XPlatformPlugin(connection));
}
#if defined(__clang__)
#pragma clang diagnostic pop
#endif
