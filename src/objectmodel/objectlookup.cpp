// Inspector::findObject: from a name in a test script to a live object, with
// the text a tester reads when there is none.

#include "delegate.h"
#include "inspector.h"
#include "inspector_p.h"
#include "object.h"
#include "objectmap.h"
#include "objectname.h"

#include <QStringList>

#include <utility>

namespace Tolvex {

namespace {

// "{...}.a.b": longer than two characters, a brace first, "}." inside and no
// closing brace behind it.
bool isHierarchicalForm(const QString &name)
{
    if (name.size() <= 2 || name.front() != QLatin1Char('{'))
        return false;
    const qsizetype split = name.indexOf(QLatin1String("}."));
    return split >= 0 && name.indexOf(QLatin1Char('}'), split + 2) < 0;
}

// Splits a dotted path; "\." stands for a dot inside a part.
QStringList pathParts(const QString &path)
{
    const QChar placeholder(0x0001);
    QString marked = path;
    marked.replace(QLatin1String("\\."), QString(placeholder));
    QStringList parts = marked.split(QLatin1Char('.'), Qt::SkipEmptyParts);
    for (QString &part : parts)
        part.replace(placeholder, QLatin1Char('.'));
    return parts;
}

} // namespace

SharedPtr<Object> Inspector::findObject(const QString &callerName)
{
    if (callerName.isEmpty()) {
        setError(QStringLiteral("Empty Object Name passed to findObject!"));
        return nullptr;
    }
    return d->target->findObject(callerName);
}

SharedPtr<Object> LocalInspector::findObject(const QString &callerName)
{
    // An error still stored from an earlier call is no detail of this search
    // (a server that polls without reading errors would otherwise see one
    // failure text quoted inside the next, without end). It is set aside, and
    // comes back unless the search leaves an error of its own.
    QString earlier;
    earlier.swap(d->lastError);
    SharedPtr<Object> found = searchObject(callerName);
    if (d->lastError.isEmpty())
        d->lastError = std::move(earlier);
    return found;
}

// The search itself: what it sets as error, and what delegates set during it,
// is all that a failure text quotes.
SharedPtr<Object> LocalInspector::searchObject(const QString &callerName)
{
    QString name = callerName;
    if (ObjectMap *map = ObjectMap::self())
        name = map->realName(name);
    else if (name.startsWith(QLatin1Char(':')))
        name.remove(0, 1);

    q->setupPropertyDelegate();
    if (!d->topLevelDelegates)
        return nullptr;

    if (SharedPtr<Object> cached = q->cachedObject(callerName))
        return cached;

    const bool hierarchical = isHierarchicalForm(name);
    const ObjectName objectName(name);
    if (!hierarchical && !objectName.isValid()) {
        setError(QStringLiteral("Cannot find object with invalid object name: ") +
                 objectName.errorMessage());
        return nullptr;
    }

    for (const ObjectHierarchyDelegate *delegate : *d->topLevelDelegates) {
        if (SharedPtr<Object> found = delegate->objectByQualifiedName(nullptr, objectName)) {
            if (d->objectCacheEnabled)
                q->setCachedObject(callerName, found);
            return found;
        }
    }

    const bool multiProperty = objectName.isMultiProperty();
    QStringList visited;
    QString lastPart;
    if (!multiProperty) {
        SharedPtr<Object> found = findByPath(name, &visited, &lastPart);
        if (d->objectCacheEnabled)
            q->setCachedObject(callerName, found);
        if (found)
            return found;
    }

    // A recorder looks up objects that may just not exist (yet).
    if (q->isEventRecordingEnabled())
        return nullptr;
    setLookupError(callerName, name, multiProperty, visited, lastPart);
    return nullptr;
}

// The slow way out: a dotted path from a top-level object (or from an object
// found by the multi-property head of "{...}.a.b"), one child at a time.
SharedPtr<Object> LocalInspector::findByPath(const QString &name, QStringList *visited,
                                             QString *lastPart)
{
    QString path = name;
    QString head;
    if (isHierarchicalForm(name)) {
        const qsizetype split = name.indexOf(QLatin1String("}."));
        head = name.left(split + 1);
        path = name.mid(split + 2);
    }
    const QStringList parts = pathParts(path);
    if (parts.isEmpty())
        return nullptr;

    SharedPtr<Object> current;
    qsizetype next = 0;
    if (!head.isEmpty()) {
        // Part of this search, not a search of its own: an error set so far
        // belongs to it and is no stale one.
        current = searchObject(head);
    } else {
        current = object(parts.first());
        next = 1;
    }
    for (; next < parts.size() && current; ++next) {
        visited->append(lastPart->isEmpty() ? current->name() : *lastPart);
        current = current->childByName(parts[next]);
        *lastPart = parts[next];
    }
    return current;
}

void LocalInspector::setLookupError(const QString &callerName, const QString &name,
                                    bool multiProperty, const QStringList &visited,
                                    const QString &lastPart)
{
    // What the delegates left behind during this search is quoted, then consumed.
    const QMap<QString, QList<QString>> unmatched = d->unmatchedProperties;
    const QString detail = d->lastError;
    d->lastError.clear();

    QString text = QStringLiteral("Object '") + callerName + QStringLiteral("' not found");
    text += detail.isEmpty() ? QStringLiteral(".") : QStringLiteral(": ") + detail;

    if (ObjectMap::isMultiPropertyName(name) && !unmatched.isEmpty()) {
        text += QStringLiteral(" Could not match properties:");
        const ObjectMap *map = ObjectMap::self();
        for (auto it = unmatched.cbegin(); it != unmatched.cend(); ++it) {
            text += QStringLiteral("\n    ") + QStringList(it.value()).join(QLatin1Char(',')) +
                    QStringLiteral(" for object name: '") +
                    (map ? map->printableName(it.key()) : it.key()) + QLatin1Char('\'');
        }
    } else if (!multiProperty) {
        if (!visited.isEmpty())
            text += QStringLiteral("\n    Could not find child '") + lastPart +
                    QStringLiteral("' under '") + visited.join(QLatin1Char('.')) +
                    QLatin1Char('\'');
        else if (callerName.startsWith(QLatin1Char(':')))
            text += QStringLiteral(" Object name not found in Object Map.");
    }
    setError(text);
}

} // namespace Tolvex
