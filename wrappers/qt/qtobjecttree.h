#pragma once

// The tree of QObjects that the agent shows: which objects are top-level,
// what the children and the parent of an object are, and the window an
// object belongs to. Plain QObject parenthood, except that Qt Quick items
// hang below their visual parents and a Quick window below it holds its
// content item. Everything here works on QObject pointers, without making
// objects of the object model, so that lookups can walk large trees cheaply.

#include <QList>

#include <functional>

class QObject;

namespace Tolvex {

class QtObjectTree
{
public:
    // The top-level objects in an order that is the same in every run of
    // the same application: the application object, the top-level windows
    // in the order they were created, then the top-level widgets that were
    // never shown, by class, object name and window title.
    static QList<QObject *> roots();

    static QList<QObject *> children(QObject *object);
    // Appends the children of object to out, in order.
    static void appendChildren(QObject *object, QList<QObject *> *out);
    // Null for a top-level object.
    static QObject *parent(QObject *object);
    static bool isAncestorOf(const QObject *ancestor, QObject *object);

    // The top-level window (a QWidget window, a Quick window or another
    // QWindow) that shows the object; for an object that is not shown
    // itself, that of its nearest ancestor that is. Null for none.
    static QObject *window(QObject *object);
    // Whether the object has a place on the screen of its own: a widget, a
    // window or a Quick item.
    static bool isVisual(const QObject *object);

    // Visits the objects below root in pre-order, root itself excluded; a
    // null root visits every top-level object and all below them. The walk
    // stops when visit answers false, and then walk answers false.
    static bool walk(QObject *root, const std::function<bool(QObject *)> &visit);

    // Objects the agent made for itself, which a test never addresses.
    static bool isAgentObject(const QObject *object);
};

} // namespace Tolvex
