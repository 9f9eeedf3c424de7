#pragma once

#include "nativeinterface.h"
#include "platformplugin.h"

#include <memory>

namespace Tolvex {

// Wraps a plug-in whose native calls must run on one particular thread,
// which a toolkit wrapper decides: each native operation becomes a call
// object that executeCall hands to that thread while the caller waits.
// The plug-in's name, highlighter and window manager come straight from the
// wrapped one.
class TOLVEX_EXPORT PlatformPluginSynchronizer : public PlatformPlugin
{
public:
    // One native operation on its way to the other thread.
    class TOLVEX_EXPORT Call
    {
    public:
        virtual ~Call();
        virtual void run() = 0;
    };
    class Native;

    // Owns inner. With useEvents, recordScreen goes to the other thread
    // without blocking and answers on this one through an event.
    PlatformPluginSynchronizer(PlatformPlugin *inner, bool useEvents);
    ~PlatformPluginSynchronizer() override;

    QString name() const override;
    NativeInterface *nativeInterface() override;
    WidgetHighlighter *widgetHighlighter() override;
    FunctionCallResult<WindowManager *> windowManager() override;

    // Runs call->run() on the thread that may touch native objects and
    // returns once it has finished; an error says the call was not delivered.
    virtual FunctionCallResult<void> executeCall(Call *call) = 0;

    PlatformPlugin *inner() const { return m_inner.get(); }
    bool usesEvents() const { return m_useEvents; }

private:
    std::unique_ptr<PlatformPlugin> m_inner;
    std::unique_ptr<Native> m_native;
    bool m_useEvents;
};

} // namespace Tolvex
