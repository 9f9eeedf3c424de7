#pragma once

#include "class.h"
#include "flist.h"
#include "method.h"
#include "property.h"
#include "tolvexexport.h"

namespace Tolvex {

class GlobalMethod;

// An implementation of a global function that needs state of its own.
class TOLVEX_EXPORT GlobalMethodInvoker
{
public:
    virtual ~GlobalMethodInvoker() = default;
    virtual SharedPtr<Object> invoke(const GlobalMethod *method, const ObjectList &args,
                                     const Class *returnClass) = 0;
};

// A free function of the scripts, static by nature.
class TOLVEX_EXPORT GlobalMethod : public Method
{
public:
    using ListFunction = SharedPtr<Object> (*)(const ObjectList &, const Class *);
    using RawFunction = SharedPtr<Object> (*)(void **, const Class *);

    GlobalMethod(const QString &name, const Argument &returnType, const Signature &signature,
                 ListFunction function);
    GlobalMethod(const QString &name, const Argument &returnType, const Signature &signature,
                 GlobalMethodInvoker *invoker);
    GlobalMethod(const QString &name, const Argument &returnType, const Signature &signature,
                 RawFunction function);

    ListFunction listFunction() const { return m_listFunction; }
    GlobalMethodInvoker *invoker() const { return m_invoker; }
    RawFunction rawFunction() const { return m_rawFunction; }

private:
    ListFunction m_listFunction = nullptr;
    GlobalMethodInvoker *m_invoker = nullptr;
    RawFunction m_rawFunction = nullptr;
};

class TOLVEX_EXPORT GlobalProperty : public Property
{
public:
    using ReadFunction = SharedPtr<Object> (*)(const Class *);
    using WriteFunction = bool (*)(void *);

    GlobalProperty(const QString &name, const Argument &type, unsigned int flags, ReadFunction read,
                   WriteFunction write);

    ReadFunction readFunction() const { return m_read; }
    WriteFunction writeFunction() const { return m_write; }

private:
    ReadFunction m_read;
    WriteFunction m_write;
};

// Class 9: the home of free functions and properties, whose members are
// added at run time.
class TOLVEX_EXPORT GlobalClass : public Class
{
public:
    GlobalClass();

    void addMethod(const GlobalMethod *method);
    void addProperty(const GlobalProperty *property);
    void addEvent(const Event *event);
    void addEnum(const Enum *enumerator);
    // Replaces the method of the same name and parameters and hands back
    // the old one, which the caller then owns, so an overriding wrapper can
    // still call it; without a match the method is added and the result is
    // null.
    const GlobalMethod *injectMethod(const GlobalMethod *method);

    SharedPtr<Object> construct(int id, void **args) const override;
    SharedPtr<Object> wrap(void *data, const ObjectAttribute &attribute) const override;
    SharedPtr<Object> getProperty(int id, void *data, const Class *valueClass) const override;
    bool setProperty(int id, void *data, void *value) const override;

private:
    SharedPtr<Object> invoke(int id, SharedPtr<Object> self, const ObjectList &args,
                             const Method *method) const override;
    void initSuperClass() override;
    Method *createMethod(int id) const override;
    Property *createProperty(int id) const override;
    Event *createEvent(int id) const override;
    Enum *createEnum(int id) const override;

    FList<const GlobalMethod *> m_methods;
    FList<const GlobalProperty *> m_properties;
    FList<const Event *> m_events;
    FList<const Enum *> m_enums;
    mutable bool m_methodsBuilt = false;
    mutable bool m_propertiesBuilt = false;
    mutable bool m_eventsBuilt = false;
    mutable bool m_enumsBuilt = false;
};

} // namespace Tolvex
