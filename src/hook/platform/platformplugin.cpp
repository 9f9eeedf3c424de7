#include "platformplugin.h"

#include "nativeinterface.h"
#include "widgethighlighter.h"

#include <QDir>
#include <QFileInfo>
#include <QLibrary>

namespace Tolvex {

namespace {

PlatformPlugin *s_current = nullptr;

#if defined(_WIN32)
constexpr char LibrarySuffix[] = ".dll";
#else
constexpr char LibrarySuffix[] = ".so";
#endif

QString pluginDirectory()
{
    static const QByteArray variable = QByteArrayLiteral("TOLVEX_PREFIX");
    return qEnvironmentVariable(variable.constData()) + QStringLiteral("/lib");
}

} // namespace

PlatformPlugin::~PlatformPlugin()
{
    if (s_current == this)
        s_current = nullptr;
}

PlatformPlugin *PlatformPlugin::current()
{
    return s_current;
}

void PlatformPlugin::setCurrent(PlatformPlugin *plugin)
{
    if (plugin != s_current)
        WidgetHighlighter::reset();
    s_current = plugin;
}

FunctionCallResult<PlatformPlugin *> PlatformPlugin::load(const std::string &name, void *argument)
{
    using Result = FunctionCallResult<PlatformPlugin *>;
    const QString plugin = QString::fromStdString(name);
    const QString base = QStringLiteral("tolvex") + plugin + QLatin1String(LibrarySuffix);
    const QDir directory(pluginDirectory());
    QString path;
    for (const QString &candidate : {base, QStringLiteral("lib") + base}) {
        if (QFileInfo::exists(directory.filePath(candidate))) {
            path = directory.filePath(candidate);
            break;
        }
    }
    if (path.isEmpty())
        return Result(nullptr,
                      QStringLiteral("Platform plugin '%1' library not found").arg(plugin));

    // A QLibrary leaves the library loaded when it goes: once it delivered a
    // plug-in, the plug-in's code lives as long as the process.
    QLibrary library(path);
    if (!library.load())
        return Result(nullptr, QStringLiteral("Loading of the '%1' library failed: %2")
                                   .arg(path, library.errorString()));
    const QByteArray symbol = QByteArray::fromStdString(name) + "PlatformPlugin";
    auto entry = reinterpret_cast<PlatformPluginEntry>(library.resolve(symbol.constData()));
    if (!entry) {
        library.unload();
        return Result(nullptr,
                      QStringLiteral("The '%1' library missing an entry point symbol").arg(path));
    }
    return entry(argument);
}

NullPlatformPlugin::NullPlatformPlugin(const QString &message)
    : m_native(std::make_unique<NullNativeInterface>(message)),
      m_highlighter(std::make_unique<NullWidgetHighlighter>())
{}

NullPlatformPlugin::~NullPlatformPlugin() = default;

QString NullPlatformPlugin::name() const
{
    return QStringLiteral("null");
}

NativeInterface *NullPlatformPlugin::nativeInterface()
{
    return m_native.get();
}

WidgetHighlighter *NullPlatformPlugin::widgetHighlighter()
{
    return m_highlighter.get();
}

FunctionCallResult<WindowManager *> NullPlatformPlugin::windowManager()
{
    return FunctionCallResult<WindowManager *>(nullptr);
}

namespace {

PlatformPlugin *loadX11(X11PluginArgument argument)
{
    const FunctionCallResult<PlatformPlugin *> loaded = PlatformPlugin::load("xlib", &argument);
    if (loaded.isError() || !loaded.value)
        return new NullPlatformPlugin(loaded.error);
    return loaded.value;
}

} // namespace

PlatformPlugin *createX11PlatformPlugin(void *display, bool ownsDisplay, bool synchronous)
{
    X11PluginArgument argument;
    argument.display = display;
    argument.ownsDisplay = ownsDisplay;
    argument.synchronous = synchronous;
    return loadX11(argument);
}

PlatformPlugin *createX11PlatformPlugin(const char *displayName)
{
    X11PluginArgument argument;
    argument.displayName = displayName;
    return loadX11(argument);
}

} // namespace Tolvex
