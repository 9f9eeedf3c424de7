#include "class.h"

#include "class_p.h"
#include "constructor.h"
#include "delegatefactory.h"
#include "enum.h"
#include "event.h"
#include "inspector.h"
#include "interface.h"
#include "logging.h"
#include "memberresolution_p.h"
#include "method.h"
#include "namespace.h"
#include "object.h"
#include "objectlist.h"
#include "property.h"
#include "propertydeclaration.h"
#include "streamlimits_p.h"
#include "userdata.h"

#include <QDataStream>

#include <vector>

namespace Tolvex {

namespace {

int ownCount(int n)
{
    return n > 0 ? n : 0;
}

template <typename T> void buildIndex(const FVector<const T *> &table, QHash<QString, int> *index)
{
    index->reserve(table.count());
    for (int k = 0; k < table.count(); ++k)
        if (table[k] && !index->contains(table[k]->name()))
            index->insert(table[k]->name(), k);
}

template <typename T> void deleteAll(FVector<const T *> &table)
{
    for (const T *element : table)
        delete element;
    table.clear();
}

// The data pointers of the arguments, as the lowest invoke and construct
// take them; an argument that is not of its own class gives null.
std::vector<void *> dataPointers(const ObjectList &args)
{
    std::vector<void *> result(args.size() + 1, nullptr);
    for (size_t i = 0; i < args.size(); ++i) {
        const SharedPtr<Object> &arg = args[i];
        if (arg && arg->type())
            arg->type()->convert(arg, &result[i]);
    }
    return result;
}

} // namespace

ClassPrivate::ClassPrivate()
    : propertyDelegateSearched(false), castDelegateSearched(false), superClassInitialised(false),
      propertiesBuilt(false)
{}

ClassPrivate::~ClassPrivate()
{
    deleteAll(constructors);
    deleteAll(methods);
    deleteAll(properties);
    deleteAll(events);
    deleteAll(enums);
    delete[] name;
}

Class::Class() : d(new ClassPrivate) {}

Class::Class(const char *name, bool registerNow)
    : Class(name, Inspector::self()->globalNamespace(), registerNow)
{}

Class::Class(const char *name, Namespace *nameSpace, bool registerNow) : d(new ClassPrivate)
{
    d->name = qstrdup(name);
    d->nameSpace = nameSpace;
    if (registerNow)
        registerClass();
}

Class::~Class() = default;

void Class::registerClass()
{
    if (d->nameSpace)
        d->nameSpace->registerClass(this);
    d->id = Inspector::self()->registerClass(this);
}

QString Class::className() const
{
    return QString::fromLatin1(d->name);
}

QString Class::fullyQualifiedClassName() const
{
    QString result = className();
    for (const Namespace *n = d->nameSpace; n && n->enclosingNamespace();
         n = n->enclosingNamespace())
        result = n->name() + QLatin1String("::") + result;
    return result;
}

int Class::id() const
{
    return d->id;
}

void Class::setId(int id)
{
    d->id = id;
}

Namespace *Class::nameSpace() const
{
    return d->nameSpace;
}

const Class *Class::super() const
{
    if (!d->superClassInitialised) {
        d->superClassInitialised = true;
        const_cast<Class *>(this)->initSuperClass();
    }
    return d->superClass;
}

void Class::setSuperClass(const Class *superClass)
{
    d->superClass = superClass;
    d->superClassInitialised = true;
}

void Class::initSuperClass()
{
    setSuperClass(nullptr);
}

bool Class::isSubClassOf(const Class *c) const
{
    for (const Class *k = this; k; k = k->super())
        if (k == c)
            return true;
    return false;
}

int Class::inheritanceDepth(const Class *c) const
{
    int depth = 0;
    for (const Class *k = this; k; k = k->super(), ++depth)
        if (k == c)
            return depth;
    return -1;
}

bool Class::hasNature(int nature) const
{
    return d->natures & (1u << (unsigned(nature) % 32u));
}

void Class::addNature(int nature)
{
    d->natures |= 1u << (unsigned(nature) % 32u);
}

unsigned int Class::natures() const
{
    return d->natures;
}

void Class::addInterface(const Interface *interface)
{
    const QString name = QString::fromStdString(interface->interfaceName());
    if (interfaceClass(name))
        qFatal("Cannot add duplicate Interface %s to Class %s", qPrintable(name), d->name);
    if (!d->interfaces)
        d->interfaces.reset(new QMap<QString, const Interface *>);
    d->interfaces->insert(name, interface);
}

const Interface *Class::interfaceClass(const QString &name) const
{
    for (const Class *k = this; k; k = k->super())
        if (k->d->interfaces)
            if (const Interface *i = k->d->interfaces->value(name))
                return i;
    return nullptr;
}

void Class::setNumConstructors(int n)
{
    d->numConstructors = n;
}
void Class::setNumMethods(int n)
{
    d->numMethods = n;
}
void Class::setNumProperties(int n)
{
    d->numProperties = n;
}
void Class::setNumEvents(int n)
{
    d->numEvents = n;
}
void Class::setNumEnums(int n)
{
    d->numEnums = n;
}

int Class::numConstructors() const
{
    return ownCount(d->numConstructors);
}

int Class::superClassOffset(OffsetType type) const
{
    const Class *s = super();
    if (!s)
        return 0;
    switch (type) {
    case Properties:
        return s->numProperties();
    case Methods:
        return s->numMethods();
    case Events:
        return s->numEvents();
    case Enums:
        return s->numEnums();
    }
    return 0;
}

int Class::numMethods() const
{
    return superClassOffset(Methods) + ownCount(d->numMethods);
}

int Class::numEvents() const
{
    return superClassOffset(Events) + ownCount(d->numEvents);
}

int Class::numEnums() const
{
    return superClassOffset(Enums) + ownCount(d->numEnums);
}

int Class::numProperties() const
{
    if (d->numDynamicProperties < 0) {
        if (!d->propertyDelegateSearched) {
            d->propertyDelegateSearched = true;
            d->propertyDelegate = static_cast<const StaticPropertyDelegate *>(
                DelegateFactory::self()->delegate(className(), Delegate::StaticProperty));
        }
        d->numDynamicProperties = d->propertyDelegate ? d->propertyDelegate->numProperties() : 0;
    }
    return superClassOffset(Properties) + ownCount(d->numProperties) + d->numDynamicProperties;
}

int Class::numPropertiesInternal() const
{
    return superClassOffset(Properties) + ownCount(d->numProperties);
}

// Internal access to the lazy tables, shared by the lookups below.
class ClassMembers
{
public:
    static void initConstructors(const Class *c)
    {
        ClassPrivate *d = c->d.get();
        if (!d->constructors.isEmpty() || d->numConstructors <= 0)
            return;
        d->constructors.resize(d->numConstructors);
        for (int k = 0; k < d->numConstructors; ++k)
            d->constructors[k] = c->createConstructor(k);
    }

    static void initMethods(const Class *c)
    {
        ClassPrivate *d = c->d.get();
        if (!d->methods.isEmpty() || d->numMethods <= 0)
            return;
        const int offset = c->superClassOffset(Class::Methods);
        d->methods.resize(d->numMethods);
        for (int k = 0; k < d->numMethods; ++k) {
            d->methods[k] = c->createMethod(offset + k);
            if (d->methods[k])
                d->methodIndex[d->methods[k]->name()].append(k);
        }
    }

    static void initEvents(const Class *c)
    {
        ClassPrivate *d = c->d.get();
        if (!d->events.isEmpty() || d->numEvents <= 0)
            return;
        const int offset = c->superClassOffset(Class::Events);
        d->events.resize(d->numEvents);
        for (int k = 0; k < d->numEvents; ++k)
            d->events[k] = c->createEvent(offset + k);
        buildIndex(d->events, &d->eventIndex);
    }

    static void initEnums(const Class *c)
    {
        ClassPrivate *d = c->d.get();
        if (!d->enums.isEmpty() || d->numEnums <= 0)
            return;
        const int offset = c->superClassOffset(Class::Enums);
        d->enums.resize(d->numEnums);
        for (int k = 0; k < d->numEnums; ++k)
            d->enums[k] = c->createEnum(offset + k);
        buildIndex(d->enums, &d->enumIndex);
    }

    static void initProperties(const Class *c)
    {
        ClassPrivate *d = c->d.get();
        if (d->propertiesBuilt)
            return;
        d->propertiesBuilt = true;
        const int superCount = c->superClassOffset(Class::Properties);
        const int own = ownCount(d->numProperties);
        d->properties.resize(c->numProperties() - superCount);
        for (int k = 0; k < own; ++k)
            d->properties[k] = c->createProperty(superCount + k);
        for (int k = 0; k < d->numDynamicProperties; ++k)
            d->properties[own + k] =
                new Property(c, d->propertyDelegate->property(k), own + k + superCount);
        buildIndex(d->properties, &d->propertyIndex);
    }

    // Members a class adds to the ids of one kind: its own, and for
    // properties also those its property delegate adds (counted by then,
    // since the offsets below ask every ancestor's numProperties()).
    static int ownTotal(const Class *c, Class::OffsetType type)
    {
        const ClassPrivate *d = c->d.get();
        switch (type) {
        case Class::Methods:
            return ownCount(d->numMethods);
        case Class::Events:
            return ownCount(d->numEvents);
        case Class::Enums:
            return ownCount(d->numEnums);
        case Class::Properties:
            return ownCount(d->numProperties) + qMax(0, d->numDynamicProperties);
        }
        return 0;
    }

    // Walks up from start to the class whose own range holds id. The offset
    // is computed once and then reduced class by class.
    template <typename T>
    static const T *byId(const Class *start, int id, Class::OffsetType type,
                         void (*init)(const Class *), FVector<const T *> ClassPrivate::*table)
    {
        if (id < 0)
            return nullptr;
        int offset = start->superClassOffset(type);
        for (const Class *c = start; c;) {
            if (offset <= id) {
                init(c);
                const FVector<const T *> &t = c->d.get()->*table;
                const int index = id - offset;
                return index < t.count() ? t[index] : nullptr;
            }
            c = c->super();
            if (c)
                offset -= ownTotal(c, type);
        }
        return nullptr;
    }

    // The nearest class wins, and within a class the first member of the
    // name in table order, which is what the index holds.
    template <typename T>
    static const T *byName(const Class *start, const QString &name, void (*init)(const Class *),
                           FVector<const T *> ClassPrivate::*table,
                           QHash<QString, int> ClassPrivate::*index)
    {
        for (const Class *c = start; c; c = c->super()) {
            init(c);
            const ClassPrivate *d = c->d.get();
            const auto it = (d->*index).constFind(name);
            if (it != (d->*index).cend())
                return (d->*table)[*it];
        }
        return nullptr;
    }
};

const Constructor *Class::constructor(int index) const
{
    ClassMembers::initConstructors(this);
    if (index < 0 || index >= d->constructors.count())
        return nullptr;
    return d->constructors[index];
}

const Method *Class::method(int id) const
{
    return ClassMembers::byId(this, id, Methods, &ClassMembers::initMethods,
                              &ClassPrivate::methods);
}

MethodList Class::methods(const QString &name) const
{
    MethodList result;
    for (const Class *c = this; c; c = c->super()) {
        ClassMembers::initMethods(c);
        const auto it = c->d->methodIndex.constFind(name);
        if (it != c->d->methodIndex.cend())
            for (int k : *it)
                result.append(c->d->methods[k]);
    }
    return result;
}

const Property *Class::property(int id) const
{
    return ClassMembers::byId(this, id, Properties, &ClassMembers::initProperties,
                              &ClassPrivate::properties);
}

const Property *Class::property(const QString &name) const
{
    return ClassMembers::byName(this, name, &ClassMembers::initProperties,
                                &ClassPrivate::properties, &ClassPrivate::propertyIndex);
}

const Event *Class::event(int id) const
{
    return ClassMembers::byId(this, id, Events, &ClassMembers::initEvents, &ClassPrivate::events);
}

const Event *Class::event(const QString &name) const
{
    return ClassMembers::byName(this, name, &ClassMembers::initEvents, &ClassPrivate::events,
                                &ClassPrivate::eventIndex);
}

const Enum *Class::enumerator(int id) const
{
    return ClassMembers::byId(this, id, Enums, &ClassMembers::initEnums, &ClassPrivate::enums);
}

const Enum *Class::enumerator(const QString &name) const
{
    return ClassMembers::byName(this, name, &ClassMembers::initEnums, &ClassPrivate::enums,
                                &ClassPrivate::enumIndex);
}

void Class::lateAddMethod(Method *method)
{
    const bool built = !d->methods.isEmpty();
    d->numMethods = ownCount(d->numMethods) + 1;
    if (built) {
        d->methods.append(method);
        d->methodIndex[method->name()].append(d->methods.count() - 1);
    }
}

void Class::replaceMethod(const Method *method)
{
    const int index = method->id() - superClassOffset(Methods);
    if (index >= 0 && index < d->methods.count())
        d->methods[index] = method;
}

Constructor *Class::createConstructor(int) const
{
    return nullptr;
}
Method *Class::createMethod(int) const
{
    return nullptr;
}
Property *Class::createProperty(int) const
{
    return nullptr;
}
Event *Class::createEvent(int) const
{
    return nullptr;
}
Enum *Class::createEnum(int) const
{
    return nullptr;
}

// --- Interfaces and wrapping -------------------------------------------------

SharedPtr<Object> Class::convertToInterface(SharedPtr<Object> obj, const QString &name) const
{
    if (!obj || !obj->isA(this))
        return nullptr;
    const Interface *interface = interfaceClass(name);
    if (!interface)
        return nullptr;
    SharedPtr<Object> result = wrap(obj->data(), obj->objectAttribute());
    if (!result)
        return nullptr;
    if (obj->userData())
        result->setUserData(obj->userData()->copy());
    result->m_type = interface;
    result->clearDelegateCaches();
    return result;
}

SharedPtr<Object> Class::wrap(void *data, const ObjectAttribute &attribute) const
{
    return SharedPtr<Object>(new Object(this, data, attribute));
}

void Class::deleteObjectData(void *, const ObjectAttribute &) const {}

bool Class::convert(SharedPtr<Object> obj, void **out) const
{
    if (!obj || !obj->isA(this))
        return false;
    *out = obj->data();
    return true;
}

SharedPtr<Object> Class::createNull() const
{
    return Inspector::self()->createNull(this);
}

// --- Invocation --------------------------------------------------------------

SharedPtr<Object> Class::invoke(int, SharedPtr<Object> self, const ObjectList &args,
                                const Method *method) const
{
    if (!verifyMethodInvocation(self, method))
        return nullptr;
    if (!verifyMethodArgumentCount(className(), method, args))
        return nullptr;
    std::vector<void *> data = dataPointers(args);
    return invoke(self, method, data.data());
}

SharedPtr<Object> Class::invoke(SharedPtr<Object> self, const Method *method, void **args) const
{
    void *data = nullptr;
    if (self && !self->isNull() && self->isA(this))
        data = self->data();
    return invoke(method->id(), data, args, method->returnType().type());
}

SharedPtr<Object> Class::invoke(int, void *, void **, const Class *) const
{
    return nullptr;
}

SharedPtr<Object> Class::construct(const ObjectList &args) const
{
    for (int i = 0; i < numConstructors(); ++i) {
        const Constructor *c = constructor(i);
        if (!c || size_t(c->numArguments()) != args.size())
            continue;
        ObjectList converted;
        if (matchArguments(c->signature(), args, &converted, true))
            return c->type()->construct(c->id(), converted, c);
    }
    logLine(QStringLiteral("Class::construct: No matching constructor found"));
    return nullptr;
}

SharedPtr<Object> Class::construct(int id, const ObjectList &args,
                                   const Constructor *constructor) const
{
    if (size_t(constructor->numArguments()) != args.size()) {
        logLine("Constructor::construct ", d->name ? d->name : "", ": ",
                constructor->numArguments(), " arguments expected, ", qulonglong(args.size()),
                " given");
        return nullptr;
    }
    std::vector<void *> data = dataPointers(args);
    return construct(id, data.data());
}

SharedPtr<Object> Class::construct(int, void **) const
{
    return nullptr;
}

// --- Properties --------------------------------------------------------------

SharedPtr<Object> Class::getProperty(int id, SharedPtr<Object> self, const Property *property) const
{
    if (!verifyPropertyAccess(self, property))
        return nullptr;
    if (id >= numPropertiesInternal()) {
        const PropertyDeclaration *declaration = property->declaration();
        if (!declaration) {
            logLine("Class::getProperty: No such property: ", id);
            return nullptr;
        }
        if (!declaration->isReadable()) {
            logLine("Class::getProperty: property ", declaration->name(), " is not readable");
            return nullptr;
        }
        if (const Method *read = declaration->readMethod())
            return read->invoke(self, ObjectList());
        return declaration->readFunction() ? declaration->readFunction()(self) : nullptr;
    }
    const Class *s = super();
    if (s && id < s->numProperties())
        return s->getProperty(id, self, property);
    return getProperty(self, property);
}

SharedPtr<Object> Class::getProperty(SharedPtr<Object> self, const Property *property) const
{
    void *data = nullptr;
    if (self && self->isA(this))
        data = self->data();
    return getProperty(property->id(), data, property->type().type());
}

SharedPtr<Object> Class::getProperty(int, void *, const Class *) const
{
    return nullptr;
}

// Makes value an instance of the property's class, or says why it can't.
static bool convertPropertyValue(const Argument &type, SharedPtr<Object> *value)
{
    SharedPtr<Object> &v = *value;
    if (v && (v->isA(type.type()) || (type.type() && type.type()->id() == VoidClassId)))
        return true;
    const bool pointer = v && v->objectAttribute().isPointer();
    if (v && v->type()->canConvertTo(type.type(), pointer, type.isPointer(), nullptr))
        v = v->type()->convertTo(v, type.type(), type.isPointer());
    if (v && v->isA(type.type()))
        return true;
    logLine("Object::setProperty: type ", v ? v->className() : QStringLiteral("<null>"),
            " cannot be converted to ",
            type.type() ? type.type()->className() : QStringLiteral("<null>"));
    return false;
}

bool Class::setProperty(int id, SharedPtr<Object> self, SharedPtr<Object> value,
                        const Property *property) const
{
    if (!verifyPropertyAccess(self, property))
        return false;
    if (id >= numPropertiesInternal()) {
        const PropertyDeclaration *declaration = property->declaration();
        if (!declaration)
            return false;
        if (!declaration->isWritable()) {
            logLine("Object::setProperty: property ", declaration->name(), " is not writable");
            return false;
        }
        if (!convertPropertyValue(declaration->type(), &value))
            return false;
        if (const Method *write = declaration->writeMethod())
            write->invoke(self, ObjectList{value});
        else if (declaration->writeFunction())
            declaration->writeFunction()(self, value);
        return true;
    }
    const Class *s = super();
    if (s && id < s->numProperties())
        return s->setProperty(self, property, value);
    return setProperty(self, property, value);
}

bool Class::setProperty(SharedPtr<Object> self, const Property *property,
                        SharedPtr<Object> value) const
{
    void *data = nullptr;
    if (self && self->isA(this) && !self->isNull())
        data = self->data();
    if (!data && !property->isStatic()) {
        logLine(QStringLiteral(
            "Class::setProperty: Can't set non-static property without object reference"));
        return false;
    }
    // The lowest form reads the value as the property's native type, so a
    // value of another class must be converted before its data is handed on.
    if (!convertPropertyValue(property->type(), &value))
        return false;
    void *valueData = nullptr;
    if (value && value->type())
        value->type()->convert(value, &valueData);
    return setProperty(property->id(), data, valueData);
}

bool Class::setProperty(int, void *, void *) const
{
    return false;
}

// --- Type names --------------------------------------------------------------

static QStringList splitTopLevel(const QString &text)
{
    QStringList parts;
    int depth = 0;
    int start = 0;
    for (int i = 0; i < text.size(); ++i) {
        const QChar ch = text.at(i);
        if (ch == QLatin1Char('<'))
            ++depth;
        else if (ch == QLatin1Char('>'))
            --depth;
        else if (ch == QLatin1Char(',') && depth == 0) {
            parts << text.mid(start, i - start);
            start = i + 1;
        }
    }
    parts << text.mid(start);
    return parts;
}

QString Class::realType(const QString &name) const
{
    QString rest = name;
    bool star = false;
    bool amp = false;
    bool isConst = false;
    if (rest.endsWith(QLatin1Char('*'))) {
        rest.chop(1);
        star = true;
    }
    if (rest.startsWith(QLatin1Char('*'))) {
        rest.remove(0, 1);
        star = true;
    }
    if (rest.endsWith(QLatin1Char('&'))) {
        rest.chop(1);
        amp = true;
    }
    if (rest.startsWith(QLatin1Char('&'))) {
        rest.remove(0, 1);
        amp = true;
    }
    rest = rest.trimmed();
    if (rest.startsWith(QLatin1String("const ")) || rest == QLatin1String("const")) {
        rest = rest.mid(5).trimmed();
        isConst = true;
    }
    if (star || amp || isConst) {
        QString result = realType(rest);
        if (isConst)
            result.prepend(QLatin1String("const "));
        if (amp)
            result += QLatin1Char('&');
        if (star)
            result += QLatin1Char('*');
        return result;
    }
    const int open = name.indexOf(QLatin1Char('<'));
    const int close = name.lastIndexOf(QLatin1Char('>'));
    if (open < 0 || close < open)
        return name;
    QStringList parts = splitTopLevel(name.mid(open + 1, close - open - 1));
    for (QString &part : parts)
        part = realType(part.trimmed());
    return name.left(open) + QLatin1Char('<') + parts.join(QLatin1Char(',')) + QLatin1Char('>') +
           name.mid(close + 1);
}

// --- Conversion, casting and comparison ---------------------------------------

static const CastDelegate *castDelegateOf(const Class *c, ClassPrivate *d)
{
    if (!d->castDelegateSearched) {
        d->castDelegateSearched = true;
        d->castDelegate =
            static_cast<const CastDelegate *>(DelegateFactory::self()->delegate(c, Delegate::Cast));
    }
    return d->castDelegate;
}

bool Class::canConvertTo(const Class *target, bool sourceIsPointer, bool targetIsPointer,
                         void **constructorOut) const
{
    if (constructorOut)
        *constructorOut = nullptr;
    if (!target)
        return false;
    if (const CastDelegate *cd = castDelegateOf(this, d.get()); cd && cd->canCastTo(target))
        return true;
    if (const CastDelegate *td = castDelegateOf(target, target->d.get());
        td && td->canCastFrom(this))
        return true;
    if (canCastTo(target, targetIsPointer))
        return true;
    if (canConvertToInternal(target, sourceIsPointer, targetIsPointer))
        return true;
    if (!targetIsPointer) {
        for (int i = 0; i < target->numConstructors(); ++i) {
            const Constructor *c = target->constructor(i);
            if (!c || c->numArguments() != 1)
                continue;
            const Argument &arg = c->signature().first();
            if (arg.type() == this && arg.isPointer() == sourceIsPointer) {
                if (constructorOut)
                    *constructorOut = const_cast<Constructor *>(c);
                return true;
            }
        }
    }
    return target != this && isSubClassOf(target);
}

SharedPtr<Object> Class::convertTo(SharedPtr<Object> obj, const Class *target,
                                   bool targetIsPointer) const
{
    if (!obj || !target)
        return nullptr;
    if (const CastDelegate *cd = castDelegateOf(this, d.get()); cd && cd->canCastTo(target))
        if (SharedPtr<Object> r = cd->castTo(obj, target))
            return r;
    if (const CastDelegate *td = castDelegateOf(target, target->d.get());
        td && td->canCastFrom(this))
        if (SharedPtr<Object> r = td->castFrom(obj, this))
            return r;
    if (SharedPtr<Object> r = castTo(obj, target, targetIsPointer))
        return r;
    if (SharedPtr<Object> r = convertToInternal(obj, target, targetIsPointer))
        return r;
    void *constructor = nullptr;
    if (!canConvertTo(target, obj->objectAttribute().isPointer(), targetIsPointer, &constructor))
        return nullptr;
    if (!targetIsPointer && constructor) {
        const Constructor *c = static_cast<const Constructor *>(constructor);
        return target->construct(c->id(), ObjectList{obj}, c);
    }
    return obj;
}

bool Class::canConvertToTolerant(const Class *target, bool sourceIsPointer, bool targetIsPointer,
                                 void **constructorOut) const
{
    return canConvertTo(target, sourceIsPointer, targetIsPointer, constructorOut) ||
           canConvertTo(target, !sourceIsPointer, !targetIsPointer, constructorOut) ||
           canConvertTo(target, !sourceIsPointer, targetIsPointer, constructorOut) ||
           canConvertTo(target, sourceIsPointer, !targetIsPointer, constructorOut);
}

SharedPtr<Object> Class::convertToTolerant(SharedPtr<Object> obj, const Class *target,
                                           bool targetIsPointer) const
{
    if (!obj)
        return nullptr;
    if (SharedPtr<Object> r = convertTo(obj, target, targetIsPointer))
        return r;
    if (SharedPtr<Object> r = convertTo(obj, target, !targetIsPointer))
        return r;
    SharedPtr<Object> other =
        obj->objectAttribute().isPointer() ? obj->dereference() : obj->reference();
    if (!other) {
        Inspector::self()->setError(
            QStringLiteral("Referencing or dereferencing of object failed."));
        return nullptr;
    }
    if (SharedPtr<Object> r = other->type()->convertTo(other, target, targetIsPointer))
        return r;
    return other->type()->convertTo(other, target, !targetIsPointer);
}

bool Class::canCastTo(const Class *, bool) const
{
    return false;
}

SharedPtr<Object> Class::castTo(SharedPtr<Object>, const Class *, bool) const
{
    return nullptr;
}

bool Class::canConvertToInternal(const Class *, bool, bool) const
{
    return false;
}

SharedPtr<Object> Class::convertToInternal(SharedPtr<Object>, const Class *, bool) const
{
    return nullptr;
}

bool Class::sameObjects(SharedPtr<Object> a, SharedPtr<Object> b) const
{
    if (a.get() == b.get())
        return true;
    if (!a || !b || a->type() != b->type())
        return false;
    if (a->data() == b->data())
        return true;
    if (a->type() && a->type()->id() == CharClassId) {
        // Only C strings are compared as text: a single char has no
        // terminator and an array holds pointers.
        const auto isCString = [](const ObjectAttribute &at) {
            return at.isPointer() && !at.isArray();
        };
        if (!isCString(a->objectAttribute()) || !isCString(b->objectAttribute()))
            return false;
        const char *sa = static_cast<const char *>(a->data());
        const char *sb = static_cast<const char *>(b->data());
        return sa && sb && qstrcmp(sa, sb) == 0;
    }
    const ComparisonDelegate *cd = a->comparisonDelegate();
    return cd ? cd->sameObjects(a, b) : false;
}

bool Class::compare(SharedPtr<Object> a, SharedPtr<Object> b) const
{
    if (sameObjects(a, b))
        return true;
    if (!a || !b)
        return false;
    bool converted = false;
    if (a->type() != b->type()) {
        const bool aPointer = a->objectAttribute().isPointer();
        const bool bPointer = b->objectAttribute().isPointer();
        if (b->type()->canConvertToTolerant(a->type(), bPointer, aPointer, nullptr))
            b = b->type()->convertToTolerant(b, a->type(), aPointer);
        else if (a->type()->canConvertToTolerant(b->type(), aPointer, bPointer, nullptr))
            a = a->type()->convertToTolerant(a, b->type(), bPointer);
        else
            return false;
        converted = true;
        if (!a || !b || a->type() != b->type())
            return false;
    }
    if (const ComparisonDelegate *cd = a->comparisonDelegate())
        return cd->compare(a, b);
    if (converted)
        return a->compare(b);
    const Class *c = a->type();
    if (c->numProperties() == 0)
        return false;
    if (a->isNull() && b->isNull())
        return true;
    if (a->isNull() || b->isNull())
        return false;
    int compared = 0;
    for (int i = 0; i < c->numProperties(); ++i) {
        const Property *p = c->property(i);
        if (!p || !p->isReadable() || p->isStatic())
            continue;
        SharedPtr<Object> va = p->get(a);
        SharedPtr<Object> vb = p->get(b);
        if (!va || !vb || !va->type()->compare(va, vb))
            return false;
        ++compared;
    }
    return compared > 0;
}

// --- Stream form -------------------------------------------------------------

template <typename T> static void writeMember(QDataStream &stream, const T *member)
{
    // A member that the class failed to create still takes its place, so
    // that the reader stays aligned with the counts.
    if (member)
        member->writeObject(stream);
    else
        T().writeObject(stream);
}

void Class::writeObject(QDataStream &stream) const
{
    const Class *s = super();
    stream << qint32(d->id) << className() << qint32(d->nameSpace ? d->nameSpace->id() : 0)
           << quint32(d->natures);
    writeText(stream, s ? s->className() : QString());
    stream << qint32(s && s->nameSpace() ? s->nameSpace()->id() : 0);
    const int ownMethods = numMethods() - superClassOffset(Methods);
    const int ownProperties = numProperties() - superClassOffset(Properties);
    const int ownEvents = numEvents() - superClassOffset(Events);
    const int ownEnums = numEnums() - superClassOffset(Enums);
    stream << qint32(numConstructors()) << qint32(ownMethods) << qint32(ownProperties)
           << qint32(ownEvents) << qint32(ownEnums);
    for (int k = 0; k < ownEnums; ++k)
        writeMember(stream, enumerator(superClassOffset(Enums) + k));
    for (int k = 0; k < ownMethods; ++k)
        writeMember(stream, method(superClassOffset(Methods) + k));
    for (int k = 0; k < ownProperties; ++k)
        writeMember(stream, property(superClassOffset(Properties) + k));
    for (int k = 0; k < numConstructors(); ++k)
        writeMember(stream, constructor(k));
    for (int k = 0; k < ownEvents; ++k)
        writeMember(stream, event(superClassOffset(Events) + k));
    const int numInterfaces = d->interfaces ? int(d->interfaces->size()) : 0;
    stream << qint32(numInterfaces);
    if (d->interfaces)
        for (auto it = d->interfaces->cbegin(); it != d->interfaces->cend(); ++it)
            stream << it.key() << it.value()->className();
}

// The receiving side rebuilds a class with its own code; nothing is read here.
void Class::readObject(QDataStream &) {}

} // namespace Tolvex
