#pragma once

// A small toolkit made only for the tests: classes described by tables,
// native things that are plain structs, and a wrapper's three lowest
// operations implemented over them.

#include "class.h"
#include "constructor.h"
#include "enum.h"
#include "event.h"
#include "inspector.h"
#include "method.h"
#include "namespace.h"
#include "object.h"
#include "objectlist.h"
#include "property.h"

#include <QString>

#include <map>
#include <string>
#include <vector>

namespace TestToolkit {

using namespace Tolvex;

struct Native
{
    std::map<int, int> properties;
    int lastMethod = -1;
    // The arguments of the last call, as text: the data they pointed to is
    // gone once the call returns.
    std::vector<QString> lastArgs;
};

struct MethodInfo
{
    QString name;
    std::vector<Argument> parameters;
    const Class *returnClass = nullptr;
    bool isStatic = false;
};

struct PropertyInfo
{
    QString name;
    const Class *type = nullptr;
    unsigned int flags = Property::Readable | Property::Writable;
};

inline const Class *primitive(int id)
{
    return Inspector::self()->type(id);
}

class TestClass : public Class
{
public:
    TestClass(const char *name, const Class *superClass, std::vector<MethodInfo> methods = {},
              std::vector<PropertyInfo> properties = {}, Namespace *ns = nullptr)
        : Class(name, ns ? ns : Inspector::self()->globalNamespace(), true), m_super(superClass),
          m_methods(std::move(methods)), m_properties(std::move(properties))
    {
        setNumConstructors(0);
        setNumMethods(int(m_methods.size()));
        setNumProperties(int(m_properties.size()));
    }

    // Many members named "m<k>"/"p<k>" with one int parameter, for the
    // chain and benchmark tests.
    static std::vector<MethodInfo> numberedMethods(const char *prefix, int n)
    {
        std::vector<MethodInfo> result;
        for (int k = 0; k < n; ++k)
            result.push_back({QStringLiteral("%1%2").arg(QLatin1String(prefix)).arg(k),
                              {Argument(primitive(IntClassId), ObjectAttribute::Value())},
                              primitive(IntClassId)});
        return result;
    }
    static std::vector<PropertyInfo> numberedProperties(const char *prefix, int n)
    {
        std::vector<PropertyInfo> result;
        for (int k = 0; k < n; ++k)
            result.push_back(
                {QStringLiteral("%1%2").arg(QLatin1String(prefix)).arg(k), primitive(IntClassId)});
        return result;
    }

    mutable int methodsCreated = 0;
    mutable int propertiesCreated = 0;
    mutable int superInitialisations = 0;

    SharedPtr<Object> newObject(Native *native) const
    {
        return SharedPtr<Object>(new Object(this, native, ObjectAttribute::Pointer()));
    }

    // Answers "<class>#<id>" so that a test sees which overload ran.
    SharedPtr<Object> invoke(int id, void *data, void **args, const Class *) const override
    {
        if (auto *native = static_cast<Native *>(data)) {
            native->lastMethod = id;
            native->lastArgs.clear();
            const Method *m = method(id);
            for (int i = 0; m && i < m->numArguments(); ++i)
                native->lastArgs.push_back(argumentText(m->signature().at(i), args[i]));
        }
        return Inspector::self()->createPrimitive(QStringLiteral("%1#%2").arg(className()).arg(id));
    }

    SharedPtr<Object> getProperty(int id, void *data, const Class *) const override
    {
        auto *native = static_cast<Native *>(data);
        if (!native)
            return nullptr;
        return Inspector::self()->createPrimitive(native->properties[id]);
    }

    bool setProperty(int id, void *data, void *value) const override
    {
        auto *native = static_cast<Native *>(data);
        if (!native || !value)
            return false;
        native->properties[id] = *static_cast<int *>(value);
        return true;
    }

    static QString argumentText(const Argument &parameter, void *data)
    {
        if (!data)
            return QStringLiteral("<null>");
        switch (parameter.type() ? parameter.type()->id() : -1) {
        case IntClassId:
            return QString::number(*static_cast<int *>(data));
        case BoolClassId:
            return *static_cast<bool *>(data) ? QStringLiteral("true") : QStringLiteral("false");
        case CharClassId:
            return parameter.isPointer() ? QString::fromUtf8(static_cast<char *>(data))
                                         : QString(QLatin1Char(*static_cast<char *>(data)));
        case DoubleClassId:
            return QString::number(*static_cast<double *>(data));
        }
        return QStringLiteral("<object>");
    }

private:
    void initSuperClass() override
    {
        ++superInitialisations;
        setSuperClass(m_super);
    }

    Method *createMethod(int id) const override
    {
        ++methodsCreated;
        const int k = id - superClassOffset(Methods);
        if (k < 0 || k >= int(m_methods.size()))
            return nullptr;
        const MethodInfo &s = m_methods[size_t(k)];
        Signature signature;
        for (const Argument &a : s.parameters)
            signature.append(a);
        const Argument ret =
            s.returnClass ? Argument(s.returnClass, ObjectAttribute::Value()) : Argument();
        return new Method(this, ret, s.name, signature, id, s.isStatic);
    }

    Property *createProperty(int id) const override
    {
        ++propertiesCreated;
        const int k = id - superClassOffset(Properties);
        if (k < 0 || k >= int(m_properties.size()))
            return nullptr;
        const PropertyInfo &s = m_properties[size_t(k)];
        return new Property(this, Argument(s.type, ObjectAttribute::Value()), s.name, s.flags, id);
    }

    const Class *m_super;
    std::vector<MethodInfo> m_methods;
    std::vector<PropertyInfo> m_properties;
};

} // namespace TestToolkit
