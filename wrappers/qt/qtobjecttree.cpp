#include "qtobjecttree.h"

#include "qtquick.h"

#include <QAction>
#include <QApplication>
#include <QThread>
#include <QWidget>
#include <QWindow>

#include <algorithm>
#include <cstring>

namespace Tolvex {

namespace {

// Never-shown top-level widgets have no creation order that Qt keeps; this
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

// The application object and the top-level windows in the order they were
// created: the top-level objects but the widgets that were never shown.
QList<QObject *> shownRoots()
{
    QList<QObject *> result;
    QCoreApplication *app = QCoreApplication::instance();
    if (!app)
        return result;
    result.append(app);
    if (!qobject_cast<QGuiApplication *>(app))
        return result;
    const bool widgets = qobject_cast<QApplication *>(app) != nullptr;
    for (QWindow *window : QGuiApplication::topLevelWindows()) {
        if (QtObjectTree::isAgentObject(window))
            continue;
        // The native windows of widgets stand for their widgets.
        if (window->inherits("QWidgetWindow")) {
            QWidget *w = widgets && window->handle() ? QWidget::find(window->winId()) : nullptr;
            if (w && w->isWindow() && !w->parent() && !QtObjectTree::isAgentObject(w))
                result.append(w);
            continue;
        }
        if (window->QObject::parent() || QtQuickSupport::isOffscreenWindow(window))
            continue;
        result.append(window);
    }
    return result;
}

// The top-level widgets without a native window, which come last.
QList<QObject *> unshownRoots()
{
    QList<QWidget *> unshown;
    if (qobject_cast<QApplication *>(QCoreApplication::instance())) {
        for (QWidget *w : QApplication::topLevelWidgets())
            if (!w->parent() && !(w->windowHandle() && w->windowHandle()->handle()) &&
                !QtObjectTree::isAgentObject(w))
                unshown.append(w);
    }
    std::stable_sort(unshown.begin(), unshown.end(), unshownBefore);
    return QList<QObject *>(unshown.cbegin(), unshown.cend());
}

// Objects of other threads cannot be touched from the agent's thread; the
// children of an object live in its thread.
bool isListed(const QObject *root)
{
    return root->thread() == QThread::currentThread();
}

// An action owned by an object outside the tree (a plain QObject that holds
// an application's actions, say) hangs below the first widget it is in,
// such as its menu: otherwise a tester could not reach the items of that
// menu. Actions owned within the tree stay below their owners.
QWidget *adoptingWidget(const QObject *object)
{
    const auto *action = qobject_cast<const QAction *>(object);
    if (!action)
        return nullptr;
    const QObject *top = action;
    while (top->parent())
        top = top->parent();
    if (top != action &&
        (top == QCoreApplication::instance() || top->isWidgetType() || top->isWindowType()))
        return nullptr;
    for (QObject *associated : action->associatedObjects())
        if (associated->isWidgetType())
            return static_cast<QWidget *>(associated);
    return nullptr;
}

} // namespace

bool QtObjectTree::isAgentObject(const QObject *object)
{
    return std::strncmp(object->metaObject()->className(), "Tolvex::", 8) == 0;
}

QList<QObject *> QtObjectTree::roots()
{
    QList<QObject *> result = shownRoots();
    result.append(unshownRoots());
    result.removeIf([](QObject *o) { return !isListed(o); });
    return result;
}

void QtObjectTree::appendChildren(QObject *object, QList<QObject *> *out)
{
    if (!object)
        return;
    // Widgets are never Quick items, and the agent puts nothing of its own
    // below a widget.
    if (object->isWidgetType()) {
        out->append(object->children());
        for (QAction *action : static_cast<QWidget *>(object)->actions())
            if (adoptingWidget(action) == object)
                out->append(action);
        return;
    }
    if (QtQuickSupport::appendChildren(object, out))
        return;
    for (QObject *child : object->children())
        if (!isAgentObject(child))
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
    if (QWidget *adopter = adoptingWidget(object))
        return adopter;
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
    QList<QObject *> kids;
    const auto below = [&](const QList<QObject *> &starts) {
        stack.clear();
        for (auto it = starts.crbegin(); it != starts.crend(); ++it)
            stack.append(*it);
        while (!stack.isEmpty()) {
            QObject *o = stack.takeLast();
            if (!visit(o))
                return false;
            kids.clear();
            appendChildren(o, &kids);
            for (auto it = kids.crbegin(); it != kids.crend(); ++it)
                stack.append(*it);
        }
        return true;
    };
    if (root)
        return below(children(root));
    // The widgets that were never shown are listed only when the walk gets
    // that far: finding them means looking at every widget.
    QList<QObject *> shown = shownRoots();
    shown.removeIf([](QObject *o) { return !isListed(o); });
    if (!below(shown))
        return false;
    QList<QObject *> unshown = unshownRoots();
    unshown.removeIf([](QObject *o) { return !isListed(o); });
    return below(unshown);
}

} // namespace Tolvex
