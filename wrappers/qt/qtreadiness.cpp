#include "qtreadiness.h"

#include "qtgeometrydelegate.h"
#include "qtnaming.h"
#include "qtobjecttree.h"
#include "qtquick.h"

#include <QAction>
#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QHash>
#include <QPointer>
#include <QPropertyAnimation>
#include <QScreen>
#include <QTimer>
#include <QWidget>
#include <QWindow>

namespace Tolvex {

namespace {

// A poll of the server that comes within this time of the previous one
// compares the geometry with what that one saw.
constexpr qint64 RecentLookMs = 1000;
// Otherwise two looks this far apart: more than one frame of an animation.
constexpr int FrameMs = 40;

struct Look
{
    QPointer<QObject> object;
    QRect bounds;
    qint64 at = 0;
};

QElapsedTimer &clock()
{
    static QElapsedTimer timer;
    if (!timer.isValid())
        timer.start();
    return timer;
}

// By object, and whether the look was at a part of it.
QHash<QPair<QObject *, bool>, Look> &looks()
{
    static QHash<QPair<QObject *, bool>, Look> table;
    return table;
}

QString quoted(const QString &text)
{
    return QLatin1Char('\'') + text + QLatin1Char('\'');
}

bool isEnabled(const QObject *object)
{
    if (object->isWidgetType())
        return static_cast<const QWidget *>(object)->isEnabled();
    if (QtQuickSupport::isItem(object))
        return QtQuickSupport::isItemEnabled(object);
    return true;
}

// The part of the bounds that the object's ancestors up to its window show
// (and the object itself, for a part of it): widgets clip their children,
// Quick items only where they say so.
QRect shownPart(QObject *object, QRect bounds, bool part)
{
    // A window (a popup menu, a dialog) is not clipped by the widgets it
    // belongs to.
    const bool isWindow =
        object->isWindowType() ||
        (object->isWidgetType() && static_cast<const QWidget *>(object)->isWindow());
    if (isWindow && !part)
        return bounds;
    QObject *window = QtObjectTree::window(object);
    for (QObject *o = part ? object : QtObjectTree::parent(object); o && !bounds.isEmpty();
         o = QtObjectTree::parent(o)) {
        if (!QtObjectTree::isVisual(o))
            continue;
        if (o->isWidgetType() || o->isWindowType() || o->property("clip").toBool())
            bounds &= QtGeometryDelegate::logicalBounds(o);
        if (o == window)
            break;
    }
    return bounds;
}

QWindow *nativeWindowOf(QObject *object)
{
    QObject *window = QtObjectTree::window(object);
    if (!window)
        return nullptr;
    if (window->isWidgetType())
        return static_cast<QWidget *>(window)->windowHandle();
    return window->isWindowType() ? static_cast<QWindow *>(window) : nullptr;
}

QString onScreenProblem(QObject *object, const QRect &bounds, bool part)
{
    if (bounds.isEmpty())
        return QStringLiteral("it has no size on the screen");
    QWindow *window = nativeWindowOf(object);
    if (window && (!window->isExposed() || window->visibility() == QWindow::Minimized))
        return QStringLiteral("its window is not shown on the screen");
    const QRect shown = shownPart(object, bounds, part);
    if (shown.isEmpty())
        return QStringLiteral("it is not on the screen: it lies outside what its parents show");
    bool onAScreen = false;
    for (const QScreen *screen : QGuiApplication::screens())
        onAScreen = onAScreen || screen->geometry().intersects(shown);
    if (!onAScreen)
        return QStringLiteral("it is not on the screen: it lies outside every screen");
    return QString();
}

// How a window a test would recognise is called: its title, else its name.
QString windowText(QWindow *window)
{
    if (!window->title().isEmpty())
        return quoted(window->title());
    if (auto *app = qobject_cast<QApplication *>(QCoreApplication::instance())) {
        for (QWidget *w : app->topLevelWidgets())
            if (w->windowHandle() == window)
                return QtNaming::realName(w);
    }
    return QtNaming::realName(window);
}

bool isTransientDescendant(QWindow *window, const QWindow *ancestor)
{
    for (QWindow *w = window; w; w = w->transientParent())
        if (w == ancestor)
            return true;
    return false;
}

QString modalProblem(QObject *object)
{
    QWindow *modal = QGuiApplication::modalWindow();
    QWindow *own = nativeWindowOf(object);
    if (!modal || !own || isTransientDescendant(own, modal))
        return QString();
    const bool blocked =
        modal->modality() == Qt::ApplicationModal ||
        (modal->modality() == Qt::WindowModal && isTransientDescendant(modal, own));
    if (!blocked)
        return QString();
    return QStringLiteral("it is behind the modal window ") + windowText(modal);
}

bool animatesGeometry(const QPropertyAnimation *animation)
{
    static const QList<QByteArray> geometric = {
        "pos", "geometry", "size", "x", "y", "width", "height", "minimumSize", "maximumSize"};
    return animation->state() == QAbstractAnimation::Running &&
           geometric.contains(animation->propertyName());
}

// A running animation of the geometry of the object or of one of its
// ancestors, among the children of those and of the application.
bool isAnimated(QObject *object)
{
    QList<QObject *> chain;
    for (QObject *o = object; o; o = o->parent())
        chain.append(o);
    QList<QObject *> holders = chain;
    holders.append(QCoreApplication::instance());
    for (QObject *holder : std::as_const(holders)) {
        if (!holder)
            continue;
        for (QObject *child : holder->children()) {
            auto *animation = qobject_cast<QPropertyAnimation *>(child);
            if (animation && chain.contains(animation->targetObject()) &&
                animatesGeometry(animation))
                return true;
        }
    }
    return false;
}

// Lets timers run (not input, not the agent's own connection) for a frame.
void waitOneFrame()
{
    QEventLoop loop;
    QTimer::singleShot(FrameMs, &loop, &QEventLoop::quit);
    loop.exec(QEventLoop::ExcludeUserInputEvents | QEventLoop::ExcludeSocketNotifiers);
}

// Compares the geometry with that of the last poll, if it was recent, else
// with a second look a frame later. False when the object went meanwhile.
bool checkStability(QPointer<QObject> object, const std::function<QRect()> &bounds, bool part,
                    bool *stable)
{
    QObject *target = object.data();
    const QPair<QObject *, bool> key(target, part);
    QRect now = bounds();
    auto it = looks().constFind(key);
    const bool recent =
        it != looks().cend() && it->object == target && clock().elapsed() - it->at <= RecentLookMs;
    if (recent) {
        *stable = it->bounds == now;
    } else {
        waitOneFrame();
        if (!object)
            return false;
        const QRect later = bounds();
        *stable = later == now;
        now = later;
    }
    if (looks().size() > 1000)
        looks().clear();
    looks().insert(key, Look{object, now, clock().elapsed()});
    *stable = *stable && !isAnimated(target);
    return true;
}

// What takes a click at the point, if it is not the object or one of its
// descendants (or, for a part, the object that shows it): a name, else
// empty.
QString coveringProblem(QObject *object, const QPoint &point)
{
    const QString where =
        QStringLiteral(" at the point a click would use (%1, %2)").arg(point.x()).arg(point.y());
    QWindow *own = nativeWindowOf(object);
    QWindow *top = QGuiApplication::topLevelAt(point);
    if (own && top && top != own && !isTransientDescendant(own, top))
        return QStringLiteral("it is covered by the window ") + windowText(top) + where;
    if (object->isWidgetType()) {
        auto *widget = static_cast<QWidget *>(object);
        QWidget *hit = QApplication::widgetAt(point);
        if (!hit)
            return QStringLiteral("nothing of the application is") + where;
        if (hit == widget || widget->isAncestorOf(hit) ||
            (widget->testAttribute(Qt::WA_TransparentForMouseEvents) && hit->isAncestorOf(widget)))
            return QString();
        return QStringLiteral("it is covered by ") + QtNaming::realName(hit) + where;
    }
    if (QtQuickSupport::isItem(object)) {
        bool found = false;
        QObject *cover = QtQuickSupport::coveringItem(object, point, &found);
        if (cover)
            return QStringLiteral("it is covered by ") + QtNaming::realName(cover) + where;
        if (!found)
            return QStringLiteral("it is not at its own centre") + where;
    }
    return QString();
}

QString reasons(QObject *object, const std::function<QRect()> &boundsOf, bool part)
{
    if (!QtObjectTree::isVisual(object)) {
        if (auto *action = qobject_cast<QAction *>(object); action && !action->isEnabled())
            return QStringLiteral("it is disabled");
        return QString();
    }
    if (!QtGeometryDelegate::isShown(object))
        return QStringLiteral("it is not visible");
    QStringList problems;
    if (!isEnabled(object))
        problems.append(QStringLiteral("it is disabled"));
    const QRect bounds = boundsOf();
    const QString offScreen = onScreenProblem(object, bounds, part);
    const QString modal = modalProblem(object);
    if (!modal.isEmpty())
        problems.append(modal);
    if (!offScreen.isEmpty()) {
        problems.append(offScreen);
        return problems.join(QStringLiteral("; "));
    }
    QPointer<QObject> guard(object);
    bool stable = true;
    if (!checkStability(guard, boundsOf, part, &stable))
        return QStringLiteral("it was destroyed");
    if (!stable)
        problems.append(QStringLiteral("it is moving or changing size (an animation is running)"));
    if (modal.isEmpty()) {
        const QRect now = boundsOf();
        const QString covered =
            coveringProblem(object, QPoint(now.x() + now.width() / 2, now.y() + now.height() / 2));
        if (!covered.isEmpty())
            problems.append(covered);
    }
    return problems.join(QStringLiteral("; "));
}

} // namespace

QString QtReadiness::notReadyReason(QObject *object)
{
    if (!object)
        return QStringLiteral("it no longer exists");
    return reasons(
        object, [object] { return QtGeometryDelegate::logicalBounds(object); }, false);
}

QString QtReadiness::notReadyReason(QObject *object, const std::function<QRect()> &partBounds)
{
    if (!object)
        return QStringLiteral("it no longer exists");
    return reasons(object, partBounds, true);
}

} // namespace Tolvex
