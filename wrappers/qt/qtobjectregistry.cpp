#include "qtobjectregistry.h"

#include "classregistrar.h"
#include "inspector.h"
#include "object.h"
#include "qtclass.h"

#include <QHash>
#include <QObject>
#include <QThread>

namespace Tolvex {

namespace {

// Keeps each wrapped QObject's Object alive until the QObject goes, and
// forgets it then. Never destroyed: QObjects may die after static
// destruction has begun.
QHash<QObject *, SharedPtr<Object>> &objects()
{
    static auto *table = new QHash<QObject *, SharedPtr<Object>>;
    return *table;
}

void forget(QObject *object)
{
    auto it = objects().find(object);
    if (it == objects().end())
        return;
    const SharedPtr<Object> gone = it.value();
    objects().erase(it);
    Inspector::self()->invalidateObjectCache(object);
    gone->invalidate();
}

} // namespace

SharedPtr<Object> QtObjectRegistry::wrap(QObject *object)
{
    // Widgets live in the GUI thread; other objects may not.
    if (!object || (!object->isWidgetType() && object->thread() != QThread::currentThread()))
        return nullptr;
    auto it = objects().constFind(object);
    if (it != objects().cend())
        return it.value();
    const ClassRegistrar batch;
    const QtClass *type = QtClass::forMetaObject(object->metaObject());
    SharedPtr<Object> wrapped(new Object(type, object, ObjectAttribute::Pointer()));
    objects().insert(object, wrapped);
    // Runs inside ~QObject, on the object's (that is, this) thread.
    QObject::connect(object, &QObject::destroyed, [](QObject *o) { forget(o); });
    return wrapped;
}

QObject *QtObjectRegistry::qobject(const SharedPtr<Object> &object)
{
    if (!object || object->isNull() || !QtClass::of(object))
        return nullptr;
    return static_cast<QObject *>(object->data());
}

int QtObjectRegistry::count()
{
    return int(objects().size());
}

} // namespace Tolvex
