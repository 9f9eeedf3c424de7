#pragma once

#include "constructor.h"
#include "inspector.h"
#include "intfieldsclass.h"
#include "object.h"
#include "property.h"

namespace Tolvex {

template <typename T>
IntFieldsClass<T>::IntFieldsClass(const char *name, Namespace *nameSpace, QStringList fieldNames,
                                  std::vector<int> constructorArities, int numMethods)
    : Class(name, nameSpace, true), m_fieldNames(std::move(fieldNames)),
      m_arities(std::move(constructorArities))
{
    s_local = this;
    setNumConstructors(int(m_arities.size()) + 1);
    setNumMethods(numMethods);
    setNumProperties(int(m_fieldNames.size()));
    setNumEvents(0);
    setNumEnums(0);
}

template <typename T> void IntFieldsClass<T>::initSuperClass()
{
    setSuperClass(nullptr);
}

template <typename T> Constructor *IntFieldsClass<T>::createConstructor(int id) const
{
    if (id < 0 || id > int(m_arities.size()))
        return nullptr;
    Signature signature;
    if (id == int(m_arities.size())) {
        QString name = className();
        name[0] = name[0].toLower();
        signature.append(Argument(name, this, ObjectAttribute::Value()));
    } else {
        for (int k = 0; k < m_arities[size_t(id)]; ++k)
            signature.append(Argument(m_fieldNames[k], Inspector::self()->type(IntClassId),
                                      ObjectAttribute::Value()));
    }
    return new Constructor(this, signature, id);
}

template <typename T> Property *IntFieldsClass<T>::createProperty(int id) const
{
    if (id < 0 || id >= m_fieldNames.size())
        return nullptr;
    return new Property(this,
                        Argument(Inspector::self()->type(IntClassId), ObjectAttribute::Value()),
                        m_fieldNames[id], Property::Readable | Property::Writable, id);
}

template <typename T> SharedPtr<Object> IntFieldsClass<T>::wrapValue(const T &value) const
{
    SharedPtr<Object> result = wrap(new T(value), ObjectAttribute::Pointer());
    result->setAutoDelete(true);
    return result;
}

template <typename T> const Class *IntFieldsClass<T>::localClass()
{
    Inspector::self();
    return s_local;
}

template <typename T> SharedPtr<Object> IntFieldsClass<T>::wrapLocal(const T &value)
{
    Inspector::self();
    return s_local ? s_local->wrapValue(value) : nullptr;
}

template <typename T> bool IntFieldsClass<T>::unwrapLocal(SharedPtr<Object> obj, T *value)
{
    if (!obj || !obj->data() || !obj->isA(localClass()))
        return false;
    *value = *static_cast<const T *>(obj->data());
    return true;
}

template <typename T> SharedPtr<Object> IntFieldsClass<T>::construct(int id, void **args) const
{
    if (id < 0 || id > int(m_arities.size())) {
        unknownConstructor(id);
        return nullptr;
    }
    if (id == int(m_arities.size()))
        return args && args[0] ? wrapValue(*static_cast<const T *>(args[0])) : nullptr;
    T value;
    for (int k = 0; k < m_arities[size_t(id)]; ++k) {
        if (!args || !args[k])
            return nullptr;
        value.field(k) = *static_cast<const int *>(args[k]);
    }
    return wrapValue(value);
}

template <typename T> void IntFieldsClass<T>::unknownConstructor(int) const {}

template <typename T>
SharedPtr<Object> IntFieldsClass<T>::wrap(void *data, const ObjectAttribute &attribute) const
{
    return SharedPtr<Object>(new Object(this, data, attribute));
}

template <typename T>
void IntFieldsClass<T>::deleteObjectData(void *data, const ObjectAttribute &) const
{
    delete static_cast<T *>(data);
}

template <typename T>
SharedPtr<Object> IntFieldsClass<T>::getProperty(int id, void *data, const Class *) const
{
    if (!data || id < 0 || id >= T::FieldCount)
        return nullptr;
    return Inspector::self()->createPrimitive(static_cast<T *>(data)->field(id));
}

template <typename T> bool IntFieldsClass<T>::setProperty(int id, void *data, void *value) const
{
    if (!data || !value || id < 0 || id >= T::FieldCount)
        return false;
    static_cast<T *>(data)->field(id) = *static_cast<const int *>(value);
    return true;
}

} // namespace Tolvex
