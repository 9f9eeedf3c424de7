#include "qtobjecttree.h"

#include "qtquick.h"

#include <QApplication>
#include <QHash>
#include <QThread>
#include <QWidget>
#include <QWindow>

#include <algorithm>
#include <cstring>

namespace Tolvex {

namespace {

// Objects of other threads cannot be touched from the agent's thread.
bool isShown(const QObject *child, const QThread *thread)
{
    return child->thread() == thread && !QtObjectTree::isAgentObject(child);
}

// Unshown top-level widgets have no creation order that Qt keeps; this
// order is the same in every run as long as they differ in one of these.
bool unshownBefore(const QWidget *a, const QWidget *b)
{
    const int byClass = std::strcmp(a->metaObject()->className(), b->metaObject()->className());
    if (byClass != 0)
        return byClass < 0;
    if (a->objectName() != b->objectName())
        return a->objectName() < b->objectName();
    return a->windowTitle() < b->windowTitle();
}

} // namespace

bool QtObjectTree::isAgentObject(const QObject *object)
{
    return std::strncmp(object->metaObject()->className(), "Tolvex::", 8) == 0;
}

QList<QObject *> QtObjectTree::roots()
{
    QList<QObject *> result;
    QCoreApplication *app = QCoreApplication::instance();
    if (!app)
        return result;
    result.append(app);

    QHash<QWindow *, QWidget *> widgetOfWindow;
    QList<QWidget *> unshown;
    if (qobject_cast<QApplication *>(app)) {
        for (QWidget *w : QApplication::topLevelWidgets()) {
            // A window with a parent is reached through its parent.
            if (w->parent() || isAgentObject(w))
                continue;
            if (QWindow *handle = w->windowHandle())
                widgetOfWindow.insert(handle, w);
            else
                unshown.append(w);
        }
    }
    if (qobject_cast<QGuiApplication *>(app)) {
        for (QWindow *window : QGuiApplication::topLevelWindows()) {
            if (QWidget *w = widgetOfWindow.value(window)) {
                result.append(w);
                widgetOfWindow.remove(window);
                continue;
            }
            // The native windows of widgets stand for their widgets.
            if (window->inherits("QWidgetWindow") || window->QObject::parent() ||
                isAgentObject(window) || QtQuickSupport::isOffscreenWindow(window))
                continue;
            result.append(window);
        }
    }
    // Widgets whose native window is not top-level any more or not yet.
    for (QWidget *w : std::as_const(widgetOfWindow))
        unshown.append(w);
    std::stable_sort(unshown.begin(), unshown.end(), unshownBefore);
    for (QWidget *w : std::as_const(unshown))
        result.append(w);
    return result;
}

void QtObjectTree::appendChildren(QObject *object, QList<QObject *> *out)
{
    if (!object)
        return;
    if (QtQuickSupport::appendChildren(object, out))
        return;
    const QThread *thread = object->thread();
    for (QObject *child : object->children())
        if (isShown(child, thread))
            out->append(child);
}

QList<QObject *> QtObjectTree::children(QObject *object)
{
    QList<QObject *> result;
    appendChildren(object, &result);
    return result;
}

QObject *QtObjectTree::parent(QObject *object)
{
    if (!object)
        return nullptr;
    QObject *quickParent = nullptr;
    if (QtQuickSupport::parent(object, &quickParent))
        return quickParent;
    return object->parent();
}

bool QtObjectTree::isAncestorOf(const QObject *ancestor, QObject *object)
{
    for (QObject *o = parent(object); o; o = parent(o))
        if (o == ancestor)
            return true;
    return false;
}

bool QtObjectTree::isVisual(const QObject *object)
{
    return object->isWidgetType() || object->isWindowType() || QtQuickSupport::isItem(object);
}

QObject *QtObjectTree::window(QObject *object)
{
    for (QObject *o = object; o; o = parent(o)) {
        if (o->isWidgetType())
            return static_cast<QWidget *>(o)->window();
        if (o->isWindowType()) {
            QWindow *w = static_cast<QWindow *>(o);
            while (QWindow *up = w->parent())
                w = up;
            return w;
        }
        if (QtQuickSupport::isItem(o))
            return QtQuickSupport::itemWindow(o);
    }
    return nullptr;
}

bool QtObjectTree::walk(QObject *root, const std::function<bool(QObject *)> &visit)
{
    QList<QObject *> stack;
    if (root)
        appendChildren(root, &stack);
    else
        stack = roots();
    std::reverse(stack.begin(), stack.end());
    QList<QObject *> children;
    while (!stack.isEmpty()) {
        QObject *o = stack.takeLast();
        if (!visit(o))
            return false;
        children.clear();
        appendChildren(o, &children);
        for (auto it = children.crbegin(); it != children.crend(); ++it)
            stack.append(*it);
    }
    return true;
}

} // namespace Tolvex
