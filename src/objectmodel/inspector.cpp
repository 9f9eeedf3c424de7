#include "inspector.h"

#include "arrayclass.h"
#include "class.h"
#include "datetime.h"
#include "delegatefactory.h"
#include "genericstaticpropertydelegate_p.h"
#include "globalclass.h"
#include "mapclass.h"
#include "namespace.h"
#include "object.h"
#include "primitives.h"
#include "propertydeclaration.h"
#include "screenpoint.h"
#include "screenrectangle.h"

#include <QRegularExpression>

#include <cstdio>

namespace Tolvex {

namespace {

Inspector *s_instance = nullptr;

struct EventHandlerEntry
{
    enum Kind { ObjectKind = 0, ClassKind = 1, GlobalKind = 2 };

    int kind = GlobalKind;
    SharedPtr<Object> object;
    mutable const Class *type = nullptr;
    mutable bool typeResolved = false;
    QString className;
    QString eventName;
    QString handler;
};

// A table indexed by id: a capacity that grows in small steps and a count of
// the slots in use.
template <typename T> struct Registry
{
    static constexpr int InitialCapacity = 64;
    static constexpr int Growth = 8;

    Registry() : table(InitialCapacity) { byName.reserve(1031); }

    int add(T *entry, const QString &name)
    {
        if (count == table.count())
            table.resize(table.count() + Growth);
        table[count] = entry;
        byName.insert(name, entry);
        return count++;
    }
    void reset()
    {
        table = FVector<T *>(InitialCapacity);
        count = 0;
        byName.clear();
    }
    T *at(int id) const { return id >= 0 && id < count ? table[id] : nullptr; }

    FVector<T *> table;
    int count = 0;
    QHash<QString, T *> byName;
};

} // namespace

struct Inspector::Data
{
    FList<EventHandlerEntry> objectHandlers;
    FList<EventHandlerEntry> classHandlers;
    FList<EventHandlerEntry> globalHandlers;
    Registry<const Class> classes;
    Registry<Namespace> namespaces;
    FList<const ObjectHierarchyDelegate *> *topLevelDelegates = nullptr;
    QMap<QString, bool> eventsWithHandlers;
    SharedPtr<Object> cachedObject;
    QString cachedName;
};

Inspector *Inspector::self()
{
    if (!s_instance)
        new Inspector;
    return s_instance;
}

Inspector::Inspector() : d(new Data)
{
    // Published before anything is created, so that the classes made below
    // can register with this instance.
    s_instance = this;
    createBuiltinClasses();
}

Inspector::~Inspector()
{
    delete d->topLevelDelegates;
    if (s_instance == this)
        s_instance = nullptr;
}

void Inspector::setInspectorInterfaceImpl(InspectorInterface *impl)
{
    d->classes.reset();
    d->namespaces.reset();
    m_impl = impl;
}

// --- Classes and namespaces ----------------------------------------------------

int Inspector::registerClass(const Class *c) const
{
    if (m_impl)
        return m_impl->registerClass(c);
    return d->classes.add(c, c->className());
}

int Inspector::registerNamespace(Namespace *n) const
{
    if (m_impl)
        return m_impl->registerNamespace(n);
    return d->namespaces.add(n, n->name());
}

static QString withoutOneIndirection(const QString &name)
{
    if (name.endsWith(QLatin1Char('*')) || name.endsWith(QLatin1Char('&')))
        return name.left(name.size() - 1);
    return name;
}

const Class *Inspector::type(const QString &name) const
{
    const QString base = withoutOneIndirection(name);
    if (m_impl)
        return m_impl->type(base);
    return d->classes.byName.value(base, nullptr);
}

const Class *Inspector::type(int id) const
{
    if (m_impl)
        return m_impl->type(id);
    return d->classes.at(id);
}

int Inspector::numClasses() const
{
    return m_impl ? m_impl->numClasses() : d->classes.count;
}

int Inspector::numNamespaces() const
{
    return m_impl ? m_impl->numNamespaces() : d->namespaces.count;
}

Namespace *Inspector::nameSpace(const QString &name) const
{
    if (m_impl)
        return m_impl->nameSpace(name);
    return d->namespaces.byName.value(name, nullptr);
}

Namespace *Inspector::nameSpace(int id) const
{
    if (m_impl)
        return m_impl->nameSpace(id);
    return d->namespaces.at(id);
}

Namespace *Inspector::nameSpaceFromFullyQualifiedName(const QString &name) const
{
    if (m_impl)
        return m_impl->nameSpaceFromFullyQualifiedName(name);
    if (name.isEmpty())
        return nullptr;
    Namespace *current = globalNamespace();
    const QStringList parts = name.split(QLatin1String("::"));
    for (const QString &part : parts) {
        if (!current)
            return nullptr;
        current = current->getNamespace(part);
    }
    return current;
}

// --- Top-level objects -----------------------------------------------------------

void Inspector::setupPropertyDelegate() const
{
    if (d->topLevelDelegates || m_impl)
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
    if (d->topLevelDelegates && !m_impl)
        d->topLevelDelegates->append(delegate);
}

int Inspector::numObjects() const
{
    if (m_impl)
        return m_impl->numObjects();
    setupPropertyDelegate();
    int n = 0;
    for (const ObjectHierarchyDelegate *dg : *d->topLevelDelegates)
        n += dg->numChildren(nullptr);
    return n;
}

ObjectList Inspector::objects() const
{
    if (m_impl)
        return m_impl->objects();
    setupPropertyDelegate();
    ObjectList result;
    for (const ObjectHierarchyDelegate *dg : *d->topLevelDelegates) {
        const ObjectList part = dg->children(nullptr);
        result.insert(result.end(), part.begin(), part.end());
    }
    return result;
}

SharedPtr<Object> Inspector::object(int index) const
{
    if (m_impl)
        return m_impl->object(index);
    setupPropertyDelegate();
    for (const ObjectHierarchyDelegate *dg : *d->topLevelDelegates) {
        const int n = dg->numChildren(nullptr);
        if (index < n)
            return index >= 0 ? dg->child(nullptr, index) : nullptr;
        index -= n;
    }
    return nullptr;
}

SharedPtr<Object> Inspector::object(const QString &name) const
{
    if (m_impl)
        return m_impl->object(name);
    return object(name, nullptr);
}

SharedPtr<Object> Inspector::object(const QString &name,
                                    const ObjectHierarchyDelegate **delegateOut) const
{
    setupPropertyDelegate();
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

const FList<const ObjectHierarchyDelegate *> *Inspector::topLevelDelegates() const
{
    return d->topLevelDelegates;
}

// --- Primitives --------------------------------------------------------------

SharedPtr<Object> Inspector::createNull(const Class *c) const
{
    if (m_impl)
        return m_impl->createNull(c);
    return c ? SharedPtr<Object>(new Object(c, nullptr, ObjectAttribute::Pointer())) : nullptr;
}

SharedPtr<Object> Inspector::voidObject() const
{
    if (m_impl)
        return m_impl->voidObject();
    return m_voidObject;
}

// --- Errors and unmatched properties ----------------------------------------------

void Inspector::setError(const QString &text)
{
    if (m_impl)
        m_impl->setError(text);
    if (text.isEmpty())
        m_unmatchedProperties.clear();
    m_lastError = text;
}

QString Inspector::lastError() const
{
    if (m_impl)
        return m_impl->lastError();
    m_unmatchedProperties.clear();
    QString text;
    text.swap(m_lastError);
    return text;
}

void Inspector::addUnmatchedProperty(const QString &name, const QString &property)
{
    QList<QString> &list = m_unmatchedProperties[name];
    if (!list.contains(property))
        list.append(property);
}

void Inspector::setUnmatchedProperties(const QString &name, const QList<QString> &properties)
{
    // The candidate that came closest, with the fewest unmatched properties,
    // is the one worth reporting.
    auto it = m_unmatchedProperties.constFind(name);
    if (it != m_unmatchedProperties.cend() && it->size() < properties.size())
        return;
    m_unmatchedProperties.insert(name, properties);
}

void Inspector::removeUnmatchedProperties(const QString &name)
{
    m_unmatchedProperties.remove(name);
}

QMap<QString, QList<QString>> Inspector::unmatchedProperties() const
{
    if (m_impl)
        return m_impl->unmatchedProperties();
    return m_unmatchedProperties;
}

// --- Recorder settings ---------------------------------------------------------

void Inspector::setUniqueProperty(const QString &className, const QString &propertyName)
{
    if (m_impl)
        return m_impl->setUniqueProperty(className, propertyName);
    m_uniquePropertyClasses.append(className);
    m_uniqueProperties.insert(className, propertyName);
}

QString Inspector::uniqueProperty(const QString &className) const
{
    return m_uniqueProperties.value(className);
}

void Inspector::setExtensionCode(const QString &code, const QString &language)
{
    if (m_impl)
        return m_impl->setExtensionCode(code, language);
    m_extensionCode = code;
    m_extensionLanguage = language;
}

void Inspector::setMouseTracking(const QString &className, bool on)
{
    if (m_impl)
        return m_impl->setMouseTracking(className, on);
    m_mouseTracking.insert(className, on);
}

bool Inspector::hasMouseTracking(const QString &className) const
{
    return m_mouseTracking.value(className, false);
}

void Inspector::setRecordMouseDrag(const QString &className, bool on)
{
    if (m_impl)
        return m_impl->setRecordMouseDrag(className, on);
    m_recordMouseDrag.insert(className, on);
}

bool Inspector::hasRecordMouseDrag(const QString &className) const
{
    return m_recordMouseDrag.value(className, true);
}

void Inspector::setAllowKeyEventCompression(const QString &className, bool on)
{
    if (m_impl)
        return m_impl->setAllowKeyEventCompression(className, on);
    m_allowKeyEventCompression.insert(className, on);
}

int Inspector::isKeyEventCompressionAllowed(const QString &className) const
{
    auto it = m_allowKeyEventCompression.constFind(className);
    if (it == m_allowKeyEventCompression.cend())
        return -1;
    return *it ? 1 : 0;
}

void Inspector::enableEventCompression(const QString &className, bool on)
{
    if (m_impl)
        m_impl->enableEventCompression(className, on);
}

void Inspector::setRecorderFilter(const QString &key, const QString &filter)
{
    if (m_impl)
        return m_impl->setRecorderFilter(key, filter);
    m_recorderFilters[key].append(filter);
}

bool Inspector::matchRecordFilter(const QString &key, const QString &value) const
{
    auto it = m_recorderFilters.constFind(key);
    if (it == m_recorderFilters.cend())
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

// --- Object cache --------------------------------------------------------------

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
    if (m_objectCacheEnabled && d->cachedObject && d->cachedName == name)
        return d->cachedObject;
    return nullptr;
}

// --- Event handlers ------------------------------------------------------------

static void noteHandlersLeft(QMap<QString, bool> &events, const FList<EventHandlerEntry> &list,
                             const QString &eventName)
{
    for (const EventHandlerEntry &e : list)
        if (e.eventName == eventName)
            return;
    events.insert(eventName, false);
}

bool Inspector::installObjectEventHandler(SharedPtr<Object> obj, const QString &eventName,
                                          const QString &handler)
{
    if (m_impl)
        return m_impl->installObjectEventHandler(obj, eventName, handler);
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
bool Inspector::uninstallObjectEventHandler(SharedPtr<Object> obj, const QString &eventName,
                                            const QString &handler)
{
    if (m_impl)
        return m_impl->uninstallObjectEventHandler(obj, eventName, handler);
    noteHandlersLeft(d->eventsWithHandlers, d->objectHandlers, eventName);
    return true;
}

bool Inspector::installClassEventHandler(const QString &className, const QString &eventName,
                                         const QString &handler)
{
    if (m_impl)
        return m_impl->installClassEventHandler(className, eventName, handler);
    EventHandlerEntry e;
    e.kind = EventHandlerEntry::ClassKind;
    e.className = className;
    e.eventName = eventName;
    e.handler = handler;
    d->classHandlers.append(e);
    d->eventsWithHandlers.insert(eventName, true);
    return true;
}

bool Inspector::uninstallClassEventHandler(const QString &className, const QString &eventName,
                                           const QString &handler)
{
    if (m_impl)
        return m_impl->uninstallClassEventHandler(className, eventName, handler);
    d->classHandlers.removeIf([&](const EventHandlerEntry &e) {
        return e.className == className && e.eventName == eventName && e.handler == handler;
    });
    noteHandlersLeft(d->eventsWithHandlers, d->classHandlers, eventName);
    return true;
}

bool Inspector::installGlobalEventHandler(const QString &eventName, const QString &handler)
{
    if (m_impl)
        return m_impl->installGlobalEventHandler(eventName, handler);
    EventHandlerEntry e;
    e.kind = EventHandlerEntry::GlobalKind;
    e.eventName = eventName;
    e.handler = handler;
    d->globalHandlers.append(e);
    d->eventsWithHandlers.insert(eventName, true);
    return true;
}

bool Inspector::uninstallGlobalEventHandler(const QString &eventName, const QString &handler)
{
    if (m_impl)
        return m_impl->uninstallGlobalEventHandler(eventName, handler);
    d->globalHandlers.removeIf([&](const EventHandlerEntry &e) {
        return e.eventName == eventName && e.handler == handler;
    });
    noteHandlersLeft(d->eventsWithHandlers, d->globalHandlers, eventName);
    return true;
}

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

// --- Forwarding ----------------------------------------------------------------

void Inspector::sendEvent(const Event *event, SharedPtr<Object> obj, const ObjectList &args) const
{
    if (!event || !obj) {
        std::fprintf(stderr,
                     "Inspector::sendEvent failed because object or event are null (event: %p, "
                     "object: %p)\n",
                     static_cast<const void *>(event), static_cast<const void *>(obj.get()));
        return;
    }
    if (m_impl)
        return m_impl->sendEvent(event, obj, args);
    InspectorInterface::sendEvent(event, obj, args);
}

void Inspector::addPropertyDelegate(const QString &className, const QList<QString> &descriptions)
{
    if (m_impl)
        return m_impl->addPropertyDelegate(className, descriptions);
    if (!type(className))
        return;
    // Registers itself with the factory and lives as long as the process.
    new GenericStaticPropertyDelegate(className, descriptions);
}

QVariant Inspector::call(const QString &name, const FList<QVariant> &args)
{
    if (m_impl)
        return m_impl->call(name, args);
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
    m_voidObject = voidClass->wrap(nullptr, ObjectAttribute::Value());
    new GlobalClass;
    new ArrayClass;
    new MapClass;
    auto *uiTypes = new Namespace(globalNamespace(), QStringLiteral("UiTypes"));
    new ScreenPointClass(uiTypes);
    new ScreenRectangle_class(uiTypes);
    new DateTime_class(uiTypes);
}

} // namespace Tolvex
