#pragma once

// A toolkit of plain nodes for lookup tests and benchmarks: a tree of named
// nodes with text properties, and the hierarchy delegate that walks it and
// matches multi-property names against it.

#include "delegate.h"
#include "inspector.h"
#include "objectname.h"
#include "propertyvalue.h"
#include "testtoolkit.h"

#include <QMap>
#include <QStringList>

#include <memory>
#include <vector>

namespace NodeToolkit {

using namespace Tolvex;

// A widget tree of plain nodes, each with a name and text properties.
struct Node
{
    QString name;
    QMap<QString, QString> properties;
    std::vector<std::unique_ptr<Node>> children;

    Node *add(const QString &childName, QMap<QString, QString> props = {})
    {
        children.push_back(std::make_unique<Node>());
        Node *n = children.back().get();
        n->name = childName;
        props.insert(QStringLiteral("name"), childName);
        n->properties = props;
        return n;
    }
};

inline const TestToolkit::TestClass &nodeClass()
{
    static const TestToolkit::TestClass c("LookupNode", nullptr);
    return c;
}

inline SharedPtr<Object> wrap(Node *n)
{
    return n ? nodeClass().newObject(reinterpret_cast<TestToolkit::Native *>(n)) : nullptr;
}

inline Node *nodeOf(const SharedPtr<Object> &o)
{
    return o ? reinterpret_cast<Node *>(o->data()) : nullptr;
}

// The toolkit's hierarchy: the root's children are the top-level nodes.
class NodeHierarchy : public ObjectHierarchyDelegate
{
public:
    NodeHierarchy(const QString &className, Node *root)
        : ObjectHierarchyDelegate(className), m_root(root)
    {}

    Node *nodeOrRoot(const SharedPtr<Object> &o) const { return o ? nodeOf(o) : m_root; }

    int numChildren(SharedPtr<Object> o) const override
    {
        return int(nodeOrRoot(o)->children.size());
    }
    SharedPtr<Object> child(SharedPtr<Object> o, int i) const override
    {
        Node *n = nodeOrRoot(o);
        return i >= 0 && size_t(i) < n->children.size() ? wrap(n->children[size_t(i)].get())
                                                        : nullptr;
    }
    SharedPtr<Object> childByName(SharedPtr<Object> o, const QString &name) const override
    {
        for (auto &c : nodeOrRoot(o)->children)
            if (c->name == name)
                return wrap(c.get());
        return nullptr;
    }
    // Matches every node of the tree against the properties of the name and
    // records, per candidate of the right type, the properties that failed.
    SharedPtr<Object> objectByQualifiedName(SharedPtr<Object>,
                                            const ObjectName &name) const override
    {
        ++asked;
        if (!name.isValid() || !name.isMultiProperty())
            return nullptr;
        return search(m_root, name);
    }
    QString name(SharedPtr<Object> o) const override { return nodeOf(o)->name; }
    QString qualifiedName(SharedPtr<Object> o) const override
    {
        return QStringLiteral("{name='%1'}").arg(nodeOf(o)->name);
    }
    int wrapperType(SharedPtr<Object>) const override { return 0; }

    mutable int asked = 0;

private:
    // What failed where is only of use when nothing matched, so it is
    // collected by a second walk rather than on the way to a match.
    SharedPtr<Object> search(Node *n, const ObjectName &name) const
    {
        const QMap<QString, PropertyValue> wanted = name.properties();
        if (SharedPtr<Object> found = search(n, wanted, false))
            return found;
        return search(n, wanted, true);
    }

    static bool matchesAll(const Node &n, const QMap<QString, PropertyValue> &wanted)
    {
        for (auto it = wanted.cbegin(); it != wanted.cend(); ++it)
            if (!it.value().matches(n.properties.value(it.key())))
                return false;
        return true;
    }

    SharedPtr<Object> search(Node *n, const QMap<QString, PropertyValue> &wanted,
                             bool recordFailures) const
    {
        for (auto &c : n->children) {
            if (!recordFailures && matchesAll(*c, wanted))
                return wrap(c.get());
            if (recordFailures) {
                QStringList failed;
                for (auto it = wanted.cbegin(); it != wanted.cend(); ++it)
                    if (!it.value().matches(c->properties.value(it.key())))
                        failed << it.key();
                if (!failed.contains(QStringLiteral("type")))
                    Inspector::self()->setUnmatchedProperties(
                        QStringLiteral("{name='%1'}").arg(c->name), failed);
            }
            if (SharedPtr<Object> found = search(c.get(), wanted, recordFailures))
                return found;
        }
        return nullptr;
    }

    Node *m_root;
};

} // namespace NodeToolkit
