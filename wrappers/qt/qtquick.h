#pragma once

// What the wrapper knows of Qt Quick, in one place: the visual tree of items,
// their geometry, QML ids, input hit tests, the item views of QML and the
// pictures of items. Built against Qt Quick when the build has it; without
// it every object is a non-Quick one (qtquick_none.cpp).

#include "functioncallresult.h"

#include <QImage>
#include <QList>
#include <QPoint>
#include <QRect>
#include <QString>

class QObject;
class QPointerEvent;
class QWindow;

namespace Tolvex::QtQuickSupport {

bool isItem(const QObject *object);
bool isWindow(const QObject *object);

// The children of an item or of a Quick window, in order; false, and out
// untouched, for any other object.
bool appendChildren(QObject *object, QList<QObject *> *out);
// The parent of an item: its visual parent, the window for a content item;
// false for any other object.
bool parent(QObject *object, QObject **parent);
// The window an item is shown in, or null.
QObject *itemWindow(const QObject *item);
// A window that renders for another one (that of a Quick widget), which
// never shows on the screen itself.
bool isOffscreenWindow(QWindow *window);

// The bounds of an item in logical global coordinates; false for a
// non-item.
bool logicalBounds(const QObject *item, QRect *bounds);
bool isItemVisible(const QObject *item);
bool isItemEnabled(const QObject *item);
// The id the object has in the QML document that made it, or empty.
QString qmlId(const QObject *object);

// What takes a click at a global logical point of an item's window: null
// when the item itself (or one of its descendants) does, else the topmost
// item above it that takes pointer input. found tells whether the item
// lies at the point at all.
QObject *coveringItem(QObject *item, const QPoint &globalPoint, bool *found);
// The item that takes pointer input at a global logical point of a window,
// or null.
QObject *inputItemAt(QObject *window, const QPoint &globalPoint);
QObject *activeFocusItem(QObject *window);
// The item that took the press of a release event a Quick window is about
// to deliver (the item of a pointer handler that took it), or null.
QObject *pressGrabber(const QPointerEvent *event);

// The item views of QML: ListView, GridView, PathView, TableView, Repeater.
bool isItemView(const QObject *object);
// The delegate item that shows a text, or that stands at a row and a
// column, brought into view first; the error text says why there is none.
FunctionCallResult<QObject *> viewItem(QObject *view, const QString &text);
FunctionCallResult<QObject *> viewItem(QObject *view, int row, int column);

// The pixels of an item or a Quick window, rendered by Qt Quick.
QImage grab(QObject *object);

} // namespace Tolvex::QtQuickSupport
