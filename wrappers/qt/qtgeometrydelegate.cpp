#include "qtgeometrydelegate.h"

#include "object.h"
#include "qtclass.h"
#include "qtobjectregistry.h"
#include "qtobjecttree.h"
#include "qtquick.h"

#include <QGuiApplication>
#include <QMetaObject>
#include <QScreen>
#include <QWidget>
#include <QWindow>

#include <cstring>

namespace Tolvex {

namespace {

bool inheritsClassNamed(const QMetaObject *mo, const char *name)
{
    for (; mo; mo = mo->superClass())
        if (std::strcmp(mo->className(), name) == 0)
            return true;
    return false;
}

QScreen *screenOf(const QObject *object)
{
    QScreen *screen = nullptr;
    if (object && object->isWidgetType())
        screen = static_cast<const QWidget *>(object)->screen();
    else if (object && object->isWindowType())
        screen = static_cast<const QWindow *>(object)->screen();
    else if (const QObject *window = object ? QtQuickSupport::itemWindow(object) : nullptr)
        screen = static_cast<const QWindow *>(window)->screen();
    return screen ? screen : QGuiApplication::primaryScreen();
}

Rect<2> toRect2(const QRect &r)
{
    return r.width() < 0 ? Rect<2>() : Rect<2>(r.x(), r.y(), r.width(), r.height());
}

} // namespace

void QtGeometryDelegate::addFor(const QtClass *c)
{
    const QMetaObject *mo = c->metaObject();
    if (mo->inherits(&QWidget::staticMetaObject) || mo->inherits(&QWindow::staticMetaObject) ||
        inheritsClassNamed(mo, "QQuickItem"))
        new QtGeometryDelegate(c->className());
}

QRect QtGeometryDelegate::logicalBounds(const QObject *object)
{
    if (!object)
        return QRect(0, 0, -1, -1);
    if (object->isWidgetType()) {
        const auto *w = static_cast<const QWidget *>(object);
        return QRect(w->mapToGlobal(QPoint(0, 0)), w->size());
    }
    if (object->isWindowType()) {
        const auto *w = static_cast<const QWindow *>(object);
        return QRect(w->mapToGlobal(QPoint(0, 0)), w->size());
    }
    QRect bounds;
    if (QtQuickSupport::logicalBounds(object, &bounds))
        return bounds;
    return QRect(0, 0, -1, -1);
}

bool QtGeometryDelegate::isShown(const QObject *object)
{
    if (!object)
        return false;
    if (object->isWidgetType())
        return static_cast<const QWidget *>(object)->isVisible();
    if (object->isWindowType())
        return static_cast<const QWindow *>(object)->isVisible();
    return QtQuickSupport::isItemVisible(object);
}

// The screen keeps its top-left corner in both coordinate systems; what
// lies beyond it is scaled by the screen's device pixel ratio.
QPoint QtGeometryDelegate::toNative(const QPoint &logical, const QObject *object)
{
    QScreen *screen = screenOf(object);
    if (!screen)
        return logical;
    const QPoint origin = screen->geometry().topLeft();
    const qreal ratio = screen->devicePixelRatio();
    return origin + QPoint(qRound((logical.x() - origin.x()) * ratio),
                           qRound((logical.y() - origin.y()) * ratio));
}

QRect QtGeometryDelegate::toNative(const QRect &logical, const QObject *object)
{
    if (logical.width() < 0 || logical.height() < 0)
        return logical;
    const QPoint topLeft = toNative(logical.topLeft(), object);
    const QPoint bottomRight =
        toNative(logical.topLeft() + QPoint(logical.width(), logical.height()), object);
    return QRect(topLeft, QSize(bottomRight.x() - topLeft.x(), bottomRight.y() - topLeft.y()));
}

Rect<2> QtGeometryDelegate::globalBounds(SharedPtr<Object> obj) const
{
    return toRect2(logicalBounds(QtObjectRegistry::qobject(obj)));
}

Rect<1> QtGeometryDelegate::nativeGlobalBounds(SharedPtr<Object> obj) const
{
    const QObject *object = QtObjectRegistry::qobject(obj);
    const QRect logical = logicalBounds(object);
    if (logical.width() < 0)
        return Rect<1>();
    const QRect native = toNative(logical, object);
    return Rect<1>(native.x(), native.y(), native.width(), native.height());
}

Point<1> QtGeometryDelegate::relativeToNative(SharedPtr<Object> obj, int x, int y) const
{
    const QObject *object = QtObjectRegistry::qobject(obj);
    const QRect logical = logicalBounds(object);
    if (logical.width() < 0)
        return Point<1>();
    const QPoint native = toNative(logical.topLeft() + QPoint(x, y), object);
    return Point<1>(native.x(), native.y());
}

bool QtGeometryDelegate::isVisible(SharedPtr<Object> obj) const
{
    return isShown(QtObjectRegistry::qobject(obj));
}

SharedPtr<Object> QtGeometryDelegate::window(SharedPtr<Object> obj) const
{
    return QtObjectRegistry::wrap(QtObjectTree::window(QtObjectRegistry::qobject(obj)));
}

} // namespace Tolvex
