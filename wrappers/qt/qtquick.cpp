#include "qtquick.h"

#include "qtobjecttree.h"
#include "qtvalueconversion.h"

#include <QAbstractItemModel>
#include <QEventPoint>
#include <QMetaObject>
#include <QPointerEvent>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickRenderControl>
#include <QQuickWindow>
#include <QStringList>
#include <QVariant>

#include <algorithm>

namespace Tolvex::QtQuickSupport {

namespace {

QQuickItem *asItem(const QObject *object)
{
    return qobject_cast<QQuickItem *>(const_cast<QObject *>(object));
}

QQuickWindow *asWindow(const QObject *object)
{
    return qobject_cast<QQuickWindow *>(const_cast<QObject *>(object));
}

// The children of an item in the order they are painted, bottom first.
QList<QQuickItem *> paintOrder(const QQuickItem *item)
{
    QList<QQuickItem *> children = item->childItems();
    std::stable_sort(children.begin(), children.end(),
                     [](const QQuickItem *a, const QQuickItem *b) { return a->z() < b->z(); });
    return children;
}

// Pointer handlers (TapHandler and the like) are children of the item they
// serve.
bool hasPointerHandler(const QQuickItem *item)
{
    for (const QObject *child : item->children())
        if (child->inherits("QQuickPointerHandler"))
            return true;
    return false;
}

// Text items accept the left button for their links only, and pass every
// other press on.
bool takesPointerInput(const QQuickItem *item)
{
    if (item->inherits("QQuickText"))
        return false;
    return item->acceptedMouseButtons() != Qt::NoButton || item->acceptTouchEvents() ||
           hasPointerHandler(item);
}

// The items that contain a scene point, topmost first, as event delivery
// meets them: a clipping item hides what of its children lies outside it.
void itemsAt(QQuickItem *item, const QPointF &scenePoint, QList<QQuickItem *> *out)
{
    if (!item->isVisible())
        return;
    const bool inside = item->contains(item->mapFromScene(scenePoint));
    if (item->clip() && !inside)
        return;
    const QList<QQuickItem *> children = paintOrder(item);
    for (auto it = children.crbegin(); it != children.crend(); ++it)
        itemsAt(*it, scenePoint, out);
    if (inside)
        out->append(item);
}

QList<QQuickItem *> itemsAtGlobal(QQuickWindow *window, const QPoint &globalPoint)
{
    QList<QQuickItem *> items;
    if (window && window->contentItem())
        itemsAt(window->contentItem(), QPointF(window->mapFromGlobal(globalPoint)), &items);
    return items;
}

bool inheritsAny(const QObject *object, std::initializer_list<const char *> names)
{
    for (const char *name : names)
        if (object->inherits(name))
            return true;
    return false;
}

// --- Item views ------------------------------------------------------------

enum class ViewKind { List, Grid, Path, Table, Repeater };

ViewKind viewKind(const QObject *view)
{
    if (view->inherits("QQuickGridView"))
        return ViewKind::Grid;
    if (view->inherits("QQuickPathView"))
        return ViewKind::Path;
    if (view->inherits("QQuickTableView"))
        return ViewKind::Table;
    if (view->inherits("QQuickRepeater"))
        return ViewKind::Repeater;
    return ViewKind::List;
}

QQuickItem *invokeForItem(QObject *view, const char *method, QGenericArgument a1,
                          QGenericArgument a2 = QGenericArgument())
{
    QQuickItem *item = nullptr;
    QMetaObject::invokeMethod(view, method, Qt::DirectConnection, Q_RETURN_ARG(QQuickItem *, item),
                              a1, a2);
    return item;
}

// The delegate of an index, made and brought into view if the view has
// not made it yet or shows it only in part.
QQuickItem *delegateAt(QObject *view, ViewKind kind, int index, int row, int column)
{
    switch (kind) {
    case ViewKind::Repeater:
        return invokeForItem(view, "itemAt", Q_ARG(int, index));
    case ViewKind::Table: {
        QQuickItem *item = invokeForItem(view, "itemAtCell", Q_ARG(int, column), Q_ARG(int, row));
        if (!item) {
            // The mode is an enumerator of the view's own; its key converts.
            QtValueConversion::invoke(view, "positionViewAtCell",
                                      {QPoint(column, row), QStringLiteral("Contain")});
            item = invokeForItem(view, "itemAtCell", Q_ARG(int, column), Q_ARG(int, row));
        }
        return item;
    }
    case ViewKind::List:
    case ViewKind::Grid:
    case ViewKind::Path:
        break;
    }
    QQuickItem *item = invokeForItem(view, "itemAtIndex", Q_ARG(int, index));
    const auto *flickable = asItem(view);
    const bool shown = item && flickable &&
                       QRectF(QPointF(0, 0), flickable->size())
                           .contains(item->mapRectToItem(flickable, item->boundingRect()));
    if (!shown) {
        // ItemView.Contain (PathView.Contain for a path view)
        const int mode = kind == ViewKind::Path ? 2 : 4;
        QMetaObject::invokeMethod(view, "positionViewAtIndex", Qt::DirectConnection,
                                  Q_ARG(int, index), Q_ARG(int, mode));
        item = invokeForItem(view, "itemAtIndex", Q_ARG(int, index));
    }
    return item;
}

int viewCount(const QObject *view)
{
    return view->property("count").toInt();
}

int gridColumns(const QQuickItem *view)
{
    const qreal cellWidth = view->property("cellWidth").toReal();
    return cellWidth > 0 ? qMax(1, int(view->width() / cellWidth)) : 1;
}

QString displayText(const QVariant &value)
{
    return value.canConvert<QString>() ? value.toString() : QString();
}

// Whether any role of a model row holds the text.
bool rowShows(const QAbstractItemModel *model, const QModelIndex &index, const QString &text)
{
    const QHash<int, QByteArray> roles = model->roleNames();
    for (auto it = roles.cbegin(); it != roles.cend(); ++it)
        if (displayText(model->data(index, it.key())) == text)
            return true;
    return false;
}

bool valueShows(const QVariant &value, const QString &text)
{
    if (value.typeId() == QMetaType::QVariantMap) {
        const QVariantMap map = value.toMap();
        return std::any_of(map.cbegin(), map.cend(),
                           [&text](const QVariant &v) { return displayText(v) == text; });
    }
    return displayText(value) == text;
}

// The index of the first model entry that holds the text, -1 if none does,
// -2 when the model cannot be read this way.
int modelIndexOf(const QObject *view, const QString &text, int *row, int *column)
{
    const QVariant model = view->property("model");
    if (auto *m = qobject_cast<QAbstractItemModel *>(model.value<QObject *>())) {
        for (int r = 0; r < m->rowCount(); ++r) {
            for (int c = 0; c < m->columnCount(); ++c) {
                if (rowShows(m, m->index(r, c), text)) {
                    *row = r;
                    *column = c;
                    return r;
                }
            }
        }
        return -1;
    }
    if (model.canConvert<QVariantList>() && model.typeId() != QMetaType::QString) {
        const QVariantList list = model.toList();
        for (int i = 0; i < list.size(); ++i) {
            if (valueShows(list.at(i), text)) {
                *row = i;
                *column = 0;
                return i;
            }
        }
        return -1;
    }
    return -2;
}

// Whether the delegate item or one of its descendants shows the text.
bool itemShows(QObject *item, const QString &text)
{
    const QVariant own = item->property("text");
    if (own.isValid() && own.toString() == text)
        return true;
    bool found = false;
    QtObjectTree::walk(item, [&](QObject *o) {
        const QVariant t = o->property("text");
        found = t.isValid() && t.toString() == text;
        return !found;
    });
    return found;
}

} // namespace

bool isItem(const QObject *object)
{
    return asItem(object) != nullptr;
}

bool isWindow(const QObject *object)
{
    return asWindow(object) != nullptr;
}

bool appendChildren(QObject *object, QList<QObject *> *out)
{
    if (QQuickWindow *window = asWindow(object)) {
        QQuickItem *content = window->contentItem();
        if (content)
            out->append(content);
        for (QObject *child : window->children())
            if (child != content && !asItem(child) && !QtObjectTree::isAgentObject(child))
                out->append(child);
        return true;
    }
    QQuickItem *item = asItem(object);
    if (!item)
        return false;
    const QList<QQuickItem *> visual = item->childItems();
    for (QQuickItem *child : visual)
        out->append(child);
    // Non-visual children, and items that have no visual parent but this
    // object as their owner.
    for (QObject *child : item->children()) {
        QQuickItem *childItem = asItem(child);
        if (childItem && (childItem->parentItem() || visual.contains(childItem)))
            continue;
        if (!QtObjectTree::isAgentObject(child))
            out->append(child);
    }
    return true;
}

bool parent(QObject *object, QObject **parent)
{
    QQuickItem *item = asItem(object);
    if (!item)
        return false;
    if (QQuickItem *up = item->parentItem())
        *parent = up;
    else if (item->window() && item->window()->contentItem() == item)
        *parent = item->window();
    else
        *parent = item->parent();
    return true;
}

QObject *itemWindow(const QObject *item)
{
    const QQuickItem *i = asItem(item);
    return i ? i->window() : nullptr;
}

bool isOffscreenWindow(QWindow *window)
{
    QQuickWindow *quick = asWindow(window);
    return quick && QQuickRenderControl::renderWindowFor(quick) != nullptr;
}

bool logicalBounds(const QObject *object, QRect *bounds)
{
    const QQuickItem *item = asItem(object);
    if (!item)
        return false;
    const QQuickWindow *window = item->window();
    if (!window) {
        *bounds = QRect(0, 0, -1, -1);
        return true;
    }
    const QRectF scene = item->mapRectToScene(QRectF(QPointF(0, 0), item->size()));
    const QPoint topLeft = window->mapToGlobal(scene.topLeft().toPoint());
    *bounds = QRect(topLeft, QSize(qRound(scene.width()), qRound(scene.height())));
    return true;
}

bool isItemVisible(const QObject *object)
{
    const QQuickItem *item = asItem(object);
    return item && item->isVisible() && item->window() && item->window()->isVisible();
}

bool isItemEnabled(const QObject *object)
{
    const QQuickItem *item = asItem(object);
    return item && item->isEnabled();
}

QString qmlId(const QObject *object)
{
    const QQmlContext *context = qmlContext(object);
    return context ? context->nameForObject(object) : QString();
}

QObject *coveringItem(QObject *object, const QPoint &globalPoint, bool *found)
{
    *found = false;
    QQuickItem *item = asItem(object);
    if (!item)
        return nullptr;
    for (QQuickItem *candidate : itemsAtGlobal(item->window(), globalPoint)) {
        if (candidate == item || item->isAncestorOf(candidate)) {
            *found = true;
            return nullptr;
        }
        if (takesPointerInput(candidate) && !candidate->isAncestorOf(item))
            return candidate;
    }
    return nullptr;
}

QObject *inputItemAt(QObject *window, const QPoint &globalPoint)
{
    for (QQuickItem *candidate : itemsAtGlobal(asWindow(window), globalPoint))
        if (takesPointerInput(candidate))
            return candidate;
    return nullptr;
}

QObject *activeFocusItem(QObject *window)
{
    QQuickWindow *w = asWindow(window);
    return w ? w->activeFocusItem() : nullptr;
}

QObject *pressGrabber(const QPointerEvent *event)
{
    if (!event || event->points().isEmpty())
        return nullptr;
    QObject *grabber = event->exclusiveGrabber(event->points().constFirst());
    if (grabber && !asItem(grabber))
        grabber = grabber->parent();
    return asItem(grabber) ? grabber : nullptr;
}

bool isItemView(const QObject *object)
{
    return inheritsAny(object,
                       {"QQuickItemView", "QQuickPathView", "QQuickTableView", "QQuickRepeater"});
}

FunctionCallResult<QObject *> viewItem(QObject *view, const QString &text)
{
    using Result = FunctionCallResult<QObject *>;
    const ViewKind kind = viewKind(view);
    int row = -1;
    int column = -1;
    int index = modelIndexOf(view, text, &row, &column);
    if (index == -2) {
        // A model that only the delegates show: look at those made so far.
        index = -1;
        const int count = kind == ViewKind::Table ? 0 : viewCount(view);
        for (int i = 0; i < count && index < 0; ++i) {
            QQuickItem *item = delegateAt(view, kind, i, i, 0);
            if (item && itemShows(item, text)) {
                index = i;
                row = i;
                column = 0;
            }
        }
    }
    if (index < 0)
        return Result::failure(QStringLiteral("the view has no item '%1'").arg(text));
    if (kind == ViewKind::Grid)
        index = row;
    QQuickItem *item = delegateAt(view, kind, index, row, column);
    if (!item)
        return Result::failure(QStringLiteral("the item '%1' has no delegate item").arg(text));
    return Result(item);
}

FunctionCallResult<QObject *> viewItem(QObject *view, int row, int column)
{
    using Result = FunctionCallResult<QObject *>;
    const ViewKind kind = viewKind(view);
    const QString where = QStringLiteral("row %1, column %2").arg(row).arg(column);
    int index = row;
    if (kind == ViewKind::Table) {
        const int rows = view->property("rows").toInt();
        const int columns = view->property("columns").toInt();
        if (row < 0 || column < 0 || row >= rows || column >= columns)
            return Result::failure(QStringLiteral("%1 is outside the table of %2 rows and %3 "
                                                  "columns")
                                       .arg(where)
                                       .arg(rows)
                                       .arg(columns));
    } else {
        const int count = viewCount(view);
        const int columns = kind == ViewKind::Grid ? gridColumns(asItem(view)) : 1;
        index = row * columns + column;
        if (row < 0 || column < 0 || column >= columns || index >= count)
            return Result::failure(
                QStringLiteral("%1 is outside the view of %2 items in %3 column(s)")
                    .arg(where)
                    .arg(count)
                    .arg(columns));
    }
    QQuickItem *item = delegateAt(view, kind, index, row, column);
    if (!item)
        return Result::failure(QStringLiteral("%1 has no delegate item").arg(where));
    return Result(item);
}

QImage grab(QObject *object)
{
    if (QQuickWindow *window = asWindow(object))
        return window->grabWindow();
    QQuickItem *item = asItem(object);
    if (!item || !item->window())
        return QImage();
    const QImage whole = item->window()->grabWindow();
    const qreal ratio = item->window()->devicePixelRatio();
    const QRectF scene = item->mapRectToScene(QRectF(QPointF(0, 0), item->size()));
    return whole.copy(QRectF(scene.topLeft() * ratio, scene.size() * ratio).toRect());
}

} // namespace Tolvex::QtQuickSupport
