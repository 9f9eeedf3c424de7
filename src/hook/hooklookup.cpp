// Lookup with readiness, the wrappers' ownership of objects, and the names
// the server converts and maps.

#include "hook.h"

#include "hookdata_p.h"
#include "inspector.h"
#include "logging.h"
#include "objectmap.h"
#include "objectname.h"
#include "wrapper.h"

namespace Tolvex {

Wrapper *Hook::wrapperForObject(SharedPtr<Object> object) const
{
    // First come, first served: a claim passes down the list only on a no.
    for (Wrapper *wrapper : d->wrappers)
        if (wrapper && wrapper->ownsObject(object))
            return wrapper;
    return nullptr;
}

SharedPtr<Object> Hook::objectFind(const QString &name)
{
    return Inspector::self()->findObject(name);
}

SharedPtr<Object> Hook::getObjectIfReady(const QString &name)
{
    TOLVEX_TRACE_HOOK() << "getObjectIfReady" << name;
    SharedPtr<Object> object = Inspector::self()->findObject(name);
    // Not found: the lookup's own error stands.
    return object ? getObjectIfReady(object) : nullptr;
}

SharedPtr<Object> Hook::getObjectIfReady(SharedPtr<Object> object)
{
    const QString className = object ? object->className() : QString();
    TOLVEX_TRACE_HOOK() << "getObjectIfReady of" << className;
    Wrapper *wrapper = wrapperForObject(object);
    if (!wrapper) {
        logLine(
            QStringLiteral(
                "No handler felt responsible for checking the ready-state for object of type ") +
            className);
        Inspector::self()->setError(
            QStringLiteral("Internal error: No handler felt responsible for checking the "
                           "ready-state for object of type '%1'.")
                .arg(className));
        return nullptr;
    }
    const FunctionCallResult<void> ready = wrapper->checkObjectReady(object);
    if (ready.isSuccess())
        return object;
    // The tester reads the name the object map gives the object, if any.
    const QString realName = object->qualifiedName();
    QString name = d->objectMap ? d->objectMap->symbolicName(realName, false) : QString();
    if (name.isEmpty())
        name = realName;
    Inspector::self()->setError(QStringLiteral("Object '") + name +
                                QStringLiteral("' not ready: ") + ready.error);
    return nullptr;
}

namespace {

// Items ask the owning wrapper; without one nothing is set as error, unlike
// the object's own readiness, so the caller's last error stays.
template <typename... ItemArgs>
SharedPtr<Object> readyItem(const Hook *hook, SharedPtr<Object> object, ItemArgs... item)
{
    const QString className = object ? object->className() : QString();
    TOLVEX_TRACE_HOOK() << "getObjectItemIfReady of" << className;
    Wrapper *wrapper = hook->wrapperForObject(object);
    if (!wrapper) {
        logLine(QStringLiteral("No handler felt responsible for checking the ready-state of "
                               "items from object of type ") +
                className);
        return nullptr;
    }
    const FunctionCallResult<SharedPtr<Object>> result =
        wrapper->getReadyObjectItem(object, item...);
    if (result.isError()) {
        Inspector::self()->setError(result.error);
        return nullptr;
    }
    return result.value;
}

} // namespace

SharedPtr<Object> Hook::getObjectItemIfReady(const QString &name, const QString &text)
{
    TOLVEX_TRACE_HOOK() << "getObjectItemIfReady" << name;
    SharedPtr<Object> object = Inspector::self()->findObject(name);
    return object ? getObjectItemIfReady(object, text) : nullptr;
}

SharedPtr<Object> Hook::getObjectItemIfReady(SharedPtr<Object> object, const QString &text)
{
    TOLVEX_TRACE_HOOK() << "item" << text;
    return readyItem(this, object, text);
}

SharedPtr<Object> Hook::getObjectItemIfReady(const QString &name, int row, int column)
{
    TOLVEX_TRACE_HOOK() << "getObjectItemIfReady" << name;
    SharedPtr<Object> object = Inspector::self()->findObject(name);
    return object ? getObjectItemIfReady(object, row, column) : nullptr;
}

SharedPtr<Object> Hook::getObjectItemIfReady(SharedPtr<Object> object, int row, int column)
{
    TOLVEX_TRACE_HOOK() << "item" << row << column;
    return readyItem(this, object, row, column);
}

void Hook::setObjectMap(const QString &text)
{
    // The old map goes first: the newest map is the process's map.
    d->objectMap.reset();
    d->objectMap = std::make_unique<ObjectMap>();
    d->objectMap->loadFromString(text);
    for (Wrapper *wrapper : d->wrappers)
        if (wrapper)
            wrapper->clearCachedObjectNames();
}

void Hook::addToObjectMap(const QString &realName, const QString &symbolicName)
{
    // Names already reused stay valid: an added entry takes none away.
    if (d->objectMap)
        d->objectMap->add(ObjectName(realName), symbolicName);
}

void Hook::setNamingScheme(int scheme)
{
    d->namingScheme = scheme;
    Q_EMIT namingSchemeChanged(scheme);
}

QString Hook::convertName(const QString &name, int scheme)
{
    SharedPtr<Object> object = Inspector::self()->findObject(name);
    if (!object)
        return name;
    QPointer<Hook> guard(this);
    const int previous = d->namingScheme;
    setNamingScheme(scheme);
    const QString converted = object->qualifiedName();
    if (!guard)
        return name;
    setNamingScheme(previous);
    if (!guard || !ObjectMap::isMultiPropertyName(converted))
        return name;
    if (Wrapper *wrapper = wrapperForObject(object)) {
        const QString existing = wrapper->getExistingRealName(object, converted);
        if (!existing.isEmpty())
            return existing;
    }
    return converted;
}

void Hook::addObjectDescriptorData(const QByteArray &data)
{
    // Receivers get the bytes NUL-terminated, the terminator counted in the
    // size, as a C string of the whole block.
    QByteArray copy = data;
    copy.append('\0');
    Q_EMIT objectDescriptorDataReceived(copy);
}

} // namespace Tolvex
