#include "objecttreedump.h"

#include "class.h"
#include "delegatefactory.h"
#include "dumpfilter.h"
#include "namespace.h"
#include "object.h"
#include "objectlist.h"
#include "objectmap.h"
#include "primitiveclassid.h"
#include "property.h"
#include "uielement.h"

#include <QDataStream>
#include <QDateTime>
#include <QIODevice>
#include <QScopeGuard>

#include <iterator>
#include <memory>
#include <utility>

namespace Tolvex {

using UIAbstraction::ElementGeometry;
using UIAbstraction::StandardType;
using UIAbstraction::UIElement;

namespace {

const DumpObjectTreeDelegate *dumpDelegate(const SharedPtr<Object> &object)
{
    if (!object || !object->type())
        return nullptr;
    return static_cast<const DumpObjectTreeDelegate *>(
        DelegateFactory::self()->delegate(object->type(), Delegate::DumpObjectTree));
}

// Element ids: a serial number in base 16 that starts at the time of the
// first dump, and again at that number with each dump.
qint64 firstElementId()
{
    static const qint64 first = QDateTime::currentMSecsSinceEpoch();
    return first;
}

qint64 s_nextElementId = 0;
thread_local ObjectTreeDump *s_current = nullptr;

QString nextElementId()
{
    return QString::number(s_nextElementId++, 16);
}

// A value that reads as plain text: the primitives, strings among them.
bool isPlainValue(const Property &property)
{
    const Class *type = property.type().type();
    if (!type || property.type().attribute().isArray() || !property.isReadable())
        return false;
    const int id = type->id();
    return id >= ShortClassId && id <= Int64ClassId && id != VoidClassId;
}

} // namespace

QString ObjectTreeDump::wrapperName(int wrapperType)
{
    static const char *const Names[] = {"Android", "Java", "Mac",     "iOS",   "Qt", "Tk",
                                        "Tq",      "Web",  "Windows", "XView", "Any"};
    if (wrapperType < 1 || wrapperType > int(std::size(Names)))
        return QString();
    return QString::fromLatin1(Names[wrapperType - 1]);
}

bool ObjectTreeDump::parseFilters(const QList<QByteArray> &documents, DumpFilters *filters,
                                  QString *error)
{
    bool wildcardSeen = false;
    for (qsizetype i = 0; i < documents.size(); ++i) {
        auto filter = std::make_unique<DumpFilter>();
        QString parseError;
        if (!parseDumpFilter(documents.at(i), filter.get(), &parseError)) {
            *error = QStringLiteral("Error in parseDumpFilter for filter %1: ").arg(i) + parseError;
            deleteFilters(filters);
            return false;
        }
        const std::string name = filter->wrapperName();
        if (name == "*") {
            wildcardSeen = true;
        } else if (wildcardSeen) {
            *error = QStringLiteral("Error in snapshot filters order, wildcard filter in between "
                                    "wrapper specific filters");
            deleteFilters(filters);
            return false;
        }
        const auto known = filters->find(name);
        if (known != filters->end())
            known->second->mergeWith(filter.get());
        else
            filters->emplace(name, filter.release());
    }
    const auto wildcard = filters->find("*");
    if (wildcard != filters->end())
        for (auto &[name, filter] : *filters)
            if (name != "*")
                filter->mergeWith(wildcard->second);
    return true;
}

void ObjectTreeDump::deleteFilters(DumpFilters *filters)
{
    for (auto &entry : *filters)
        delete entry.second;
    filters->clear();
}

struct ObjectTreeDump::ClassFacts
{
    const DumpObjectTreeDelegate *dump = nullptr;
    const GeometryDelegate *geometry = nullptr;
    FilterObject *filter = nullptr;
    // Why there is no filter, when that is an error.
    QString filterError;
    QString nameSpace;
    QList<QString> superTypes;
    // The properties the filter takes, with their kind; found with the
    // first full element.
    bool propertiesKnown = false;
    QList<std::pair<const Property *, int>> properties;
};

ObjectTreeDump::ObjectTreeDump(Grabber grabber) : m_grabber(std::move(grabber)) {}

ObjectTreeDump::~ObjectTreeDump() = default;

ObjectTreeDump::ClassFacts &ObjectTreeDump::factsOf(const SharedPtr<Object> &object,
                                                    const DumpFilters &filters)
{
    const Class *c = object->type();
    std::unique_ptr<ClassFacts> &facts = m_facts[{c, object->wrapperType()}];
    if (facts)
        return *facts;
    facts = std::make_unique<ClassFacts>();
    facts->dump = dumpDelegate(object);
    facts->geometry = geometryDelegateFor(object);
    facts->filter = filterObjectForTolvexObject(object, filters, &facts->filterError);
    if (c) {
        if (const Namespace *ns = c->nameSpace())
            facts->nameSpace = ns->fullyQualifiedName();
        for (const Class *super = c->super(); super; super = super->super())
            facts->superTypes.append(super->fullyQualifiedClassName());
    }
    return *facts;
}

ObjectTreeDump *ObjectTreeDump::current()
{
    return s_current;
}

QByteArray ObjectTreeDump::serialize(SharedPtr<Object> object, const DumpFilters &filters,
                                     QString *error)
{
    const std::unique_ptr<UIElement> tree(dumpObjectTree(object, filters, error));
    if (!error->isEmpty())
        return QByteArray();
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setVersion(QDataStream::Qt_4_6);
    if (tree) {
        out << qint32(1);
        tree->serialize(&out);
    } else {
        out << qint32(0);
    }
    return bytes;
}

FilterObject *ObjectTreeDump::filterObjectForTolvexObject(SharedPtr<Object> object,
                                                          const DumpFilters &filters,
                                                          QString *error)
{
    const int type = object->wrapperType();
    const QString wrapper = wrapperName(type);
    if (wrapper.isEmpty()) {
        *error = QStringLiteral("Unknown wrapper Type: %1").arg(type);
        return nullptr;
    }
    const auto filter = filters.find(wrapper.toStdString());
    if (filter == filters.end()) {
        *error = QStringLiteral("Unable to find dump filter for %1 wrapper").arg(wrapper);
        return nullptr;
    }
    return filter->second->findFilter(object->type());
}

UIElement *ObjectTreeDump::dumpObjectTree(SharedPtr<Object> object, const DumpFilters &filters,
                                          QString *error)
{
    s_nextElementId = firstElementId();
    m_facts.clear();
    ObjectTreeDump *const outer = std::exchange(s_current, this);
    const auto restore = qScopeGuard([outer] { s_current = outer; });
    const DumpObjectTreeDelegate *delegate = dumpDelegate(object);
    UIElement *element = nullptr;
    if (delegate) {
        if (!delegate->enterDump(object, filters, error))
            return nullptr;
        if (!delegate->dumpObject(object, true, &element, filters, error))
            element = nullptr;
    }
    std::unique_ptr<UIElement> result(element ? element
                                              : dumpObjectTreeImpl(object, true, filters, error));
    if (delegate && !delegate->leaveDump(error))
        return nullptr;
    return result.release();
}

UIElement *ObjectTreeDump::dumpObjectTreeImpl(SharedPtr<Object> object, bool isRoot,
                                              const DumpFilters &filters, QString *error)
{
    if (!object || object->isNull() || !object->type())
        return nullptr;
    ClassFacts &facts = factsOf(object, filters);
    if (!facts.filter) {
        if (!facts.filterError.isEmpty())
            *error = facts.filterError;
        return nullptr;
    }
    FilterObject *filter = facts.filter;
    const DumpObjectTreeDelegate *delegate = facts.dump;

    Rect<2> bounds;
    if (!(delegate && delegate->visibleGlobalBounds(object, &bounds))) {
        bounds = Rect<2>();
        if (facts.geometry && facts.geometry->isVisible(object))
            bounds = facts.geometry->globalBounds(object);
    }
    const bool hasArea = bounds.width > 0 && bounds.height > 0;
    const bool transparent = !hasArea || (delegate && delegate->isTransparent(object));
    const bool transparentExcluded = filter->areTransparentNodesExcluded();

    std::unique_ptr<UIElement> element;
    if (transparent && transparentExcluded) {
        if (isRoot) {
            *error = QStringLiteral("Requested object has invalid geometry or is invisible. Please "
                                    "select visible object with dimensions greater than 0.");
            return nullptr;
        }
        element = std::make_unique<UIElement>(object->className(), StandardType(),
                                              QStringLiteral("dummy"));
        element->setTransparentNode(true);
    } else {
        element.reset(fullElement(object, isRoot, facts, bounds, transparent));
    }

    if (filter->isChildNodesExcluded())
        return element.release();
    ObjectList children;
    if (!delegate || !delegate->children(object, &children))
        children = object->children();
    for (const SharedPtr<Object> &child : children) {
        if (!child || !child->type())
            continue;
        const DumpObjectTreeDelegate *childDelegate = factsOf(child, filters).dump;
        UIElement *made = nullptr;
        if (childDelegate) {
            if (!childDelegate->enterDump(child, filters, error))
                return nullptr;
            if (!childDelegate->dumpObject(child, false, &made, filters, error))
                made = nullptr;
        }
        std::unique_ptr<UIElement> childElement(
            made ? made : dumpObjectTreeImpl(child, false, filters, error));
        if (childDelegate && !childDelegate->leaveDump(error))
            return nullptr;
        if (!error->isEmpty())
            return nullptr;
        if (!childElement)
            continue;
        if (transparentExcluded && childElement->isTransparentNode()) {
            // A container without a view of its own hands its children to
            // the nearest element that stays.
            while (UIElement *grandChild = childElement->takeFirstChild())
                element->addChild(grandChild);
        } else {
            element->addChild(childElement.release());
        }
    }
    return element.release();
}

UIElement *ObjectTreeDump::fullElement(const SharedPtr<Object> &object, bool isRoot,
                                       ClassFacts &facts, const Rect<2> &bounds, bool transparent)
{
    FilterObject *filter = facts.filter;
    const DumpObjectTreeDelegate *delegate = facts.dump;
    auto element =
        std::make_unique<UIElement>(object->className(), StandardType(), nextElementId());
    element->setNameSpace(facts.nameSpace);
    QString simplified;
    if (delegate && delegate->simplifiedType(object, &simplified))
        element->setSimplifiedType(simplified);
    element->setSuperTypes(facts.superTypes);
    if (bounds.width >= 0 && bounds.height >= 0)
        element->setGeometry(
            ElementGeometry(QRect(bounds.x, bounds.y, bounds.width, bounds.height), false));
    element->setTransparentNode(transparent);

    const bool realNameExcluded = filter->isRealNameExcluded();
    const bool symbolicNameExcluded = filter->isSymbolicNameExcluded();
    if (!realNameExcluded || !symbolicNameExcluded) {
        const QString realName = object->qualifiedName();
        if (!realNameExcluded)
            element->setRealName(realName);
        // Without an agent there is no object map, and no symbolic name.
        if (ObjectMap *map = ObjectMap::self(); map && !symbolicNameExcluded) {
            const QString symbolic = map->symbolicName(realName, false);
            if (symbolic.startsWith(QLatin1Char(':')))
                element->setSymbolicName(symbolic);
        }
    }

    const bool shoot =
        isRoot && !filter->isScreenshotIfRootExcluded() ? true : !filter->isScreenshotExcluded();
    if (shoot && !(delegate && delegate->takeScreenshot(object, element.get())) && m_grabber)
        element->setImage(m_grabber(object));
    element->setWindowNode(!element->image().isNull());

    if (!facts.propertiesKnown) {
        facts.propertiesKnown = true;
        const Class *c = object->type();
        for (int i = 0; i < c->numProperties(); ++i) {
            const Property *property = c->property(i);
            if (!property || property->isStatic())
                continue;
            PropertyInfo info;
            if (filter->isMatchedProperty(property->name(), &info))
                facts.properties.append({property, info.type == PropertyInfo::Identifying ? 1 : 0});
        }
    }
    for (const auto &[property, type] : std::as_const(facts.properties)) {
        if (delegate && delegate->setProperty(property, object, element.get(), type))
            continue;
        if (!isPlainValue(*property))
            continue;
        const SharedPtr<Object> value = property->get(object);
        const QString text = value ? value->toString() : QString();
        if (type == 1)
            element->setIdentifyingProperty(property->name(), text);
        else
            element->setConcreteProperty(property->name(), text);
    }
    return element.release();
}

} // namespace Tolvex
