#include "qtitemviews.h"

#include "inspector.h"
#include "object.h"
#include "objectname.h"
#include "qtitemclass.h"
#include "qtnaming.h"
#include "qtobjectregistry.h"
#include "qtquick.h"
#include "qtreadiness.h"

#include <QAbstractItemView>
#include <QPersistentModelIndex>
#include <QTreeView>

namespace Tolvex {

namespace {

const QString ItemType = QStringLiteral("ItemViewItem");

// The first index that shows the text, row by row in the order a tree
// shows them: each row's columns, then the rows below it.
QModelIndex findText(const QAbstractItemModel *model, const QModelIndex &parent,
                     const QString &text)
{
    const int rows = model->rowCount(parent);
    const int columns = model->columnCount(parent);
    for (int r = 0; r < rows; ++r) {
        for (int c = 0; c < columns; ++c) {
            const QModelIndex index = model->index(r, c, parent);
            if (QtItemClass::text(index) == text)
                return index;
        }
        const QModelIndex first = model->index(r, 0, parent);
        if (model->hasChildren(first)) {
            const QModelIndex below = findText(model, first, text);
            if (below.isValid())
                return below;
        }
    }
    return QModelIndex();
}

// Expands what hides the index in a tree, and scrolls it into view.
void bringIntoView(QAbstractItemView *view, const QModelIndex &index)
{
    if (auto *tree = qobject_cast<QTreeView *>(view)) {
        for (QModelIndex p = index.parent(); p.isValid(); p = p.parent())
            tree->expand(p);
    }
    if (!view->visualRect(index).isValid())
        view->doItemsLayout();
    view->scrollTo(index, QAbstractItemView::EnsureVisible);
}

SharedPtr<Object> readiedItem(QAbstractItemView *view, const QModelIndex &index,
                              const QString &what, QString *error)
{
    bringIntoView(view, index);
    SharedPtr<Object> item = QtItemClass::wrapItem(view, index);
    const QString reason = QtItemViews::notReadyReason(item);
    if (reason.isEmpty())
        return item;
    *error = what + QStringLiteral(" not ready: ") + reason;
    return nullptr;
}

SharedPtr<Object> readiedDelegate(const FunctionCallResult<QObject *> &found, const QString &what,
                                  QObject *view, QString *error)
{
    if (found.isError()) {
        *error = QStringLiteral("No %1 in %2: %3").arg(what, QtNaming::realName(view), found.error);
        return nullptr;
    }
    const QString reason = QtReadiness::notReadyReason(found.value);
    if (!reason.isEmpty()) {
        *error = what + QStringLiteral(" not ready: ") + reason;
        return nullptr;
    }
    return QtObjectRegistry::wrap(found.value);
}

QString noItemView(QObject *object)
{
    return QStringLiteral("%1 is no item view").arg(QtNaming::realName(object));
}

PropertyValue exact(const QString &text, PropertyValue::Type type = PropertyValue::String)
{
    return PropertyValue(text, PropertyValue::Exact, type);
}

} // namespace

bool QtItemViews::isView(const QObject *object)
{
    return qobject_cast<const QAbstractItemView *>(object) || QtQuickSupport::isItemView(object);
}

SharedPtr<Object> QtItemViews::readyItem(QObject *object, const QString &text, QString *error)
{
    const QString what = QStringLiteral("item '%1'").arg(text);
    if (auto *view = qobject_cast<QAbstractItemView *>(object)) {
        const QAbstractItemModel *model = view->model();
        const QModelIndex index = model ? findText(model, view->rootIndex(), text) : QModelIndex();
        if (!index.isValid()) {
            *error = QStringLiteral("No %1 in %2").arg(what, QtNaming::realName(view));
            return nullptr;
        }
        return readiedItem(view, index, QStringLiteral("Item '%1'").arg(text), error);
    }
    if (QtQuickSupport::isItemView(object))
        return readiedDelegate(QtQuickSupport::viewItem(object, text), what, object, error);
    *error = noItemView(object);
    return nullptr;
}

SharedPtr<Object> QtItemViews::readyItem(QObject *object, int row, int column, QString *error)
{
    const QString what = QStringLiteral("item at row %1, column %2").arg(row).arg(column);
    if (auto *view = qobject_cast<QAbstractItemView *>(object)) {
        const QAbstractItemModel *model = view->model();
        const QModelIndex root = view->rootIndex();
        const QModelIndex index = model ? model->index(row, column, root) : QModelIndex();
        if (!index.isValid()) {
            const int rows = model ? model->rowCount(root) : 0;
            const int columns = model ? model->columnCount(root) : 0;
            *error = QStringLiteral("No %1 in %2: it has %3 rows and %4 columns")
                         .arg(what, QtNaming::realName(view))
                         .arg(rows)
                         .arg(columns);
            return nullptr;
        }
        QString itemWhat = what;
        itemWhat[0] = itemWhat[0].toUpper();
        return readiedItem(view, index, itemWhat, error);
    }
    if (QtQuickSupport::isItemView(object))
        return readiedDelegate(QtQuickSupport::viewItem(object, row, column), what, object, error);
    *error = noItemView(object);
    return nullptr;
}

QString QtItemViews::notReadyReason(const SharedPtr<Object> &item)
{
    QAbstractItemView *view = nullptr;
    QModelIndex index;
    if (!QtItemClass::itemOf(item, &view, &index))
        return QStringLiteral("it no longer exists");
    const QPersistentModelIndex kept(index);
    const QPointer<QAbstractItemView> guard(view);
    QString reason = QtReadiness::notReadyReason(view->viewport(), [guard, kept] {
        return guard && kept.isValid() ? QtItemClass::logicalBounds(guard, kept)
                                       : QRect(0, 0, -1, -1);
    });
    if (!(index.flags() & Qt::ItemIsEnabled))
        reason = reason.isEmpty() ? QStringLiteral("it is disabled")
                                  : QStringLiteral("it is disabled; ") + reason;
    return reason;
}

SharedPtr<Object> QtItemViews::findByName(const QMap<QString, PropertyValue> &properties)
{
    if (properties.value(QStringLiteral("type")).stringValue() != ItemType)
        return nullptr;
    const PropertyValue container = properties.value(QStringLiteral("container"));
    auto *view = qobject_cast<QAbstractItemView *>(
        QtObjectRegistry::qobject(Inspector::self()->findObject(container.stringValue())));
    if (!view || !view->model())
        return nullptr;
    const QModelIndex root = view->rootIndex();
    QModelIndex index;
    bool rowOk = false;
    bool columnOk = false;
    const int row = properties.value(QStringLiteral("row")).stringValue().toInt(&rowOk);
    const int column = properties.value(QStringLiteral("column")).stringValue().toInt(&columnOk);
    const bool byText = properties.contains(QStringLiteral("text"));
    const QString text = properties.value(QStringLiteral("text")).stringValue();
    if (rowOk && columnOk)
        index = view->model()->index(row, column, root);
    else if (byText)
        index = findText(view->model(), root, text);
    if (!index.isValid() || (byText && QtItemClass::text(index) != text))
        return nullptr;
    return QtItemClass::wrapItem(view, index);
}

QString QtItemViews::realName(const SharedPtr<Object> &item)
{
    QAbstractItemView *view = nullptr;
    QModelIndex index;
    if (!QtItemClass::itemOf(item, &view, &index))
        return QString();
    QMap<QString, PropertyValue> properties;
    properties.insert(QStringLiteral("type"), exact(ItemType));
    properties.insert(QStringLiteral("container"),
                      exact(QtNaming::realName(view), PropertyValue::Object));
    // Rows and columns count below the view's root; deeper items are named
    // by their text.
    if (index.parent() == view->rootIndex()) {
        properties.insert(QStringLiteral("row"), exact(QString::number(index.row())));
        properties.insert(QStringLiteral("column"), exact(QString::number(index.column())));
    }
    const QString text = QtItemClass::text(index);
    if (!text.isEmpty())
        properties.insert(QStringLiteral("text"), exact(text));
    return qualifiedNameFromProperties(properties);
}

} // namespace Tolvex
