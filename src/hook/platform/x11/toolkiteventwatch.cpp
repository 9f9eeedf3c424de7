#include "toolkiteventwatch.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QThread>

#include <xcb/xcb.h>

namespace Tolvex {

ToolkitEventWatch *ToolkitEventWatch::instance()
{
    // Made once and kept for the life of the process, like the plug-in
    // library that holds its code.
    static ToolkitEventWatch *const watch = []() -> ToolkitEventWatch * {
        if (!qGuiApp || QGuiApplication::platformName() != QLatin1String("xcb"))
            return nullptr;
        auto *created = new ToolkitEventWatch;
        // Filters belong to the GUI thread's event dispatcher.
        const auto install = [created] {
            qGuiApp->installNativeEventFilter(created);
            created->m_installed = true;
        };
        if (QThread::currentThread() == qGuiApp->thread())
            install();
        else
            QMetaObject::invokeMethod(qGuiApp, install, Qt::QueuedConnection);
        return created;
    }();
    // Events read before the filter was in place would never be counted.
    return watch && watch->m_installed ? watch : nullptr;
}

void ToolkitEventWatch::expectKey(int keycode)
{
    if (keycode >= 0 && keycode < int(m_pendingKeys.size()))
        m_pendingKeys[std::size_t(keycode)]++;
}

int ToolkitEventWatch::pendingKeys(int keycode) const
{
    if (keycode < 0 || keycode >= int(m_pendingKeys.size()))
        return 0;
    return m_pendingKeys[std::size_t(keycode)].load();
}

bool ToolkitEventWatch::nativeEventFilter(const QByteArray &eventType, void *message, qintptr *)
{
    if (eventType != "xcb_generic_event_t")
        return false;
    const auto *event = static_cast<const xcb_generic_event_t *>(message);
    const int type = event->response_type & 0x7F;
    if (type == XCB_KEY_PRESS || type == XCB_KEY_RELEASE) {
        const auto *key = static_cast<const xcb_key_press_event_t *>(message);
        std::atomic<int> &count = m_pendingKeys[key->detail];
        int expected = count.load();
        while (expected > 0 && !count.compare_exchange_weak(expected, expected - 1)) {
        }
    } else if (type == XCB_PROPERTY_NOTIFY) {
        const auto *property = static_cast<const xcb_property_notify_event_t *>(message);
        if (property->atom == m_timeAtom.load())
            m_timeEventsRead++;
    }
    return false;
}

} // namespace Tolvex
