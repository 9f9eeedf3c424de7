// A platform plug-in library as PlatformPlugin::load finds it: the entry
// point adds one to an int it is handed, so a test can see the argument
// arrived, and answers a null plug-in of its own name.
#include "platformplugin.h"

namespace {

class TestPlugin : public Tolvex::NullPlatformPlugin
{
public:
    TestPlugin() : NullPlatformPlugin(QStringLiteral("test plug-in")) {}
    QString name() const override { return QStringLiteral("testplugin"); }
};

} // namespace

#if defined(__clang__)
// The entry point is looked up by its C name and returns the library's own
// result type; both sides are built from the same headers.
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wreturn-type-c-linkage"
#endif
extern "C" __attribute__((visibility("default")))
Tolvex::FunctionCallResult<Tolvex::PlatformPlugin *>
testpluginPlatformPlugin(void *argument)
{
    if (argument)
        ++*static_cast<int *>(argument);
    return Tolvex::FunctionCallResult<Tolvex::PlatformPlugin *>(new TestPlugin);
}
#if defined(__clang__)
#pragma clang diagnostic pop
#endif
