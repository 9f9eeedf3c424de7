#include "qthierarchydelegate.h"

#include "classregistrar.h"
#include "object.h"
#include "objectlist.h"
#include "objectname.h"
#include "qtitemviews.h"
#include "qtnaming.h"
#include "qtobjectregistry.h"
#include "qtobjecttree.h"

#include <QObject>

namespace Tolvex {

namespace {

// A null object stands for the root: its children are the top-level
// objects. A dead object has none.
QList<QObject *> childrenOf(const SharedPtr<Object> &obj)
{
    if (!obj)
        return QtObjectTree::roots();
    QObject *object = QtObjectRegistry::qobject(obj);
    return object ? QtObjectTree::children(object) : QList<QObject *>();
}

} // namespace

int QtHierarchyDelegate::numChildren(SharedPtr<Object> obj) const
{
    if (!obj)
        m_askedForTopLevel = true;
    return int(childrenOf(obj).size());
}

SharedPtr<Object> QtHierarchyDelegate::child(SharedPtr<Object> obj, int index) const
{
    const QList<QObject *> children = childrenOf(obj);
    if (index < 0 || index >= children.size())
        return nullptr;
    return QtObjectRegistry::wrap(children.at(index));
}

ObjectList QtHierarchyDelegate::children(SharedPtr<Object> obj) const
{
    const QList<QObject *> children = childrenOf(obj);
    ObjectList result;
    result.reserve(size_t(children.size()));
    const ClassRegistrar batch;
    for (QObject *child : children)
        if (SharedPtr<Object> wrapped = QtObjectRegistry::wrap(child))
            result.push_back(wrapped);
    return result;
}

SharedPtr<Object> QtHierarchyDelegate::childByName(SharedPtr<Object> obj, const QString &name) const
{
    for (QObject *child : childrenOf(obj))
        if (QtNaming::shortName(child) == name)
            return QtObjectRegistry::wrap(child);
    return nullptr;
}

SharedPtr<Object> QtHierarchyDelegate::objectByQualifiedName(SharedPtr<Object> obj,
                                                             const ObjectName &name) const
{
    if (obj || !name.isValid() || !name.isMultiProperty())
        return nullptr;
    const QMap<QString, PropertyValue> properties = name.properties();
    if (SharedPtr<Object> item = QtItemViews::findByName(properties))
        return item;
    return QtObjectRegistry::wrap(QtNaming::find(properties));
}

QString QtHierarchyDelegate::name(SharedPtr<Object> obj) const
{
    QObject *object = QtObjectRegistry::qobject(obj);
    return object ? QtNaming::shortName(object) : QString();
}

QString QtHierarchyDelegate::qualifiedName(SharedPtr<Object> obj) const
{
    QObject *object = QtObjectRegistry::qobject(obj);
    return object ? QtNaming::realName(object) : QString();
}

SharedPtr<Object> QtHierarchyDelegate::parent(SharedPtr<Object> obj) const
{
    return QtObjectRegistry::wrap(QtObjectTree::parent(QtObjectRegistry::qobject(obj)));
}

int QtHierarchyDelegate::wrapperType(SharedPtr<Object>) const
{
    return 5; // "Qt" in snapshot filters
}

} // namespace Tolvex
