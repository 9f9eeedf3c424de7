#include "inspector.h"

#include "arrayclass.h"
#include "class.h"
#include "datetime.h"
#include "delegatefactory.h"
#include "genericstaticpropertydelegate_p.h"
#include "globalclass.h"
#include "inspector_p.h"
#include "logging.h"
#include "mapclass.h"
#include "namespace.h"
#include "object.h"
#include "primitives.h"
#include "propertydeclaration.h"
#include "screenpoint.h"
#include "screenrectangle.h"

#include <QRegularExpression>

namespace Tolvex {

namespace {

Inspector *s_instance = nullptr;

QString withoutOneIndirection(const QString &name)
{
    if (name.endsWith(QLatin1Char('*')) || name.endsWith(QLatin1Char('&')))
        return name.left(name.size() - 1);
    return name;
}

void noteHandlersLeft(QMap<QString, bool> &events, const FList<EventHandlerEntry> &list,
                      const QString &eventName)
{
    for (const EventHandlerEntry &e : list)
        if (e.eventName == eventName)
            return;
    events.insert(eventName, false);
}

} // namespace

Inspector *Inspector::self()
{
    if (!s_instance)
        new Inspector;
    return s_instance;
}

Inspector::Inspector() : d(new Data(this))
{
    // Published before anything is created, so that the classes made below
    // can register with this instance.
    s_instance = this;
    createBuiltinClasses();
}

Inspector::~Inspector()
{
    if (s_instance == this)
        s_instance = nullptr;
}

void Inspector::setInspectorInterfaceImpl(InspectorInterface *impl)
{
    d->classes.reset();
    d->namespaces.reset();
    d->impl = impl;
    d->target = impl ? impl : &d->local;
}

InspectorInterface *Inspector::inspectorInterfaceImpl() const
{
    return d->impl;
}

// --- The virtual operations: forwarded, some with a step of their own ----------

int Inspector::numObjects() const
{
    return d->target->numObjects();
}

SharedPtr<Object> Inspector::object(const QString &name) const
{
    return d->target->object(name);
}

SharedPtr<Object> Inspector::object(int index) const
{
    return d->target->object(index);
}

ObjectList Inspector::objects() const
{
    return d->target->objects();
}

int Inspector::numClasses() const
{
    return d->target->numClasses();
}

// "Widget*" and "Widget&" name the class "Widget", for either implementation.
const Class *Inspector::type(const QString &name) const
{
    return d->target->type(withoutOneIndirection(name));
}

const Class *Inspector::type(int id) const
{
    return d->target->type(id);
}

int Inspector::registerClass(const Class *c) const
{
    return d->target->registerClass(c);
}

int Inspector::numNamespaces() const
{
    return d->target->numNamespaces();
}

Namespace *Inspector::nameSpace(const QString &name) const
{
    return d->target->nameSpace(name);
}

Namespace *Inspector::nameSpace(int id) const
{
    return d->target->nameSpace(id);
}

Namespace *Inspector::nameSpaceFromFullyQualifiedName(const QString &name) const
{
    return d->target->nameSpaceFromFullyQualifiedName(name);
}

int Inspector::registerNamespace(Namespace *n) const
{
    return d->target->registerNamespace(n);
}

SharedPtr<Object> Inspector::createPrimitive(const QList<QString> &strings)
{
    return d->target->createPrimitive(strings);
}

SharedPtr<Object> Inspector::createPrimitive(const char *string)
{
    return d->target->createPrimitive(string);
}

SharedPtr<Object> Inspector::createPrimitive(double value)
{
    return d->target->createPrimitive(value);
}

SharedPtr<Object> Inspector::createPrimitive(bool value)
{
    return d->target->createPrimitive(value);
}

SharedPtr<Object> Inspector::createPrimitive(long value)
{
    return d->target->createPrimitive(value);
}

SharedPtr<Object> Inspector::createPrimitive(long long value)
{
    return d->target->createPrimitive(value);
}

SharedPtr<Object> Inspector::createPrimitive(int value)
{
    return d->target->createPrimitive(value);
}

SharedPtr<Object> Inspector::createNull(const Class *c) const
{
    return d->target->createNull(c);
}

SharedPtr<Object> Inspector::voidObject() const
{
    return d->target->voidObject();
}

void Inspector::sendEvent(const Event *event, SharedPtr<Object> obj, const ObjectList &args) const
{
    if (!event || !obj) {
        logLine(QString::asprintf(
            "Inspector::sendEvent failed because object or event are null (event: %p, object: %p)",
            static_cast<const void *>(event), static_cast<const void *>(obj.get())));
        return;
    }
    d->target->sendEvent(event, obj, args);
}

void Inspector::addPropertyDelegate(const QString &className, const QList<QString> &descriptions)
{
    d->target->addPropertyDelegate(className, descriptions);
}

void Inspector::setUniqueProperty(const QString &className, const QString &propertyName)
{
    d->target->setUniqueProperty(className, propertyName);
}

void Inspector::setExtensionCode(const QString &code, const QString &language)
{
    d->target->setExtensionCode(code, language);
}

void Inspector::setMouseTracking(const QString &className, bool on)
{
    d->target->setMouseTracking(className, on);
}

void Inspector::setRecordMouseDrag(const QString &className, bool on)
{
    d->target->setRecordMouseDrag(className, on);
}

void Inspector::setAllowKeyEventCompression(const QString &className, bool on)
{
    d->target->setAllowKeyEventCompression(className, on);
}

void Inspector::enableEventCompression(const QString &className, bool on)
{
    d->target->enableEventCompression(className, on);
}

void Inspector::setRecorderFilter(const QString &key, const QString &filter)
{
    d->target->setRecorderFilter(key, filter);
}

// A replaced implementation hears the error first; the text is stored here
// as well either way.
void Inspector::setError(const QString &text)
{
    if (d->impl)
        d->impl->setError(text);
    d->local.setError(text);
}

QString Inspector::lastError() const
{
    return d->target->lastError();
}

bool Inspector::installObjectEventHandler(SharedPtr<Object> obj, const QString &eventName,
                                          const QString &handler)
{
    return d->target->installObjectEventHandler(obj, eventName, handler);
}

bool Inspector::uninstallObjectEventHandler(SharedPtr<Object> obj, const QString &eventName,
                                            const QString &handler)
{
    return d->target->uninstallObjectEventHandler(obj, eventName, handler);
}

bool Inspector::installClassEventHandler(const QString &className, const QString &eventName,
                                         const QString &handler)
{
    return d->target->installClassEventHandler(className, eventName, handler);
}

bool Inspector::uninstallClassEventHandler(const QString &className, const QString &eventName,
                                           const QString &handler)
{
    return d->target->uninstallClassEventHandler(className, eventName, handler);
}

bool Inspector::installGlobalEventHandler(const QString &eventName, const QString &handler)
{
    return d->target->installGlobalEventHandler(eventName, handler);
}

bool Inspector::uninstallGlobalEventHandler(const QString &eventName, const QString &handler)
{
    return d->target->uninstallGlobalEventHandler(eventName, handler);
}

QVariant Inspector::call(const QString &name, const FList<QVariant> &args)
{
    return d->target->call(name, args);
}

QMap<QString, QList<QString>> Inspector::unmatchedProperties() const
{
    return d->target->unmatchedProperties();
}

// --- Top-level objects -----------------------------------------------------------

// Without a replaced implementation only: that one has top-level objects of
// its own.
void Inspector::setupPropertyDelegate() const
{
    if (d->topLevelDelegates || d->impl)
        return;
    d->topLevelDelegates = new FList<const ObjectHierarchyDelegate *>;
    static const char *const names[] = {
        "Tolvex::ToplevelQt",  "Tolvex::ToplevelXView", "Tolvex::ToplevelTk",
        "Tolvex::ToplevelWeb", "Tolvex::ToplevelJava",  "Tolvex::ToplevelMac",
        "Tolvex::ToplevelWin", "QtGUIObject",           "Tolvex::ToplevelAndroid",
    };
    for (const char *name : names)
        if (const Delegate *dg = DelegateFactory::self()->delegate(QString::fromLatin1(name),
                                                                   Delegate::ObjectHierarchy))
            d->topLevelDelegates->append(static_cast<const ObjectHierarchyDelegate *>(dg));
}

void Inspector::addTopLevelHierarchyDelegate(const ObjectHierarchyDelegate *delegate)
{
    if (d->topLevelDelegates && !d->impl)
        d->topLevelDelegates->append(delegate);
}

SharedPtr<Object> Inspector::object(const QString &name,
                                    const ObjectHierarchyDelegate **delegateOut) const
{
    return d->local.object(name, delegateOut);
}

// --- Unmatched properties ----------------------------------------------------------

void Inspector::addUnmatchedProperty(const QString &name, const QString &property)
{
    QList<QString> &list = d->unmatchedProperties[name];
    if (!list.contains(property))
        list.append(property);
}

void Inspector::setUnmatchedProperties(const QString &name, const QList<QString> &properties)
{
    // The candidate that came closest, with the fewest unmatched properties,
    // is the one worth reporting.
    auto it = d->unmatchedProperties.constFind(name);
    if (it != d->unmatchedProperties.cend() && it->size() < properties.size())
        return;
    d->unmatchedProperties.insert(name, properties);
}

void Inspector::removeUnmatchedProperties(const QString &name)
{
    d->unmatchedProperties.remove(name);
}

// --- Recorder settings ---------------------------------------------------------

QString Inspector::uniqueProperty(const QString &className) const
{
    return d->uniqueProperties.value(className);
}

QList<QString> Inspector::uniquePropertyClasses() const
{
    return d->uniquePropertyClasses;
}

bool Inspector::hasMouseTracking(const QString &className) const
{
    return d->mouseTracking.value(className, false);
}

bool Inspector::hasRecordMouseDrag(const QString &className) const
{
    return d->recordMouseDrag.value(className, true);
}

int Inspector::isKeyEventCompressionAllowed(const QString &className) const
{
    auto it = d->allowKeyEventCompression.constFind(className);
    if (it == d->allowKeyEventCompression.cend())
        return -1;
    return *it ? 1 : 0;
}

QString Inspector::extensionCode() const
{
    return d->extensionCode;
}

QString Inspector::extensionLanguage() const
{
    return d->extensionLanguage;
}

bool Inspector::matchRecordFilter(const QString &key, const QString &value) const
{
    auto it = d->recorderFilters.constFind(key);
    if (it == d->recorderFilters.cend())
        return false;
    for (const QString &filter : *it) {
        if (filter == value)
            return true;
        const QRegularExpression re(QRegularExpression::wildcardToRegularExpression(filter));
        if (re.match(value).hasMatch())
            return true;
    }
    return false;
}

void Inspector::setSpyingEnabled(bool on)
{
    d->spyingEnabled = on;
}

bool Inspector::isSpyingEnabled() const
{
    return d->spyingEnabled;
}

// --- Object cache --------------------------------------------------------------

void Inspector::enableObjectCache(bool on)
{
    d->objectCacheEnabled = on;
}

bool Inspector::isObjectCacheEnabled() const
{
    return d->objectCacheEnabled;
}

void Inspector::invalidateObjectCache(void *data)
{
    if (d->cachedObject && d->cachedObject->data() == data) {
        d->cachedObject = nullptr;
        d->cachedName.clear();
    }
}

void Inspector::setCachedObject(const QString &name, SharedPtr<Object> obj)
{
    d->cachedName = name;
    d->cachedObject = obj;
}

SharedPtr<Object> Inspector::cachedObject(const QString &name) const
{
    if (d->objectCacheEnabled && d->cachedObject && d->cachedName == name)
        return d->cachedObject;
    return nullptr;
}

// --- Event handler queries -------------------------------------------------------

bool Inspector::mightHaveEventHandler(const QString &eventName) const
{
    return d->eventsWithHandlers.contains(eventName);
}

QString Inspector::eventHandler(SharedPtr<Object> obj, const QString &eventName) const
{
    if (!obj)
        return QString();
    for (const EventHandlerEntry &e : d->objectHandlers)
        if (e.object && e.eventName == eventName && obj->sameAs(e.object))
            return e.handler;
    return QString();
}

QString Inspector::eventHandler(const Class *c, const QString &eventName) const
{
    if (!c)
        return QString();
    for (const EventHandlerEntry &e : d->classHandlers) {
        if (e.eventName != eventName)
            continue;
        if (!e.typeResolved) {
            e.typeResolved = true;
            e.type = type(e.className);
        }
        if (e.type && c->inheritanceDepth(e.type) >= 0)
            return e.handler;
    }
    return QString();
}

QString Inspector::eventHandler(const QString &eventName) const
{
    for (const EventHandlerEntry &e : d->globalHandlers)
        if (e.eventName == eventName)
            return e.handler;
    return QString();
}

void Inspector::clearEventHandlers()
{
    d->objectHandlers.clear();
    d->classHandlers.clear();
    d->globalHandlers.clear();
    d->eventsWithHandlers.clear();
}

// Creation order fixes the ids: the global namespace is 0, the primitives
// and the global class take the ids of PrimitiveClassId.
void Inspector::createBuiltinClasses()
{
    // Empty, not null: the name is part of the namespace's stream form.
    new Namespace(nullptr, QLatin1String(""));
    new TolvexClass_short;
    new TolvexClass_int;
    new TolvexClass_long;
    new TolvexClass_bool;
    new TolvexClass_char;
    new TolvexClass_double;
    new TolvexClass_int64;
    const Class *voidClass = new TolvexClass_void;
    new TolvexClass_undefined;
    d->voidObject = voidClass->wrap(nullptr, ObjectAttribute::Value());
    new GlobalClass;
    new ArrayClass;
    new MapClass;
    auto *uiTypes = new Namespace(globalNamespace(), QStringLiteral("UiTypes"));
    new ScreenPointClass(uiTypes);
    new ScreenRectangle_class(uiTypes);
    new DateTime_class(uiTypes);
}

// === The Inspector's own behaviour ==================================================

// --- Classes and namespaces ----------------------------------------------------

int LocalInspector::registerClass(const Class *c) const
{
    return d->classes.add(c, c->className());
}

int LocalInspector::registerNamespace(Namespace *n) const
{
    return d->namespaces.add(n, n->name());
}

const Class *LocalInspector::type(const QString &name) const
{
    return d->classes.byName.value(name, nullptr);
}

const Class *LocalInspector::type(int id) const
{
    return d->classes.at(id);
}

int LocalInspector::numClasses() const
{
    return d->classes.count;
}

int LocalInspector::numNamespaces() const
{
    return d->namespaces.count;
}

Namespace *LocalInspector::nameSpace(const QString &name) const
{
    return d->namespaces.byName.value(name, nullptr);
}

Namespace *LocalInspector::nameSpace(int id) const
{
    return d->namespaces.at(id);
}

Namespace *LocalInspector::nameSpaceFromFullyQualifiedName(const QString &name) const
{
    if (name.isEmpty())
        return nullptr;
    Namespace *current = nameSpace(q->globalNamespaceId());
    const QStringList parts = name.split(QLatin1String("::"));
    for (const QString &part : parts) {
        if (!current)
            return nullptr;
        current = current->getNamespace(part);
    }
    return current;
}

// --- Top-level objects -----------------------------------------------------------

int LocalInspector::numObjects() const
{
    q->setupPropertyDelegate();
    int n = 0;
    for (const ObjectHierarchyDelegate *dg : *d->topLevelDelegates)
        n += dg->numChildren(nullptr);
    return n;
}

ObjectList LocalInspector::objects() const
{
    q->setupPropertyDelegate();
    ObjectList result;
    for (const ObjectHierarchyDelegate *dg : *d->topLevelDelegates) {
        const ObjectList part = dg->children(nullptr);
        result.insert(result.end(), part.begin(), part.end());
    }
    return result;
}

SharedPtr<Object> LocalInspector::object(int index) const
{
    q->setupPropertyDelegate();
    for (const ObjectHierarchyDelegate *dg : *d->topLevelDelegates) {
        const int n = dg->numChildren(nullptr);
        if (index < n)
            return index >= 0 ? dg->child(nullptr, index) : nullptr;
        index -= n;
    }
    return nullptr;
}

SharedPtr<Object> LocalInspector::object(const QString &name) const
{
    return object(name, nullptr);
}

SharedPtr<Object> LocalInspector::object(const QString &name,
                                         const ObjectHierarchyDelegate **delegateOut) const
{
    q->setupPropertyDelegate();
    if (!d->topLevelDelegates)
        return nullptr;
    for (const ObjectHierarchyDelegate *dg : *d->topLevelDelegates) {
        if (SharedPtr<Object> o = dg->childByName(nullptr, name)) {
            if (delegateOut)
                *delegateOut = dg;
            return o;
        }
    }
    return nullptr;
}

// --- Primitives --------------------------------------------------------------

SharedPtr<Object> LocalInspector::createNull(const Class *c) const
{
    return c ? SharedPtr<Object>(new Object(c, nullptr, ObjectAttribute::Pointer())) : nullptr;
}

SharedPtr<Object> LocalInspector::voidObject() const
{
    return d->voidObject;
}

// --- Errors --------------------------------------------------------------------

void LocalInspector::setError(const QString &text)
{
    if (text.isEmpty())
        d->unmatchedProperties.clear();
    d->lastError = text;
}

// Reading the error consumes it, and the unmatched properties with it.
QString LocalInspector::lastError() const
{
    d->unmatchedProperties.clear();
    QString text;
    text.swap(d->lastError);
    return text;
}

QMap<QString, QList<QString>> LocalInspector::unmatchedProperties() const
{
    return d->unmatchedProperties;
}

// --- Recorder settings ---------------------------------------------------------

void LocalInspector::setUniqueProperty(const QString &className, const QString &propertyName)
{
    d->uniquePropertyClasses.append(className);
    d->uniqueProperties.insert(className, propertyName);
}

void LocalInspector::setExtensionCode(const QString &code, const QString &language)
{
    d->extensionCode = code;
    d->extensionLanguage = language;
}

void LocalInspector::setMouseTracking(const QString &className, bool on)
{
    d->mouseTracking.insert(className, on);
}

void LocalInspector::setRecordMouseDrag(const QString &className, bool on)
{
    d->recordMouseDrag.insert(className, on);
}

void LocalInspector::setAllowKeyEventCompression(const QString &className, bool on)
{
    d->allowKeyEventCompression.insert(className, on);
}

void LocalInspector::enableEventCompression(const QString &, bool) {}

void LocalInspector::setRecorderFilter(const QString &key, const QString &filter)
{
    d->recorderFilters[key].append(filter);
}

// --- Event handlers ------------------------------------------------------------

bool LocalInspector::installObjectEventHandler(SharedPtr<Object> obj, const QString &eventName,
                                               const QString &handler)
{
    EventHandlerEntry e;
    e.kind = EventHandlerEntry::ObjectKind;
    e.object = obj;
    e.eventName = eventName;
    e.handler = handler;
    d->objectHandlers.append(e);
    d->eventsWithHandlers.insert(eventName, true);
    return true;
}

// Object handlers are deliberately never removed here: once installed they
// stay until clearEventHandlers.
bool LocalInspector::uninstallObjectEventHandler(SharedPtr<Object>, const QString &eventName,
                                                 const QString &)
{
    noteHandlersLeft(d->eventsWithHandlers, d->objectHandlers, eventName);
    return true;
}

bool LocalInspector::installClassEventHandler(const QString &className, const QString &eventName,
                                              const QString &handler)
{
    EventHandlerEntry e;
    e.kind = EventHandlerEntry::ClassKind;
    e.className = className;
    e.eventName = eventName;
    e.handler = handler;
    d->classHandlers.append(e);
    d->eventsWithHandlers.insert(eventName, true);
    return true;
}

bool LocalInspector::uninstallClassEventHandler(const QString &className, const QString &eventName,
                                                const QString &handler)
{
    d->classHandlers.removeIf([&](const EventHandlerEntry &e) {
        return e.className == className && e.eventName == eventName && e.handler == handler;
    });
    noteHandlersLeft(d->eventsWithHandlers, d->classHandlers, eventName);
    return true;
}

bool LocalInspector::installGlobalEventHandler(const QString &eventName, const QString &handler)
{
    EventHandlerEntry e;
    e.kind = EventHandlerEntry::GlobalKind;
    e.eventName = eventName;
    e.handler = handler;
    d->globalHandlers.append(e);
    d->eventsWithHandlers.insert(eventName, true);
    return true;
}

bool LocalInspector::uninstallGlobalEventHandler(const QString &eventName, const QString &handler)
{
    d->globalHandlers.removeIf([&](const EventHandlerEntry &e) {
        return e.eventName == eventName && e.handler == handler;
    });
    noteHandlersLeft(d->eventsWithHandlers, d->globalHandlers, eventName);
    return true;
}

// --- Events, property delegates, calls ---------------------------------------------

// The send-event delegates are the Inspector's own, registered on it.
void LocalInspector::sendEvent(const Event *event, SharedPtr<Object> obj,
                               const ObjectList &args) const
{
    q->InspectorInterface::sendEvent(event, obj, args);
}

void LocalInspector::addPropertyDelegate(const QString &className,
                                         const QList<QString> &descriptions)
{
    if (!q->type(className))
        return;
    // Registers itself with the factory and lives as long as the process.
    new GenericStaticPropertyDelegate(className, descriptions);
}

QVariant LocalInspector::call(const QString &, const FList<QVariant> &)
{
    setError(QStringLiteral("Cannot make remote calls right now. Make sure your application is "
                            "running and hooked by Tolvex."));
    return QVariant();
}

GenericStaticPropertyDelegate::GenericStaticPropertyDelegate(const QString &className,
                                                             const QList<QString> &descriptions)
    : StaticPropertyDelegate(className)
{
    for (const QString &description : descriptions) {
        const QStringList f = description.split(QLatin1Char(','));
        if (f.size() != 6)
            continue;
        m_declarations.append(new PropertyDeclaration(
            className, f[0].trimmed(), f[1].trimmed(), f[2].trimmed(), f[3].trimmed(),
            f[4].trimmed() == QLatin1String("1"), f[5].trimmed() == QLatin1String("1")));
    }
}

GenericStaticPropertyDelegate::~GenericStaticPropertyDelegate()
{
    for (PropertyDeclaration *p : m_declarations)
        delete p;
}

const PropertyDeclaration *GenericStaticPropertyDelegate::property(int index) const
{
    return index >= 0 && index < m_declarations.count() ? m_declarations[index] : nullptr;
}

} // namespace Tolvex
