#pragma once

// The test application's one toolkit object: a top-level "counter" whose
// class has an int property "value", so that a server can read and write a
// property of a live object.

#include "delegate.h"
#include "delegatefactory.h"
#include "testtoolkit.h"

namespace CounterKit {

using namespace Tolvex;

inline const TestToolkit::TestClass &counterClass()
{
    static const TestToolkit::TestClass c("Counter", nullptr, {},
                                          {{QStringLiteral("value"), TestToolkit::primitive(1)}});
    return c;
}

class TopLevel : public ObjectHierarchyDelegate
{
public:
    // Registered for the toolkit's top level and for the counter's class,
    // which asks it for the counter's own name and children.
    explicit TopLevel(const QString &className) : ObjectHierarchyDelegate(className) {}
    int numChildren(SharedPtr<Object> o) const override { return o ? 0 : 1; }
    SharedPtr<Object> child(SharedPtr<Object> o, int index) const override
    {
        return !o && index == 0 ? counter() : nullptr;
    }
    SharedPtr<Object> childByName(SharedPtr<Object> o, const QString &name) const override
    {
        return !o && name == QLatin1String("counter") ? counter() : nullptr;
    }
    QString name(SharedPtr<Object>) const override { return QStringLiteral("counter"); }
    QString qualifiedName(SharedPtr<Object>) const override
    {
        return QStringLiteral("{name='counter'}");
    }
    int wrapperType(SharedPtr<Object>) const override { return 0; }

private:
    // One wrapper object for the one native thing, so its id stays the same.
    // Both live to the end of the process and are never destroyed, like the
    // classes and delegates they belong with.
    static SharedPtr<Object> counter()
    {
        static auto *native = new TestToolkit::Native{{{0, 7}}, -1, {}};
        static auto *object = new SharedPtr<Object>(counterClass().newObject(native));
        return *object;
    }
};

inline void registerKit()
{
    counterClass();
    DelegateFactory::self()->addDelegate(new TopLevel(QStringLiteral("Tolvex::ToplevelQt")));
    DelegateFactory::self()->addDelegate(new TopLevel(QStringLiteral("Counter")));
}

} // namespace CounterKit
