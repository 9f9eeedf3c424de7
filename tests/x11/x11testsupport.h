#pragma once

// What the X11 plug-in's tests share: the plug-in loaded once, real widgets
// shown and activated, their native centres, and a recorder of the Qt
// events they receive.

#include "eventloop.h"

#include "nativeinterface.h"
#include "platformplugin.h"
#include <gtest/gtest.h>

#include <QEvent>
#include <QObject>
#include <QPoint>
#include <QString>
#include <QWidget>

#include <vector>

namespace X11Test {

// The plug-in of $DISPLAY, loaded by name from TOLVEX_PREFIX once for all
// tests; null (and a message on standard error) when that failed.
Tolvex::PlatformPlugin *plugin();
Tolvex::NativeInterface *native();

// The tests of one part of the plug-in; each needs the plug-in loaded.
class PluginTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_NE(native(), nullptr) << "the X11 plug-in did not load"; }
};

// Shows the widget as a top-level window at the given logical position,
// activates it and waits until it has the focus.
bool showActive(QWidget *widget, QPoint position = QPoint(100, 100));

// A point of a widget in native (X pixel) coordinates.
Tolvex::Point<1> nativePoint(QWidget *widget, QPoint local);
Tolvex::Point<1> nativeCentre(QWidget *widget);

// Lets the event loop run for a while.
void settle(int milliseconds = 50);

// The Qt events one object receives, in order.
class EventRecorder : public QObject
{
public:
    struct Event
    {
        QEvent::Type type = QEvent::None;
        Qt::MouseButton button = Qt::NoButton;
        Qt::KeyboardModifiers modifiers;
        QPoint position;
        QPoint angleDelta;
        int key = 0;
        QString text;
    };

    explicit EventRecorder(QObject *watched, bool swallowBacktab = false);
    const std::vector<Event> &events() const { return m_events; }
    std::vector<Event> ofType(QEvent::Type type) const;
    void clear() { m_events.clear(); }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    std::vector<Event> m_events;
    bool m_swallowBacktab;
};

} // namespace X11Test
