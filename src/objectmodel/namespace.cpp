#include "namespace.h"

#include "class.h"
#include "inspector.h"
#include "streamlimits_p.h"

#include <QDataStream>

namespace Tolvex {

Namespace::Namespace(Namespace *parent, const QString &name) : m_enclosing(parent), m_name(name)
{
    m_classes.reserve(1009);
    m_namespaces.reserve(1009);
    if (m_enclosing)
        m_enclosing->registerNamespace(this);
    m_id = Inspector::self()->registerNamespace(this);
}

Namespace::Namespace(DetachedTag, const QString &name) : m_name(name) {}

Namespace::~Namespace() = default;

QString Namespace::fullyQualifiedName() const
{
    QString result = m_name;
    for (const Namespace *n = m_enclosing; n && n->m_enclosing; n = n->m_enclosing)
        result = n->m_name + QLatin1String("::") + result;
    return m_enclosing ? result : QString();
}

void Namespace::registerClass(const Class *c)
{
    m_classes.insert(c->className(), c);
}

void Namespace::registerNamespace(Namespace *n)
{
    m_children.push_back(n);
    m_namespaces.insert(n->name(), n);
}

Namespace *Namespace::getNamespace(int index) const
{
    if (index < 0 || index >= numNamespaces())
        return nullptr;
    return m_children[size_t(index)];
}

bool Namespace::containsIdentifier(const QString &name) const
{
    return m_classes.contains(name) || m_namespaces.contains(name);
}

void Namespace::writeObject(QDataStream &stream) const
{
    stream << qint32(m_id);
    writeText(stream, m_name);
    stream << qint32(m_enclosing ? m_enclosing->id() : -1);
}

void Namespace::readObject(QDataStream &stream)
{
    qint32 id = -1;
    qint32 enclosing = -1;
    stream >> id >> m_name >> enclosing;
    m_id = id;
    m_enclosing = enclosing >= 0 ? Inspector::self()->nameSpace(int(enclosing)) : nullptr;
}

} // namespace Tolvex
