#pragma once

#include "serializable.h"
#include "tolvexexport.h"

#include <QHash>
#include <QString>

#include <vector>

namespace Tolvex {

class Class;

class TOLVEX_EXPORT Namespace : public Serializable
{
public:
    // Registers with the parent first, then takes its id from the Inspector.
    Namespace(Namespace *parent, const QString &name);
    // A namespace outside the registry, with no parent and id -1.
    enum DetachedTag { Detached };
    Namespace(DetachedTag, const QString &name);
    ~Namespace() override;

    const QString &name() const { return m_name; }
    int id() const { return m_id; }
    Namespace *enclosingNamespace() const { return m_enclosing; }
    QString fullyQualifiedName() const;

    void registerClass(const Class *c);
    void registerNamespace(Namespace *n);
    const Class *getClass(const QString &name) const { return m_classes.value(name); }
    Namespace *getNamespace(const QString &name) const { return m_namespaces.value(name); }
    Namespace *getNamespace(int index) const;
    int numNamespaces() const { return int(m_children.size()); }
    bool containsIdentifier(const QString &name) const;

    void writeObject(QDataStream &stream) const override;
    void readObject(QDataStream &stream) override;

private:
    Namespace *m_enclosing = nullptr;
    QString m_name;
    std::vector<Namespace *> m_children;
    QHash<QString, const Class *> m_classes;
    QHash<QString, Namespace *> m_namespaces;
    int m_id = -1;
};

} // namespace Tolvex
