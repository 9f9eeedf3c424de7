#pragma once

#include "class.h"
#include "tolvexexport.h"

#include <QStringList>

#include <vector>

namespace Tolvex {

// The common form of the small value classes whose native data is a struct
// of ints (a date and time, a screen point, a screen rectangle): one
// readable and writable int property per field, constructors that take the
// first n fields as ints, and a last constructor that copies a value.
//
// T provides a default value, `static constexpr int FieldCount` and
// `int &field(int)`.
template <typename T> class TOLVEX_EXPORT IntFieldsClass : public Class
{
public:
    IntFieldsClass(const char *name, Namespace *nameSpace, QStringList fieldNames,
                   std::vector<int> constructorArities, int numMethods = 0);

    SharedPtr<Object> construct(int id, void **args) const override;
    SharedPtr<Object> wrap(void *data, const ObjectAttribute &attribute) const override;
    void deleteObjectData(void *data, const ObjectAttribute &attribute) const override;
    SharedPtr<Object> getProperty(int id, void *data, const Class *valueClass) const override;
    bool setProperty(int id, void *data, void *value) const override;

    // A new object that owns a copy of value.
    SharedPtr<Object> wrapValue(const T &value) const;

    // The class of T that the Inspector creates, and values in and out of
    // its objects: what each value class offers as free functions.
    static const Class *localClass();
    static SharedPtr<Object> wrapLocal(const T &value);
    // False, and value left alone, for an object that holds no T.
    static bool unwrapLocal(SharedPtr<Object> obj, T *value);

protected:
    // Called for a constructor id that is not in the table.
    virtual void unknownConstructor(int id) const;

private:
    void initSuperClass() override;
    Constructor *createConstructor(int id) const override;
    Property *createProperty(int id) const override;

    QStringList m_fieldNames;
    std::vector<int> m_arities;

    static inline const IntFieldsClass *s_local = nullptr;
};

} // namespace Tolvex
