// Without Qt Quick in the build no object is a Quick one.

#include "qtquick.h"

namespace Tolvex::QtQuickSupport {

bool isItem(const QObject *)
{
    return false;
}

bool isWindow(const QObject *)
{
    return false;
}

bool appendChildren(QObject *, QList<QObject *> *)
{
    return false;
}

bool parent(QObject *, QObject **)
{
    return false;
}

QObject *itemWindow(const QObject *)
{
    return nullptr;
}

bool isOffscreenWindow(QWindow *)
{
    return false;
}

bool logicalBounds(const QObject *, QRect *)
{
    return false;
}

bool isItemVisible(const QObject *)
{
    return false;
}

bool isItemEnabled(const QObject *)
{
    return false;
}

QString qmlId(const QObject *)
{
    return QString();
}

QObject *coveringItem(QObject *, const QPoint &, bool *found)
{
    *found = false;
    return nullptr;
}

QObject *inputItemAt(QObject *, const QPoint &)
{
    return nullptr;
}

QObject *activeFocusItem(QObject *)
{
    return nullptr;
}

QObject *pressGrabber(const QPointerEvent *)
{
    return nullptr;
}

bool isItemView(const QObject *)
{
    return false;
}

FunctionCallResult<QObject *> viewItem(QObject *, const QString &)
{
    return FunctionCallResult<QObject *>::failure(QStringLiteral("Qt Quick is not supported"));
}

FunctionCallResult<QObject *> viewItem(QObject *, int, int)
{
    return FunctionCallResult<QObject *>::failure(QStringLiteral("Qt Quick is not supported"));
}

QImage grab(QObject *)
{
    return QImage();
}

} // namespace Tolvex::QtQuickSupport
