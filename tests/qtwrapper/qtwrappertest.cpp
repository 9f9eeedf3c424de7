#include "qtwrappertest.h"

#include "class.h"
#include "inspector.h"
#include "method.h"
#include "objectlist.h"
#include "property.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <functional>

namespace QtWrapperTest {

using namespace Tolvex;

QtWrapper *wrapper()
{
    static QtWrapper *w = new QtWrapper(QCoreApplication::instance());
    return w;
}

SharedPtr<Object> objectFor(QObject *object)
{
    wrapper();
    return QtWrapper::objectFor(object);
}

QString realName(QObject *object)
{
    SharedPtr<Object> o = objectFor(object);
    return o ? o->qualifiedName() : QString();
}

SharedPtr<Object> find(const QString &name)
{
    wrapper();
    Inspector::self()->lastError();
    return Inspector::self()->findObject(name);
}

QObject *findQObject(const QString &name)
{
    return QtWrapper::qobjectOf(find(name));
}

QString lastError()
{
    return Inspector::self()->lastError();
}

SharedPtr<Object> property(const SharedPtr<Object> &object, const QString &name)
{
    const Property *p = object ? object->type()->property(name) : nullptr;
    return p ? p->get(object) : nullptr;
}

QString propertyText(QObject *object, const QString &name)
{
    SharedPtr<Object> value = property(objectFor(object), name);
    return value ? value->toString() : QStringLiteral("<none>");
}

bool setProperty(QObject *object, const QString &name, const SharedPtr<Object> &value)
{
    SharedPtr<Object> o = objectFor(object);
    const Property *p = o ? o->type()->property(name) : nullptr;
    return p && p->set(o, value);
}

SharedPtr<Object> call(QObject *object, const QString &method, const ObjectList &args)
{
    SharedPtr<Object> o = objectFor(object);
    return o ? o->type()->methods(method).invoke(o, args) : nullptr;
}

SharedPtr<Object> text(const QString &value)
{
    return Inspector::self()->createPrimitive(value);
}

SharedPtr<Object> number(int value)
{
    return Inspector::self()->createPrimitive(value);
}

QStringList realNamesBelow(QObject *root)
{
    QStringList names;
    const std::function<void(const SharedPtr<Object> &)> visit = [&](const SharedPtr<Object> &o) {
        for (const SharedPtr<Object> &child : o->children()) {
            names.append(child->qualifiedName());
            visit(child);
        }
    };
    visit(objectFor(root));
    return names;
}

void settle(int milliseconds)
{
    QElapsedTimer timer;
    timer.start();
    TestSupport::waitUntil([&] { return timer.elapsed() >= milliseconds; }, milliseconds + 1000);
}

} // namespace QtWrapperTest
