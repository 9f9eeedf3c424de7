#pragma once

// The object tree of a Qt application as the object model walks it: the
// top-level objects (asked with a null object), children, parents, the
// short names of dotted paths and the real names, and the lookup of
// multi-property names. One instance serves as the top-level delegate of
// Qt, another as the delegate of the class QObject, which every class of
// the wrapper derives from.

#include "delegate.h"

namespace Tolvex {

class QtHierarchyDelegate : public ObjectHierarchyDelegate
{
public:
    explicit QtHierarchyDelegate(const QString &className) : ObjectHierarchyDelegate(className) {}

    int numChildren(SharedPtr<Object> obj) const override;
    SharedPtr<Object> child(SharedPtr<Object> obj, int index) const override;
    SharedPtr<Object> childByName(SharedPtr<Object> obj, const QString &name) const override;
    SharedPtr<Object> objectByQualifiedName(SharedPtr<Object> obj,
                                            const ObjectName &name) const override;
    QString name(SharedPtr<Object> obj) const override;
    QString qualifiedName(SharedPtr<Object> obj) const override;
    ObjectList children(SharedPtr<Object> obj) const override;
    SharedPtr<Object> parent(SharedPtr<Object> obj) const override;
    int wrapperType(SharedPtr<Object> obj) const override;

    // Whether the Inspector asked this delegate for the top-level objects
    // since the last reset: it did if the delegate is on its list.
    bool askedForTopLevel() const { return m_askedForTopLevel; }
    void resetAskedForTopLevel() { m_askedForTopLevel = false; }

private:
    mutable bool m_askedForTopLevel = false;
};

} // namespace Tolvex
