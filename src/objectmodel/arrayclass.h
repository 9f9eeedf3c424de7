#pragma once

#include "argument.h"
#include "class.h"

#include <string>
#include <vector>

namespace Tolvex {

// "Tolvex_Array": a dynamic array of objects, for values that scripts pass
// as lists.
class ArrayClass : public Class
{
public:
    using Native = std::vector<SharedPtr<Object>>;

    ArrayClass();

    static Argument arrayClassArg(const std::string &name);
    // Looked up by name each time: where the name stands for a remote
    // class, the remote forms below go through the connection.
    static const Class *registeredClass();
    static SharedPtr<Object> wrapObject(const Native &elements);
    static Native unwrapObject(SharedPtr<Object> obj);
    static SharedPtr<Object> createRemoteObject(const Native &elements);
    static Native unwrapRemoteObject(SharedPtr<Object> obj);

    SharedPtr<Object> construct(int id, void **args) const override;
    void deleteObjectData(void *data, const ObjectAttribute &attribute) const override;
    SharedPtr<Object> getProperty(int id, void *data, const Class *valueClass) const override;

private:
    SharedPtr<Object> invoke(int id, SharedPtr<Object> self, const ObjectList &args,
                             const Method *method) const override;
    void initSuperClass() override;
    Constructor *createConstructor(int id) const override;
    Method *createMethod(int id) const override;
    Property *createProperty(int id) const override;
};

} // namespace Tolvex
