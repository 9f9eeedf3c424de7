#include "qtitemclass.h"

#include "classregistrar.h"
#include "delegate.h"
#include "inspector.h"
#include "object.h"
#include "objectlist.h"
#include "primitiveclassid.h"
#include "property.h"
#include "qtclass.h"
#include "qtgeometrydelegate.h"
#include "qtitemviews.h"
#include "qtobjectregistry.h"

#include <QAbstractItemView>
#include <QItemSelectionModel>
#include <QPersistentModelIndex>

namespace Tolvex {

namespace {

struct ItemRef
{
    QPointer<QAbstractItemView> view;
    QPersistentModelIndex index;
};

enum ItemProperty { Text, Row, Column, Selected, Checked, Enabled, View, PropertyCount };

ItemRef *refOf(const SharedPtr<Object> &object)
{
    if (!object || object->isNull() || !QtItemClass::isItem(object))
        return nullptr;
    return static_cast<ItemRef *>(object->data());
}

bool isLive(const ItemRef *ref)
{
    return ref && ref->view && ref->index.isValid() && ref->index.model() == ref->view->model();
}

class ItemHierarchy : public ObjectHierarchyDelegate
{
public:
    ItemHierarchy() : ObjectHierarchyDelegate(QStringLiteral("ItemViewItem")) {}
    int numChildren(SharedPtr<Object>) const override { return 0; }
    SharedPtr<Object> child(SharedPtr<Object>, int) const override { return nullptr; }
    SharedPtr<Object> childByName(SharedPtr<Object>, const QString &) const override
    {
        return nullptr;
    }
    QString name(SharedPtr<Object> obj) const override
    {
        const ItemRef *ref = refOf(obj);
        return isLive(ref) ? QtItemClass::text(ref->index) : QString();
    }
    QString qualifiedName(SharedPtr<Object> obj) const override
    {
        return QtItemViews::realName(obj);
    }
    SharedPtr<Object> parent(SharedPtr<Object> obj) const override
    {
        const ItemRef *ref = refOf(obj);
        return ref ? QtObjectRegistry::wrap(ref->view) : nullptr;
    }
    int wrapperType(SharedPtr<Object>) const override { return 5; }
};

class ItemGeometry : public GeometryDelegate
{
public:
    ItemGeometry() : GeometryDelegate(QStringLiteral("ItemViewItem")) {}

    static QRect bounds(const SharedPtr<Object> &obj, QAbstractItemView **view)
    {
        const ItemRef *ref = refOf(obj);
        if (!isLive(ref))
            return QRect(0, 0, -1, -1);
        *view = ref->view;
        return QtItemClass::logicalBounds(ref->view, ref->index);
    }

    Rect<2> globalBounds(SharedPtr<Object> obj) const override
    {
        QAbstractItemView *view = nullptr;
        const QRect r = bounds(obj, &view);
        return r.width() < 0 ? Rect<2>() : Rect<2>(r.x(), r.y(), r.width(), r.height());
    }
    Rect<1> nativeGlobalBounds(SharedPtr<Object> obj) const override
    {
        QAbstractItemView *view = nullptr;
        const QRect r = bounds(obj, &view);
        if (r.width() < 0)
            return Rect<1>();
        const QRect n = QtGeometryDelegate::toNative(r, view);
        return Rect<1>(n.x(), n.y(), n.width(), n.height());
    }
    Point<1> relativeToNative(SharedPtr<Object> obj, int x, int y) const override
    {
        QAbstractItemView *view = nullptr;
        const QRect r = bounds(obj, &view);
        if (r.width() < 0)
            return Point<1>();
        const QPoint n = QtGeometryDelegate::toNative(r.topLeft() + QPoint(x, y), view);
        return Point<1>(n.x(), n.y());
    }
    bool isVisible(SharedPtr<Object> obj) const override
    {
        QAbstractItemView *view = nullptr;
        const QRect r = bounds(obj, &view);
        if (r.width() < 0 || !view->isVisible())
            return false;
        const QWidget *viewport = view->viewport();
        return QRect(viewport->mapToGlobal(QPoint(0, 0)), viewport->size()).intersects(r);
    }
    SharedPtr<Object> window(SharedPtr<Object> obj) const override
    {
        const ItemRef *ref = refOf(obj);
        return ref && ref->view ? QtObjectRegistry::wrap(ref->view->window()) : nullptr;
    }
};

} // namespace

const QtItemClass *QtItemClass::self()
{
    static const QtItemClass *c = [] {
        const ClassRegistrar batch;
        // The class of the "view" property comes first.
        QtClass::forMetaObject(&QAbstractItemView::staticMetaObject);
        auto *itemClass = new QtItemClass;
        new ItemHierarchy;
        new ItemGeometry;
        return itemClass;
    }();
    return c;
}

QtItemClass::QtItemClass() : Class("ItemViewItem", Inspector::self()->globalNamespace(), true)
{
    setNumConstructors(0);
    setNumMethods(0);
    setNumProperties(PropertyCount);
    setNumEvents(0);
    setNumEnums(0);
}

void QtItemClass::initSuperClass()
{
    setSuperClass(nullptr);
}

SharedPtr<Object> QtItemClass::wrapItem(QAbstractItemView *view, const QModelIndex &index)
{
    SharedPtr<Object> item =
        self()->wrap(new ItemRef{view, QPersistentModelIndex(index)}, ObjectAttribute::Pointer());
    item->setAutoDelete(true);
    return item;
}

bool QtItemClass::isItem(const SharedPtr<Object> &object)
{
    return object && object->type() == self();
}

bool QtItemClass::itemOf(const SharedPtr<Object> &object, QAbstractItemView **view,
                         QModelIndex *index)
{
    const ItemRef *ref = refOf(object);
    if (!isLive(ref))
        return false;
    *view = ref->view;
    *index = ref->index;
    return true;
}

QRect QtItemClass::logicalBounds(QAbstractItemView *view, const QModelIndex &index)
{
    const QRect r = view->visualRect(index);
    if (!r.isValid())
        return QRect(0, 0, -1, -1);
    return QRect(view->viewport()->mapToGlobal(r.topLeft()), r.size());
}

QString QtItemClass::text(const QModelIndex &index)
{
    return index.data(Qt::DisplayRole).toString();
}

void QtItemClass::deleteObjectData(void *data, const ObjectAttribute &) const
{
    delete static_cast<ItemRef *>(data);
}

Property *QtItemClass::createProperty(int id) const
{
    Inspector *inspector = Inspector::self();
    const auto make = [&](const char *name, int classId, unsigned int flags) {
        const ObjectAttribute attribute =
            classId == CharClassId ? ObjectAttribute::Pointer() : ObjectAttribute::Value();
        return new Property(this, Argument(inspector->type(classId), attribute),
                            QString::fromLatin1(name), flags, id);
    };
    const unsigned int readOnly = Property::Readable;
    const unsigned int readWrite = Property::Readable | Property::Writable;
    switch (id) {
    case Text:
        return make("text", CharClassId, readWrite);
    case Row:
        return make("row", IntClassId, readOnly);
    case Column:
        return make("column", IntClassId, readOnly);
    case Selected:
        return make("selected", BoolClassId, readWrite);
    case Checked:
        return make("checked", BoolClassId, readWrite);
    case Enabled:
        return make("enabled", BoolClassId, readOnly);
    case View:
        return new Property(this,
                            Argument(QtClass::existing(&QAbstractItemView::staticMetaObject),
                                     ObjectAttribute::Pointer()),
                            QStringLiteral("view"), readOnly, id);
    }
    return nullptr;
}

SharedPtr<Object> QtItemClass::getProperty(int id, void *data, const Class *) const
{
    const auto *ref = static_cast<const ItemRef *>(data);
    Inspector *inspector = Inspector::self();
    if (!isLive(ref)) {
        inspector->setError(QStringLiteral("The item no longer exists"));
        return nullptr;
    }
    const QModelIndex index = ref->index;
    switch (id) {
    case Text:
        return inspector->createPrimitive(text(index));
    case Row:
        return inspector->createPrimitive(index.row());
    case Column:
        return inspector->createPrimitive(index.column());
    case Selected:
        return inspector->createPrimitive(ref->view->selectionModel() &&
                                          ref->view->selectionModel()->isSelected(index));
    case Checked:
        return inspector->createPrimitive(index.data(Qt::CheckStateRole).toInt() == Qt::Checked);
    case Enabled:
        return inspector->createPrimitive(bool(index.flags() & Qt::ItemIsEnabled));
    case View:
        return QtObjectRegistry::wrap(ref->view);
    }
    return nullptr;
}

bool QtItemClass::setProperty(int id, void *data, void *value) const
{
    auto *ref = static_cast<ItemRef *>(data);
    if (!isLive(ref) || !value) {
        Inspector::self()->setError(QStringLiteral("The item no longer exists"));
        return false;
    }
    QAbstractItemModel *model = ref->view->model();
    switch (id) {
    case Text:
        return model->setData(ref->index, QString::fromUtf8(static_cast<const char *>(value)),
                              Qt::EditRole);
    case Selected:
        if (!ref->view->selectionModel())
            return false;
        ref->view->selectionModel()->select(ref->index, *static_cast<bool *>(value)
                                                            ? QItemSelectionModel::Select
                                                            : QItemSelectionModel::Deselect);
        return true;
    case Checked:
        return model->setData(ref->index, *static_cast<bool *>(value) ? Qt::Checked : Qt::Unchecked,
                              Qt::CheckStateRole);
    }
    return false;
}

bool QtItemClass::sameObjects(SharedPtr<Object> a, SharedPtr<Object> b) const
{
    const ItemRef *ra = refOf(a);
    const ItemRef *rb = refOf(b);
    if (!ra || !rb)
        return Class::sameObjects(a, b);
    return ra->view == rb->view && ra->index == rb->index;
}

bool QtItemClass::compare(SharedPtr<Object> a, SharedPtr<Object> b) const
{
    if (refOf(a) && refOf(b))
        return sameObjects(a, b);
    return Class::compare(a, b);
}

// An item reads as its text where a string is wanted.
bool QtItemClass::canConvertToInternal(const Class *target, bool, bool targetIsPointer) const
{
    return target && target->id() == CharClassId && targetIsPointer;
}

SharedPtr<Object> QtItemClass::convertToInternal(SharedPtr<Object> obj, const Class *target,
                                                 bool targetIsPointer) const
{
    const ItemRef *ref = refOf(obj);
    if (!isLive(ref) || !canConvertToInternal(target, true, targetIsPointer))
        return nullptr;
    return Inspector::self()->createPrimitive(text(ref->index));
}

} // namespace Tolvex
