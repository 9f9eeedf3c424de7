#pragma once

// What the server knows of an application's classes: read from the bytes of
// "allClasses" and of each later "registerClasses", and asked for members by
// name, the way a script names them.

#include "classdescription.h"

#include <QHash>
#include <QString>
#include <QStringList>

#include <map>
#include <memory>

namespace Tolvex {

class ClassCatalogue
{
public:
    // Adds the classes in the bytes; a class already known by id is
    // replaced. False, with the reason, when the bytes end inside a class
    // (the classes read before it are kept).
    bool add(const QByteArray &classes, QString *error = nullptr);

    int count() const { return int(m_byId.size()); }
    // The ids of the known classes, ascending.
    QList<int> ids() const;
    const ClassDescription *byId(int id) const;
    // The first class of that name, in any namespace.
    const ClassDescription *byName(const QString &name) const;
    // The superclass as its description names it; null at the top.
    const ClassDescription *superClass(const ClassDescription &c) const;

    // The property of that name on the class or the nearest base that has
    // it; null when none has.
    const Property *property(int classId, const QString &name) const;
    // The method of that name taking that many arguments, or any count
    // when arguments is negative; null when none fits.
    const Method *method(int classId, const QString &name, int arguments = -1) const;
    // All property names along the class chain, the class's own first.
    QStringList propertyNames(int classId) const;
    // The class and its bases, nearest first, by name.
    QStringList lineage(int classId) const;

private:
    std::map<int, std::unique_ptr<ClassDescription>> m_byId;
    QHash<QString, int> m_idByName;
};

} // namespace Tolvex
