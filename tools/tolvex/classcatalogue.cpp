#include "classcatalogue.h"

#include "serializable.h"

#include <QDataStream>

#include <unordered_set>

namespace Tolvex {

bool ClassCatalogue::add(const QByteArray &classes, QString *error)
{
    QDataStream in(classes);
    in.setVersion(MetadataStreamVersion);
    while (!in.atEnd()) {
        auto description = std::make_unique<ClassDescription>();
        description->readObject(in);
        if (in.status() != QDataStream::Ok || description->id < 0) {
            if (error)
                *error = QStringLiteral("The class list breaks off after %1 classes").arg(count());
            return false;
        }
        const int id = description->id;
        m_idByName.insert(description->name, id);
        m_byId[id] = std::move(description);
    }
    return true;
}

QList<int> ClassCatalogue::ids() const
{
    QList<int> ids;
    ids.reserve(qsizetype(m_byId.size()));
    for (const auto &entry : m_byId)
        ids.append(entry.first);
    return ids;
}

const ClassDescription *ClassCatalogue::byId(int id) const
{
    const auto it = m_byId.find(id);
    return it == m_byId.end() ? nullptr : it->second.get();
}

const ClassDescription *ClassCatalogue::byName(const QString &name) const
{
    const auto it = m_idByName.constFind(name);
    return it == m_idByName.constEnd() ? nullptr : byId(*it);
}

const ClassDescription *ClassCatalogue::superClass(const ClassDescription &c) const
{
    if (c.superClassName.isEmpty())
        return nullptr;
    // Same name in the namespace the description gives, else any.
    for (const auto &[id, candidate] : m_byId)
        if (candidate->name == c.superClassName && candidate->namespaceId == c.superNamespaceId)
            return candidate.get();
    return byName(c.superClassName);
}

namespace {

// Walks the class and its bases, nearest first, stopping at a loop that
// broken metadata could make.
template <typename Visit> void walk(const ClassCatalogue &catalogue, int classId, Visit visit)
{
    std::unordered_set<const ClassDescription *> seen;
    for (const ClassDescription *c = catalogue.byId(classId); c && seen.insert(c).second;
         c = catalogue.superClass(*c)) {
        if (visit(*c))
            return;
    }
}

} // namespace

const Property *ClassCatalogue::property(int classId, const QString &name) const
{
    const Property *found = nullptr;
    walk(*this, classId, [&](const ClassDescription &c) {
        for (const auto &p : c.properties)
            if (p->name() == name) {
                found = p.get();
                return true;
            }
        return false;
    });
    return found;
}

const Method *ClassCatalogue::method(int classId, const QString &name, int arguments) const
{
    const Method *found = nullptr;
    walk(*this, classId, [&](const ClassDescription &c) {
        for (const auto &m : c.methods)
            if (m->name() == name && (arguments < 0 || m->numArguments() == arguments)) {
                found = m.get();
                return true;
            }
        return false;
    });
    return found;
}

QStringList ClassCatalogue::propertyNames(int classId) const
{
    QStringList names;
    walk(*this, classId, [&](const ClassDescription &c) {
        for (const auto &p : c.properties)
            if (!names.contains(p->name()))
                names.append(p->name());
        return false;
    });
    return names;
}

QStringList ClassCatalogue::lineage(int classId) const
{
    QStringList names;
    walk(*this, classId, [&](const ClassDescription &c) {
        names.append(c.name);
        return false;
    });
    return names;
}

} // namespace Tolvex
