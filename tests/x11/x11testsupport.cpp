#include "x11testsupport.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>
#include <QWindow>

#include <cstdio>
#include <memory>

namespace X11Test {

using namespace Tolvex;

PlatformPlugin *plugin()
{
    static const std::unique_ptr<PlatformPlugin> loaded = [] {
        const FunctionCallResult<PlatformPlugin *> result = PlatformPlugin::load("xlib", nullptr);
        if (result.isError())
            std::fprintf(stderr, "Loading the X11 plug-in failed: %s\n", qPrintable(result.error));
        return std::unique_ptr<PlatformPlugin>(result.value);
    }();
    return loaded.get();
}

NativeInterface *native()
{
    PlatformPlugin *loaded = plugin();
    return loaded ? loaded->nativeInterface() : nullptr;
}

bool showActive(QWidget *widget, QPoint position)
{
    widget->move(position);
    widget->show();
    widget->raise();
    widget->activateWindow();
    return TestSupport::waitUntil(
        [widget] {
            return widget->isActiveWindow() && widget->windowHandle() &&
                   widget->windowHandle()->isExposed();
        },
        5000);
}

Point<1> nativePoint(QWidget *widget, QPoint local)
{
    // One screen at the origin: device pixels are logical ones times the
    // ratio.
    const QPoint global = widget->mapToGlobal(local);
    const qreal ratio = widget->devicePixelRatioF();
    return Point<1>(qRound(global.x() * ratio), qRound(global.y() * ratio));
}

Point<1> nativeCentre(QWidget *widget)
{
    return nativePoint(widget, widget->rect().center());
}

void settle(int milliseconds)
{
    QElapsedTimer timer;
    timer.start();
    TestSupport::waitUntil([&timer, milliseconds] { return timer.elapsed() >= milliseconds; },
                           milliseconds + 1000);
}

EventRecorder::EventRecorder(QObject *watched, bool swallowBacktab)
    : QObject(watched), m_swallowBacktab(swallowBacktab)
{
    watched->installEventFilter(this);
}

std::vector<EventRecorder::Event> EventRecorder::ofType(QEvent::Type type) const
{
    std::vector<Event> matching;
    for (const Event &event : m_events)
        if (event.type == type)
            matching.push_back(event);
    return matching;
}

bool EventRecorder::eventFilter(QObject *, QEvent *event)
{
    switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick: {
        const auto *mouse = static_cast<QMouseEvent *>(event);
        m_events.push_back({event->type(), mouse->button(), mouse->modifiers(),
                            mouse->position().toPoint(), QPoint(), 0, QString()});
        break;
    }
    case QEvent::Wheel: {
        const auto *wheel = static_cast<QWheelEvent *>(event);
        m_events.push_back({event->type(), Qt::NoButton, wheel->modifiers(),
                            wheel->position().toPoint(), wheel->angleDelta(), 0, QString()});
        break;
    }
    case QEvent::KeyPress:
    case QEvent::KeyRelease: {
        const auto *key = static_cast<QKeyEvent *>(event);
        m_events.push_back({event->type(), Qt::NoButton, key->modifiers(), QPoint(), QPoint(),
                            key->key(), key->text()});
        // Shift+Tab would take the focus elsewhere; the tests only count it.
        if (m_swallowBacktab && key->key() == Qt::Key_Backtab)
            return true;
        break;
    }
    default:
        break;
    }
    return false;
}

} // namespace X11Test
