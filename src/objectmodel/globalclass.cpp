#include "globalclass.h"

#include "class_p.h"
#include "enum.h"
#include "event.h"
#include "inspector.h"
#include "object.h"
#include "objectlist.h"

#include <vector>

namespace Tolvex {

GlobalMethod::GlobalMethod(const QString &name, const Argument &returnType,
                           const Signature &signature, ListFunction function)
    : Method(nullptr, returnType, name, signature, -1, true), m_listFunction(function)
{}

GlobalMethod::GlobalMethod(const QString &name, const Argument &returnType,
                           const Signature &signature, GlobalMethodInvoker *invoker)
    : Method(nullptr, returnType, name, signature, -1, true), m_invoker(invoker)
{}

GlobalMethod::GlobalMethod(const QString &name, const Argument &returnType,
                           const Signature &signature, RawFunction function)
    : Method(nullptr, returnType, name, signature, -1, true), m_rawFunction(function)
{}

GlobalProperty::GlobalProperty(const QString &name, const Argument &type, unsigned int flags,
                               ReadFunction read, WriteFunction write)
    : Property(nullptr, type, name, flags, -1), m_read(read), m_write(write)
{}

GlobalClass::GlobalClass() : Class("Tolvex::Global", true)
{
    setNumConstructors(0);
    setNumMethods(0);
    setNumProperties(0);
    setNumEvents(0);
    setNumEnums(0);
}

void GlobalClass::initSuperClass()
{
    setSuperClass(nullptr);
}

void GlobalClass::addMethod(const GlobalMethod *method)
{
    auto *m = const_cast<GlobalMethod *>(method);
    m->setDeclaringClass(this);
    m->setId(m_methods.count());
    m_methods.append(method);
    if (!m_methodsBuilt)
        setNumMethods(m_methods.count());
    else
        lateAddMethod(m);
}

void GlobalClass::addProperty(const GlobalProperty *property)
{
    auto *p = const_cast<GlobalProperty *>(property);
    p->setPropertyClass(this, m_properties.count());
    m_properties.append(property);
    setNumProperties(m_properties.count());
}

void GlobalClass::addEvent(const Event *event)
{
    m_events.append(event);
    setNumEvents(m_events.count());
}

void GlobalClass::addEnum(const Enum *enumerator)
{
    m_enums.append(enumerator);
    setNumEnums(m_enums.count());
}

const GlobalMethod *GlobalClass::injectMethod(const GlobalMethod *method)
{
    for (auto it = m_methods.begin(); it != m_methods.end(); ++it) {
        const GlobalMethod *old = *it;
        if (old->name() != method->name() || !(old->signature() == method->signature()))
            continue;
        auto *m = const_cast<GlobalMethod *>(method);
        m->setDeclaringClass(this);
        m->setId(old->id());
        *it = method;
        replaceMethod(method);
        return old;
    }
    addMethod(method);
    return nullptr;
}

Method *GlobalClass::createMethod(int id) const
{
    m_methodsBuilt = true;
    return id >= 0 && id < m_methods.count() ? const_cast<GlobalMethod *>(m_methods.at(id))
                                             : nullptr;
}

Property *GlobalClass::createProperty(int id) const
{
    m_propertiesBuilt = true;
    return id >= 0 && id < m_properties.count() ? const_cast<GlobalProperty *>(m_properties.at(id))
                                                : nullptr;
}

Event *GlobalClass::createEvent(int id) const
{
    m_eventsBuilt = true;
    return id >= 0 && id < m_events.count() ? const_cast<Event *>(m_events.at(id)) : nullptr;
}

Enum *GlobalClass::createEnum(int id) const
{
    m_enumsBuilt = true;
    return id >= 0 && id < m_enums.count() ? const_cast<Enum *>(m_enums.at(id)) : nullptr;
}

SharedPtr<Object> GlobalClass::invoke(int id, SharedPtr<Object> self, const ObjectList &args,
                                      const Method *method) const
{
    if (id < 0 || id >= m_methods.count())
        return nullptr;
    // A raw function reads one data pointer per parameter.
    if (!verifyMethodInvocation(self, method) ||
        !verifyMethodArgumentCount(className(), method, args))
        return nullptr;
    const GlobalMethod *m = m_methods.at(id);
    const Class *returnClass = m->returnType().type();
    if (m->listFunction())
        return m->listFunction()(args, returnClass);
    if (m->invoker())
        return m->invoker()->invoke(m, args, returnClass);
    if (!m->rawFunction())
        return nullptr;
    std::vector<void *> data(args.size() + 1, nullptr);
    for (size_t i = 0; i < args.size(); ++i)
        if (args[i] && args[i]->type())
            args[i]->type()->convert(args[i], &data[i]);
    return m->rawFunction()(data.data(), returnClass);
}

SharedPtr<Object> GlobalClass::getProperty(int id, void *, const Class *valueClass) const
{
    if (id < 0 || id >= m_properties.count())
        return nullptr;
    const GlobalProperty *p = m_properties.at(id);
    return p->readFunction() ? p->readFunction()(valueClass) : nullptr;
}

bool GlobalClass::setProperty(int id, void *, void *value) const
{
    if (id < 0 || id >= m_properties.count())
        return false;
    const GlobalProperty *p = m_properties.at(id);
    return p->writeFunction() ? p->writeFunction()(value) : false;
}

SharedPtr<Object> GlobalClass::construct(int, void **) const
{
    return nullptr;
}

SharedPtr<Object> GlobalClass::wrap(void *, const ObjectAttribute &) const
{
    return nullptr;
}

} // namespace Tolvex
