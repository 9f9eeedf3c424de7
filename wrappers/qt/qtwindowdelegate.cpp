#include "qtwindowdelegate.h"

#include "qtobjectregistry.h"
#include "qtobjecttree.h"

#include <QApplication>
#include <QWidget>
#include <QWindow>

namespace Tolvex {

namespace {

using Result = FunctionCallResult<void>;

// The top-level window of an object: a widget window or a plain QWindow
// (a Quick window, say), exactly one of them.
struct TopLevel
{
    QWidget *widget = nullptr;
    QWindow *window = nullptr;
};

FunctionCallResult<TopLevel> topLevelOf(const SharedPtr<Object> &obj)
{
    using Found = FunctionCallResult<TopLevel>;
    QObject *object = QtObjectRegistry::qobject(obj);
    if (!object)
        return Found::failure(QStringLiteral("The object no longer exists"));
    QObject *top = QtObjectTree::window(object);
    if (!top && object->isWidgetType())
        top = static_cast<QWidget *>(object)->window();
    TopLevel found;
    if (top && top->isWidgetType())
        found.widget = static_cast<QWidget *>(top);
    else if (top && top->isWindowType())
        found.window = static_cast<QWindow *>(top);
    else
        return Found::failure(QStringLiteral("%1 is not shown in a window")
                                  .arg(QString::fromLatin1(object->metaObject()->className())));
    return found;
}

// Runs the one of the two operations that fits the object's window.
template <typename OnWidget, typename OnWindow>
Result apply(const SharedPtr<Object> &obj, OnWidget onWidget, OnWindow onWindow)
{
    const FunctionCallResult<TopLevel> top = topLevelOf(obj);
    if (top.isError())
        return Result::failure(top.error);
    if (top.value.widget)
        onWidget(top.value.widget);
    else
        onWindow(top.value.window);
    return {};
}

} // namespace

void QtWindowDelegate::addAll()
{
    // Looked up along the class chain, so these cover every subclass.
    new QtWindowDelegate(QStringLiteral("QWidget"));
    new QtWindowDelegate(QStringLiteral("QWindow"));
    new QtWindowDelegate(QStringLiteral("QQuickItem"));
}

Result QtWindowDelegate::closeWindow(SharedPtr<Object> obj) const
{
    return apply(
        obj, [](QWidget *w) { w->close(); }, [](QWindow *w) { w->close(); });
}

Result QtWindowDelegate::maximizeWindow(SharedPtr<Object> obj) const
{
    return apply(
        obj, [](QWidget *w) { w->showMaximized(); }, [](QWindow *w) { w->showMaximized(); });
}

Result QtWindowDelegate::minimizeWindow(SharedPtr<Object> obj) const
{
    return apply(
        obj, [](QWidget *w) { w->showMinimized(); }, [](QWindow *w) { w->showMinimized(); });
}

Result QtWindowDelegate::moveWindow(SharedPtr<Object> obj, int x, int y) const
{
    return apply(
        obj, [x, y](QWidget *w) { w->move(x, y); },
        [x, y](QWindow *w) { w->setFramePosition(QPoint(x, y)); });
}

Result QtWindowDelegate::resizeWindow(SharedPtr<Object> obj, int width, int height) const
{
    if (width <= 0 || height <= 0)
        return Result::failure(
            QStringLiteral("Cannot resize a window to %1x%2").arg(width).arg(height));
    return apply(
        obj, [width, height](QWidget *w) { w->resize(width, height); },
        [width, height](QWindow *w) { w->resize(width, height); });
}

Result QtWindowDelegate::restoreWindow(SharedPtr<Object> obj) const
{
    return apply(
        obj, [](QWidget *w) { w->showNormal(); }, [](QWindow *w) { w->showNormal(); });
}

Result QtWindowDelegate::setFullscreenWindow(SharedPtr<Object> obj, bool fullscreen) const
{
    if (fullscreen)
        return apply(
            obj, [](QWidget *w) { w->showFullScreen(); }, [](QWindow *w) { w->showFullScreen(); });
    return restoreWindow(obj);
}

Result QtWindowDelegate::setForegroundWindow(SharedPtr<Object> obj) const
{
    return apply(
        obj,
        [](QWidget *w) {
            if (w->isMinimized())
                w->showNormal();
            w->raise();
            w->activateWindow();
        },
        [](QWindow *w) {
            if (w->windowState() & Qt::WindowMinimized)
                w->showNormal();
            w->raise();
            w->requestActivate();
        });
}

Result QtWindowDelegate::setFocusedWindow(SharedPtr<Object> obj) const
{
    return apply(
        obj, [](QWidget *w) { w->activateWindow(); }, [](QWindow *w) { w->requestActivate(); });
}

FunctionCallResult<SharedPtr<Object>> QtWindowDelegate::focusedWindow() const
{
    if (qobject_cast<QApplication *>(QCoreApplication::instance()))
        if (QWidget *active = QApplication::activeWindow())
            return QtObjectRegistry::wrap(active);
    // A widget's own QWindow stands for the widget, which answered above.
    QWindow *focus = QGuiApplication::focusWindow();
    if (focus && !focus->inherits("QWidgetWindow"))
        return QtObjectRegistry::wrap(focus);
    return SharedPtr<Object>();
}

FunctionCallResult<Rect<2>> QtWindowDelegate::windowGeometry(SharedPtr<Object> obj) const
{
    const FunctionCallResult<TopLevel> top = topLevelOf(obj);
    if (top.isError())
        return FunctionCallResult<Rect<2>>::failure(top.error);
    const QRect frame =
        top.value.widget ? top.value.widget->frameGeometry() : top.value.window->frameGeometry();
    return Rect<2>(frame.x(), frame.y(), frame.width(), frame.height());
}

} // namespace Tolvex
